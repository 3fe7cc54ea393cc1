// Writing a path record. A call that does not answer 0 leaves the record as it was. A text must not
// lie in the record's own text. 11 is the answer to a null or invalid record.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Stores a directory path: '\' becomes '/', "." segments go, a ".." segment with a separator after
// it becomes '^', and a path that is not empty ends in '/'. A record of location type 0 becomes one
// of type 1. 0; 9 for null and for a path that does not fit; 11 also when the location type has no
// path.
pfa_status pfa_put_path(vek_file *record, const char *path);

// Stores the name; one outside the name alphabet, or of 32 characters or more, makes the type -6.
// 0; 9 for null and for a name that does not fit; 16 without memory.
pfa_status pfa_put_name(vek_file *record, const char *name);

// 0; 9 for a number outside 16 bits, and for the encode word of a directory.
pfa_status pfa_put_version(vek_file *record, int version);
pfa_status pfa_put_encode(vek_file *record, int encode);
pfa_status pfa_put_location_datum(vek_file *record, int datum);

// Replaces components 0 to 2 by what the location type that claims the whole text makes of it;
// only_type -1 asks all types. 0, or the answer of pfa_parse_location.
pfa_status pfa_put_location(vek_file *record, const char *text, int only_type);

// Sets the object type, and with it the form of the record; the extension that comes with a type is
// lower-cased, in the second form only when lower is not 0.
//   -5          name, extension and version become the last element of the directory path; the
//               extension is DIR, in upper case
//   -6          is stored alone; so is -4 on a record of type -6
//   any other   a directory first gives the last element of its path back as the name, unless it
//               has 32 characters or more (-4 takes it all the same); the extension becomes the
//               type's. -4 leaves a directory without one
// 0; 9 when the type has no extension or a text does not fit; or what forming the directory's path
// answered.
pfa_status pfa_put_obj_type(vek_file *record, int type);
pfa_status pfa_put_obj_type_lower(vek_file *record, int type, int lower);

// Derives the type from the extension: -6 without a known one, for a name too long for the type,
// and for an invalid name unless the type allows it. 0.
pfa_status pfa_put_extension_to_type(vek_file *record, int name_length, int name_invalid);
