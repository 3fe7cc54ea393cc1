// Text in a buffer of fixed size.
//
// The capacity counts the terminating zero and is part of the type. The buffer is not cleared when
// a text is made. Trivially copyable and destructible, so that a trap may leave its frame.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

template <std::size_t CAPACITY>
class bounded_text {
  public:
    bounded_text() { text_[0] = '\0'; }

    // Both return false, and change nothing, if the text would not fit. `more` must not lie in it.
    [[nodiscard]] bool append(std::string_view more) {
        if (more.size() >= CAPACITY - size_) {
            return false;
        }
        more.copy(text_ + size_, more.size());
        set_size(size_ + more.size());
        return true;
    }
    [[nodiscard]] bool append(char more) { return append(std::string_view(&more, 1)); }

    // Cuts the text after its first `size` characters.
    void shrink(std::size_t size) { set_size(size); }
    void clear() { set_size(0); }

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    const char *c_str() const { return text_; }
    std::string_view view() const { return {text_, size_}; }

    // Copies the text and its zero.
    void copy_to(char *out) const { std::memcpy(out, text_, size_ + 1); }

    // For a writer that takes a buffer of CAPACITY bytes: it may change what data() points to, and
    // the caller then sets the new size, less than CAPACITY.
    char *data() { return text_; }
    void set_size(std::size_t size) {
        size_ = size;
        text_[size] = '\0';
    }

  private:
    std::size_t size_ = 0;
    char text_[CAPACITY];
};
