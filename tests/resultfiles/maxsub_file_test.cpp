#include "resultfiles/maxsub_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "cluster/cluster.h"
#include "support/support.h"

namespace tervolanda {
namespace {

using test::CapturedLog;
using test::TemporaryFolder;

// A batch of models of `residues` residues as it would come from a list with unreadable files, and
// results whose every number is another.
struct Batch {
    explicit Batch(const std::vector<std::uint32_t>& modelIds)
        : ids(modelIds),
          scores(ids.size(), ids.size(), 1.0F),
          pairs(ids.size(), ids.size(), kResidues) {
        for (const std::uint32_t id : ids) {
            models.chains.push_back(test::helix(kResidues));
            models.chains.back().number = id;
            models.chains.back().fileName = "m" + std::to_string(id);
        }
        for (std::size_t i = 1; i < ids.size(); ++i) {
            for (std::size_t j = 0; j < i; ++j) {
                scores.at(i, j) = static_cast<float>(i * 8 + j) / 64.0F;
                scores.at(j, i) = scores.at(i, j) / 2.0F;
                pairs.at(i, j) = pairs.at(j, i) = static_cast<std::uint32_t>(i + j);
            }
        }
    }

    ComparisonResult result(std::size_t i, std::size_t j) const {
        ComparisonResult found;
        found.pairs = pairs.at(i, j);
        for (std::uint32_t k = 0; k < found.pairs; ++k)
            found.matched.push_back({k, k + static_cast<std::uint32_t>(j), 0});
        Superposition superposition;
        superposition.experimentCentre = {static_cast<double>(i), 0.5, -1.0};
        superposition.predictionCentre = {static_cast<double>(j), -0.00049, 1234.5678};
        superposition.rotation = {0, -1, 0, 1, 0, 0, 0, 0, 1};
        found.iterations.push_back({superposition, found.pairs, 0.5, 3.5});
        return found;
    }

    // In the order of a batch: within a row from the diagonal outwards.
    void spoolAll(TransformationSpool& spool) const {
        for (std::size_t i = 1; i < ids.size(); ++i) {
            for (std::size_t j = i; j-- > 0;)
                spool.record({i, j}, result(i, j));
        }
    }

    PreparedList prepared() const {
        Log log;
        Report silent(log, 0);
        return {models, AtomSelection::Calpha, {}, silent};
    }

    MaxSubTable table() const { return {models, scores, pairs, ids}; }

    static constexpr std::uint32_t kResidues = 12;
    std::vector<std::uint32_t> ids;
    ChainList models;
    DistanceMatrix scores;
    PairMatrix pairs;
};

TEST(TransformationSpool, PositionsAreThoseOfResiduesAndRunsComeApartAgain) {
    const TemporaryFolder folder;
    Batch batch({1, 2});
    // The second residue of the first model has no C-alpha atom: records and residues differ.
    batch.models.chains[0].atoms[1].classification = 0;
    batch.models.chains[0].residues[1].ca = kNoAtom;
    ComparisonResult found = batch.result(1, 0);
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
    spool.record({1, 0}, batch.result(1, 0));
    batch.pairs.at(1, 0) += 1;
    EXPECT_EQ(fault(), "Currupt MaxSub positions list for 9 vs. 4");
    EXPECT_EQ(test::readFile(path), "an older file");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

}  // namespace
}  // namespace tervolanda
