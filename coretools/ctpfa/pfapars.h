// Names: text into a path record, and back.
#pragma once

#include "coretools/ctpfa/vek_file.h"

int pfa_parse_to_vek_file(vek_file *record, const char *text);
int pfa_parse_to_vek_file_private(vek_file *record, vek_file *base, const char *text,
                                  int directory);
int parse_to_pfa(vek_file *record, int parse_location, const char *text);
int pfa_to_standard_form(vek_file *record);
int pfa_to_standard_form_private(vek_file *record, int directory);
int pfa_path_is_absolute(vek_file *record);
int pfa_concat_locations(vek_file *base, vek_file *relative, vek_file *out);
int concat_pfa_paths(vek_file *base, vek_file *record);
int pfa_location_append(vek_file *directory, vek_file *out, const char *text);
int pfa_no_mixed_case(const vek_file *record);
int pfa_get_full_name(vek_file *record, char *out);
int pfa_get_full_name_mixed_case(vek_file *record, char *out, int lower);
int pfa_get_file_name(vek_file *record, int include, char *out);
int pfa_get_file_name_mixed_case(vek_file *record, int include, char *out, int lower);
int is_vers_string(const char *text);
