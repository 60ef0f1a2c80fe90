// Result lines of list runs have always been printed as their own patterns, so that a "%%" in a
// model's file name comes out as "%", and there are lists written for that.  No text from outside
// may reach printf as a pattern: this is a reading of conversion specifications that touches no
// argument and no memory but its own result.
#include "driver/format_expansion.h"

#include <algorithm>
#include <cstddef>
#include <optional>

#include "base/text.h"

namespace tervolanda {

namespace {

// Without a limit a file name could ask for any amount of memory: "%2000000000d".
constexpr std::size_t kMaxWidth = 4095;

// Flags as in the C standard (7.21.6.1): "-", "+", blank, "#" and "0".
struct Conversion {
    bool left = false, plus = false, blank = false, alternate = false, zero = false;
    std::size_t width = 0;
    std::optional<std::size_t> precision;
    char kind = '\0';
};

bool isOneOf(char c, std::string_view characters) {
    return characters.find(c) != std::string_view::npos;
}

// Takes a number, or an asterisk, whose argument would be zero, off the front of `text`.
std::size_t takeNumber(std::string_view& text) {
    if (text.starts_with('*')) {
        text.remove_prefix(1);
        return 0;
    }
    std::size_t number = 0;
    for (; !text.empty() && isDigit(text.front()); text.remove_prefix(1)) {
        number = std::min(number * 10 + static_cast<std::size_t>(text.front() - '0'), kMaxWidth);
    }
    return number;
}

// The apostrophe and "I" are flags of the C library that these lines were first printed with; they
// have no effect on a zero.
void takeFlags(std::string_view& text, Conversion& conversion) {
    for (; !text.empty() && isOneOf(text.front(), "-+ #0'I"); text.remove_prefix(1)) {
        const char flag = text.front();
        if (flag == '-') conversion.left = true;
        if (flag == '+') conversion.plus = true;
        if (flag == ' ') conversion.blank = true;
        if (flag == '#') conversion.alternate = true;
        if (flag == '0') conversion.zero = true;
    }
}

// Takes the conversion after a percent sign off the front of `text`; none, and `text` unchanged,
// where there is none.
std::optional<Conversion> takeConversion(std::string_view& text) {
    std::string_view rest = text;
    Conversion conversion;
    takeFlags(rest, conversion);
    conversion.width = takeNumber(rest);
    if (rest.starts_with('.')) {
        rest.remove_prefix(1);
        conversion.precision = takeNumber(rest);
    }
    while (!rest.empty() && isOneOf(rest.front(), "hlLqjzt"))
        rest.remove_prefix(1);
    if (rest.empty() || !isOneOf(rest.front(), "%diouxXcspnfFeEgGaA")) return std::nullopt;
    conversion.kind = rest.front();
    rest.remove_prefix(1);
    text = rest;
    return conversion;
}

// A precision of 0 makes no digit of a zero; "%#o" asks for one all the same.
std::string zeroAsInteger(const Conversion& conversion) {
    const bool octalPrefix = conversion.kind == 'o' && conversion.alternate;
    return std::string(std::max<std::size_t>(conversion.precision.value_or(1), octalPrefix ? 1 : 0),
                       '0');
}

// Six decimals without a precision, but for hexadecimal digits, of which there are as many as the
// number needs: none.
std::string zeroAsReal(const Conversion& conversion) {
    const bool isGeneral = isOneOf(conversion.kind, "gG");
    const bool isHexadecimal = isOneOf(conversion.kind, "aA");
    std::size_t decimals = conversion.precision.value_or(isHexadecimal ? 0 : 6);
    if (isGeneral) {  // significant digits, and trailing zeros only on demand
        decimals = conversion.alternate ? std::max<std::size_t>(decimals, 1) - 1 : 0;
    }
    std::string digits = "0";
    if (decimals > 0 || conversion.alternate) digits += '.';
    digits.append(decimals, '0');
    switch (conversion.kind) {
        case 'e':
            return digits + "e+00";
        case 'E':
            return digits + "E+00";
        case 'a':
            return "0x" + digits + "p+0";
        case 'A':
            return "0X" + digits + "P+0";
        default:
            return digits;
    }
}

// The zero without sign and padding.
std::string zeroAs(const Conversion& conversion) {
    if (isOneOf(conversion.kind, "sc")) return "";
    if (conversion.kind == 'p') return "(nil)";
    return isOneOf(conversion.kind, "diouxX") ? zeroAsInteger(conversion) : zeroAsReal(conversion);
}

// Sign, digits and padding, in the order of the C standard: blanks, sign, zeros, digits, blanks.
std::string written(const Conversion& conversion) {
    if (conversion.kind == '%') return "%";
    if (conversion.kind == 'n') return "";
    const bool isReal = isOneOf(conversion.kind, "fFeEgGaA");
    std::string sign;
    if (isReal || isOneOf(conversion.kind, "dip")) {
        sign = conversion.plus ? "+" : conversion.blank ? " " : "";
    }
    std::string digits = zeroAs(conversion);
    const std::size_t length = sign.size() + digits.size();
    const std::size_t missing = conversion.width - std::min(conversion.width, length);
    if (conversion.left) return sign + digits + std::string(missing, ' ');
    const bool isInteger = isOneOf(conversion.kind, "diouxX");
    // A left-justified number has no zeros before it, and an integer with a precision has its own.
    if (conversion.zero && (isReal || (isInteger && !conversion.precision))) {
        // Zeros stand after the sign and the prefix "0x".
        const std::size_t prefix = isOneOf(conversion.kind, "aA") ? 2 : 0;
        return sign + digits.insert(prefix, missing, '0');
    }
    return std::string(missing, ' ') + sign + digits;
}

}  // namespace

std::string expandAsFormat(std::string_view text) {
    std::string expanded;
    while (!text.empty()) {
        const std::size_t plain = std::min(text.find('%'), text.size());
        expanded += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty()) break;
        text.remove_prefix(1);
        const std::optional<Conversion> conversion = takeConversion(text);
        expanded += conversion ? written(*conversion) : "%";
    }
    return expanded;
}

}  // namespace tervolanda
