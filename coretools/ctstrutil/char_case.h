// Case mapping that touches only the ASCII letters, whatever the locale: bytes of 0x80 and above,
// and so multi-byte text, pass unchanged.
#pragma once

// Only the low 8 bits of the character count; the result is 0 to 255.
int uppercase(int character);
int lowercase(int character);
// Both write the mapped text and its terminating zero; the destination holds as many bytes as the
// source and may be the source itself.
void vek_cnvrt_to_upper(const char *source, char *destination);
void convert_to_lower(const char *source, char *destination);
