#include "base/text.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "base/format.h"

namespace tervolanda {
namespace {

TEST(LeadingReal, TakesTheDecimalNumberAtTheFront) {
    const struct {
        const char* text;
        double value;
    } cases[] = {
        {"  12.500", 12.5}, {"-0.25abc", -0.25}, {"+3.5", 3.5}, {"1e2", 100.0}, {".5", 0.5},
        {"        ", 0.0},  {"", 0.0},           {"abc", 0.0},  {"+-3", 0.0},   {"++3", 0.0},
        {"nan", 0.0},       {"inf", 0.0},        {"0x10", 0.0}, {"1e999", 0.0}, {"5-3", 5.0},
        {"1.2.3", 1.2},     {"\t7", 7.0},        {"- 1", 0.0},  {"1e", 1.0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(leadingReal(c.text), c.value) << c.text;
}

TEST(LeadingInteger, TakesTheWholeNumberAtTheFrontAndSaturates) {
    EXPECT_EQ(leadingInteger("  42x"), 42);
    EXPECT_EQ(leadingInteger(" -12"), -12);
    EXPECT_EQ(leadingInteger("+7"), 7);
    EXPECT_EQ(leadingInteger("x"), 0);
    EXPECT_EQ(leadingInteger("99999999999999999999"), INT64_MAX);
    EXPECT_EQ(leadingInteger("-99999999999999999999"), INT64_MIN);
}

TEST(WholeNumbers, RefuseAnythingBehindOrBeforeThem) {
    EXPECT_EQ(wholeReal("+1.5"), 1.5);
    EXPECT_EQ(wholeInteger("-3"), -3);
    for (const char* text : {"1e-400", "-0.5e-999999999999999999999", "0e99999", "0.0"})
        EXPECT_EQ(wholeReal(text), 0.0) << text;
    EXPECT_EQ(wholeReal("4e-320"), 4e-320);
    EXPECT_EQ(wholeReal(std::string(400, '0') + "1"), 1.0);
    EXPECT_EQ(wholeReal("." + std::string(400, '0') + "1"), 0.0);
    for (const char* text : {"1e400", "-1e400", "0.5e99999999999999999999"})
        EXPECT_FALSE(wholeReal(text)) << text;
    EXPECT_FALSE(wholeReal(std::string(400, '9')));
    for (const char* text : {"", "1x", " 1", "1 ", "nan", "inf", "0x1", "+-1", "1e-400x"}) {
        EXPECT_FALSE(wholeReal(text)) << text;
        EXPECT_FALSE(wholeInteger(text)) << text;
    }
    EXPECT_EQ(digitsOnly("0010"), 10U);
    for (const char* text : {"", "-1", "+1", "1.0", "1 ", "99999999999999999999"}) {
        EXPECT_FALSE(digitsOnly(text)) << text;
    }
}

TEST(Fields, AreTakenBetweenBlanksAndControlCharacters) {
    std::string_view text = " \tone  two\r\n";
    EXPECT_EQ(takeField(text), "one");
    EXPECT_EQ(takeField(text), "two");
    EXPECT_EQ(takeField(text), "");
    EXPECT_EQ(trimBlanks(" \ta b\r\n"), "a b");
    EXPECT_EQ(trimBlanks(" \n"), "");
}

TEST(ControlBytes, AreHiddenAndTextBeyondAsciiIsNot) {
    std::string text = "\x1B]0;é\x07 \x7F~\xC2\x9B\r\t\n";
    hideControlBytes(text, "\n");
    EXPECT_EQ(text, "?]0;é? ?~\xC2\x9B??\n");
}

TEST(FixedText, KeepsItsWidth) {
    EXPECT_EQ(FixedText<4>("CA").view(), "CA  ");
    EXPECT_EQ(FixedText<2>("ABC").view(), "AB");
    EXPECT_STREQ(FixedText<3>("GLY").text(), "GLY");
}

TEST(Format, WritesTextsOfAnyLength) {
    const std::string long_text(100000, 'x');
    EXPECT_EQ(format("%s %d", long_text.c_str(), 5), long_text + " 5");
    EXPECT_EQ(format("%c|", '\0'), std::string("\0|", 2));
}

TEST(WithoutNegativeZero, ChangesOnlyWhatPrintsAsOne) {
    EXPECT_EQ(format("%.3f", withoutNegativeZero(-0.0004, 3)), "0.000");
    EXPECT_EQ(format("%.3f", withoutNegativeZero(-0.0, 3)), "0.000");
    EXPECT_EQ(format("%.3f", withoutNegativeZero(-0.0006, 3)), "-0.001");
    EXPECT_EQ(format("%.3f", withoutNegativeZero(-0.0005, 3)), "-0.001");
    EXPECT_EQ(withoutNegativeZero(0.0004, 3), 0.0004);
}

}  // namespace
}  // namespace tervolanda
