// Scratch libraries, and runs of the built tool on them.
#include "tests/tool/tool_run.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr unsigned LONGEST_RUN_SECONDS = 60;
constexpr int CHILD_NOT_STARTED = 99;

int open_output(const std::string &where, const std::string &capture) {
    if (where == "closed") {
        return -1;
    }
    if (where == "unread") {
        int ends[2];
        if (pipe(ends) != 0) {
            std::_Exit(CHILD_NOT_STARTED);
        }
        close(ends[0]);
        return ends[1];
    }
    return open((where.empty() ? capture : where).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
}

[[noreturn]] void become_tool(const tool_run &run, const std::string &capture) {
    // Opened before rights are dropped: the ordinary user need not reach the build folder.
    const int tool = open(VEK_TOOL, O_RDONLY | O_CLOEXEC);
    const int output = open_output(run.standard_output, capture);
    if (output == -1) {
        close(1);
    } else {
        dup2(output, 1);
        close(output);
    }
    if (run.ordinary_user && geteuid() == 0 &&
        (setgroups(0, nullptr) != 0 || setgid(ORDINARY_USER) != 0 || setuid(ORDINARY_USER) != 0)) {
        std::_Exit(CHILD_NOT_STARTED);
    }
    std::vector<char *> arguments{const_cast<char *>("vek_build_librar_ctg")};
    for (const std::string &argument : run.arguments) {
        arguments.push_back(const_cast<char *>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    std::vector<char *> environment;
    for (const std::string &variable : run.environment) {
        environment.push_back(const_cast<char *>(variable.c_str()));
    }
    environment.push_back(nullptr);
    if (chdir(run.directory.c_str()) == 0) {
        alarm(LONGEST_RUN_SECONDS);
        fexecve(tool, arguments.data(), environment.data());
    }
    std::_Exit(CHILD_NOT_STARTED);
}

} // namespace

scratch_library::scratch_library(const std::string &name) {
    char pattern[] = "/tmp/vek_tool_XXXXXX";
    top_ = mkdtemp(pattern);
    root_ = top_ + "/" + name;
    fs::create_directory(root_);
    chmod(top_.c_str(), 0777);
    chmod(root_.c_str(), 0777);
}

scratch_library::~scratch_library() {
    std::error_code ignored;
    fs::remove_all(top_, ignored);
}

void scratch_library::directory(const std::string &name) const {
    fs::create_directories(path(name));
}

void scratch_library::file(const std::string &name, const std::string &text) const {
    fs::create_directories(fs::path(path(name)).parent_path());
    std::ofstream(path(name)) << text;
}

void scratch_library::link(const std::string &name, const std::string &target) const {
    fs::create_directories(fs::path(path(name)).parent_path());
    fs::create_symlink(target, path(name));
}

std::string scratch_library::catalog_path() const {
    std::string name = fs::path(root_).filename().string().substr(0, 31);
    std::replace(name.begin(), name.end(), '.', '_');
    return path(name + ".ctg.1");
}

std::string scratch_library::catalog() const {
    return read_file(catalog_path());
}

void PrintTo(const tool_result &result, std::ostream *out) {
    *out << "status " << result.status << ", output:\n" << result.output;
}

tool_result run_tool(const tool_run &run) {
    char capture[] = "/tmp/vek_output_XXXXXX";
    close(mkstemp(capture));
    const pid_t child = fork();
    if (child == 0) {
        become_tool(run, capture);
    }
    int status = 0;
    waitpid(child, &status, 0);
    const std::string output = read_file(capture);
    unlink(capture);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status), output};
}

tool_result build_catalog(const std::string &library_dir, tool_run run) {
    run.environment.push_back("VEK_LIBRARY_DIR=" + library_dir);
    return run_tool(run);
}

std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string sorted_lines(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line + "\n");
    }
    std::sort(lines.begin(), lines.end());
    std::string result;
    for (const std::string &line : lines) {
        result += line;
    }
    return result;
}
