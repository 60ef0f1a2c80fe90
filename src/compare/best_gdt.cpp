// The Global Distance Test (Zemla 2003, Nucleic Acids Res. 31:3370): for each cut-off the largest
// share of residues that some superposition brings within it.  No method is known that finds the
// largest for certain in useful time; every count is therefore that of a superposition that was
// found, and a lower bound.
//
// The search is that of MaxSub (seed_search.h) with radii around the cut-offs as limits of growth.
// Of all superpositions on its way each counts for every cut-off: the one that brings most pairs
// within 2 Å is often the fit of pairs within 3.  What is best for one cut-off is then the start
// for all others: superposed and selected again until nothing grows.
#include "compare/best_gdt.h"

#include <numeric>

#include "compare/fit/tolerance.h"

namespace tervolanda {

namespace {

constexpr std::size_t kFewestKept = 3;
constexpr std::size_t kCutoffs = kGdtCutoffs.size();
// Å.  With fewer or with those of the cut-offs themselves, real models are found whose score is
// more than a point below that of another program; with more, hardly any gain.
constexpr std::array<double, 5> kSearchRadii = {1.0, 1.5, 2.5, 4.0, 6.0};
constexpr int kSeedLevels = 3;
constexpr std::array<double, 10> kGrowthRadii = {0.5, 0.7, 1.0, 1.4, 2.0, 2.8, 4.0, 5.6, 8.0, 11.0};

using Limits = std::array<double, kCutoffs>;

// Squared cut-offs, in squares of a unit of which an Å has so many.
Limits limitsIn(double perAngstrom) {
    Limits limits{};
    for (std::size_t i = 0; i < kCutoffs; ++i) {
        const double cutoff = kGdtCutoffs[i] * perAngstrom;
        limits[i] = inclusiveLimit(cutoff * cutoff);
    }
    return limits;
}

// Invariant: counts_[i] is the size of scratch_.best[i].
class GdtSearch final : public MotionViewer {
 public:
    GdtSearch(const PairedPoints& pairs, const StopFlag* stop, const Kernels& kernels,
              GdtScratch& scratch)
        : pairs_(pairs), stop_(stop), kernels_(kernels), scratch_(scratch) {
        scratch_.squared.resize(pairs.size());
        for (auto& best : scratch_.best)
            best.clear();
    }

    // Fewer pairs than three have no superposition, and no seed is as short as three.
    void startFromAll() {
        scratch_.start.resize(pairs_.size());
        std::iota(scratch_.start.begin(), scratch_.start.end(), 0U);
        for (const double radius : kGrowthRadii)
            grow(radius);
    }

    void see(const SearchPairs& pairs, const Motion& motion) override {
        kernels_.squaredDeviations(pairs.arrays(), pairs.size(), motion, scratch_.squared.data());
        takeBetter(limitsInSearch_);
    }

    // Superposes the best subset of each cut-off and lets it grow with each of the radii, until
    // nothing gets better.
    void exchange() {
        GdtCounts before{};
        while (before != counts_) {
            throwIfStopped(stop_);
            before = counts_;
            for (std::size_t from = 0; from < kCutoffs; ++from) {
                scratch_.start = scratch_.best[from];
                for (const double radius : kGrowthRadii)
                    grow(radius);
            }
        }
    }

    const GdtCounts& counts() const { return counts_; }

 private:
    // Keeps the pairs within those cut-offs within which there are more than ever before.
    void takeBetter(const Limits& limits) {
        GdtCounts counts{};
        for (const double squared : scratch_.squared) {
            for (std::size_t i = 0; i < kCutoffs; ++i)
                counts[i] += squared <= limits[i] ? 1U : 0U;
        }
        for (std::size_t i = 0; i < kCutoffs; ++i) {
            if (counts[i] <= counts_[i]) continue;
            select(limits[i], scratch_.best[i]);
            counts_[i] = counts[i];
        }
    }

    // From a start, takes in what lies within the radius and fits again, until the set no longer
    // grows; every fit on the way counts for all cut-offs.
    void grow(double radius) {
        const double limit = inclusiveLimit(radius * radius);
        scratch_.subset = scratch_.start;
        std::size_t size = 0;
        while (scratch_.subset.size() >= kFewestKept && scratch_.subset.size() > size) {
            size = scratch_.subset.size();
            const auto fit = fitPairs(pairs_, scratch_.subset, kernels_, scratch_.gathered);
            if (!fit) return;
            squaredDeviations(pairs_, *fit, kernels_, scratch_.squared);
            takeBetter(limits_);
            select(limit, scratch_.subset);
        }
    }

    void select(double limit, std::vector<std::uint32_t>& selected) const {
        selected.clear();
        for (std::uint32_t i = 0; i < scratch_.squared.size(); ++i) {
            if (scratch_.squared[i] <= limit) selected.push_back(i);
        }
    }

    const PairedPoints& pairs_;
    const StopFlag* stop_;
    const Kernels& kernels_;
    GdtScratch& scratch_;
    GdtCounts counts_{};
    const Limits limits_ = limitsIn(1.0);
    const Limits limitsInSearch_ = limitsIn(SearchPairs::kPerAngstrom);
};

double meanPercentage(const GdtCounts& counts, std::size_t first, std::size_t length) {
    constexpr std::size_t kAveraged = 4;
    if (length == 0) return 0.0;
    std::uint64_t sum = 0;
    for (std::size_t i = first; i < first + kAveraged; ++i)
        sum += counts[i];
    return 100.0 * static_cast<double>(sum) / static_cast<double>(kAveraged * length);
}

}  // namespace

GdtCounts bestGdtCounts(const PairedPoints& pairs, const StopFlag* stop, const Kernels& kernels,
                        SeedSearchScratch& seeds, GdtScratch& scratch) {
    GdtSearch search(pairs, stop, kernels, scratch);
    search.startFromAll();
    SeedSearchTask task;
    task.seedLevels = kSeedLevels;
    task.stop = stop;
    task.viewer = &search;
    for (const double radius : kSearchRadii) {
        task.cutoff = radius;
        searchSeeds(pairs, task, kernels, seeds, scratch.start);
    }
    search.exchange();
    return search.counts();
}

double gdtTotalScore(const GdtCounts& counts, std::size_t length) {
    return meanPercentage(counts, 1, length);
}

double gdtHighAccuracy(const GdtCounts& counts, std::size_t length) {
    return meanPercentage(counts, 0, length);
}

}  // namespace tervolanda
