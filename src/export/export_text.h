// Numbers and names as the text of files.
//
// Every table goes through these, so that one reader can read them all.  Names come from outside,
// as file names do, and may hold any byte but 0: what they are turned into ends no field, obeys no
// terminal and is UTF-8.
#pragma once

#include <array>
#include <charconv>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "chain/chain.h"

namespace tervolanda {

// Bytes that a number needs at most, with what its writing touches besides.
inline constexpr std::size_t kMostNumber = 32;

// The shortest decimal number that reads back as this one; a zero has no sign.  Returns the end of
// its text.
// REQUIRES: a finite number, and room for kMostNumber bytes.
char* writeNumber(char* at, double value);
template <std::integral Count>
char* writeNumber(char* at, Count value) {
    return std::to_chars(at, at + kMostNumber, value).ptr;
}

// A number as text, or another text as short; empty for none.  Putting it touches kMostNumber
// bytes: a copy of its own length would cost a call.
struct ShortText {
    std::array<char, kMostNumber> bytes{};
    std::uint8_t size = 0;
};

// A text of any length that is copied sixteen bytes at a time, for the same reason.
class PaddedText {
 public:
    static constexpr std::size_t kStep = 16;

    explicit PaddedText(std::string text) : size_(text.size()), bytes_(std::move(text)) {
        bytes_.resize((size_ + kStep - 1) / kStep * kStep);
    }
    std::size_t size() const { return size_; }
    std::size_t room() const { return bytes_.size(); }  // what putting it touches
    const char* bytes() const { return bytes_.data(); }

 private:
    std::size_t size_;
    std::string bytes_;
};

// Puts a piece of text together where room has been made for all of it.  Rows of pairs are written
// by the million, and asking a string for room costs as much as what is written.
class TextCursor {
 public:
    explicit TextCursor(char* at) : at_(at) {}
    char* at() const { return at_; }
    void put(char c) { *at_++ = c; }
    // A text of a size that the compiler knows, without its end.
    template <std::size_t Size>
    void put(const char (&text)[Size]) {
        std::memcpy(at_, text, Size - 1);
        at_ += Size - 1;
    }
    void put(std::string_view text) {
        std::memcpy(at_, text.data(), text.size());
        at_ += text.size();
    }
    void put(const ShortText& text) {
        std::memcpy(at_, text.bytes.data(), text.bytes.size());
        at_ += text.size;
    }
    void put(const PaddedText& text) {
        for (std::size_t i = 0; i < text.room(); i += PaddedText::kStep)
            std::memcpy(at_ + i, text.bytes() + i, PaddedText::kStep);
        at_ += text.size();
    }
    // REQUIRES: a number that is finite.
    template <typename Number>
    void number(Number value) {
        at_ = writeNumber(at_, value);
    }

 private:
    char* at_;
};

// Appends what `put`, which is given a cursor, puts into room for `most` bytes.
template <typename Cursor = TextCursor, typename Put>
void appendWithin(std::string& text, std::size_t most, const Put& put) {
    const std::size_t start = text.size();
    text.resize(start + most);
    Cursor cursor(&text[start]);
    put(cursor);
    text.resize(static_cast<std::size_t>(cursor.at() - text.data()));
}

template <typename Number>
void appendNumber(std::string& text, Number value) {
    appendWithin(text, kMostNumber, [value](TextCursor& at) { at.number(value); });
}

// The length of the character that UTF-8 text begins with, in bytes; 0 where it begins with none.
// REQUIRES: the text is not empty.
std::size_t utf8Length(std::string_view text);

// The text with U+FFFD, the replacement character, for every byte that is no UTF-8.
void appendUtf8(std::string& text, std::string_view name);

// A residue as files name it: its number and, if it has one, its insertion code.
void appendResidue(std::string& text, ResidueId residue);

// A field of a table: tabs, line ends, other control bytes, quotation marks (which some readers
// take for their own), backslashes and bytes that are no UTF-8 as "\t", "\n", "\r", "\\" and
// "\xHH".
void appendField(std::string& text, std::string_view name);

// A value between tabs; nothing stands for none, and for a number that is not finite.
inline void appendCell(std::string& text, std::optional<double> value) {
    if (value && std::isfinite(*value)) appendNumber(text, *value);
}
template <typename Count>
void appendCell(std::string& text, std::optional<Count> value) {
    if (value) appendNumber(text, *value);
}

}  // namespace tervolanda
