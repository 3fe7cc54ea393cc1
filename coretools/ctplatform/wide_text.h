// Wide text as this library packs it: one int a character, EUC code sets in 16 bits.
#pragma once

using vek_wchar = int;

int wslen(const vek_wchar *text);
// Both write a terminating zero and return the destination. wstostr needs 3 bytes a character and
// one; strtows needs one character a byte and one.
char *wstostr(char *destination, const vek_wchar *source);
vek_wchar *strtows(vek_wchar *destination, const char *source);
