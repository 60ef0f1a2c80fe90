// The options of one dash, and names that were meant.
//
// Nothing here reads a value: settings.cpp does, option by option.  The table is for those who must
// tell an option from a value or a file name: the positional form, in which files stand between
// options, strict runs, and messages about names that are none.
#pragma once

#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tervolanda {

inline constexpr unsigned int kMaxIterations = 200;  // of -i

// What follows an option.
enum class OptionValue {
    None,
    Text,
    Integer,
    Real,
    PerhapsReal,  // the next argument if it looks like a number
};

// Limits concern strict runs (strict.cpp); all others take what settings.cpp makes of a number.
struct Option {
    std::string_view name;
    OptionValue value = OptionValue::None;
    // Other numbers are replaced in silence, by a limit or by the default.
    double least = -std::numeric_limits<double>::infinity();
    double most = std::numeric_limits<double>::infinity();

    bool takesNext() const {
        return value != OptionValue::None && value != OptionValue::PerhapsReal;
    }
};

// All of them.
std::span<const Option> options();

// The one of this name, dash and all; nullptr for none.
const Option* findOption(std::string_view name);

// For messages about `name`, which is none of these names: ", the nearest is 'x'" for the one that
// takes the fewest changes to be `name`, unless half of its letters would have to change.
std::string nearestText(std::string_view name, const std::vector<std::string_view>& names,
                        std::string_view dashes);

}  // namespace tervolanda
