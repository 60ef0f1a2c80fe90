// parsing.txt: what is read of result files, and what is said of those that cannot be read.
#include <gtest/gtest.h>

#include <string>

#include "base/format.h"
#include "resultfiles/distance_file.h"
#include "resultfiles/maxsub_reader.h"
#include "support/support.h"

namespace tervolanda {
namespace {

template <typename T>
std::string shown(const Matrix<T>& matrix) {
    std::string text = ";";
    for (const T value : matrix.values())
        text += format(" %g", static_cast<double>(value));
    return text;
}

// IDs; names of chains; matrices, row by row; then the ERROR lines about what is missing, and
// whether it can be used as it is.
std::string described(const std::vector<std::uint32_t>& ids, const ChainList& chains,
                      const std::string& matrices, bool isComplete, std::string errors) {
    std::string text;
    for (const std::uint32_t id : ids)
        text += std::to_string(id) + " ";
    text += ";";
    for (const Chain& chain : chains.chains)
        text += format(" %u=%s", chain.number, chain.fileName.c_str());
    for (std::size_t at = 0; (at = errors.find("ERROR : ", at)) != std::string::npos;)
        errors.replace(at, 8, "; ");
    std::erase(errors, '\n');
    return text + matrices + errors + (isComplete ? "" : "; incomplete");
}

std::string distancesIn(std::FILE* file, bool withChains) {
    ChainList chains;
    if (withChains) chains.chains.emplace_back().number = 77;  // of the caller, stays
    const auto parsed = parseDistanceFile(file, withChains ? &chains : nullptr);
    if (const auto* error = std::get_if<FormatError>(&parsed)) return error->message;
    const auto& found = std::get<DistanceFile>(parsed);
    test::CapturedLog captured;
    const bool isComplete = reportMissingDistances(found, captured.log);
    return described(found.ids, chains, shown(found.matrix), isComplete, captured.error());
}

std::string distancesIn(std::string text) {
    return distancesIn(FileHandle(fmemopen(text.data(), text.size(), "rb")).get(), false);
}

std::string scoresIn(std::FILE* file) {
    const auto parsed = parseMaxSubFile(file);
    if (const auto* error = std::get_if<FormatError>(&parsed)) return error->message;
    const auto& found = std::get<ParsedMaxSubFile>(parsed);
    test::CapturedLog captured;
    const bool isComplete = reportMissingMaxSubRecords(found, captured.log);
    const std::string matrices = shown(found.file.scores) + shown(found.file.pairs);
    return described(found.file.ids, {}, matrices, isComplete, captured.error());
}

TEST(ResultFiles, AreReadAsTheTableSays) {
    const auto rows = test::tableRows("resultfiles/parsing.txt");
    EXPECT_EQ(rows.size(), 57U);
    for (const auto& row : rows) {
        std::string text = row.at(1) + "\n";
        for (std::size_t at = text.find(" / "); at != std::string::npos; at = text.find(" / "))
            text.replace(at, 3, "\n");
        const FileHandle file(fmemopen(text.data(), text.size(), "rb"));
        const std::string found = row[0] == "maxsub"
                                      ? scoresIn(file.get())
                                      : distancesIn(file.get(), row[0] == "distance");
        EXPECT_EQ(found, row.at(2)) << row[1];
    }
}

TEST(DistanceFile, SizeBeyondTheMemoryIsRefusedBeforeAnythingIsAllocated) {
    for (const std::string digits : {"10000000", "99999999999999999999999999"}) {
        const std::string message = "Cannot allocate distance matrix of size '" + digits + "'";
        EXPECT_TRUE(distancesIn("SIZE : " + digits + "\n").starts_with(message)) << digits;
    }
}

TEST(DistanceFile, IsRefusedWhenTooMuchOfItIsNoRecord) {
    const std::string records = "SIZE : 2\nDIST : 1 2 1\n", whole = "1 2 ;; 0 1 1 0";
    const auto of = [](std::size_t length) { return std::string(length, 'x'); };
    const std::size_t limit = RecordLines::kLongestRecord;
    EXPECT_EQ(distancesIn(records + "#" + of(limit - 3) + "\n"), whole);
    for (const std::string& rest :
         {of(limit), "DIST :" + of(limit), of(limit / 2) + "\n#" + of(limit / 2)})
        EXPECT_NE(distancesIn(records + rest), whole);
}

}  // namespace
}  // namespace tervolanda
