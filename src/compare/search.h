// What one MaxSub search is asked, and what it finds.
//
// Four layers, each of which knows only the next: domains.cpp repeats the search among what is left
// and adds up; maxsub.cpp pairs the residues and chooses among starts; passes.cpp finds a subset,
// scores it and may pair anew; seed_search.cpp finds the best subset of given pairs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "compare/compare.h"
#include "compare/pairing/mapping.h"

namespace tervolanda {

// Where no cut-off is given: whether every search makes its own from the pairs it maps (and with
// -TM every pass), or the first for all.
enum class Calibration : std::uint8_t { EverySearch, Once };

// Chains, parameters and sink are lent.
struct SearchTask {
    const CoordinateSet& experiment;
    const CoordinateSet& prediction;
    const ComparisonParameters& parameters;
    SimilaritySink* matrices =
        nullptr;                       // takes the matrices of alignments; none: nobody wants them
    std::size_t experimentLength = 0;  // full length of the experiment, by which scores are divided
    std::uint32_t iteration = 1;       // domain iteration, for the report lines
    Calibration calibration = Calibration::EverySearch;
    double cutoff = 0.0;  // Å, of an earlier search; 0 calibrates one
    // Later iterations leave it out when the one before found only a scrap (domains.cpp).
    bool thorough = true;  // sequence-independent: try other starts as well
};

// An object that is used again keeps its memory.
struct SearchResult {
    Scores scores;
    std::uint32_t mapped = 0;           // residue pairs; 0 when they were too few to be searched
    double distanceCutoff = 0.0;        // Å, as used
    Superposition superposition;        // the fit under which the final scoring counted
    ResidueMapping mapping;             // of the best pass
    std::vector<std::uint32_t> subset;  // positions in its pairs, ascending; empty for no subset

    // Nothing found; the mapping stays as it is.
    void clear() {
        scores = {};
        mapped = 0;
        distanceCutoff = 0.0;
        superposition = {};
        subset.clear();
    }
};

}  // namespace tervolanda
