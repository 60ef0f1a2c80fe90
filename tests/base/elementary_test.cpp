#include "base/elementary.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>

namespace tervolanda {
namespace {

// How many doubles apart two of one sign are.
std::int64_t unitsBetween(double a, double b) {
    return std::abs(std::bit_cast<std::int64_t>(a) - std::bit_cast<std::int64_t>(b));
}

// The C library's results differ between processors in the last bit, hence one unit.
TEST(Elementary, PowersAndExponentialsOfAllLengthsAreThoseOfTheCLibrary) {
    for (int length = 0; length <= 20000; ++length) {
        const double n = length;
        for (const double exponent : {0.33333, 0.3, 0.38}) {
            EXPECT_LE(unitsBetween(power(n, exponent), std::pow(n, exponent)), 1)
                << length << "^" << exponent;
        }
        for (const double scale : {1.6, 4.7, 36.0, 37.0}) {
            EXPECT_LE(unitsBetween(exponential(-n / scale), std::exp(-n / scale)), 1)
                << "exp(-" << length << "/" << scale << ")";
        }
    }
    EXPECT_EQ(power(1e300, 4.0), HUGE_VAL);
    EXPECT_LE(unitsBetween(power(1e300, 1e-3), std::pow(1e300, 1e-3)), 1);
    EXPECT_LE(unitsBetween(exponential(700.3), std::exp(700.3)), 1);
}

TEST(Elementary, SineAndCosineAreThoseOfTheCLibrary) {
    for (int i = -2000; i <= 2000; ++i) {
        const double angle = 0.001 * i;
        EXPECT_NEAR(sine(angle), std::sin(angle), 4e-16) << angle;
        EXPECT_NEAR(cosine(angle), std::cos(angle), 4e-16) << angle;
    }
}

}  // namespace
}  // namespace tervolanda
