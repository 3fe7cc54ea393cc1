// The component layer: the text of a path record, part by part.
//
// `index` is a pfa_component, PFA_HOST to PFA_RESERVED. A text that is stored must not lie in the
// record's own text. Unless said otherwise:
//   PFA_E_NOT_VALID      a record is null or not valid
//   PFA_E_INVALID_INPUT  the index is none, or the record's text would get too long for its
//                        PFA_PATH_SIZE bytes; the record is unchanged
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Replaces the component by the first `length` characters of `text`, or by all of it; the empty
// text clears it. Fails with PFA_E_INVALID_INPUT also for a null record, a null text, and a length
// that is negative or more than the text has.
pfa_status pfa_put_component_len(vek_file *record, int index, const char *text, int length);
pfa_status pfa_put_component(vek_file *record, int index, const char *text);

// Returns the length of the component, 0 for an invalid record or index.
int pfa_component_length(const vek_file *record, int index);
// True if the component is not empty.
int pfa_has_component(const vek_file *record, int index);

// True if host, device or path (components 0 to 2) holds any text. Stores the location type, or
// NoLocation for an invalid record; `location_type` may be null.
int pfa_has_location(const vek_file *record, int *location_type);

// Stores the first or last character of the component; `character` may be null. Fails with
// PFA_E_NOT_FOUND if the component is empty.
pfa_status pfa_component_first_char(const vek_file *record, int index, char *character);
pfa_status pfa_component_last_char(const vek_file *record, int index, char *character);

// Compares the component with the first `length` characters of `text` (-1: all). Returns the
// component's length less that length if they differ, else the order of the characters, in the
// second function without regard to case. A null text counts as empty, and so does the component of
// an invalid record.
int pfa_component_strcmp(const vek_file *record, int index, const char *text, int length);
int pfa_component_u_strcmp(const vek_file *record, int index, const char *text, int length);

pfa_status pfa_copy_component(const vek_file *from, vek_file *to, int index);
// Copies host, device, path and the location type. Fails with PFA_E_ERROR if a stream or directory
// is open on `to`. On failure `to` is unchanged.
pfa_status pfa_copy_location(const vek_file *from, vek_file *to);

// Appends the component to out[capacity] at *length, terminates the text and advances *length; the
// second function lower-cases what it appended if `lower` is not 0. An empty component writes
// nothing. Results:
//   PFA_E_NO_ERROR
//   PFA_E_ERROR      the text does not fit; nothing is written
//   PFA_E_NOT_VALID  also for a null `out` or `length`
pfa_status pfa_append_component(const vek_file *record, int index, char *out, std::int16_t *length,
                                int capacity);
pfa_status pfa_append_component_lower(const vek_file *record, int index, char *out,
                                      std::int16_t *length, int capacity, int lower);
// Writes the component alone; `out` is empty on failure. Results as above.
pfa_status pfa_get_component(const vek_file *record, int index, char *out, int capacity);

// Appends `text` to out[PFA_PATH_SIZE] at *length and advances *length. Returns 1, or 0 and changes
// nothing if it does not fit.
int pfa_strcat(const char *text, char *out, std::int16_t *length);
// Lower-cases text[from, to), ASCII letters only.
void pfa_substring_to_lower(char *text, int from, int to);

// Returns the index of the last separator in text[low, high), -1 if there is none.
int pfa_last_sep_in_range(const char *text, int low, int high, char separator);
// Stores in [*start, *end) the last piece of text[low, high) between separators, of which one may
// close the range. True if the piece is not empty. A bad range stores -1 and -1.
int pfa_last_delimited_range(const char *text, int low, int high, char separator,
                             std::int16_t *start, std::int16_t *end);
// The same over a component, as offsets in the record's text.
int pfa_comp_last_delim_range(const vek_file *record, int index, char separator,
                              std::int16_t *start, std::int16_t *end);

// Stores the components in which the record's location type keeps host, device and path, -1 if it
// keeps none; each address may be null.
pfa_status pfa_get_component_mapping(const vek_file *record, int *host_index, int *device_index,
                                     int *path_index);
