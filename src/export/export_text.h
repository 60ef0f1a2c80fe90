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
#include <optional>
#include <string>
#include <string_view>

#include "chain/chain.h"

namespace tervolanda {

// The shortest decimal number that reads back as this one; a zero has no sign.
// REQUIRES: a finite number.
void appendNumber(std::string& text, double value);
template <std::integral Count>
void appendNumber(std::string& text, Count value) {
    std::array<char, 24> digits;
    text.append(digits.data(),
                std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr);
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
