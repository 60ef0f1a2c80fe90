#include "driver/format_expansion.h"

#include <gtest/gtest.h>

#include "support/support.h"

namespace tervolanda {
namespace {

TEST(ExpandAsFormat, GivesWhatTheTableSays) {
    const auto rows = test::tableRows("driver/format_expansion.txt");
    EXPECT_EQ(rows.size(), 36U);
    for (const auto& row : rows)
        EXPECT_EQ(expandAsFormat(row.at(0)), row.at(1)) << row[0];
    EXPECT_EQ(expandAsFormat("%*"), "%*");
    EXPECT_EQ(expandAsFormat("%999999999d").size(), 4095U);
    EXPECT_EQ(expandAsFormat("%.99999999999999999999d").size(), 4095U);
    EXPECT_EQ(expandAsFormat("%99999999999.99999999999f").size(), 4097U);
}

}  // namespace
}  // namespace tervolanda
