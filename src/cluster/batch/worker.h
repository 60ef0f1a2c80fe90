// What computes the pairs of a batch: scratch, and a report whose lines wait to be printed.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "base/log.h"
#include "compare/compare.h"
#include "compare/fit/positional_rmsd.h"

namespace tervolanda {

// What the pairs of one computation report, caught to be printed when their turn comes: the lines
// of all of them in one text, and where those of each pair end; while there are none nothing is
// noted.
class CapturedLines {
 public:
    // Forgets everything, but keeps the memory.
    void clear();
    void add(std::string_view text) { lines_ += text; }
    // The lines added since the last call belong to the next pair.
    void finishPair() {
        if (!lines_.empty()) {
            ends_.resize(finished_);
            ends_.push_back(lines_.size());
        }
        ++finished_;
    }
    // The lines of the k-th pair.
    std::string_view linesOf(std::size_t k) const {
        if (k >= ends_.size()) return {};
        const std::size_t first = k == 0 ? 0 : ends_[k - 1];
        return std::string_view(lines_).substr(first, ends_[k] - first);
    }
    std::size_t bytes() const { return lines_.size(); }
    std::size_t capacity() const { return lines_.capacity(); }

 private:
    std::string lines_;
    std::vector<std::size_t> ends_;  // one per pair; none before the first line
    std::size_t finished_ = 0;       // pairs
};

// All that computing a pair may write to.  Pairs can be computed side by side when each worker has
// one thread; everything else that they look at is read only.
class BatchWorker {
 public:
    // Reports what `pattern` would.
    BatchWorker(const Report& pattern, const Kernels& kernels);

    void finishPair() { captured.finishPair(); }

    CapturedLines captured;
    ComparisonWorkspace workspace;
    ComparisonResult result;
    RmsdResult fit;
    std::array<RmsdRow, PositionalRmsd::kRowsAtOnce> rows;

 private:
    // Before `report`, which writes to it, and so made first.
    Log log_;

 public:
    Report report;  // into the captured lines
};

}  // namespace tervolanda
