// One superposition serves all four distances, that of the MaxSub subset: the percentages are those
// of the superposition that the MaxSub score was taken from.
#include "base/log.h"
#include "compare/fit/tolerance.h"
#include "compare/maxsub.h"

namespace tervolanda {

namespace {

// Two pairs leave the rotation about their line open, one leaves any.
constexpr std::size_t kFewestFitted = 3;

}  // namespace

GdtResult compareGdt(const CoordinateSet& experiment, const CoordinateSet& prediction,
                     const ComparisonParameters& parameters, ComparisonWorkspace& workspace,
                     Report& report, ComparisonResult& result) {
    ComparisonScratch& scratch = workspace.scratch();
    // With several iterations each would calibrate a cut-off from the pairs that are left to it;
    // the percentages are to be those of one.
    SearchTask task = wholeChains(experiment, prediction, parameters);
    task.calibration = Calibration::Once;
    const SearchResult& first = searchDomains(task, scratch, report, result);
    const GdtResult nothing{0.0, std::nullopt, result.measures.values};
    if (result.iterations.empty() || first.subset.size() < kFewestFitted) return nothing;
    scratch.placePairs(experiment, prediction, first.mapping.pairs);
    const auto fit = fitPairs(scratch.pairs, first.subset, scratch.kernels, scratch.gathered);
    if (!fit) return nothing;
    squaredDeviations(scratch.pairs, *fit, scratch.kernels, scratch.squaredDeviation);
    // Residues without a partner count as too far away: the length is that of the whole experiment.
    const auto length = static_cast<double>(experiment.size());
    double radius = 0.25 * parameters.gdtCutoff;
    double sum = 0.0;
    for (int cutoff = 0; cutoff < 4; ++cutoff) {
        const double limit = exclusiveLimit(radius * radius);
        std::size_t count = 0;
        for (const double squared : scratch.squaredDeviation)
            count += squared < limit ? 1U : 0U;
        const double percentage = 100.0 * static_cast<double>(count) / length;
        sum += percentage;
        report.report(ReportLevel::Numbers, "Percentage aligned at distance %.3f = %.2f\n", radius,
                      percentage);
        radius *= 2.0;
    }
    return {sum * 0.25, asSuperposition(scratch.pairs, *fit), result.measures.values};
}

}  // namespace tervolanda
