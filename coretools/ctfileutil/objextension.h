// Object types: what a file's extension says it is, and how the names of its type may look.
//
// The table of types, objextension_table_internal.h, is constant. Where several types share an
// extension, the extension means the first of them. Any thread may call.
#pragma once

// Codes that are no kind of model file.
constexpr int OBJ_TYPE_DEFAULT = -1;           // the row that stands for every unknown code
constexpr int OBJ_TYPE_UNKNOWN_EXTENSION = -2; // no row has this extension
constexpr int OBJ_TYPE_NOT_YET = -4;           // a record that is not in standard form yet
constexpr int OBJ_TYPE_DIRECTORY = -5;
constexpr int OBJ_TYPE_NO_MEMBER = -6; // a file that is no member of any type

// Returns the type of an extension, given without '.' and in either case, or
// OBJ_TYPE_UNKNOWN_EXTENSION: also for null. The empty extension has a type.
int extension_to_type(const char *extension);

// For a code that is in no row these return what the default row has: no extension, 32, 1, 0.

// The extension in upper case without '.', possibly empty. A constant text.
const char *type_to_extension(int type);
// The length that limits long names: one of 32 characters or more must be shorter than this.
int type_to_name_length(int type);
// 1 if names keep their case, 0 if full names are written in lower case.
int type_to_mixed_case_OK(int type);
// 1 if names may hold characters outside the name alphabet (invstr.h), else 0.
int type_to_weird_chars_OK(int type);
