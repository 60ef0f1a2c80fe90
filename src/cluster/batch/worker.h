// What computes the pairs of a batch: scratch, and a report whose lines wait to be printed.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "base/log.h"
#include "compare/compare.h"
#include "compare/positional_rmsd.h"
#include "compare/workspace.h"

namespace tervolanda {

// All that computing a pair may write to.  Pairs can be computed side by side when each worker has
// one thread; everything else that they look at is read only.
//
// The lines of the pairs computed since start() stand in one text, and where those of each pair end
// is known; while there are none nothing is noted.
class BatchWorker {
 public:
    // Reports what `pattern` would.
    explicit BatchWorker(const Report& pattern);

    // Forgets the lines captured so far, but keeps the memory.
    void start();
    // The lines reported since the last call belong to the next pair.
    void finishPair() {
        if (!lines_.empty()) {
            lineEnds_.resize(finished_);
            lineEnds_.push_back(lines_.size());
        }
        ++finished_;
    }
    // The lines of the k-th pair since start().
    std::string_view linesOf(std::size_t k) const {
        if (k >= lineEnds_.size()) return {};
        const std::size_t first = k == 0 ? 0 : lineEnds_[k - 1];
        return std::string_view(lines_).substr(first, lineEnds_[k] - first);
    }
    // ERROR lines of files that could not be written, if any: only the similarity matrices of a
    // search are written while it goes on.
    const std::vector<std::string>& faults() const { return faults_; }

    ComparisonWorkspace workspace;
    ComparisonResult result;
    RmsdResult fit;
    std::array<RmsdRow, PositionalRmsd::kRowsAtOnce> rows;

 private:
    std::string lines_;
    std::vector<std::size_t> lineEnds_;  // one a pair; none before the first line
    std::size_t finished_ = 0;           // pairs
    std::vector<std::string> faults_;
    Log log_;

 public:
    Report report;  // into the lines
};

}  // namespace tervolanda
