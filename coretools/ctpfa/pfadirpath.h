// Path records made from others: absolute, directory of, subdirectory, parent, copy.
#pragma once

#include "coretools/ctpfa/vek_file.h"

int pfa_make_absolute_path(vek_file *record);
vek_file *extract_pfa_dir(vek_file *record);
int pfa_copy_vek_file(const vek_file *source, vek_file *destination);
int pfa_make_subdir(vek_file *directory, const char *name, vek_file *out);
int pfa_make_parent(vek_file *record, vek_file *parent);
