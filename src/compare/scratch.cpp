// A workspace is its scratch and nothing else: callers need not know what comparisons keep.
#include "compare/scratch.h"

#include <utility>

namespace tervolanda {

ComparisonWorkspace::ComparisonWorkspace() : ComparisonWorkspace(bestKernels()) {}

ComparisonWorkspace::ComparisonWorkspace(const Kernels& kernels)
    : scratch_(std::make_unique<ComparisonScratch>(kernels)) {}

ComparisonWorkspace::~ComparisonWorkspace() = default;

// Mapped order is that of the prediction: sums have one order, whoever made the mapping.
void ComparisonScratch::placePairs(const CoordinateSet& experiment, const CoordinateSet& prediction,
                                   const std::vector<MatchedPair>& mapped) {
    pairs.place(experiment.points, prediction.points, mapped.size(), [&mapped](std::size_t k) {
        return std::pair(mapped[k].experiment, mapped[k].prediction);
    });
    squaredDeviation.resize(mapped.size());
}

}  // namespace tervolanda
