// The component layer: the text of a path record, part by part.
//
// index is a component index 0 to 5. A text given to a store must not lie in the record's own text.
// A store that would make the whole text 260 characters or longer changes nothing and answers 9.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Replaces the component by the first length characters of text, or by all of it; the empty text
// clears it. 0; 9 for a null record or text, a bad index or length, or a text that does not fit; 11
// for an invalid record.
pfa_status pfa_put_component_len(vek_file *record, int index, const char *text, int length);
pfa_status pfa_put_component(vek_file *record, int index, const char *text);

// The component's length, 0 for an invalid record or index; and 1 when it is not 0.
int pfa_component_length(const vek_file *record, int index);
int pfa_has_component(const vek_file *record, int index);

// 1 when components 0 to 2 hold any text, else 0. *location_type (may be null) is the record's
// type, 0 for an invalid record.
int pfa_has_location(const vek_file *record, int *location_type);

// The first or last character in *character (may be null): 0, 2 for an empty component, 11.
pfa_status pfa_component_first_char(const vek_file *record, int index, char *character);
pfa_status pfa_component_last_char(const vek_file *record, int index, char *character);

// Compares the component with length characters of text (-1 for all): its length less theirs when
// they differ, else the order of the characters, in the second form without regard to case. A null
// text is empty, and so is a component of an invalid record.
int pfa_component_strcmp(const vek_file *record, int index, const char *text, int length);
int pfa_component_u_strcmp(const vek_file *record, int index, const char *text, int length);

// Copies one component. 0, 9, 11.
pfa_status pfa_copy_component(const vek_file *from, vek_file *to, int index);
// Copies components 0 to 2 and the location type. 0; 1 when a stream or directory is open on to; 9
// when they do not fit beside the name; 11. Unless 0, to is as it was.
pfa_status pfa_copy_location(const vek_file *from, vek_file *to);

// Appends the component to the text out at *length, which then is the new length, and terminates
// it; lower-cases what was appended when lower is not 0. 0, also for an empty component, which
// writes nothing; 1 when the text and its zero would not fit in capacity; 11 for a null out or
// length or an invalid record.
pfa_status pfa_append_component(const vek_file *record, int index, char *out, std::int16_t *length,
                                int capacity);
pfa_status pfa_append_component_lower(const vek_file *record, int index, char *out,
                                      std::int16_t *length, int capacity, int lower);
// The component alone in out[capacity]; empty unless the result is 0.
pfa_status pfa_get_component(const vek_file *record, int index, char *out, int capacity);

// Appends text to out[260] at *length: 1, or 0 and nothing changed when it does not fit.
int pfa_strcat(const char *text, char *out, std::int16_t *length);
// Lower-cases text[from, to), ASCII letters only.
void pfa_substring_to_lower(char *text, int from, int to);

// The index of the last separator in text[low, high), -1 for none.
int pfa_last_sep_in_range(const char *text, int low, int high, char separator);
// The last piece of text[low, high) between separators, of which one may close the range:
// 1 and [*start, *end), or 0 when it is empty (-1 and -1 for a bad range).
int pfa_last_delimited_range(const char *text, int low, int high, char separator,
                             std::int16_t *start, std::int16_t *end);
// The same over a component, as offsets into the record's text; -1 and -1 for an invalid record.
int pfa_comp_last_delim_range(const vek_file *record, int index, char separator,
                              std::int16_t *start, std::int16_t *end);

// The component index that the record's location type gives to each role (each may be null), -1
// when it has no such component. 0, or 11 with every role -1.
pfa_status pfa_get_component_mapping(const vek_file *record, int *host_index, int *device_index,
                                     int *path_index);
