#include "base/text.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "base/format.h"
#include "support/support.h"

namespace tervolanda {
namespace {

template <typename Number>
std::string shown(const std::optional<Number>& number) {
    if (!number) return "none";
    if constexpr (std::is_floating_point_v<Number>) return format("%.15g", *number);
    return std::to_string(*number);
}

TEST(Numbers, AreWhatTheTableSays) {
    const std::map<std::string, std::string (*)(std::string_view)> functions = {
        {"leadingReal", [](std::string_view s) { return shown(std::optional(leadingReal(s))); }},
        {"leadingInteger", [](std::string_view s) { return std::to_string(leadingInteger(s)); }},
        {"wholeReal", [](std::string_view s) { return shown(wholeReal(s)); }},
        {"wholeInteger", [](std::string_view s) { return shown(wholeInteger(s)); }},
        {"digitsOnly", [](std::string_view s) { return shown(digitsOnly(s)); }}};
    const auto rows = test::tableRows("base/numbers.txt");
    EXPECT_EQ(rows.size(), 58U);
    for (const auto& row : rows)
        EXPECT_EQ(functions.at(row.at(0))(row.at(1)), row.at(2)) << row[0] << ' ' << row[1];
    const std::string zeros(400, '0');
    EXPECT_EQ(wholeReal(zeros + "1"), 1.0);
    EXPECT_EQ(wholeReal("." + zeros + "1"), 0.0);
    EXPECT_FALSE(wholeReal(std::string(400, '9')));
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
    const std::string longText(100000, 'x');
    EXPECT_EQ(format("%s %d", longText.c_str(), 5), longText + " 5");
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
