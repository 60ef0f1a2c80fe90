// One measuring call to vsnprintf, one that writes; short texts, nearly all, need only the first.
#include "base/format.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace tervolanda {

void formatListTo(std::string& text, const char* pattern, std::va_list arguments) {
    std::array<char, 512> buffer;  // longer than nearly every line of the program
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(buffer.data(), buffer.size(), pattern, arguments);
    const auto size = static_cast<std::size_t>(length > 0 ? length : 0);
    if (size < buffer.size()) {
        text.assign(buffer.data(), size);
    } else {
        text.resize(size);
        std::vsnprintf(text.data(), size + 1, pattern, again);
    }
    va_end(again);
}

std::string formatList(const char* pattern, std::va_list arguments) {
    std::string text;
    formatListTo(text, pattern, arguments);
    return text;
}

std::string format(const char* pattern, ...) {
    std::va_list arguments;
    va_start(arguments, pattern);
    std::string text = formatList(pattern, arguments);
    va_end(arguments);
    return text;
}

// Scaled to a whole number the value is off by less than 1e-7, half of the last bit of what is
// below 2^30.  So the rounding is certain, but beside the middle between two whole numbers, where
// the value's exact digits decide, which printf works out.
void appendFixed(std::string& text, double value, int decimals) {
    constexpr std::array<double, 7> kScales = {1, 10, 100, 1e3, 1e4, 1e5, 1e6};
    constexpr double kMost = 1e9;
    constexpr double kUncertain = 1e-6;
    const auto places = static_cast<std::size_t>(decimals);
    const double scaled = places < kScales.size() ? std::abs(value) * kScales[places] : kMost;
    const auto below = static_cast<std::uint32_t>(scaled < kMost ? scaled : 0.0);
    const double rest = scaled - below;
    if (!(scaled < kMost) || std::abs(rest - 0.5) < kUncertain) {
        text += format("%.*f", decimals, withoutNegativeZero(value, decimals));
        return;
    }
    const std::uint32_t number = below + (rest > 0.5 ? 1 : 0);
    if (value < 0.0 && number > 0) text += '-';
    std::array<char, 16> digits;
    char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    const auto count = static_cast<std::size_t>(end - digits.data());
    const std::size_t whole = count > places ? count - places : 0;
    if (whole == 0) text += '0';
    text.append(digits.data(), whole);
    if (places == 0) return;
    text += '.';
    text.append(places - (count - whole), '0');
    text.append(digits.data() + whole, count - whole);
}

double withoutNegativeZero(double value, int decimals) {
    double unit = 1.0;  // of the last decimal: what is that large has a digit
    for (int i = 0; i < decimals; ++i)
        unit /= 10.0;
    if (!(value <= 0.0 && value > -unit)) return value;
    if (value == 0.0) return 0.0;
    const std::string text = format("%.*f", decimals, value);
    return text.find_first_of("123456789") == std::string::npos ? 0.0 : value;
}

}  // namespace tervolanda
