// One superposition gives all scores: MaxSub and RMSD of the pairs within the cut-off, TM-score and
// RMSD of all mapped pairs.
#include "compare/scoring.h"

#include <cmath>

#include "compare/fit/tm_scale.h"
#include "compare/fit/tolerance.h"

namespace tervolanda {

namespace {

// Few pairs, or not many of a low score: such a subset is found in unrelated chains, too.
bool isPoor(const Scores& scores) {
    constexpr std::uint32_t kEnough = 40;
    constexpr std::uint32_t kFew = 24;
    constexpr double kPoorScore = 0.125;
    return scores.pairs < kEnough && (scores.pairs <= kFew || scores.maxsub < kPoorScore);
}

}  // namespace

std::optional<ScoredFit> scoreSubset(const std::vector<std::uint32_t>& subset,
                                     const ScoringScale& scale, CutoffLimit limit,
                                     ComparisonScratch& scratch,
                                     std::vector<std::uint32_t>& counted) {
    const auto fit = fitPairs(scratch.pairs, subset, scratch.kernels, scratch.gathered);
    if (!fit) return std::nullopt;
    squaredDeviations(scratch.pairs, *fit, scratch.kernels, scratch.squaredDeviation);
    const double cutoffSquared = scale.cutoff * scale.cutoff;
    const double inside = inclusiveLimit(cutoffSquared), outside = exclusiveLimit(cutoffSquared);
    counted.clear();
    double total = 0.0, subsetTotal = 0.0, tmSum = 0.0, maxsubSum = 0.0;
    bool isOfAnyLimit = true;
    for (std::uint32_t i = 0; i < scratch.pairs.size(); ++i) {
        const double squared = scratch.squaredDeviation[i];
        total += squared;
        tmSum += tmTerm(squared, scale.tmScaleSquared);
        const bool isInside = squared <= inside, isBelow = squared < outside;
        isOfAnyLimit &= isInside == isBelow;
        const bool counts = limit == CutoffLimit::Inclusive ? isInside : isBelow;
        if (!counts) continue;
        counted.push_back(i);
        subsetTotal += squared;
        // A cut-off so small that its square is 0 still counts pairs that coincide.
        maxsubSum += squared > 0.0 ? tmTerm(squared, cutoffSquared) : 1.0;
    }
    // Of no pairs there is no RMSD: it stays 0.
    ScoredFit scored{{}, asSuperposition(scratch.pairs, *fit), isOfAnyLimit};
    Scores& scores = scored.scores;
    scores.pairs = static_cast<std::uint32_t>(counted.size());
    scores.grmsd = std::sqrt(total / static_cast<double>(scratch.pairs.size()));
    if (scores.pairs > 0) scores.rmsd = std::sqrt(subsetTotal / static_cast<double>(scores.pairs));
    scores.maxsub = maxsubSum / scale.experimentLength;
    scores.tm = tmSum / scale.normLength;
    if (!scale.scorePoor && isPoor(scores)) scores.maxsub = 0.0;
    return scored;
}

}  // namespace tervolanda
