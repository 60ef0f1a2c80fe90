#include "driver/result_output.h"

#include <gtest/gtest.h>

namespace tervolanda {
namespace {

TEST(NumberWidth, GrowsWhereTheEntriesNeedAnotherDigit) {
    const struct {
        std::size_t entries;
        int width;
    } cases[] = {{0, 1}, {1, 1}, {9, 1}, {10, 2}, {99, 2}, {100, 3}, {12345, 5}};
    for (const auto& test : cases)
        EXPECT_EQ(numberWidth(test.entries), test.width) << test.entries;
}

TEST(RmsdText, PrintsAFailedFitAsMinusOneAndZeros) {
    EXPECT_EQ(rmsdText(rmsdFigures(std::nullopt, 7, 0.9, 10.0, 11.0)),
              "-1.000 (Pairs=   7, rRMSD=0.000 (  0.00)), URMSD= 0.000 (rURMSD=0.000)");
}

// With 25 pairs the expected URMSD is sqrt(2 - 2.84 / 5) = 1.196662.
TEST(RmsdText, PrintsTheRelativeFigures) {
    RmsdFigures figures = rmsdFigures(2.5, 25, 0.5983, 12.0, 12.0);
    EXPECT_NEAR(figures.relativeUrmsd, 0.49997, 1e-5);
    figures.relative = {0.25, -0.001};  // no negative zero
    EXPECT_EQ(rmsdText(figures),
              " 2.500 (Pairs=  25, rRMSD=0.250 (  0.00)), URMSD= 0.598 (rURMSD=0.500)");
}

TEST(ClusterSettings, TakesNegativeSizesAsNone) {
    Settings settings;
    settings.initialClusterSize = -3;
    settings.minClusterSize = 7;
    const ClusterSettings cluster = clusterSettings(settings, 1.0);
    EXPECT_EQ(cluster.initialSize, 0U);
    EXPECT_EQ(cluster.minSize, 7U);
    EXPECT_EQ(cluster.conversion, 1.0);
}

}  // namespace
}  // namespace tervolanda
