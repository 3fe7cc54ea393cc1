// Case mapping that touches only the ASCII letters, whatever the locale.
#pragma once

int uppercase(int character);
int lowercase(int character);
void vek_cnvrt_to_upper(const char *source, char *destination);
void convert_to_lower(const char *source, char *destination);
