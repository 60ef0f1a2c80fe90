#include "cluster/thresholds.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "cluster/distances.h"

namespace tervolanda {
namespace {

double addedUp(double start, double most, double step, double enough) {
    double value = start;
    while (value < enough && value < most && value + step > value)
        value += step;
    return value;
}

double advancedTo(double start, double most, double step, double enough) {
    ThresholdSequence thresholds(start, most, step);
    thresholds.advanceTo(enough);
    return thresholds.value();
}

TEST(ThresholdSequence, SkipsToTheBitsThatSingleStepsGive) {
    std::mt19937_64 generator(17);
    std::uniform_real_distribution<double> evenly(0.0, 1.0);
    for (int round = 0; round < 2000; ++round) {
        const double start =
            std::ldexp(evenly(generator) - 0.3, static_cast<int>(generator() % 12));
        const double range = std::ldexp(evenly(generator), static_cast<int>(generator() % 12));
        const double step = range * std::pow(10.0, -4.0 * evenly(generator));
        const double enough = start + range * 2.0 * evenly(generator);
        ASSERT_EQ(advancedTo(start, start + range, step, enough),
                  addedUp(start, start + range, step, enough))
            << start << " " << range << " " << step;
    }
}

TEST(ThresholdSequence, SkipsWithTheRoundingOfStepsNearTheSpacingOfDoubles) {
    // Near 4 doubles are 2^-50 apart; steps of k/4 of that round up, down, and to even, and the
    // range crosses into the next spacing at 8.
    const double spacing = std::ldexp(1.0, -50);
    for (int odd = 0; odd < 2; ++odd) {
        for (int quarters = 3; quarters < 24; ++quarters) {
            const double start = 8.0 - (1001 + odd) * spacing;
            const double step = quarters * spacing / 4.0;
            const double most = 8.0 + 2000 * spacing;
            ASSERT_EQ(advancedTo(start, most, step, HUGE_VAL), addedUp(start, most, step, HUGE_VAL))
                << quarters;
        }
    }
}

TEST(ThresholdSequence, EndsAfterAnyNumberOfSteps) {
    // 2^52 steps of one spacing each, and then none has an effect.
    EXPECT_EQ(advancedTo(1.0, 8.0, std::ldexp(1.0, -52), HUGE_VAL), 2.0);
    EXPECT_EQ(advancedTo(4.0, 8.0, 1e-300, HUGE_VAL), 4.0);
    EXPECT_EQ(advancedTo(4.0, 8.0, 0.0, HUGE_VAL), 4.0);
    EXPECT_EQ(advancedTo(4.0, 8.0, -1.0, HUGE_VAL), 4.0);
    EXPECT_EQ(advancedTo(4.0, 8.0, std::nan(""), HUGE_VAL), 4.0);
    EXPECT_EQ(advancedTo(1e308, 1.5e308, 1e308, HUGE_VAL), HUGE_VAL);
    EXPECT_GE(advancedTo(0.0, 1.7e308, 1e293, HUGE_VAL), 1.7e308);
    EXPECT_GT(advancedTo(0.0, 5e-320, 5e-324, HUGE_VAL), 4.9e-320);
    EXPECT_GE(advancedTo(-3.0, 5.0, 1e-15, 4.5), 4.5);
    EXPECT_EQ(advancedTo(4.0, 8.0, 0.5, 4.0), 4.0);
}

TEST(SinglePrecisionLimit, SeparatesEntriesAsTheThresholdDoes) {
    std::mt19937 generator(23);
    for (int round = 0; round < 2000; ++round) {
        const float entry =
            std::ldexp(static_cast<float>(generator()), static_cast<int>(generator() % 60U) - 45) *
            (round % 5 == 0 ? -1.0F : 1.0F);
        const auto exact = static_cast<double>(entry);
        EXPECT_TRUE(entry <= singlePrecisionLimit(exact));
        EXPECT_TRUE(entry <= singlePrecisionLimit(std::nextafter(exact, HUGE_VAL)));
        EXPECT_FALSE(entry <= singlePrecisionLimit(std::nextafter(exact, -HUGE_VAL)));
    }
    EXPECT_FALSE(HUGE_VALF <= singlePrecisionLimit(HUGE_VAL));
    EXPECT_FALSE(-3e38F <= singlePrecisionLimit(-HUGE_VAL));
}

}  // namespace
}  // namespace tervolanda
