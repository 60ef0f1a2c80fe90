#include "driver/format_expansion.h"

#include <gtest/gtest.h>

#include <string>

#include "base/format.h"

namespace tervolanda {
namespace {

TEST(ExpandAsFormat, ExpandsWhatFileNamesContain) {
    EXPECT_EQ(expandAsFormat("model.pdb"), "model.pdb");
    EXPECT_EQ(expandAsFormat(""), "");
    EXPECT_EQ(expandAsFormat("100%%.pdb"), "100%.pdb");
    EXPECT_EQ(expandAsFormat("a%sb%db%nc"), "ab0bc");
    EXPECT_EQ(expandAsFormat("%%d %%%d"), "%d %0");
}

TEST(ExpandAsFormat, LeavesAloneWhatIsNoConversion) {
    for (const char* text : {"%", "50%", "%y", "%5", "%-", "%.", "%ll", "%1$d", "%*", "%\xff"}) {
        EXPECT_EQ(expandAsFormat(text), text);
    }
    EXPECT_EQ(expandAsFormat("%y%d"), "%y0");
}

// printf itself says what a zero looks like.
TEST(ExpandAsFormat, WritesZerosAsPrintfDoes) {
#define EXPECT_AS_PRINTF(pattern, zero) EXPECT_EQ(expandAsFormat(pattern), format(pattern, zero))
    EXPECT_AS_PRINTF("[%5d]", 0);
    EXPECT_AS_PRINTF("[%05d]", 0);
    EXPECT_AS_PRINTF("[%+05d]", 0);
    EXPECT_AS_PRINTF("[%.0d]", 0);
    EXPECT_AS_PRINTF("[%6.3d]", 0);
    EXPECT_AS_PRINTF("[%lli]", 0LL);
    EXPECT_AS_PRINTF("[%#x]", 0U);
    EXPECT_AS_PRINTF("[%#.0o]", 0U);
    EXPECT_AS_PRINTF("[%04X]", 0U);
    EXPECT_AS_PRINTF("[%08.2f]", 0.0);
    EXPECT_AS_PRINTF("[%+.0F]", 0.0);
    EXPECT_AS_PRINTF("[%#.0f]", 0.0);
    EXPECT_AS_PRINTF("[%.2E]", 0.0);
    EXPECT_AS_PRINTF("[%#g]", 0.0);
    EXPECT_AS_PRINTF("[%#.0G]", 0.0);
    EXPECT_AS_PRINTF("[%010.2A]", 0.0);
    EXPECT_AS_PRINTF("[%Lf]", 0.0L);
    EXPECT_AS_PRINTF("[%-5.2s]", "");
#undef EXPECT_AS_PRINTF
}

TEST(ExpandAsFormat, BoundsWidthAndPrecision) {
    EXPECT_EQ(expandAsFormat("%999999999d").size(), 4095U);
    EXPECT_EQ(expandAsFormat("%.99999999999999999999d").size(), 4095U);
    EXPECT_EQ(expandAsFormat("%99999999999.99999999999f").size(), 4097U);
    EXPECT_EQ(expandAsFormat("%.999999999s"), "");
    EXPECT_EQ(expandAsFormat("%*.*d|"), "|");  // both taken as 0
}

}  // namespace
}  // namespace tervolanda
