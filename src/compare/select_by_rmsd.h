// Selection of pairs by the RMSD that they have together.
#pragma once

#include <cstdint>
#include <vector>

#include "compare/fit/kernels.h"
#include "compare/pair_mask.h"
#include "compare/search_pairs.h"

namespace tervolanda {

// Scratch of one selection: the pairs near enough to matter, and those within its limit.
struct RmsdSelectionScratch {
    PairMask near, within;
    std::vector<double> squared;  // deviations of the near ones, 64 a word
    std::vector<double> beyond;   // those above the limit
};

// The pairs taken by ascending deviation under a motion while the mean of its square stays at most
// `limit`, in the units of the pairs, as bits in `mask`; where that ends among pairs that deviate
// alike, the first of them are taken.  Returns the number of pairs.
std::uint32_t selectByRmsd(const SearchPairs& pairs, const Motion& motion, double limit,
                           const Kernels& kernels, RmsdSelectionScratch& scratch, PairMask& mask);

}  // namespace tervolanda
