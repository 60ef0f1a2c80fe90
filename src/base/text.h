// Numbers and names in text: the two ways to read a number, each where its rules are the wanted
// ones.  Nothing else in the program converts text to numbers.
//
// Formats whose fields stand in columns use the leading...() functions, formats of words the
// whole...() ones; which of the two decides whether "12abc" is 12 or a fault.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace tervolanda {

// A short text of fixed width, blanks kept, always terminated: the fields of an atom record.
// No allocation and no length: lists have millions of atoms.
template <std::size_t Width>
class FixedText {
 public:
    FixedText() : FixedText(std::string_view()) {}
    // Takes at most Width characters; what is missing is blank.
    explicit FixedText(std::string_view text) {
        characters_.fill(' ');
        std::copy_n(text.begin(), std::min(text.size(), Width), characters_.begin());
        characters_[Width] = '\0';
    }
    // The same for `text` of Width characters; takes less time.
    void assign(std::string_view text) { std::copy_n(text.begin(), Width, characters_.begin()); }
    const char* text() const { return characters_.data(); }
    std::string_view view() const { return {characters_.data(), Width}; }
    char operator[](std::size_t i) const { return characters_[i]; }
    char& operator[](std::size_t i) { return characters_[i]; }
    bool operator==(const FixedText&) const = default;

 private:
    std::array<char, Width + 1> characters_{};
};

// The decimal number at the start of a field: leading blanks are skipped, a plus sign is accepted,
// what follows the number is ignored; 0 when there is none, and for a number that is out of range.
// "nan", "inf" and hexadecimal forms are no numbers.  No locale.
double leadingReal(std::string_view field);

// The same for a whole number; saturates at the limits of the type.
std::int64_t leadingInteger(std::string_view field);

// A field that is completely a number (a leading plus sign accepted), else none.  A real number too
// small for a double is 0, one too large is none.
std::optional<double> wholeReal(std::string_view field);
std::optional<std::int64_t> wholeInteger(std::string_view field);

// Digits and nothing else, at least one; none for a sign, a blank, or a number too large for the
// type.
std::optional<std::uint64_t> digitsOnly(std::string_view text);

// Of ASCII alone, whatever the locale.
inline bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
inline char lowerCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

// `text` without leading and trailing characters of the codes 0 to 32.
std::string_view trimBlanks(std::string_view text);

// The next field between blanks (codes up to 32), taken off the front of `text`; empty at its end.
std::string_view takeField(std::string_view& text);

// What stands before the next `end`, taken off the front of `text` together with it; all of the
// text where there is none.
std::string_view takeUpTo(std::string_view& text, char end);

// Makes every control byte (codes below 32, and 127) a "?", as ls does on a terminal, but for those
// in `kept`.  Text beyond ASCII stays as it is.
void hideControlBytes(std::span<char> text, std::string_view kept = {});

}  // namespace tervolanda
