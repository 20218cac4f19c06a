#ifndef TEXT_HPP
#define TEXT_HPP

// text.h in C++: a text as the range of its words.

#include "text.h"

#include <iterator>
#include <string_view>

class text_words {
  public:
    class iterator {
      public:
        using value_type = std::string_view;
        using difference_type = ptrdiff_t;

        explicit iterator(text text) : text_(text) { ++*this; }
        std::string_view operator*() const { return {word_.start, word_.length}; }
        iterator &operator++() {
            more_ = next_word(text_, &at_, &word_) != 0;
            return *this;
        }
        void operator++(int) { ++*this; }
        bool operator==(std::default_sentinel_t /*end*/) const { return !more_; }

      private:
        text text_;
        size_t at_ = 0;
        word word_{};
        bool more_ = false;
    };

    // The words of the file that the first argument names: see read_text.
    text_words(int argc, char **argv, const char *usage, int most = 1)
        : text_(read_text(argc, argv, most, usage)) {}
    text_words(const text_words &) = delete;
    text_words &operator=(const text_words &) = delete;
    ~text_words() { free(text_.bytes); }

    iterator begin() const { return iterator(text_); }
    std::default_sentinel_t end() const { return {}; }

    // Where the text starts. Words lie in it.
    const char *data() const { return text_.bytes; }

    // Whether that character stands directly behind a word of this text.
    bool is_followed_by(std::string_view word, char character) const {
        const char *behind = word.data() + word.size();
        return behind != text_.bytes + text_.length && *behind == character;
    }

  private:
    text text_;
};

#endif
