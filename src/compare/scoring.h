// The scores of a subset of pairs under its superposition.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "compare/compare.h"
#include "compare/scratch.h"

namespace tervolanda {

// The constants of a scoring: the same for all passes of a search, but for the cut-off.
struct ScoringScale {
    double cutoff = 0.0;            // Å
    double tmScaleSquared = 0.0;    // Å^2
    double experimentLength = 0.0;  // divides MaxSub
    double normLength = 0.0;        // divides the TM-score
    bool scorePoor = true;          // poor subsets have a MaxSub score, too
};

// Which pairs a scoring counts.  The limit is inside during the search and outside in the final
// scoring: reported subsets depend on it.
enum class CutoffLimit : std::uint8_t { Inclusive, Exclusive };

struct ScoredFit {
    Scores scores;
    Superposition superposition;
    bool isOfAnyLimit = true;  // no pair lies on the cut-off, so that either limit counts the same
};

// Superposes the placed pairs on those of `subset` (positions) and scores all under that fit; none
// when nothing fits.  The pairs within the cut-off come to `counted`, ascending.
std::optional<ScoredFit> scoreSubset(const std::vector<std::uint32_t>& subset,
                                     const ScoringScale& scale, CutoffLimit limit,
                                     ComparisonScratch& scratch,
                                     std::vector<std::uint32_t>& counted);

}  // namespace tervolanda
