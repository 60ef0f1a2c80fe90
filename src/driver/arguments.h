// The argument vector and the four ways to look an option up in it.
//
// For the older options alone; those with two dashes are taken out before (own_options.h).  Nothing
// here knows which options there are: settings.cpp looks up one name after the other, each by the
// way that fits its value.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tervolanda {

// A lookup rewrites every argument that it visits: while the second character is a dash the first
// one is dropped, so that "--help" is "-help" from then on.  The order of lookups therefore
// matters, and values are copies of the text as it stood when it was found.
class Arguments {
 public:
    // The program name comes first.
    explicit Arguments(std::vector<std::string> values) : values_(std::move(values)) {}

    std::size_t count() const { return values_.size(); }
    const std::string& operator[](std::size_t i) const { return values_[i]; }

    // Whether an argument is `name`; from the last one to the first.
    bool hasFlag(std::string_view name);
    // The argument after the first one that is `name`, whatever it is; none where `name` is absent
    // or the last argument.
    std::optional<std::string> text(std::string_view name);
    // The value as a number; `fallback` where it is absent or malformed.  Integers saturate.
    int integer(std::string_view name, int fallback);
    double real(std::string_view name, double fallback);

 private:
    std::vector<std::string> values_;
};

// Digits after at most one leading dash; the empty text and a lone dash are well formed, too.
bool isWellFormedInteger(std::string_view text);

// The check a real value has to pass.  It is lenient: the empty text passes, and a sign may stand
// at the second place ("5-3", which converts to 5).
bool isWellFormedReal(std::string_view text);

// The number at the start of a text that passes the check, 0 where there is none.  What is too
// large for a double is the largest one.
double realValue(const std::string& text);

}  // namespace tervolanda
