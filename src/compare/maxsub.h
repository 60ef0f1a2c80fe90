// The MaxSub search (Siew et al. 2000) with its TM-score (Zhang & Skolnick 2004): the largest
// subset of residue pairs that superpose within a distance cut-off.  The way from the whole chains
// down to one search is described in search.h.
#pragma once

#include <cstddef>

#include "compare/scratch.h"
#include "compare/search.h"

namespace tervolanda {

// The MaxSub score of a search, 0 when it counts as nothing: below both minima of an iteration.
// minIterationScore is relative to the pairs that could be matched, not to the whole experiment.
double significantScore(const SearchResult& found, const ComparisonParameters& parameters,
                        std::size_t experimentLength);

// With sequenceIndependent the passes may be made from several starts; the one that ends with the
// highest TM-score counts, and its passes alone are reported.
void searchMaxSub(const SearchTask& task, ComparisonScratch& scratch, Report& report,
                  SearchResult& found);

// The task of a search of whole chains.
SearchTask wholeChains(const CoordinateSet& experiment, const CoordinateSet& prediction,
                       const ComparisonParameters& parameters);

// The searches of all domain iterations, of which `whole` is the first: that of whole chains.
// Returns what the first one found, which lies in the scratch.
const SearchResult& searchDomains(const SearchTask& whole, ComparisonScratch& scratch,
                                  Report& report, ComparisonResult& result);

}  // namespace tervolanda
