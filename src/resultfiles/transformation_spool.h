// What a TransformationSpool holds, for the writer of the full MaxSub file.  Filled while a batch
// runs, by its consuming thread alone, and read when the batch is over.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "base/file.h"
#include "resultfiles/resultfiles.h"

namespace tervolanda {

// Residue pairs (experiment + k, prediction + k) for k = 0 .. length - 1; positions count from 1.
struct PairRun {
    std::uint32_t experiment = 0;
    std::uint32_t prediction = 0;
    std::uint32_t length = 0;
};

// Records of a pair follow each other in the file: superposition, number of runs, runs.
//
// Invariant: end_ is the end of what was written, and each pair that was recorded has the offset of
// its record.  After a failure nothing is added any more, and flush() tells of it.
class TransformationSpool::Storage {
 public:
    Storage(const std::string& path, std::span<const CoordinateSet> models);

    void record(BatchPair at, const ComparisonResult& result);

    // Makes all that was added readable; false when not all of it could be kept.
    bool flush();
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
    void append(const void* bytes, std::size_t size);

    FileHandle file_;
    std::uint64_t end_ = 0;
    bool failed_ = false;
    std::span<const CoordinateSet> models_;
    std::vector<Pair> pairs_;    // row by row below the diagonal: index()
    std::vector<PairRun> runs_;  // scratch
};

}  // namespace tervolanda
