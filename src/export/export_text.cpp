// No locale has a say in a number, and no name can end its field.
//
// Numbers are the shortest that read back as the same double: nobody has to choose a precision, and
// what a table shows can be computed with.
#include "export/export_text.h"

namespace tervolanda {

namespace {

// The bytes of a character of UTF-8 after its first: 10xxxxxx.
bool isContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80;
}

// "\xHH", as Python, C and most languages read it.
void appendHexadecimal(std::string& text, char c) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    const auto code = static_cast<unsigned char>(c);
    text += "\\x";
    text += kDigits[code >> 4U];
    text += kDigits[code & 0xFU];
}

}  // namespace

// The Unicode Standard, table 3-7: neither overlong forms nor surrogates.
std::size_t utf8Length(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if (!isContinuation(text[i])) return 0;
    }
    // An overlong form has more bytes than its character needs; U+D800 to U+DFFF are halves of
    // pairs in UTF-16 and no characters, and the last character is U+10FFFF.
    const unsigned second = byte(1);
    const bool isOverlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool isNoCharacter = (first == 0xED && second > 0x9F) || (first == 0xF4 && second > 0x8F);
    return isOverlong || isNoCharacter ? 0 : length;
}

// One replacement character for each byte that fits nowhere.
void appendUtf8(std::string& text, std::string_view name) {
    while (!name.empty()) {
        const std::size_t length = utf8Length(name);
        text += length == 0 ? "\xEF\xBF\xBD" : name.substr(0, length);
        name.remove_prefix(length == 0 ? 1 : length);
    }
}

void appendResidue(std::string& text, ResidueId residue) {
    text += std::to_string(residue.number);
    if (residue.insertionCode != ' ')
        appendField(text, std::string_view(&residue.insertionCode, 1));
}

// What is escaped is what ends a field or a row, what a terminal may obey, and what is no text; all
// else, blanks and letters of any script, stays readable.
void appendField(std::string& text, std::string_view name) {
    while (!name.empty()) {
        const std::size_t length = utf8Length(name);
        const char c = name.front();
        const auto code = static_cast<unsigned char>(c);
        if (c == '\t' || c == '\n' || c == '\r' || c == '\\') {
            text += '\\';
            text += c == '\t' ? 't' : c == '\n' ? 'n' : c == '\r' ? 'r' : '\\';
        } else if (length == 0 || code < 0x20 || code == 0x7F || c == '"') {
            appendHexadecimal(text, c);
        } else {
            text += name.substr(0, length);
        }
        name.remove_prefix(length == 0 ? 1 : length);
    }
}

}  // namespace tervolanda
