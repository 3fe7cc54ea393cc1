// A scratch directory with modes, and children with fewer rights.
#pragma once

#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfaloc_call.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfastream.h"
#include "tests/coretools/ctpfa/directory_test_util.h"
#include "tests/support/child_process.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <vector>

// What a row of calls answered.
using codes = std::vector<int>;
using texts = std::vector<std::string>;

struct scratch_dir {
    explicit scratch_dir(std::string pattern = "/tmp/ctpfafs.XXXXXX")
        : path(std::string(mkdtemp(pattern.data())) + "/") {
        dir("");
    }
    ~scratch_dir() {
        EXPECT_EQ(std::system(("chmod -R u+rwX " + path + " && rm -r " + path).c_str()), 0);
    }
    std::string operator()(const std::string &name = "") const { return path + name; }
    std::string dir(const std::string &name, unsigned mode = 0755) const {
        std::filesystem::create_directory(path + name);
        std::filesystem::permissions(path + name, std::filesystem::perms(mode));
        return path + name;
    }
    std::string file(const std::string &name, const std::string &content = "",
                     unsigned mode = 0644) const {
        write_text(path + name, content);
        std::filesystem::permissions(path + name, std::filesystem::perms(mode));
        return path + name;
    }
    std::string content(const std::string &name) const {
        std::ifstream stream(path + name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    const std::string path; // ends in '/'
};

using record = scoped_record;

inline std::string component(const record &file, int index) {
    return std::string(file->text + file->bounds[index].start,
                       file->text + file->bounds[index].end);
}

// The answer of question in a child process that prepare has changed first.
template <class Question>
int in_child(void (*prepare)(), Question question) {
    const auto body = [&] { prepare(), _exit(question()); };
    return run_in_child(body).status;
}

inline void as_before() {}

// An ordinary user, for whom the rules of access hold (as they do already when this fails).
inline void drop_rights() {
    if (setgid(65534) == 0 && setuid(65534) != 0) {
        abort();
    }
}

// No descriptor beyond the standard streams'.
inline void use_up_descriptors() {
    const rlimit none{3, 3};
    setrlimit(RLIMIT_NOFILE, &none);
}
