#include "resultfiles/distance_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "support/support.h"

namespace tervolanda {
namespace {

using test::CapturedLog;
using test::TemporaryFolder;

// Chains that have only what the result files look at: number and file name.
ChainList namedModels(std::span<const std::uint32_t> ids) {
    ChainList models;
    for (const std::uint32_t id : ids) {
        Chain& chain = models.chains.emplace_back();
        chain.number = id;
        chain.fileName = "model_" + std::to_string(id) + ".pdb";
    }
    return models;
}

std::variant<DistanceFile, FormatError> parse(std::string text, ChainList* chains = nullptr) {
    const FileHandle file(fmemopen(text.data(), text.size(), "rb"));
    return parseDistanceFile(file.get(), chains);
}

DistanceFile parsed(const std::string& text, ChainList* chains = nullptr) {
    auto result = parse(text, chains);
    const auto* error = std::get_if<FormatError>(&result);
    EXPECT_EQ(error, nullptr) << error->message;
    return error == nullptr ? std::move(std::get<DistanceFile>(result)) : DistanceFile{};
}

TEST(DistanceFile, WrittenFilesReadBack) {
    const TemporaryFolder folder;
    // IDs in no order, small ones and ones far beyond the number of models.
    const std::vector<std::uint32_t> ids = {7, 2, 4000000000U, 1, 90000, 123456789};
    DistanceMatrix matrix(ids.size(), ids.size(), 0.0F);
    for (std::size_t i = 0; i < ids.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j)
            matrix.at(i, j) = matrix.at(j, i) = static_cast<float>(i * 16 + j) / 64.0F;
    }
    CapturedLog captured;
    const std::string path = folder / "d.txt";
    writeDistanceFile(path, namedModels(ids), matrix, ids, captured.log);
    for (const bool withChains : {false, true}) {
        ChainList chains;
        const auto made = readDistanceFile(path, withChains ? &chains : nullptr, captured.log);
        const auto& read = std::get<std::optional<DistanceFile>>(made);
        ASSERT_TRUE(read);
        EXPECT_EQ(read->ids, ids);
        for (std::size_t k = 0; k < matrix.values().size(); ++k)
            EXPECT_NEAR(read->matrix.values()[k], matrix.values()[k], 0.5e-4 + 1e-6) << k;
        ASSERT_EQ(chains.chains.size(), withChains ? ids.size() : 0U);
        if (withChains) {
            EXPECT_EQ(chains.chains[2].number, ids[2]);
            EXPECT_EQ(chains.chains[2].fileName, "model_4000000000.pdb");
        }
    }
    EXPECT_EQ(captured.error(), "");
}

TEST(DistanceFile, RowsGoToIdsInOrderOfAppearanceAndLaterRecordsWin) {
    const DistanceFile file = parsed(
        "a line of another kind\n SIZE : 9\nDIST? 1 2 3\n#DIST : x\n"
        "SIZE : 2\nDIST : 5 6 1\n"           // forgotten
        "SIZE :\t3 \r\nPDB  : 99 ignored\n"  // no chains are asked for
        "DIST : 20 10 0.5 further fields\n"
        "DIST : +10 30 1e1\r\nDIST : 30 20 4\nDIST :20 30 .25");
    EXPECT_THAT(file.ids, testing::ElementsAre(20, 10, 30));
    EXPECT_THAT(file.matrix.values(),
                testing::ElementsAre(0.0F, 0.5F, 0.25F, 0.5F, 0.0F, 10.0F, 0.25F, 10.0F, 0.0F));
}

TEST(DistanceFile, ChainRecordsTakeTheirRowsBeforeDistances) {
    ChainList chains;
    chains.chains.emplace_back().number = 77;  // of the caller, stays
    const DistanceFile file = parsed(
        "SIZE : 9\nPDB  : 4 forgotten\nSIZE : 2\nPDB  : 8 b.pdb\nPDB  : 4 a b\nDIST : 4 8 3\n",
        &chains);
    EXPECT_THAT(file.ids, testing::ElementsAre(8, 4));
    ASSERT_EQ(chains.chains.size(), 3U);
    EXPECT_EQ(chains.chains[0].number, 77U);
    EXPECT_EQ(chains.chains[1].fileName, "b.pdb");
    EXPECT_EQ(chains.chains[2].number, 4U);
    EXPECT_EQ(chains.chains[2].fileName, "a");
}

TEST(DistanceFile, SizeBeyondTheMemoryIsRefusedBeforeAnythingIsAllocated) {
    for (const std::string digits : {"10000000", "99999999999999999999999999"}) {
        const auto result = parse("SIZE : " + digits + "\n");
        const auto* error = std::get_if<FormatError>(&result);
        ASSERT_NE(error, nullptr);
        EXPECT_THAT(
            error->message,
            testing::StartsWith("Cannot allocate distance matrix of size '" + digits + "'"));
    }
}

TEST(DistanceFile, MissingDistancesAndDoubleIdsAreAllReported) {
    CapturedLog captured;
    EXPECT_FALSE(reportMissingDistances(
        parsed("SIZE : 3\nDIST : 1 2 0\nDIST : 2 3 1\nDIST : 1 2 -0.5\n"), captured.log));
    EXPECT_EQ(captured.error(),
              "ERROR : Missing distance record for 1 - 2\n"
              "ERROR : Missing distance record for 1 - 3\n");

    CapturedLog doubled;  // rows 1 and 3 have one ID
    ChainList chains;
    EXPECT_FALSE(reportMissingDistances(
        parsed("SIZE : 3\nPDB  : 5 a\nPDB  : 6 b\nPDB  : 5 c\nDIST : 5 6 1\n", &chains),
        doubled.log));
    EXPECT_EQ(doubled.error(),
              "ERROR : Missing unique IDs for each Chain file - Check ID: 5\n"
              "ERROR : Missing unique IDs for each Chain file - Check ID: 5\n"
              "ERROR : Missing distance record for 1 - 3\n"
              "ERROR : Missing distance record for 2 - 3\n");

    const TemporaryFolder folder;  // no result, but no error either
    const auto made = readDistanceFile(folder.write("d.txt", "SIZE : 2\n"), nullptr, doubled.log);
    EXPECT_FALSE(std::get<std::optional<DistanceFile>>(made));
}

TEST(DistanceFile, IsRefusedWhenTooMuchOfItIsNoRecord) {
    const std::string records = "SIZE : 2\nDIST : 1 2 1\n";
    const auto of = [](std::size_t length) { return std::string(length, 'x'); };
    const std::size_t limit = RecordLines::kLongestRecord;
    EXPECT_EQ(parsed(records + "#" + of(limit - 3) + "\n").matrix.at(0, 1), 1.0F);
    for (const std::string& rest :
         {of(limit), "DIST :" + of(limit), of(limit / 2) + "\n#" + of(limit / 2)}) {
        EXPECT_TRUE(std::holds_alternative<FormatError>(parse(records + rest)));
    }
}

}  // namespace
}  // namespace tervolanda
