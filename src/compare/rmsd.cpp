// The least-squares fit of all residue pairs of two chains, and the unit-vector RMSD (Kedem, Chew &
// Elber 1999, Proteins 37:554): the same fit on the directions from each C-alpha atom to the next.
// Directions know nothing of distance, so one misplaced end does not drown a good fold.
#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "base/log.h"
#include "compare/measures.h"
#include "compare/scratch.h"

namespace tervolanda {

namespace {

constexpr std::size_t kFewestPairs = 3;
// They have three directions, as many as the fewest points of a fit.
constexpr std::size_t kFewestUnitVectorPairs = 4;

// Turns directions, which have no place and so need no centre.
void rotate(const Rotation& r, Points& points) {
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double x = points.x[i];
        const double y = points.y[i];
        const double z = points.z[i];
        points.x[i] = r[0] * x + r[1] * y + r[2] * z;
        points.y[i] = r[3] * x + r[4] * y + r[5] * z;
        points.z[i] = r[6] * x + r[7] * y + r[8] * z;
    }
}

// Pairs the records, into scratch.mapping.  Models of one target pair by position, which costs no
// look-up; see haveSameEnds() for what that takes for granted.
void mapResidues(const CoordinateSet& experiment, const CoordinateSet& prediction,
                 const RmsdOptions& options, ComparisonScratch& scratch, Report& report) {
    const bool mayPairByPosition = !options.pairBySequence && !options.pairByNumber;
    if (mayPairByPosition && haveSameEnds(experiment, prediction)) {
        return mapByPosition(experiment, prediction, scratch.mapping);
    }
    const auto keyed = scratch.pairingKeys.make(
        experiment, prediction,
        {.bySequence = options.pairBySequence, .mapsChains = options.mapChains}, scratch.kernels,
        report);
    mapByResidue(keyed.experiment, keyed.prediction, scratch.mapping, report);
}

// The pairs whose prediction record is a C-alpha atom.
void collectCalphaPairs(const CoordinateSet& prediction, const std::vector<MatchedPair>& mapped,
                        std::vector<MatchedPair>& calphas) {
    calphas.clear();
    for (const MatchedPair& pair : mapped) {
        if (prediction.atomKey[pair.prediction] == kCalphaKey) calphas.push_back(pair);
    }
}

// The places of neighbours among the pairs that are of two chains: what leads from one to the other
// is no direction of a chain.
std::vector<std::size_t> chainEnds(const CoordinateSet& experiment, const CoordinateSet& prediction,
                                   const std::vector<MatchedPair>& calphas) {
    std::vector<std::size_t> ends;
    if (!experiment.isComplex && !prediction.isComplex) return ends;
    const auto chainsOf = [&](const MatchedPair& pair) {
        return std::pair(experiment.subunitOf(pair.experiment),
                         prediction.subunitOf(pair.prediction));
    };
    for (std::size_t i = 0; i + 1 < calphas.size(); ++i)
        if (chainsOf(calphas[i]) != chainsOf(calphas[i + 1])) ends.push_back(i);
    return ends;
}

void removeVectors(const std::vector<std::size_t>& places, Points& vectors) {
    if (places.empty()) return;
    for (std::vector<double>* const axis : {&vectors.x, &vectors.y, &vectors.z}) {
        auto next = places.begin();
        std::size_t kept = 0;
        for (std::size_t i = 0; i < axis->size(); ++i) {
            if (next != places.end() && *next == i) {
                ++next;
            } else {
                (*axis)[kept++] = (*axis)[i];
            }
        }
        axis->resize(kept);
    }
}

// URMSD of the C-alpha pairs, with the prediction turned by `rotation`; `unitRotation` receives the
// rotation of that fit.  0 when there are too few pairs or no rotation fits.
double unitVectorRmsd(const CoordinateSet& experiment, const CoordinateSet& prediction,
                      const std::vector<MatchedPair>& calphas, const Rotation& rotation,
                      ComparisonScratch& scratch, Rotation& unitRotation) {
    if (calphas.size() < kFewestUnitVectorPairs) return 0.0;
    scratch.placePairs(experiment, prediction, calphas);
    PairedPoints& pairs = scratch.pairs;
    makeUnitVectors(pairs.experiment);
    makeUnitVectors(pairs.prediction);
    const std::vector<std::size_t> ends = chainEnds(experiment, prediction, calphas);
    removeVectors(ends, pairs.experiment);
    removeVectors(ends, pairs.prediction);
    rotate(rotation, pairs.prediction);
    scratch.squaredDeviation.resize(pairs.size());
    const auto fit = fitPairs(pairs, scratch.kernels);
    if (!fit) return 0.0;
    squaredDeviations(pairs, *fit, scratch.kernels, scratch.squaredDeviation);
    unitRotation = fit->rotation;
    return fitRmsd(*fit, scratch.squaredDeviation);
}

}  // namespace

void compareRmsd(const CoordinateSet& experiment, const CoordinateSet& prediction,
                 const RmsdOptions& options, ComparisonWorkspace& workspace, Report& report,
                 RmsdResult& result) {
    result.rmsd.reset();
    result.urmsd = 0.0;
    result.superposition = Superposition{};
    result.measures.clear();
    ComparisonScratch& scratch = workspace.scratch();
    const ResidueMapping& mapping = scratch.mapping;
    mapResidues(experiment, prediction, options, scratch, report);
    collectCalphaPairs(prediction, mapping.pairs, result.matched);
    result.pairs = static_cast<std::uint32_t>(result.matched.size());
    if (!options.measures.wanted.isEmpty()) {
        measurePairs(experiment, prediction, mapping.predictionPartner, options.measures, scratch,
                     result.measures);
    }
    if (mapping.size() < kFewestPairs) {
        if (options.reportTooFew) {
            report.report(ReportLevel::Numbers,
                          "RMSD failed, insufficient equivalent atoms in Chains (%d)\n",
                          static_cast<int>(mapping.size()));
        }
        return;
    }
    scratch.placePairs(experiment, prediction, mapping.pairs);
    const auto fit = fitPairs(scratch.pairs, scratch.kernels);
    if (!fit) {
        report.report(ReportLevel::Numbers, "RMSD failed, unable to converge\n");
        return;
    }
    squaredDeviations(scratch.pairs, *fit, scratch.kernels, scratch.squaredDeviation);
    result.rmsd = fitRmsd(*fit, scratch.squaredDeviation);
    result.superposition = asSuperposition(scratch.pairs, *fit);
    if (options.urmsd) {
        Rotation unitRotation{};
        result.urmsd = unitVectorRmsd(experiment, prediction, result.matched, fit->rotation,
                                      scratch, unitRotation);
        // The directions were turned by the fit of positions first: both rotations together are
        // what puts one set of directions onto the other.
        if (options.urmsdRotation && result.urmsd > 0.0) {
            result.superposition.rotation = compose(unitRotation, fit->rotation);
        }
    }
    reportSuperposition(result.superposition, ReportLevel::Passes, report);
}

}  // namespace tervolanda
