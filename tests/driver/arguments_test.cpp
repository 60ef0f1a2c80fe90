#include "driver/arguments.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/format.h"
#include "support/support.h"

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

TEST(Arguments, ConvertsNumbersOrKeepsTheDefault) {
    const auto rows = test::tableRows("driver/numbers.txt");
    EXPECT_EQ(rows.size(), 43U);
    for (const auto& row : rows) {
        Arguments arguments = argumentsOf({"-n", row.at(1)});
        const double value =
            row[0] == "real" ? arguments.real("-n", 99.0) : arguments.integer("-n", 99);
        EXPECT_EQ(format("%.15g", value), row.at(2)) << row[0] << ' ' << row[1];
    }
    EXPECT_EQ(argumentsOf({"-n"}).integer("-n", 99), 99);
}

TEST(Arguments, ConvertsANumberAsEarlierScansHaveLeftIt) {
    Arguments arguments = argumentsOf({"-n", "5-3", "last"});
    EXPECT_EQ(arguments.real("-n", 99.0), 5.0);
    EXPECT_FALSE(arguments.hasFlag("-none"));
    EXPECT_EQ(arguments.real("-n", 99.0), -3.0);
}

}  // namespace
}  // namespace tervolanda
