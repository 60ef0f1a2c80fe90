// Filling the scratch arrays for a comparison.
#include "compare/workspace.h"

#include <utility>

namespace tervolanda {

void ComparisonWorkspace::placePairs(const CoordinateSet& experiment,
                                     const CoordinateSet& prediction,
                                     const std::vector<MatchedPair>& mapped) {
    pairs.place(experiment.points, prediction.points, mapped.size(), [&mapped](std::size_t k) {
        return std::pair(mapped[k].experiment, mapped[k].prediction);
    });
    squaredDeviation.resize(mapped.size());
}

}  // namespace tervolanda
