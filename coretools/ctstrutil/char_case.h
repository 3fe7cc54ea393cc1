// Case mapping of the ASCII letters, whatever the locale. Other bytes, and so multi-byte text, pass
// unchanged.
#pragma once

// Use only the low 8 bits of the character; return 0 to 255.
int uppercase(int character);
int lowercase(int character);

// Write the mapped text, terminated. The destination has as many bytes as the source, and may be
// the source.
void vek_cnvrt_to_upper(const char *source, char *destination);
void convert_to_lower(const char *source, char *destination);
