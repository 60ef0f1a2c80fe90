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
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

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

// The same at the end of a text.
template <typename Number>
void appendNumber(std::string& text, Number value) {
    // Zeros that become the text: a copy of its own length would cost a call.
    constexpr std::array<char, kMostNumber> kRoom{};
    const std::size_t start = text.size();
    text.append(kRoom.data(), kRoom.size());
    const char* const end = writeNumber(&text[start], value);
    text.resize(static_cast<std::size_t>(end - text.data()));
}

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
    // REQUIRES: a number that is finite.
    template <typename Number>
    void number(Number value) {
        at_ = writeNumber(at_, value);
    }

 private:
    char* at_;
};

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
