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

TEST(DistanceFile, IsWrittenToTheByteWithTheIdsOfAListThatHasAGap) {
    const TemporaryFolder folder;
    const std::vector<std::uint32_t> ids = {1, 3, 4};
    DistanceMatrix matrix(3, 3, 9.0F);  // only the values below the diagonal are written
    matrix.at(1, 0) = 1.25F;
    matrix.at(2, 0) = -1.0F;
    matrix.at(2, 1) = 123.45678F;
    CapturedLog captured;
    const std::string path = folder / "d.txt";
    EXPECT_EQ(writeDistanceFile(path, namedModels(ids), matrix, ids, captured.log),
              FileOutcome::Written);
    EXPECT_EQ(captured.output(), "INFO  : Printing distance file " + path + "\n");
    EXPECT_EQ(test::readFile(path),
              "###################################\n"
              "# Tervolanda Distance Matrix File\n"
              "###################################\n"
              "SIZE : 3\n"
              "##########################\n"
              "# Chain records\n"
              "# PDB  : <ID> <Filename>\n"
              "##########################\n"
              "PDB  :      1   model_1.pdb\n"
              "PDB  :      3   model_3.pdb\n"
              "PDB  :      4   model_4.pdb\n"
              "###################################\n"
              "# Distance records\n"
              "# DIST : <ID1> <ID2> <Distance>\n"
              "###################################\n"
              "DIST :      1      3     1.2500\n"
              "DIST :      1      4    -1.0000\n"
              "DIST :      3      4   123.4568\n");
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
        const auto read = readDistanceFile(path, withChains ? &chains : nullptr, captured.log);
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

TEST(DistanceFile, FormatErrorsHaveTheirMessages) {
    const std::string size = "Failed to determine size of distance matrix from line: ";
    const std::string distance =
        "Incorrect distance record,  require 'DIST : <ID> <ID> <Distance>' - Check: ";
    const std::string chain = "Incorrect Chain record, require 'PDB  : <ID> <Filename>' - Check: ";
    const std::string before = "Failed to determine size of matrix before ";
    const std::string require = " records. Require header 'SIZE : <N>'";
    const std::pair<std::string, std::string> cases[] = {
        {"SIZE : -3\n", size + "SIZE : -3"},
        {"SIZE : 3.0 \n", size + "SIZE : 3.0"},
        {"SIZE :\n", size + "SIZE :"},
        {"SIZE : 3 3\n", size + "SIZE : 3 3"},
        {"SIZE : 00\n", "Cannot have zero size distance matrix: '00' SIZE : 00"},
        {"nothing\n", before + "distance" + require},
        {"DIST : 1 2 3\nSIZE : 2\n", before + "distance" + require},
        {"PDB  : 1 a\nSIZE : 2\n", before + "Chain" + require},
        {"SIZE : 2\nPDB  : 1\n", chain + "'PDB  : 1'"},
        {"SIZE : 2\nPDB  : -1 a\n", chain + "'PDB  : -1 a'"},
        {"SIZE : 1\nPDB  : 1 a\nPDB  : 2 b\n", chain + "'PDB  : 2 b'"},
        {"SIZE : 2\nDIST : 1 2\n", distance + "'DIST : 1 2'"},
        {"SIZE : 2\nDIST : 1 2x 3 \r\n", distance + "'DIST : 1 2x 3'"},
        {"SIZE : 2\nDIST : 0 1 3\n", distance + "'DIST : 0 1 3'"},
        {"SIZE : 2\nDIST : 1 4294967296 3\n", distance + "'DIST : 1 4294967296 3'"},
        {"SIZE : 2\nDIST : 1 2 nan\n", distance + "'DIST : 1 2 nan'"},
        {"SIZE : 2\nDIST : 1 2 1e39\n", distance + "'DIST : 1 2 1e39'"},
        {"SIZE : 2\nDIST : 1 2 0x10\n", distance + "'DIST : 1 2 0x10'"},
        {"SIZE : 2\nDIST : 1 2 3\nDIST : 1 3 3\n", distance + "'DIST : 1 3 3'"},
    };
    for (const auto& [text, message] : cases) {
        ChainList chains;
        const auto result = parse(text, &chains);
        const auto* error = std::get_if<FormatError>(&result);
        ASSERT_NE(error, nullptr) << text;
        EXPECT_EQ(error->message, message);
    }
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

    CapturedLog unfilled;
    EXPECT_FALSE(reportMissingDistances(parsed("SIZE : 3\nDIST : 5 5 1\n"), unfilled.log));
    EXPECT_THAT(unfilled.error(),
                testing::StartsWith("ERROR : Missing unique IDs for each Chain file - Check ID: 0\n"
                                    "ERROR : Missing unique IDs for each Chain file - Check ID: 0\n"
                                    "ERROR : Missing distance record for 1 - 2\n"));

    const TemporaryFolder folder;  // no result, but no fatal end either
    EXPECT_FALSE(readDistanceFile(folder.write("d.txt", "SIZE : 2\n"), nullptr, unfilled.log));
}

TEST(DistanceFile, RestOfALineOfAnyLengthIsNoLineOfItsOwn) {
    std::string text = "SIZE : 2\nDIST : 1 2 1\n#";
    text.append(RecordLines::kLongestRecord - 1, 'x');
    text += "DIST : not a record\n";
    EXPECT_EQ(parsed(text).matrix.at(0, 1), 1.0F);
}

TEST(DistanceFileDeathTest, UnreadableAndMalformedFilesEndTheRunWithStatusOne) {
    const TemporaryFolder folder;
    Log log;
    EXPECT_EXIT(readDistanceFile(folder / "none", nullptr, log), testing::ExitedWithCode(1),
                testing::HasSubstr("ABEND : Can't open distance file '" + (folder / "none") +
                                   "' - Unknown error."));
    const std::string path = folder.write("bad", "SIZE : 2\nDIST : %s %n 1\n");
    EXPECT_EXIT(readDistanceFile(path, nullptr, log), testing::ExitedWithCode(1),
                testing::HasSubstr("Check: 'DIST : %s %n 1'"));
}

TEST(DistanceFile, WriterTellsAFileItCannotCreateFromOneItCannotFinish) {
    const TemporaryFolder folder;
    CapturedLog captured;
    const std::vector<std::uint32_t> ids = {1, 2};
    const DistanceMatrix matrix(2, 2, 1.0F);
    const std::string nowhere = folder / "no/folder";
    EXPECT_EQ(writeDistanceFile(nowhere, namedModels(ids), matrix, ids, captured.log),
              FileOutcome::NotCreated);
    EXPECT_EQ(writeDistanceFile("/dev/full", namedModels(ids), matrix, ids, captured.log),
              FileOutcome::Incomplete);
    EXPECT_EQ(captured.error(), "ERROR : Can't open distance file '" + nowhere +
                                    "' - Unknown error.\n"
                                    "ERROR : Failed to write file '/dev/full' - Unknown error.\n");
}

}  // namespace
}  // namespace tervolanda
