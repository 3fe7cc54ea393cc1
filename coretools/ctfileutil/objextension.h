// Object types: what a file's extension says it is, and how its name may look.
#pragma once

constexpr int OBJ_TYPE_DEFAULT = -1;
constexpr int OBJ_TYPE_UNKNOWN_EXTENSION = -2;
constexpr int OBJ_TYPE_NOT_YET = -4;
constexpr int OBJ_TYPE_DIRECTORY = -5;
constexpr int OBJ_TYPE_NO_MEMBER = -6;

int extension_to_type(const char *extension);
const char *type_to_extension(int type);
int type_to_name_length(int type);
int type_to_mixed_case_OK(int type);
int type_to_weird_chars_OK(int type);
