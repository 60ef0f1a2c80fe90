// Every comparison pairs residues, and by these pairs alone a measure is computed: it does not know
// which superposition the comparison found.
#include "compare/measures.h"

#include <algorithm>
#include <array>
#include <limits>

#include "compare/lddt.h"

namespace tervolanda {

namespace {

// The other direction of a pairing.
void invert(std::span<const std::int32_t> partners, std::size_t size,
            std::vector<std::int32_t>& inverse) {
    inverse.assign(size, -1);
    for (std::size_t i = 0; i < partners.size(); ++i) {
        if (partners[i] >= 0)
            inverse[static_cast<std::size_t>(partners[i])] = static_cast<std::int32_t>(i);
    }
}

void keepResidues(const std::vector<LddtCount>& counts, std::vector<double>& residues) {
    residues.clear();
    for (const LddtCount& count : counts) {
        const std::optional<double> score = count.score();
        residues.push_back(score.value_or(std::numeric_limits<double>::quiet_NaN()));
    }
}

// Both ways the mean: of two models neither is the truth.
std::optional<double> meanOf(std::optional<double> a, std::optional<double> b) {
    if (!a || !b) return a ? a : b;
    return 0.5 * (*a + *b);
}

void measureLddt(const CoordinateSet& experiment, const CoordinateSet& prediction,
                 std::span<const std::int32_t> partners, const MeasureRequest& request,
                 ComparisonScratch& scratch, MeasureValues& found) {
    invert(partners, experiment.size(), scratch.partners);
    for (const Measure measure : {Measure::Lddt, Measure::LddtAll}) {
        if (!request.wanted.has(measure)) continue;
        const auto atoms = measure == Measure::Lddt ? LddtAtoms::Calpha : LddtAtoms::All;
        const auto detail = request.perResidue ? LddtDetail::Residues : LddtDetail::Sum;
        std::optional<double> value =
            lddtOf(experiment, prediction, scratch.partners, atoms, detail, scratch.lddt).score();
        // Where both are wanted the residues are those of the one that looks at more atoms.
        if (request.perResidue) keepResidues(scratch.lddt.ofResidues, found.residues);
        if (request.bothWays) {
            const LddtCount back =
                lddtOf(prediction, experiment, partners, atoms, LddtDetail::Sum, scratch.lddt);
            value = meanOf(value, back.score());
        }
        found.value(measure) = value;
    }
}

// Chain pair by chain pair, by the place of the experiment's chain: where a search starts follows
// the order of pairs, and how chains are called or stand in a file must not change what it finds.
void orderByPlace(const CoordinateSet& experiment, std::vector<MatchedPair>& pairs) {
    const auto placeOf = [&](const MatchedPair& pair) {
        const std::uint32_t first =
            experiment.subunits[experiment.subunitOf(pair.experiment)].first;
        return std::array{experiment.points.x[first], experiment.points.y[first],
                          experiment.points.z[first]};
    };
    std::stable_sort(pairs.begin(), pairs.end(), [&](const MatchedPair& a, const MatchedPair& b) {
        return placeOf(a) < placeOf(b);
    });
}

// Both scores from one search, since they share three of their four cut-offs.
void measureGdt(const CoordinateSet& experiment, const CoordinateSet& prediction,
                std::span<const std::int32_t> partners, const StopFlag* stop,
                ComparisonScratch& scratch, MeasureValues& found) {
    scratch.measured.clear();
    for (std::uint32_t i = 0; i < partners.size(); ++i) {
        if (partners[i] >= 0)
            scratch.measured.push_back({static_cast<std::uint32_t>(partners[i]), i, 0});
    }
    if (experiment.isComplex) orderByPlace(experiment, scratch.measured);
    scratch.placePairs(experiment, prediction, scratch.measured);
    const GdtCounts counts =
        bestGdtCounts(scratch.pairs, stop, scratch.kernels, scratch.seeds, scratch.gdt);
    found.value(Measure::GdtTs) = gdtTotalScore(counts, experiment.size());
    found.value(Measure::GdtHa) = gdtHighAccuracy(counts, experiment.size());
}

}  // namespace

std::string_view measureName(Measure measure) {
    switch (measure) {
        case Measure::Lddt:
            return "lddt";
        case Measure::LddtAll:
            return "lddt_all";
        case Measure::GdtTs:
            return "gdt_ts";
        case Measure::GdtHa:
            break;
    }
    return "gdt_ha";
}

void measurePairs(const CoordinateSet& experiment, const CoordinateSet& prediction,
                  std::span<const std::int32_t> partners, const MeasureRequest& request,
                  ComparisonScratch& scratch, MeasureValues& found) {
    found.clear();
    const MeasureSet& wanted = request.wanted;
    if (wanted.has(Measure::Lddt) || wanted.has(Measure::LddtAll))
        measureLddt(experiment, prediction, partners, request, scratch, found);
    const bool wantsGdt = wanted.has(Measure::GdtTs) || wanted.has(Measure::GdtHa);
    if (!wantsGdt) return;
    measureGdt(experiment, prediction, partners, request.stop, scratch, found);
    // Both are made of the same counts; only what was asked for is shown.
    for (const Measure measure : {Measure::GdtTs, Measure::GdtHa}) {
        if (!wanted.has(measure)) found.value(measure).reset();
    }
}

void measurePairs(const CoordinateSet& experiment, const CoordinateSet& prediction,
                  std::span<const std::int32_t> partners, const MeasureRequest& request,
                  ComparisonWorkspace& workspace, MeasureValues& found) {
    measurePairs(experiment, prediction, partners, request, workspace.scratch(), found);
}

}  // namespace tervolanda
