// The mapped pairs in the frame in which the search sums them.
#pragma once

#include <cstddef>
#include <vector>

#include "compare/fit/kernels.h"
#include "compare/fit/line_vector.h"
#include "compare/fit/superposition.h"
#include "compare/pair_mask.h"

namespace tervolanda {

// The pairs in thousandths of an ångström about a rounded centre, so that coordinates with three
// decimals are whole numbers.  Sums of whole numbers are exact, whatever their order, as long as
// they stay below 2^53; then the sums of a subset follow from those of another by the pairs in
// which they differ.  Where coordinates are not of that kind the sums are made anew for each
// subset, in ascending order.
//
// Invariant after place(): the arrays of both precisions and the terms belong to the same pairs,
// and there are prefix sums exactly when the sums are exact.
class SearchPairs {
 public:
    static constexpr double kPerAngstrom = 1000.0;

    void place(const PairedPoints& pairs, const Kernels& kernels);

    std::size_t size() const { return size_; }
    std::size_t words() const { return (size_ + 63) / 64; }
    // Lent until the next place().
    const PairedArrays& arrays() const { return arrays_; }
    const RoundedArrays& rounded() const { return roundedArrays_; }

    // Sums over the pairs [first, end), whose bits are set in `mask`.
    void sumRange(std::size_t first, std::size_t end, const PairMask& mask, const Kernels& kernels,
                  SubsetSums& sums) const;
    // Takes the sums of the subset `before` to those of `after`.
    void changeSums(const PairMask& before, const PairMask& after, const Kernels& kernels,
                    SubsetSums& sums) const {
        if (exact_) {
            kernels.changeSums(terms_.data(), before.data(), after.data(), words(), sums);
        } else {
            kernels.sumTerms(terms_.data(), after.data(), words(), sums);
        }
    }

 private:
    // What one axis holds.
    struct Extent {
        double largest = 0.0;  // magnitude
        bool isWhole = true;   // thousandths of an ångström
    };
    static Extent placeAxis(const std::vector<double>& values, double origin,
                            LineVector<double>& placed, LineVector<float>& rounded, float padding);

    std::size_t size_ = 0;
    bool exact_ = false;
    LineVector<float> rounded_[6];    // as axis_, in single precision
    LineVector<double> axis_[6];      // prediction x, y, z, experiment x, y, z; padded by zeros
    LineVector<double> terms_;        // kTerms a pair
    std::vector<SubsetSums> prefix_;  // sums over the first i pairs, when exact
    PairedArrays arrays_{};           // views of axis_,
    RoundedArrays roundedArrays_{};   // and of rounded_
};

}  // namespace tervolanda
