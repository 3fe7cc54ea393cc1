// The component layer: the text of a path record, part by part.
#pragma once

#include "coretools/ctpfa/vek_file.h"

int pfa_put_component_len(vek_file *record, int index, const char *text, int length);
int pfa_put_component(vek_file *record, int index, const char *text);
int pfa_component_length(const vek_file *record, int index);
int pfa_has_component(const vek_file *record, int index);
int pfa_has_location(const vek_file *record, int *location_type);
int pfa_component_first_char(const vek_file *record, int index, char *character);
int pfa_component_last_char(const vek_file *record, int index, char *character);
int pfa_component_strcmp(const vek_file *record, int index, const char *text, int length);
int pfa_component_u_strcmp(const vek_file *record, int index, const char *text, int length);
int pfa_copy_component(const vek_file *from, vek_file *to, int index);
int pfa_copy_location(const vek_file *from, vek_file *to);
int pfa_append_component(const vek_file *record, int index, char *out, std::int16_t *length,
                         int capacity);
int pfa_append_component_lower(const vek_file *record, int index, char *out, std::int16_t *length,
                               int capacity, int lower);
int pfa_get_component(const vek_file *record, int index, char *out, int capacity);
int pfa_strcat(const char *text, char *out, std::int16_t *length);
void pfa_substring_to_lower(char *text, int from, int to);
int pfa_last_sep_in_range(const char *text, int low, int high, char separator);
int pfa_last_delimited_range(const char *text, int low, int high, char separator,
                             std::int16_t *start, std::int16_t *end);
int pfa_comp_last_delim_range(const vek_file *record, int index, char separator,
                              std::int16_t *start, std::int16_t *end);
int pfa_get_component_mapping(vek_file *record, int *host_index, int *device_index,
                              int *path_index);
