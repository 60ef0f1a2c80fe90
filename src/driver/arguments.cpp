// Options are single words with one dash; nobody checks that a word is a known option, and a value
// that is no number leaves the default in force.  Scripts depend on this leniency, odd as it is in
// places, so it is kept to the letter.
#include "driver/arguments.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "base/text.h"

namespace tervolanda {

namespace {

// "--rmsd" becomes "-rmsd", and "--5", a value, "-5": the lookup does not know which is which.
void dropRepeatedDashes(std::string& argument) {
    std::size_t dropped = 0;
    while (dropped + 1 < argument.size() && argument[dropped + 1] == '-')
        ++dropped;
    argument.erase(0, dropped);
}

}  // namespace

// From the last argument to the first, so that of a repeated flag only the last copies are
// rewritten; text() goes the other way, and so the first of several values counts.
bool Arguments::hasFlag(std::string_view name) {
    for (std::size_t i = values_.size(); i-- > 0;) {
        dropRepeatedDashes(values_[i]);
        if (values_[i] == name) return true;
    }
    return false;
}

std::optional<std::string> Arguments::text(std::string_view name) {
    for (std::size_t i = 0; i + 1 < values_.size(); ++i) {
        dropRepeatedDashes(values_[i]);
        if (values_[i] == name) return values_[i + 1];
    }
    return std::nullopt;
}

int Arguments::integer(std::string_view name, int fallback) {
    const std::optional<std::string> value = text(name);
    if (!value || !isWellFormedInteger(*value)) return fallback;
    // The clamp comes before the cast: a value that does not fit must not wrap into a plausible
    // one.
    constexpr std::int64_t kLowest = std::numeric_limits<int>::min();
    constexpr std::int64_t kHighest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(leadingInteger(*value), kLowest, kHighest));
}

double Arguments::real(std::string_view name, double fallback) {
    const std::optional<std::string> value = text(name);
    return value && isWellFormedReal(*value) ? realValue(*value) : fallback;
}

bool isWellFormedInteger(std::string_view text) {
    if (text.starts_with('-')) text.remove_prefix(1);
    return std::all_of(text.begin(), text.end(), isDigit);
}

bool isWellFormedReal(std::string_view text) {
    bool hasPoint = false;
    bool hasExponent = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool isExponent = c == 'e' || c == 'E';
        if (isDigit(c)) continue;
        if (c == '.' && !hasPoint) {
            hasPoint = true;
        } else if (isExponent && !hasExponent && i > 0) {
            hasExponent = true;
        } else if (c == '+' || c == '-') {
            const bool afterExponent = i > 0 && (text[i - 1] == 'e' || text[i - 1] == 'E');
            // At the front, after an exponent and, oddly, at the second place.
            if (i != 0 && !afterExponent && (i != 1 || hasExponent)) return false;
        } else {
            return false;
        }
    }
    return true;
}

// strtod() in the "C" locale, in which the program runs, and not the readers of base/text.h: what
// may stand in a file is stricter than what may stand in a call.  The check has kept "inf", "nan"
// and hexadecimal digits out.
double realValue(const std::string& text) {
    // An infinite threshold or cut-off would make sums and steps that are no numbers.
    constexpr double kMost = std::numeric_limits<double>::max();
    return std::clamp(std::strtod(text.c_str(), nullptr), -kMost, kMost);
}

}  // namespace tervolanda
