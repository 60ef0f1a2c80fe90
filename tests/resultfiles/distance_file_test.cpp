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

std::variant<DistanceFile, FormatError> parse(std::string text) {
    const FileHandle file(fmemopen(text.data(), text.size(), "rb"));
    return parseDistanceFile(file.get(), nullptr);
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
    // Of a file that is not complete there is no result, but no error either.
    const auto made = readDistanceFile(folder.write("d.txt", "SIZE : 2\n"), nullptr, captured.log);
    EXPECT_FALSE(std::get<std::optional<DistanceFile>>(made));
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

TEST(DistanceFile, IsRefusedWhenTooMuchOfItIsNoRecord) {
    const std::string records = "SIZE : 2\nDIST : 1 2 1\n";
    const auto of = [](std::size_t length) { return std::string(length, 'x'); };
    const std::size_t limit = RecordLines::kLongestRecord;
    EXPECT_TRUE(std::holds_alternative<DistanceFile>(parse(records + "#" + of(limit - 3) + "\n")));
    for (const std::string& rest :
         {of(limit), "DIST :" + of(limit), of(limit / 2) + "\n#" + of(limit / 2)}) {
        EXPECT_TRUE(std::holds_alternative<FormatError>(parse(records + rest)));
    }
}

}  // namespace
}  // namespace tervolanda
