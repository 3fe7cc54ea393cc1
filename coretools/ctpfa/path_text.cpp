// The rules of directory paths, as text.
#include "coretools/ctpfa/path_text.h"

#include <algorithm>

namespace {

constexpr std::string_view STORED_UP = STORED_STEP.substr(0, STORED_STEP.size() - 1);
constexpr std::string_view WRITTEN_UP = WRITTEN_STEP.substr(0, WRITTEN_STEP.size() - 1);

// Takes the last element after `root` off a written path. Appends `step` where none can be taken.
bool apply_step(path_text *path, std::size_t root, std::string_view step) {
    const std::size_t parent = parent_size(path->view().substr(root));
    if (parent == NO_PARENT) {
        return path->append(step);
    }
    path->shrink(root + parent);
    return true;
}

// Cuts the first element, with its '/' if it has one, off *path.
std::string_view take_element(std::string_view *path) {
    const std::string_view element = path->substr(0, path->find('/'));
    const std::string_view with_slash = path->substr(0, element.size() + 1);
    path->remove_prefix(with_slash.size());
    return with_slash;
}

} // namespace

bool is_plain_path(std::string_view path) {
    if (!path.starts_with('/')) {
        return false;
    }
    while (!path.empty()) {
        path.remove_prefix(1);
        const std::string_view element = path.substr(0, path.find('/'));
        if (element.empty() || element == "." || element == WRITTEN_UP) {
            return false;
        }
        path.remove_prefix(element.size());
    }
    return true;
}

std::size_t directory_part_size(std::string_view name) {
    return name.find_last_of("/\\") + 1; // npos + 1 is 0
}

std::string_view last_element(std::string_view path, char separator) {
    if (path.ends_with(separator)) {
        path.remove_suffix(1);
    }
    return path.substr(path.rfind(separator) + 1);
}

std::size_t parent_size(std::string_view path) {
    const std::string_view last = last_element(path);
    if (last.empty() || last == STORED_UP || last == WRITTEN_UP) {
        return NO_PARENT;
    }
    return static_cast<std::size_t>(last.data() - path.data());
}

bool path_to_stored(std::string_view path, path_text *stored) {
    stored->clear();
    while (!path.empty()) {
        const std::string_view element = path.substr(0, path.find_first_of("/\\"));
        path.remove_prefix(element.size());
        const bool separated = !path.empty();
        if (separated) {
            path.remove_prefix(1);
        }
        if (separated && element == ".") {
            while (stored->empty() && !path.empty() && is_separator(path.front())) {
                path.remove_prefix(1);
            }
            continue;
        }
        const bool is_step = separated && element == WRITTEN_UP;
        if (!stored->append(is_step ? STORED_UP : element) || !stored->append('/')) {
            return false;
        }
    }
    return true;
}

bool path_to_written(std::string_view stored, path_text *written) {
    written->clear();
    bool fits = !stored.starts_with('/') || written->append('/');
    const std::size_t root = written->size();
    while (fits && !stored.empty()) {
        const std::string_view element = take_element(&stored);
        if (element == STORED_STEP) {
            fits = apply_step(written, root, WRITTEN_STEP);
        } else if (element != "/") {
            fits = written->append(element);
        }
    }
    return fits;
}

bool take_back_steps(path_text *path, std::size_t start) {
    const path_text before = *path;
    std::string_view rest = before.view().substr(start);
    const bool absolute = rest.starts_with('/');
    rest.remove_prefix(std::min(rest.find_first_not_of('/'), rest.size()));
    const std::size_t root = before.size() - rest.size();
    path->shrink(root);
    bool valid = true;
    while (valid && !rest.empty()) {
        const std::string_view element = take_element(&rest);
        if (element == WRITTEN_STEP || element == WRITTEN_UP) {
            valid = !(absolute && path->size() == root) && apply_step(path, root, element);
        } else if (element != "/") {
            valid = path->append(element);
        }
    }
    return valid;
}
