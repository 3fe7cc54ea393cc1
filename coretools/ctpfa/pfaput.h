// Writing a path record.
//
// A text must not lie in the record's own text. A call that fails leaves the record as it was, and
// fails with PFA_E_NOT_VALID if the record is null or not valid.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Stores a directory path in its stored form (see path_text.h). A record without a location type
// becomes one of the standard filesystem. Fails with
//   PFA_E_INVALID_INPUT  the path is null or does not fit
//   PFA_E_NOT_VALID      also if the location type has no path component
pfa_status pfa_put_path(vek_file *record, const char *path);

// Stores the name. One that breaks the rule of invstr.h, or has PFA_SHORT_NAME_SIZE characters or
// more, makes the type OBJ_TYPE_NO_MEMBER. Fails with PFA_E_INVALID_INPUT if the name is null or
// does not fit.
pfa_status pfa_put_name(vek_file *record, const char *name);

// Both fail with PFA_E_INVALID_INPUT for a number that does not fit in 16 bits with a sign.
pfa_status pfa_put_version(vek_file *record, int version);
pfa_status pfa_put_location_datum(vek_file *record, int datum);
// Fails with PFA_E_INVALID_INPUT for a directory.
pfa_status pfa_put_encode(vek_file *record, int encode);

// Replaces host, device and path by what the location type that claims the whole text makes of it;
// `only_type` PFA_ALL_LOCATIONS (pfaloc.h) asks all types. Returns the result of
// pfa_parse_location.
pfa_status pfa_put_location(vek_file *record, const char *text, int only_type);

// Sets the object type, and with it the form of the record:
//   OBJ_TYPE_DIRECTORY  name, extension and version become the last element of the directory path;
//                       the extension becomes DIR, in upper case
//   OBJ_TYPE_NO_MEMBER  is stored alone; so is OBJ_TYPE_NOT_YET for a record of this type
//   any other           a directory first gives the last element of its path back as the name,
//                       unless it has PFA_SHORT_NAME_SIZE characters or more (OBJ_TYPE_NOT_YET
//                       takes any); the extension becomes that of the type, in lower case
// The second function lower-cases that extension only if `lower` is not 0. Fails with
//   PFA_E_INVALID_INPUT  the type has no extension, or a text does not fit
//   otherwise            the path of the directory cannot be formed: the result of pfa_make_subdir
pfa_status pfa_put_obj_type(vek_file *record, int type);
pfa_status pfa_put_obj_type_lower(vek_file *record, int type, int lower);

// Sets the type that the extension stands for; OBJ_TYPE_NO_MEMBER without a known extension, for a
// name too long for the type, and for an invalid name unless the type allows it.
pfa_status pfa_put_extension_to_type(vek_file *record, int name_length, int name_invalid);
