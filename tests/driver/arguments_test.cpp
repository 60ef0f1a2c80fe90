#include "driver/arguments.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace tervolanda {
namespace {

Arguments argumentsOf(std::vector<std::string> values) {
    values.insert(values.begin(), "tervolanda");
    return Arguments(std::move(values));
}

TEST(Arguments, DropsRepeatedDashesInPlaceByTheSecondCharacterAlone) {
    Arguments arguments = argumentsOf({"--help", "---T", "----", "1-abc.pdb", "a--b", "-x-y", "-"});
    EXPECT_FALSE(arguments.hasFlag("-none"));
    const std::vector<std::string> expected = {"-help", "-T", "-", "-abc.pdb", "-b", "-x-y", "-"};
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(arguments[i + 1], expected[i]);
}

TEST(Arguments, VisitsUpToTheOneThatMatches) {
    Arguments arguments = argumentsOf({"--a", "--b", "--c"});
    EXPECT_TRUE(arguments.hasFlag("-b"));  // from the last one
    EXPECT_EQ(arguments[1], "--a");
    EXPECT_EQ(arguments[3], "-c");
    EXPECT_EQ(arguments.text("-a"), "-b");  // from the first one
}

TEST(Arguments, TakesTheTextBehindTheFirstMatchWhateverItIs) {
    Arguments arguments = argumentsOf({"-e", "-p", "-p", "b.pdb", "-R"});
    EXPECT_EQ(arguments.text("-e"), "-p");
    EXPECT_EQ(arguments.text("-p"), "-p");
    EXPECT_EQ(arguments.text("-R"), std::nullopt);  // last: no value
    EXPECT_EQ(arguments.text("-l"), std::nullopt);
    EXPECT_TRUE(arguments.hasFlag("-R"));
}

TEST(Arguments, ConvertsIntegersOrKeepsTheDefault) {
    const std::pair<const char*, int> cases[] = {{"12", 12},
                                                 {"-12", -12},
                                                 {"", 0},
                                                 {"-", 0},
                                                 {"007", 7},
                                                 {"2147483648", 2147483647},
                                                 {"99999999999999999999", 2147483647},
                                                 {"-99999999999999999999", -2147483647 - 1},
                                                 {"+5", 99},
                                                 {"1.0", 99},
                                                 {" 1", 99},
                                                 {"x", 99},
                                                 {"1-", 99},
                                                 {"0x1", 99}};
    for (const auto& [text, value] : cases)
        EXPECT_EQ(argumentsOf({"-n", text}).integer("-n", 99), value) << text;
    EXPECT_EQ(argumentsOf({"-n"}).integer("-n", 99), 99);
}

TEST(Arguments, ConvertsRealsByTheLenientCheckOrKeepsTheDefault) {
    constexpr double kMost = std::numeric_limits<double>::max();
    const std::pair<const char*, double> cases[] = {
        {"3.5", 3.5},       {"-.5", -0.5},   {"+2", 2.0},   {"1e3", 1000.0}, {"1E-2", 0.01},
        {"1e+2", 100.0},    {"", 0.0},       {"-", 0.0},    {".", 0.0},      {"5-3", 5.0},
        {"5+3", 5.0},       {"+-5", 0.0},    {"2e", 2.0},   {"1e5.5", 1e5},  {"1e999", kMost},
        {"-1e999", -kMost}, {"1e-999", 0.0}, {"e5", 99.0},  {"1.2.3", 99.0}, {"1e2e3", 99.0},
        {"12-3", 99.0},     {"1e2-", 99.0},  {"abc", 99.0}, {"1,5", 99.0},   {"nan", 99.0},
        {"inf", 99.0},      {"0x10", 99.0},  {" 1", 99.0},  {"1 ", 99.0}};
    for (const auto& [text, value] : cases)
        EXPECT_EQ(argumentsOf({"-n", text}).real("-n", 99.0), value) << text;
}

TEST(Arguments, ConvertsANumberAsEarlierScansHaveLeftIt) {
    Arguments arguments = argumentsOf({"-n", "5-3", "last"});
    EXPECT_EQ(arguments.real("-n", 99.0), 5.0);
    EXPECT_FALSE(arguments.hasFlag("-none"));
    EXPECT_EQ(arguments.real("-n", 99.0), -3.0);
}

}  // namespace
}  // namespace tervolanda
