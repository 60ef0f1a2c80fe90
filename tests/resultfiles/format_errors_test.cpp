// format_errors.txt: kind of file | its lines, " / " for line ends | the message.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "resultfiles/distance_file.h"
#include "resultfiles/transformation_file.h"

namespace tervolanda {
namespace {

template <typename Parsed>
std::string messageOf(const std::variant<Parsed, FormatError>& result) {
    const auto* error = std::get_if<FormatError>(&result);
    return error == nullptr ? "no error" : error->message;
}

TEST(FormatErrors, HaveTheirMessages) {
    std::ifstream table(TERVOLANDA_SOURCE_DIR "/tests/resultfiles/format_errors.txt");
    int cases = 0;
    for (std::string row; std::getline(table, row); ++cases) {
        const std::size_t first = row.find(" | ");
        const std::size_t second = row.find(" | ", first + 3);
        ASSERT_NE(second, std::string::npos) << row;
        std::string text = row.substr(first + 3, second - first - 3) + "\n";
        for (std::size_t at = text.find(" / "); at != std::string::npos; at = text.find(" / "))
            text.replace(at, 3, "\n");
        const FileHandle file(fmemopen(text.data(), text.size(), "rb"));
        ChainList chains;
        const std::string message = row.starts_with("distance")
                                        ? messageOf(parseDistanceFile(file.get(), &chains))
                                        : messageOf(parseMaxSubFile(file.get()));
        EXPECT_EQ(message, row.substr(second + 3)) << row;
    }
    EXPECT_EQ(cases, 40);
}

}  // namespace
}  // namespace tervolanda
