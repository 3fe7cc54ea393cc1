// Names: text into a path record, and back.
//
//   location   what the location type that claims the name takes as its own
//   name       the rest, up to the extension
//   extension  after the last '.' that is neither the first nor the last character
//   version    a trailing '.' and a number of 16 bits, which may have a sign and does not start
//              with 0
//
// A rest that starts with '.' is all name; no rest at all names a directory. Texts have fewer than
// 260 characters. A parse that does not answer 0 leaves the record as it was.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Parses text and brings the record into standard form: expands '$' variables and a leading '~',
// splits the name, and resolves a relative one against base (may be null). directory says whether
// the name is a directory: 1 yes, 0 no, -1 ask the location type; the first form passes no base and
// -1. 0; 9 for a text too long before or after expansion, a '~' that cannot be expanded, and the
// current directory's record; 4 for a base that cannot take the name; 14 for a name that climbs
// above the root; 11; 16; or the answer of pfa_parse_location.
pfa_status pfa_parse_to_vek_file(vek_file *record, const char *text);
pfa_status pfa_parse_to_vek_file_private(vek_file *record, vek_file *base, const char *text,
                                         int directory);

// Only splits the name, and asks the location types only when parse_location is not 0. The type is
// a guess from the name alone. Expands nothing, touches no disk. 0, 9, 11, or the answer of
// pfa_parse_location.
pfa_status parse_to_pfa(vek_file *record, int parse_location, const char *text);

// Fixes the type of a record whose type is -4: from its extension, then -5 when the location type
// says that it is a folder. directory as above. 0; 11 for any other record; 16 without memory; or
// what making it a directory answered, with the type left -4.
pfa_status pfa_to_standard_form(vek_file *record);
pfa_status pfa_to_standard_form_private(vek_file *record, int directory);

// 1 or 0; 0 for an invalid record.
int pfa_path_is_absolute(const vek_file *record);

// out becomes relative as seen from base. Any of the three may be the same record. An absolute
// relative stays as it is, and so does every one when base holds no text. 0; 11, also for a base
// that is no directory; or as below.
pfa_status pfa_concat_locations(vek_file *base, vek_file *relative, vek_file *out);
// Puts base's location before that of record. 0; 4 for a base without a location; 14 for an
// absolute record; or as below.
pfa_status concat_pfa_paths(vek_file *base, vek_file *record);
// out gets the location of directory with text, a neutral location, appended. A text that begins
// with "../" takes elements back. 0; 4 when it does not fit; 9 for a record that is no directory,
// and for a text too long for a directory without a path; 11; 14 above the root. out is left as it
// was unless the answer is 0.
pfa_status pfa_location_append(vek_file *directory, vek_file *out, const char *text);

// 1 when full names of the record are written in lower case, as its type has it.
int pfa_no_mixed_case(const vek_file *record);

// The full name in out[260]: location, name, '.' and extension unless it is empty, '.' and version
// unless it is 0. A directory without a location is "./". Name and extension are lower-cased when
// lower is not 0, in the first form when pfa_no_mixed_case says so. 0; 1 when it does not fit; 11;
// or the location type's answer. out is empty unless the answer is 0.
pfa_status pfa_get_full_name(const vek_file *record, char *out);
pfa_status pfa_get_full_name_mixed_case(const vek_file *record, char *out, int lower);

// The parts of the full name that include (pfa_include) asks for. Without the name it is the
// record's directory. Without the path, a record that has no name is written as pfa_get_name has
// it. Results as above; 9 when only some of host, device and path are asked for and the record is
// not of location type 1.
pfa_status pfa_get_file_name(const vek_file *record, int include, char *out);
pfa_status pfa_get_file_name_mixed_case(const vek_file *record, int include, char *out, int lower);

// True if the record is a directory whose name (device and path, with the final '/') is written
// exactly as `name`. A name that a directory really has can read as another one ("a\b", "^",
// "x::y"): parse it and ask this, to see that it reads back as itself.
bool pfa_is_directory_named(const vek_file *record, const char *name);

// 1 when text is a version number: digits that do not start with 0, or '-' and digits, within 16
// bits.
int is_vers_string(const char *text);
