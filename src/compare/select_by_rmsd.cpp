// Pairs are taken in the order of their deviations, but they are never sorted: all within the limit
// belong to the selection, and what they leave of it is used up by those beyond, nearest first.  So
// only pairs near enough have to be looked at, and most of these in single precision.
#include "compare/select_by_rmsd.h"

#include <algorithm>
#include <bit>

#include "compare/fit/tolerance.h"

namespace tervolanda {

namespace {

constexpr double kUsualReach = 4.0;  // a selection ends within so many limits, mostly

// The deviations of the pairs in one set and not in the other.
void listDeviations(const double* squared, const PairMask& set, const PairMask& without,
                    std::vector<double>& listed) {
    listed.clear();
    for (std::size_t w = 0; w < set.size(); ++w) {
        forEachPair(set[w] & ~without[w], 64 * w,
                    [&](std::size_t pair) { listed.push_back(squared[pair]); });
    }
}

// Adds the first `missing` of the pairs in `from` that deviate by at most `limit`.
void addFirst(const double* squared, double limit, const PairMask& from, std::uint32_t missing,
              PairMask& mask) {
    for (std::size_t w = 0; w < mask.size(); ++w) {
        for (std::uint64_t left = from[w] & ~mask[w]; left != 0 && missing > 0; left &= left - 1) {
            const auto bit = static_cast<std::size_t>(std::countr_zero(left));
            if (!(squared[64 * w + bit] <= limit)) continue;
            mask[w] |= std::uint64_t{1} << bit;
            --missing;
        }
    }
}

struct Taken {
    std::uint32_t count = 0;
    double next = 0.0;  // the first that does not fit
};

// Takes values between `limit` and `reach` in ascending order as long as what they are above the
// limit, in all, fits into `slack`; not all of them do.  Sorting would take most of the search's
// time; halving the interval that holds the first one left out is linear.
Taken takeWhileTheyFit(std::vector<double>& values, double limit, double reach, double slack) {
    constexpr std::ptrdiff_t kFew = 16;
    constexpr int kMostHalvings = 30;
    auto first = values.begin(), end = values.end();
    double low = limit, high = reach;
    for (int halving = 0; halving < kMostHalvings && end - first > kFew; ++halving) {
        const double middle = low + 0.5 * (high - low);
        double excess = 0.0;
        // A partition without branches: which side a value belongs to cannot be predicted, and a
        // wrong guess costs more than the move.
        auto lower = first;  // [first, lower) holds those up to the middle
        for (auto value = first; value != end; ++value) {
            const double moved = *value;
            const bool isLower = moved <= middle;
            *value = *lower;
            *lower = moved;
            lower += isLower ? 1 : 0;
            excess += static_cast<double>(isLower) * (moved - limit);
        }
        if (excess <= slack) {
            slack -= excess;
            first = lower;
            low = middle;
        } else {
            end = lower;
            high = middle;
        }
    }
    std::sort(first, end);
    for (; first != end && *first - limit <= slack; ++first)
        slack -= *first - limit;
    const auto next = first != end ? first : std::min_element(end, values.end());
    return {static_cast<std::uint32_t>(first - values.begin()),
            next != values.end() ? *next : reach};
}

}  // namespace

// All pairs within the limit are taken.  What they leave of it the others use up, nearest first, so
// that only those near enough have to be looked at, most of the time in single precision.
std::uint32_t selectByRmsd(const SearchPairs& pairs, const Motion& motion, double limit,
                           const Kernels& kernels, RmsdSelectionScratch& scratch, PairMask& mask) {
    const std::size_t n = pairs.size(), words = pairs.words();
    scratch.squared.resize(64 * words);
    scratch.near.resize(words);
    scratch.within.resize(words);
    mask.resize(words);
    double* const squared = scratch.squared.data();
    // As long as pairs beyond the reach might fit in as well, it grows, up to where one pair alone
    // would use up all that is left.
    double reach = kUsualReach * limit;
    SumsAboutLimit sums{};
    for (;;) {
        const std::uint32_t near = kernels.selectWithin(pairs.arrays(), pairs.rounded(), n, motion,
                                                        reach, scratch.near.data());
        kernels.deviationsOfWords(pairs.arrays(), n, motion, scratch.near.data(), squared);
        sums = kernels.splitAtLimit(squared, n, limit, reach, scratch.near.data(),
                                    scratch.within.data());
        if (sums.excess > sums.slack) break;
        const double farthest = inclusiveLimit(limit + sums.slack);
        if (near == n || !(reach < farthest)) {
            mask = scratch.near;
            return near;
        }
        reach = std::min(4.0 * reach, inclusiveLimit(farthest));
    }
    listDeviations(squared, scratch.near, scratch.within, scratch.beyond);
    const Taken taken = takeWhileTheyFit(scratch.beyond, limit, reach, sums.slack);
    const std::uint32_t count = sums.within + taken.count;
    sums = kernels.splitAtLimit(squared, n, exclusiveLimit(taken.next), 0.0, scratch.near.data(),
                                mask.data());
    // Of pairs that deviate alike to the last digits not all may fit: the first do.
    if (sums.within < count) {
        addFirst(squared, inclusiveLimit(taken.next), scratch.near, count - sums.within, mask);
    }
    return count;
}

}  // namespace tervolanda
