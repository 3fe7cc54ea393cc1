// Reading a path record.
#pragma once

#include "coretools/ctpfa/vek_file.h"

int pfa_get_host(vek_file *record, char *out);
int pfa_get_path(vek_file *record, char *out);
int pfa_get_name(vek_file *record, char *out);
int pfa_get_obj_type(const vek_file *record);
int pfa_get_encode(const vek_file *record);
int pfa_get_location_datum(const vek_file *record);
int pfa_file_is_open(const vek_file *record);
int pfa_is_dir(const vek_file *record);
int pfa_get_location(vek_file *record, char *out, int *location_type);
int pfa_get_neutral_location(vek_file *record, char *out, int *location_type);
