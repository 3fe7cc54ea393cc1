// Object types: what a file's extension says it is, and how its name may look.
//
// The table of types is constant. Several rows may share an extension; the first in the table's
// order then counts. Any thread may ask.
#pragma once

// Codes with a meaning of their own.
constexpr int OBJ_TYPE_DEFAULT = -1;           // the row that stands for every unknown code
constexpr int OBJ_TYPE_UNKNOWN_EXTENSION = -2; // no row has this extension
constexpr int OBJ_TYPE_NOT_YET = -4;           // a record that is not in standard form yet
constexpr int OBJ_TYPE_DIRECTORY = -5;
constexpr int OBJ_TYPE_NO_MEMBER = -6; // a file that is no member of any type

// The type of the first row whose extension, written without '.', is this one in either case;
// OBJ_TYPE_UNKNOWN_EXTENSION when there is none and for null. The empty extension is a row's.
int extension_to_type(const char *extension);

// For a code that is in no row these answer as the default row has it: no extension, 32, 1.

// The extension in upper case without '.', possibly empty; constant.
const char *type_to_extension(int type);
// Names of 32 characters and more are accepted only when they are shorter than this.
int type_to_name_length(int type);
// 1 when names keep their case, 0 when full names are written in lower case.
int type_to_mixed_case_OK(int type);

// 1 when names may hold characters outside the name alphabet, else 0.
int type_to_weird_chars_OK(int type);
