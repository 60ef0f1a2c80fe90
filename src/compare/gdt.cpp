// One superposition serves all four distances, that of the MaxSub subset: the percentages are those
// of the superposition that the MaxSub score was taken from.
#include "base/log.h"
#include "compare/fit/tolerance.h"
#include "compare/maxsub.h"
#include "compare/workspace.h"

namespace tervolanda {

namespace {

// Two pairs leave the rotation about their line open, one leaves any.
constexpr std::size_t kFewestFitted = 3;

// The first iteration's mapping as pairs in mapped order, and its subset as positions in them.
void restoreFirstIteration(const ComparisonResult& result, std::vector<MatchedPair>& mapped,
                           std::vector<std::uint32_t>& subset) {
    mapped.clear();
    subset.clear();
    auto inSubset = result.matched.begin();
    for (std::uint32_t i = 0; i < result.partners.size(); ++i) {
        if (result.partners[i] < 0) continue;
        const bool isNext = inSubset != result.matched.end() && inSubset->iteration == 0 &&
                            inSubset->prediction == i;
        if (isNext) {
            subset.push_back(static_cast<std::uint32_t>(mapped.size()));
            ++inSubset;
        }
        mapped.push_back({static_cast<std::uint32_t>(result.partners[i]), i, 0});
    }
}

}  // namespace

GdtResult compareGdt(const CoordinateSet& experiment, const CoordinateSet& prediction,
                     const ComparisonParameters& parameters, ComparisonWorkspace& workspace,
                     Report& report, ComparisonResult& result) {
    searchDomains(experiment, prediction, parameters, Calibration::Once, workspace, report, result);
    if (result.iterations.empty()) return {};
    restoreFirstIteration(result, workspace.mapping.pairs, workspace.current);
    if (workspace.current.size() < kFewestFitted) return {};
    workspace.placePairs(experiment, prediction, workspace.mapping.pairs);
    const auto fit =
        fitPairs(workspace.pairs, workspace.current, workspace.kernels(), workspace.gathered);
    if (!fit) return {};
    squaredDeviations(workspace.pairs, *fit, workspace.kernels(), workspace.squaredDeviation);
    const auto length = static_cast<double>(experiment.size());
    double radius = 0.25 * parameters.gdtCutoff;
    double sum = 0.0;
    for (int cutoff = 0; cutoff < 4; ++cutoff) {
        const double limit = exclusiveLimit(radius * radius);
        std::size_t count = 0;
        for (const double squared : workspace.squaredDeviation)
            count += squared < limit ? 1U : 0U;
        const double percentage = 100.0 * static_cast<double>(count) / length;
        sum += percentage;
        report.report(ReportLevel::Numbers, "Percentage aligned at distance %.3f = %.2f\n", radius,
                      percentage);
        radius *= 2.0;
    }
    return {sum * 0.25, asSuperposition(workspace.pairs, *fit)};
}

}  // namespace tervolanda
