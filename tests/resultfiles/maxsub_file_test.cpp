#include "resultfiles/maxsub_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <utility>

#include "cluster/cluster.h"
#include "support/support.h"

namespace tervolanda {
namespace {

using test::CapturedLog;
using test::TemporaryFolder;

// Two models with IDs of their own, and a result whose pairs are as many as the batch says.
struct Batch {
    explicit Batch(std::vector<std::uint32_t> modelIds) : ids(std::move(modelIds)) {
        for (const std::uint32_t id : ids) {
            models.chains.push_back(test::helix(12));
            models.chains.back().number = id;
            models.chains.back().fileName = "m" + std::to_string(id);
        }
    }

    static ComparisonResult result() {
        ComparisonResult found;
        found.pairs = 1;
        found.matched = {{0, 0, 0}};
        found.iterations.push_back({{}, 1, 0.5, 3.5});
        return found;
    }

    PreparedList prepared() const {
        Log log;
        Report silent(log, 0);
        return {models, AtomSelection::Calpha, {}, silent};
    }

    MaxSubTable table() const { return {models, scores, pairs, ids}; }

    std::vector<std::uint32_t> ids;
    ChainList models;
    DistanceMatrix scores{2, 2, 1.0F};
    PairMatrix pairs{2, 2, 1U};
};

TEST(TransformationSpool, PositionsAreThoseOfResiduesAndRunsComeApartAgain) {
    const TemporaryFolder folder;
    Batch batch({1, 2});
    // The second residue of the first model has no C-alpha atom: records and residues differ.
    batch.models.chains[0].atoms[1].classification = 0;
    batch.models.chains[0].residues[1].ca = kNoAtom;
    ComparisonResult found = Batch::result();
    found.matched = {{0, 0, 0}, {1, 1, 0}, {2, 2, 0}, {5, 9, 0}, {6, 8, 0}, {3, 4, 1}, {4, 5, 1}};
    found.pairs = 7;
    batch.pairs.at(1, 0) = batch.pairs.at(0, 1) = 7;
    CapturedLog captured;
    // Beside a device there is no place for a spool.
    const PreparedList prepared = batch.prepared();
    TransformationSpool spool("/dev/null", prepared.sets());
    spool.record({1, 0}, found);
    const std::string path = folder / "m.txt";
    writeFullMaxSubFile(path, batch.table(), spool, captured.log);
    EXPECT_THAT(test::readFile(path),
                testing::EndsWith("POS  :      2      1    1:1 2:3 3:4 6:11 7:10 4:6 5:7\n"));
}

TEST(TransformationSpool, FaultyPositionsAreAnErrorAndLeaveNoFile) {
    const TemporaryFolder folder;
    const std::string path = folder.write("m.txt", "an older file");
    Batch batch({4, 9});
    Log log;
    const PreparedList prepared = batch.prepared();
    TransformationSpool spool(path, prepared.sets());
    const auto fault = [&] {
        const auto made = writeFullMaxSubFile(path, batch.table(), spool, log);
        return std::get<FormatError>(made).message;
    };
    EXPECT_EQ(fault(), "Missing MaxSub positions count for 9 vs. 4");
    spool.record({1, 0}, Batch::result());
    batch.pairs.at(1, 0) += 1;
    EXPECT_EQ(fault(), "Currupt MaxSub positions list for 9 vs. 4");
    EXPECT_EQ(test::readFile(path), "an older file");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

}  // namespace
}  // namespace tervolanda
