// Small copies of text.
#pragma once

char *make_scopy(const char *text);
int strcpy_limit(const char *source, int size, char *destination);
