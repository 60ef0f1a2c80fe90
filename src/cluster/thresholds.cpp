// A search from 4 to 8 in steps of 1e-15 has some 4.5e15 thresholds.  Nobody can wait for as many
// additions, and a product would end on other bits.  But between two powers of two all doubles are
// equally far apart, so every addition there rounds the step in the same way and raises the value
// by the same, exactly representable amount; any number of such additions is one exact product.
// (When the step lies half-way between two multiples of the spacing the sum goes to the even one,
// and the amount settles once a value is even: two equal rises in a row show that it has.)
#include "cluster/thresholds.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tervolanda {

namespace {

bool haveSameSpacing(double a, double b) {
    return std::signbit(a) == std::signbit(b) && std::ilogb(a) == std::ilogb(b);
}

// The end, upwards, of the range around `value` in which doubles are equally far apart.
double spacingEnd(double value) {
    const int exponent = std::ilogb(value);
    return value > 0.0 ? std::ldexp(1.0, exponent + 1) : -std::ldexp(1.0, exponent);
}

}  // namespace

// How many more steps certainly raise the value by `rise` and stay below every limit; the margin of
// two covers the rounding of the quotient.
double ThresholdSequence::stepsOfOneSize(double rise, double enough) const {
    const double end =
        std::min({enough, most_, spacingEnd(value_), std::numeric_limits<double>::max()});
    return std::max(std::floor((end - value_) / rise) - 2.0, 0.0);
}

void ThresholdSequence::advanceTo(double enough) {
    while (value_ < enough && !isLast()) {
        const double first = value_;
        advance();
        if (!(value_ < enough) || isLast()) return;
        const double second = value_;
        advance();
        const double rise = value_ - second;
        if (haveSameSpacing(first, value_) && rise == second - first) {
            value_ += rise * stepsOfOneSize(rise, enough);
        }
    }
}

}  // namespace tervolanda
