// What a TransformationSpool holds, for the writer of the full MaxSub file.  Filled while a batch
// runs, by its consuming thread alone, and read when the batch is over.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "resultfiles/pair_run.h"
#include "resultfiles/resultfiles.h"
#include "resultfiles/spool_file.h"

namespace tervolanda {

// Records of a pair follow each other in the file: superposition, number of runs, runs, whose
// positions count from 1.
//
// Invariant: each pair that was recorded has the offset of its record.
class TransformationSpool::Storage {
 public:
    Storage(const std::string& path, std::span<const CoordinateSet> models);

    void record(BatchPair at, const ComparisonResult& result);

    // Makes all that was added readable; false when not all of it could be kept.
    bool flush() { return file_.flush(); }
    bool has(std::size_t i, std::size_t j) const { return pair(i, j).offset != kAbsent; }
    std::uint32_t matched(std::size_t i, std::size_t j) const { return pair(i, j).matched; }
    // The parts of a pair that was added; false after a read error.
    bool readSuperposition(std::size_t i, std::size_t j, Superposition& superposition) const;
    bool readRuns(std::size_t i, std::size_t j, std::vector<PairRun>& runs) const;

 private:
    static constexpr std::uint64_t kAbsent = UINT64_MAX;
    // All that is kept in memory of a pair: 16 bytes, where its superposition would take 120.
    struct Pair {
        std::uint64_t offset = kAbsent;
        std::uint32_t matched = 0;
    };

    static std::size_t index(std::size_t i, std::size_t j) { return i * (i - 1) / 2 + j; }
    const Pair& pair(std::size_t i, std::size_t j) const { return pairs_[index(i, j)]; }
    void collectRuns(BatchPair pair, const std::vector<MatchedPair>& matched);

    SpoolFile file_;
    std::span<const CoordinateSet> models_;
    std::vector<Pair> pairs_;    // row by row below the diagonal: index()
    std::vector<PairRun> runs_;  // scratch
};

}  // namespace tervolanda
