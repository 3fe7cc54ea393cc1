// Path records for the tests of the file access layer.
#pragma once

#include "coretools/ctpfa/vek_file.h"

#include <string>
#include <vector>

// A record for the length of a scope: parsed from a name, at the end closed and released.
struct scoped_record {
    explicit scoped_record(const std::string &name = "");
    ~scoped_record();
    scoped_record(const scoped_record &) = delete;
    operator vek_file *() const { return file; }
    vek_file *operator->() const { return file; }
    vek_file *file = nullptr;
};

// The entries of an open directory from its current position on, each as name, extension and
// version; sorted.
std::vector<std::string> read_names(vek_file *directory);
// The same for all entries of a directory that can be opened.
std::vector<std::string> list(const std::string &directory);
// True if the directory cache has the listing of this key, fresh or not.
bool is_cached(const std::string &key);
std::string location_of(vek_file *record);
std::string part(const vek_file *record, int index);
// A record as one line of text: "path|name|extension|version|type".
std::string state_of(const vek_file *record);
void put_state(vek_file *record, const std::string &state);
bool same_bytes(const vek_file &one, const vek_file *other);
