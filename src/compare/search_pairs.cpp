// A search superposes thousands of subsets of the same pairs, and most differ from the one before
// in a few of them.  With sums that are exact a subset costs as much as that difference, and the
// result is the same to the last bit whichever way led to it.
#include "compare/search_pairs.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace tervolanda {

namespace {

// The nearest whole number, halves to the even one, for magnitudes up to 2^51: the sum has no bits
// left for fractions.  A larger value may come back changed; it is then kept as it was, as one that
// is no whole number, and sums of such values are not exact anyway.  std::nearbyint is a call where
// the processor that is compiled for may lack SSE 4.1, 0.7 % of the instructions of a small list.
double nearestWhole(double value) {
    constexpr double kNoFractions = 6755399441055744.0;  // 1.5 x 2^52
    return (value + kNoFractions) - kNoFractions;
}

}  // namespace

// The coordinates of one axis about their rounded mean.
SearchPairs::Extent SearchPairs::placeAxis(const std::vector<double>& values, double origin,
                                           LineVector<double>& placed, LineVector<float>& rounded,
                                           float padding) {
    // Coordinates come centred about `origin`, which costs them their last bits.
    constexpr double kNoise = 1e-5;  // of a thousandth of an ångström
    // The frame is moved by a whole number of thousandths, which keeps whole numbers whole.
    const double shift = std::nearbyint(origin * kPerAngstrom);
    const std::size_t n = values.size();
    placed.resize(paddedSize(n));
    rounded.resize(paddedSize(n));
    const double* const from = values.data();
    double* const to = placed.data();
    float* const nearTo = rounded.data();
    // Two loops without a branch, of which compilers make vector instructions: a fifth fewer of
    // them than one loop takes.
    std::uint64_t others = 0;  // coordinates that are no whole numbers
    for (std::size_t i = 0; i < n; ++i) {
        const double value = (from[i] + origin) * kPerAngstrom;
        const double whole = nearestWhole(value);
        // Far above the bits lost by centring, far below the digits that a file may have beyond the
        // third: only a coordinate with three decimals counts as one.
        const bool isWhole = std::abs(value - whole) <= kNoise;
        const double kept = (isWhole ? whole : value) - shift;
        to[i] = kept;
        nearTo[i] = static_cast<float>(kept);
        others += isWhole ? 0U : 1U;
    }
    std::fill(placed.begin() + static_cast<std::ptrdiff_t>(n), placed.end(), 0.0);
    std::fill(rounded.begin() + static_cast<std::ptrdiff_t>(n), rounded.end(), padding);
    std::array<double, 4> largest{};
    for (std::size_t i = 0; i < (n + 3) / 4 * 4; i += 4) {
        for (std::size_t k = 0; k < 4; ++k) {
            const double size = std::abs(to[i + k]);
            largest[k] = size > largest[k] ? size : largest[k];
        }
    }
    const Extent extent{*std::ranges::max_element(largest), others == 0};
    return extent;
}

void SearchPairs::place(const PairedPoints& pairs, const Kernels& kernels) {
    size_ = pairs.size();
    const Points* const sides[2] = {&pairs.prediction, &pairs.experiment};
    const std::array<double, 3>* const origins[2] = {&pairs.predictionOrigin,
                                                     &pairs.experimentOrigin};
    // Whatever the motion, the partners of what stands after the last pair lie too far away to add
    // anything to a TM-score.
    constexpr float kPadding[2] = {0.0F, 1e18F};
    Extent all;
    for (std::size_t side = 0; side < 2; ++side) {
        const std::vector<double>* const values[3] = {&sides[side]->x, &sides[side]->y,
                                                      &sides[side]->z};
        for (std::size_t a = 0; a < 3; ++a) {
            const std::size_t axis = 3 * side + a;
            const Extent extent = placeAxis(*values[a], (*origins[side])[a], axis_[axis],
                                            rounded_[axis], kPadding[side]);
            all.largest = std::max(all.largest, extent.largest);
            all.isWhole = all.isWhole && extent.isWhole;
        }
    }
    arrays_ = {axis_[0].data(), axis_[1].data(), axis_[2].data(),
               axis_[3].data(), axis_[4].data(), axis_[5].data()};
    roundedArrays_ = {rounded_[0].data(), rounded_[1].data(), rounded_[2].data(),
                      rounded_[3].data(), rounded_[4].data(), rounded_[5].data(),
                      all.largest};
    // Six squares a pair; whole numbers below 2^53 are exact.
    exact_ = all.isWhole &&
             6.0 * static_cast<double>(size_) * all.largest * all.largest < 9007199254740992.0;
    // The products of a pair are made once, not for every subset that it is in.
    terms_.resize(size_ * kTerms);
    kernels.makeTerms(arrays_, size_, terms_.data());
    // Seeds are ranges: with sums up to each pair the sums of a seed are one subtraction.
    prefix_.resize(exact_ ? size_ + 1 : 0);
    for (std::size_t i = 0; exact_ && i < size_; ++i) {
        for (std::size_t k = 0; k < kTerms; ++k) {
            prefix_[i + 1][k] = prefix_[i][k] + terms_[i * kTerms + k];
        }
    }
}

void SearchPairs::sumRange(std::size_t first, std::size_t end, const PairMask& mask,
                           const Kernels& kernels, SubsetSums& sums) const {
    if (!exact_) {
        kernels.sumTerms(terms_.data(), mask.data(), words(), sums);
        return;
    }
    for (std::size_t k = 0; k < kTerms; ++k)
        sums[k] = prefix_[end][k] - prefix_[first][k];
}

}  // namespace tervolanda
