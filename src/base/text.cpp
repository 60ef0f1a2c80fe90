// std::from_chars does the conversions: it knows no locale and no hexadecimal prefix, and it says
// where it stopped and whether the value fitted.
#include "base/text.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace tervolanda {

namespace {

bool isBlank(char c) {
    return static_cast<unsigned char>(c) <= ' ';
}

// from_chars takes no plus sign; strtod does.
std::string_view withoutPlus(std::string_view text) {
    if (text.starts_with('+') && !text.starts_with("+-") && !text.starts_with("++")) {
        text.remove_prefix(1);
    }
    return text;
}

std::string_view withoutLeadingBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n\v\f"), text.size()));
    return text;
}

// Whether a decimal number that no double can hold is too small for one, not too large: its first
// digit other than 0 stands after the point once the exponent is applied.
bool isTooSmall(std::string_view number) {
    const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
    const std::string_view digits = number.substr(0, mark);
    const std::size_t point = std::min(digits.find('.'), digits.size());
    const std::size_t first = std::min(digits.find_first_of("123456789"), digits.size());
    const auto place = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first);
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max() / 2;
    const std::int64_t exponent =
        mark < number.size() ? leadingInteger(number.substr(mark + 1)) : 0;
    return std::clamp(exponent, -kMost, kMost) + place < 0;
}

}  // namespace

double leadingReal(std::string_view field) {
    field = withoutPlus(withoutLeadingBlanks(field));
    double value = 0.0;
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
    return error == std::errc{} && std::isfinite(value) ? value : 0.0;
}

std::int64_t leadingInteger(std::string_view field) {
    field = withoutPlus(withoutLeadingBlanks(field));
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
    if (error == std::errc::result_out_of_range) {
        return field.starts_with('-') ? std::numeric_limits<std::int64_t>::min()
                                      : std::numeric_limits<std::int64_t>::max();
    }
    return error == std::errc{} ? value : 0;
}

std::optional<double> wholeReal(std::string_view field) {
    field = withoutPlus(field);
    const char* const last = field.data() + field.size();
    double value = 0.0;
    const auto [end, error] = std::from_chars(field.data(), last, value);
    if (end != last) return std::nullopt;
    if (error == std::errc::result_out_of_range && isTooSmall(field)) return 0.0;
    if (error != std::errc{} || !std::isfinite(value)) return std::nullopt;
    return value;
}

std::optional<std::int64_t> wholeInteger(std::string_view field) {
    field = withoutPlus(field);
    const char* const last = field.data() + field.size();
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(field.data(), last, value);
    if (error != std::errc{} || end != last) return std::nullopt;
    return value;
}

std::optional<std::uint64_t> digitsOnly(std::string_view text) {
    const char* const last = text.data() + text.size();
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), last, value);
    if (error != std::errc{} || end != last) return std::nullopt;
    return value;
}

std::string_view trimBlanks(std::string_view text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string_view takeField(std::string_view& text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    std::size_t length = 0;
    while (length < text.size() && !isBlank(text[length]))
        ++length;
    const std::string_view field = text.substr(0, length);
    text.remove_prefix(length);
    return field;
}

std::string_view takeUpTo(std::string_view& text, char end) {
    const std::size_t length = std::min(text.find(end), text.size());
    const std::string_view taken = text.substr(0, length);
    text.remove_prefix(std::min(length + 1, text.size()));
    return taken;
}

void hideControlBytes(std::span<char> text, std::string_view kept) {
    for (char& c : text) {
        const auto code = static_cast<unsigned char>(c);
        const bool isControl = code < ' ' || code == 0x7F;
        if (isControl && kept.find(c) == std::string_view::npos) c = '?';
    }
}

}  // namespace tervolanda
