// The library's conversion is the other way to the same text.
#include <gtest/gtest.h>

#include <array>
#include <charconv>
#include <cmath>
#include <random>

#include "export/export_text.h"

namespace tervolanda {
namespace {

std::string byLibrary(double value) {
    std::array<char, 32> text;
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

std::string ours(double value) {
    std::string text;
    appendNumber(text, value);
    return text;
}

TEST(ShortestNumber, IsTheLibrarysForNumbersOfAnyLengthAndSize) {
    std::mt19937_64 random(2026);
    std::uniform_real_distribution<double> mantissa(1.0, 10.0);
    for (int i = 0; i < 300'000; ++i) {
        // Sizes beyond both ends of the range, half of the numbers of few digits in base 2 or 10.
        double value = mantissa(random) * std::pow(10.0, i % 13 - 5);
        if (i % 4 == 1) value = static_cast<double>(static_cast<float>(value));
        if (i % 4 == 2) value = std::round(value * 1000.0) / 1000.0;
        if (i % 4 == 3) value = std::ldexp(std::floor(value * 1024.0), -12);
        if (i % 2 == 1) value = -value;
        if (value == 0.0) continue;
        ASSERT_EQ(ours(value), byLibrary(value));
    }
}

TEST(ShortestNumber, IsTheLibrarysBesidePowersOfTenAndOfTwo) {
    for (int exponent = -4; exponent <= 6; ++exponent) {
        for (const double power : {std::pow(10.0, exponent), std::ldexp(1.0, 3 * exponent)}) {
            double value = std::nextafter(std::nextafter(power, 0.0), 0.0);
            for (int step = 0; step < 5; ++step, value = std::nextafter(value, 1e9))
                EXPECT_EQ(ours(value), byLibrary(value));
        }
    }
    EXPECT_EQ(ours(-0.0), "0");
}

}  // namespace
}  // namespace tervolanda
