// Strings are the only part of JSON that needs care: control bytes, quotes and what is no UTF-8
// come in with the names of files, and one of these strings stands in the page of --report, where a
// "</script>" in a name must not end the block.
#include "export/json_text.h"

namespace tervolanda {

void appendJson(std::string& text, std::string_view value) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string valid;
    appendUtf8(valid, value);
    text += '"';
    for (const char c : valid) {
        const auto code = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            text += '\\';
            text += c;
        } else if (code < 0x20 || code == 0x7F || c == '<' || c == '>') {
            // One form for all of them, although JSON has shorter ones for some.
            text += "\\u00";
            text += kDigits[code >> 4U];
            text += kDigits[code & 0xFU];
        } else {
            text += c;
        }
    }
    text += '"';
}

}  // namespace tervolanda
