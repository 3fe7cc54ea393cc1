// The directory cache: listings that stay open between uses.
#pragma once

#include "coretools/ctpfa/vek_file.h"

int pfa_dir_cache_debug();
int pfa_file_name_update_dir_cache(const char *file_name);
int pfa_dir_cache_update(vek_file *record);
int pfa_dir_name_update_cache(const char *directory_name);

int pfa_dir_from_cache(const char *key, vek_file **donor, int *index, int returning,
                       vek_file *asked, int discard);
void pfa_add_dir_to_cache(const char *key, vek_file *directory, int open_result);
