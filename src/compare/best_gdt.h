// The Global Distance Test as assessors compute it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/stop.h"
#include "compare/fit/kernels.h"
#include "compare/fit/superposition.h"
#include "compare/seed_search.h"

namespace tervolanda {

// Å
inline constexpr std::array<double, 5> kGdtCutoffs = {0.5, 1.0, 2.0, 4.0, 8.0};

// Pairs that lie within each cut-off, under the best superposition that was found for it.
using GdtCounts = std::array<std::uint32_t, kGdtCutoffs.size()>;

// Arrays are used again and again.
struct GdtScratch {
    std::vector<double> squared;  // Å^2, one a pair
    std::vector<std::uint32_t> start, subset;
    std::array<std::vector<std::uint32_t>, kGdtCutoffs.size()> best;  // the pairs of each count
    PairedPoints gathered;
};

// Searches the placed pairs for each cut-off on its own.
GdtCounts bestGdtCounts(const PairedPoints& pairs, const StopFlag* stop, const Kernels& kernels,
                        SeedSearchScratch& seeds, GdtScratch& scratch);

// 0 to 100, by the length of the experiment in residues: the mean percentage within 1, 2, 4 and
// 8 Å,
double gdtTotalScore(const GdtCounts& counts, std::size_t length);
// and within 0.5, 1, 2 and 4 Å.
double gdtHighAccuracy(const GdtCounts& counts, std::size_t length);

}  // namespace tervolanda
