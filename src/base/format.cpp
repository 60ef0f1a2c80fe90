// One measuring call to vsnprintf, one that writes; short texts, nearly all, need only the first.
#include "base/format.h"

#include <array>
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
