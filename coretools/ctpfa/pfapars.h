// Names: text into a path record. A name consists of
//   location   what the location type that claims the name takes as its own, up to the last
//              separator (for the standard filesystem: pfafs_parse.cpp)
//   name       the rest, up to the extension
//   extension  after the last '.', unless that is the first or the last character
//   version    a trailing '.' and a number of 16 bits, which may have a '-' and does not start
//              with 0; cut off before the extension is looked for
// A rest that starts with '.' is all name; no rest at all names a directory. The split is in
// pfasplit.cpp, expansion in pfapars_expand.cpp, what happens to "//" and ".." in path_text.cpp.
//
// A text has fewer than PFA_PATH_SIZE characters. A call that fails leaves the record as it was.
#pragma once

#include "coretools/ctpfa/pfa_entry_kind.h"
#include "coretools/ctpfa/pfafullname.h"
#include "coretools/ctpfa/pfajoin.h"
#include "coretools/ctpfa/vek_file.h"

// For a `directory` argument below: neither kind is known, the location type is asked.
constexpr int PFA_ASK_LOCATION = -1;

// Parses `text` and brings the record into standard form. Expands '$' variables and a leading '~',
// splits the name and resolves a relative one against `base`, which may be null. `directory` says
// whether the name is a directory: PFA_DIRECTORY, PFA_NO_DIRECTORY, or any other value, as
// PFA_ASK_LOCATION, to ask; the first function passes no base and asks. Results:
//   PFA_E_NO_ERROR
//   PFA_E_NOT_VALID      the record is null or not valid
//   PFA_E_INVALID_INPUT  the text is null, too long before or after expansion, or starts with a '~'
//                        that cannot be expanded; or the record is that of the current directory
//   PFA_E_INVALID_NAME   the joined name is too long, or `base` cannot be joined to
//   PFA_E_ROOT_DIR       a relative name climbs above the root
//   PFA_E_OUT_OF_MEMORY  while a '~' was expanded or a location type was asked
//   otherwise            the result of pfa_parse_location
pfa_status pfa_parse_to_vek_file(vek_file *record, const char *text);
pfa_status pfa_parse_to_vek_file_private(vek_file *record, const vek_file *base, const char *text,
                                         int directory);

// Only splits the name, and asks the location types only if `parse_location` is not 0. The type is
// a guess from the name alone. Expands nothing, touches no disk. Results:
//   PFA_E_NO_ERROR
//   PFA_E_NOT_VALID      the record is null or not valid
//   PFA_E_INVALID_INPUT  the text is null or too long
//   PFA_E_ERROR          the location type claims more than the text has
//   otherwise            the result of pfa_parse_location
pfa_status parse_to_pfa(vek_file *record, int parse_location, const char *text);

// Fixes the type of a record whose type is OBJ_TYPE_NOT_YET: that of its extension, then
// OBJ_TYPE_DIRECTORY if `directory` (see above) or the location type says that it is one. The first
// function asks. Results:
//   PFA_E_NO_ERROR
//   PFA_E_NOT_VALID      the record is null, not valid, or has a type already
//   PFA_E_OUT_OF_MEMORY  the location type had no memory to tell
//   otherwise            the record cannot become a directory: the result of pfa_put_obj_type
pfa_status pfa_to_standard_form(vek_file *record);
pfa_status pfa_to_standard_form_private(vek_file *record, int directory);

// True if `text`, which may be null, is a version number: digits that do not start with 0, or '-'
// and digits, within 16 bits.
int is_vers_string(const char *text);
