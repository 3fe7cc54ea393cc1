// Scratch libraries, and runs of the built tool on them.
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

constexpr uid_t ORDINARY_USER = 65534;

// A scratch directory that anybody may enter, with an empty library "mylib" in it. Names are
// relative to the library.
class scratch_library {
  public:
    explicit scratch_library(const std::string &name = "mylib");
    ~scratch_library();
    scratch_library(const scratch_library &) = delete;
    scratch_library &operator=(const scratch_library &) = delete;

    const std::string &top() const { return top_; }
    const std::string &root() const { return root_; }
    std::string path(const std::string &name) const { return root_ + "/" + name; }

    // Each makes the directories above as well.
    void directory(const std::string &name) const;
    void file(const std::string &name, const std::string &text = "") const;
    void link(const std::string &name, const std::string &target) const;

    // The catalog file, empty when there is none.
    std::string catalog() const;
    std::string catalog_path() const;

  private:
    std::string top_;
    std::string root_;
};

struct tool_run {
    std::vector<std::string> arguments;
    std::vector<std::string> environment; // the whole of it, "NAME=value"
    std::string directory = "/";          // where the tool is started
    bool ordinary_user = false;           // not as root
    std::string standard_output;          // a file to write it to; "closed", "unread" for a pipe
                                          // without a reader; empty to capture it
};

struct tool_result {
    int status; // exit status; 1000 + number for a signal, which a hang ends in too
    std::string output;

    bool operator==(const tool_result &) const = default;
};
void PrintTo(const tool_result &result, std::ostream *out);

tool_result run_tool(const tool_run &run);
tool_result build_catalog(const std::string &library_dir, tool_run run = {});

std::string read_file(const std::string &path);
std::string sorted_lines(const std::string &text);
