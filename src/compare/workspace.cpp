// Filling the scratch arrays for a comparison.
#include "compare/workspace.h"

namespace tervolanda {

void ComparisonWorkspace::placePairs(const CoordinateSet& experiment,
                                     const CoordinateSet& prediction,
                                     const std::vector<MatchedPair>& mapped) {
    const std::size_t n = mapped.size();
    pairs.experiment.resize(n);
    pairs.prediction.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        const std::uint32_t e = mapped[i].experiment;
        const std::uint32_t p = mapped[i].prediction;
        pairs.experiment.x[i] = experiment.points.x[e];
        pairs.experiment.y[i] = experiment.points.y[e];
        pairs.experiment.z[i] = experiment.points.z[e];
        pairs.prediction.x[i] = prediction.points.x[p];
        pairs.prediction.y[i] = prediction.points.y[p];
        pairs.prediction.z[i] = prediction.points.z[p];
    }
    pairs.centre();
    squaredDeviation.resize(n);
}

}  // namespace tervolanda
