// The MaxSub search (Siew et al. 2000) with its TM-score (Zhang & Skolnick 2004): the largest
// subset of residue pairs that superpose within a distance cut-off.
#pragma once

#include <cstdint>

#include "compare/compare.h"
#include "compare/workspace.h"

namespace tervolanda {

// Where no cut-off is given: whether every search makes its own from the pairs it maps (and with
// -TM every pass), or the first for all.
enum class Calibration : std::uint8_t { EverySearch, Once };

// What one search is asked beyond the parameters.
struct SearchTask {
    std::uint32_t iteration = 1;       // domain iteration, for the report lines
    std::size_t experimentLength = 0;  // full length of the experiment, by which scores are divided
    Calibration calibration = Calibration::EverySearch;
    double cutoff = 0.0;   // Å, of an earlier search; 0 calibrates one
    bool thorough = true;  // sequence-independent: try other starts as well
};

// What one search found; its mapping and subset lie in the workspace (bestMapping and
// bestPassSubset).
struct SearchResult {
    std::uint32_t pairs = 0;
    std::uint32_t mapped = 0;
    double rmsd = 0.0;
    double grmsd = 0.0;
    double maxsub = 0.0;
    double tm = 0.0;
    double distanceCutoff = 0.0;
    Superposition superposition;  // the fit under which the final scoring counted
};

// The MaxSub score of a search, 0 when it counts as nothing: below both minima of an iteration.
// minIterationScore is relative to the pairs that could be matched, not to the whole experiment.
double significantScore(const SearchResult& found, const ComparisonParameters& parameters,
                        std::size_t experimentLength);

// With sequenceIndependent the passes may be made from several starts; the one that ends with the
// highest TM-score counts, and its passes alone are reported.
SearchResult searchMaxSub(const CoordinateSet& experiment, const CoordinateSet& prediction,
                          const ComparisonParameters& parameters, const SearchTask& task,
                          ComparisonWorkspace& workspace, Report& report);

// compareMaxSub with a choice of calibration.
void searchDomains(const CoordinateSet& experiment, const CoordinateSet& prediction,
                   const ComparisonParameters& parameters, Calibration calibration,
                   ComparisonWorkspace& workspace, Report& report, ComparisonResult& result);

}  // namespace tervolanda
