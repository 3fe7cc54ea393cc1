// Writing a path record.
#pragma once

#include "coretools/ctpfa/vek_file.h"

int pfa_put_path(vek_file *record, const char *path);
int pfa_put_name(vek_file *record, const char *name);
int pfa_put_version(vek_file *record, int version);
int pfa_put_encode(vek_file *record, int encode);
int pfa_put_location_datum(vek_file *record, int datum);
int pfa_put_location(vek_file *record, const char *text, int only_type);
int pfa_put_obj_type(vek_file *record, int type);
int pfa_put_obj_type_lower(vek_file *record, int type, int lower);
int pfa_put_extension_to_type(vek_file *record, int name_length, int name_invalid);
