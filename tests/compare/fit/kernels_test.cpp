// The kernels of all instruction sets against plain loops.
#include "compare/fit/kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "compare/comparing.h"
#include "compare/search_pairs.h"

namespace tervolanda::test {
namespace {

// Paired points as a search holds them, in thousandths of an ångström, with the motion that fits
// them.
struct Placed {
    SearchPairs pairs;
    Motion motion{};

    Placed(std::size_t n, double noise, double shift) {
        PairedPoints points;
        const Chain experiment = coil(n, 11);
        for (const Atom& a : experiment.atoms)
            points.experiment.append(a.x + shift, a.y, a.z);
        for (const Atom& a : shaken(experiment, noise, 12).atoms)
            points.prediction.append(a.x, a.y - shift, a.z);
        points.centre();
        pairs.place(points, bestKernels());
        motion = asMotion(*fitPairs(points, bestKernels()));
        for (std::size_t k = 9; k < 12; ++k)
            motion[k] = SearchPairs::kPerAngstrom * motion[k] + 0.3;
    }
};

// Single precision must never decide about a pair that lies on the limit, or a hair from it.
TEST(Kernels, SelectExactlyThePairsWithinTheLimit) {
    constexpr std::size_t kPairs = 150;  // three words, the last one partly used
    for (const double shift : {0.0, 9000.0, 1e12}) {
        for (const double noise : {0.001, 3.0}) {
            const Placed placed(kPairs, noise, shift);
            std::vector<double> squared(kPairs);
            bestKernels().squaredDeviations(placed.pairs.arrays(), kPairs, placed.motion,
                                            squared.data());
            std::vector<double> limits = {0.0, 1e9};
            for (const double value : squared) {
                limits.insert(limits.end(),
                              {value, std::nextafter(value, 0.0), std::nextafter(value, 1e99)});
            }
            for (const double limit : limits) {
                PairMask expected(placed.pairs.words(), 0);
                for (std::size_t i = 0; i < kPairs; ++i) {
                    if (squared[i] <= limit) expected[i / 64] |= std::uint64_t{1} << (i % 64);
                }
                for (const Kernels* kernels : runnableKernels()) {
                    PairMask mask(placed.pairs.words(), ~std::uint64_t{0});
                    kernels->selectWithin(placed.pairs.arrays(), placed.pairs.rounded(), kPairs,
                                          placed.motion, limit, mask.data());
                    ASSERT_EQ(mask, expected) << shift << ' ' << noise << ' ' << limit;
                    mask.assign(placed.pairs.words(), ~std::uint64_t{0});
                    std::vector<float> rounded(paddedSize(kPairs));
                    const TmEstimate estimate = kernels->estimateTm(
                        placed.pairs.rounded(), kPairs, placed.motion, 1.0, rounded.data());
                    kernels->selectAmong(placed.pairs.arrays(), {rounded.data(), estimate.error},
                                         kPairs, placed.motion, limit, mask.data());
                    ASSERT_EQ(mask, expected) << shift << ' ' << noise << ' ' << limit;
                }
            }
        }
    }
}

TEST(Kernels, BoundTheTmScoreFromAbove) {
    for (const std::size_t n : {3U, 8U, 61U, 500U}) {
        for (const double noise : {0.0, 0.5, 8.0}) {
            const Placed placed(n, noise, 40.0);
            std::vector<double> squared(n);
            bestKernels().squaredDeviations(placed.pairs.arrays(), n, placed.motion,
                                            squared.data());
            for (const double scale : {500.0, 3500.0, 12000.0}) {
                const double sum = bestKernels().tmSum(squared.data(), n, scale * scale);
                for (const Kernels* kernels : runnableKernels()) {
                    std::vector<float> rounded(paddedSize(n));
                    const auto boundAt = [&](double scaleSquared) {
                        return kernels
                            ->estimateTm(placed.pairs.rounded(), n, placed.motion, scaleSquared,
                                         rounded.data())
                            .bound;
                    };
                    EXPECT_GE(boundAt(1e60), static_cast<double>(n));  // no float is as large
                    const double bound = boundAt(scale * scale);
                    EXPECT_GE(bound, sum) << n << ' ' << noise << ' ' << scale;
                    EXPECT_LE(bound, 1.002 * sum) << n << ' ' << noise << ' ' << scale;
                }
            }
        }
    }
}

}  // namespace
}  // namespace tervolanda::test
