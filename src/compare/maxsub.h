// The MaxSub search (Siew et al. 2000) with its TM-score (Zhang & Skolnick 2004): the largest
// subset of residue pairs that superpose within a distance cut-off.
#pragma once

#include <cstdint>

#include "compare/compare.h"
#include "compare/workspace.h"

namespace tervolanda {

// What one search is asked beyond the parameters.
struct SearchTask {
    std::uint32_t iteration = 1;       // domain iteration, for the report lines
    std::size_t experimentLength = 0;  // full length of the experiment, by which scores are divided
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

SearchResult searchMaxSub(const CoordinateSet& experiment, const CoordinateSet& prediction,
                          const ComparisonParameters& parameters, const SearchTask& task,
                          ComparisonWorkspace& workspace, Report& report);

}  // namespace tervolanda
