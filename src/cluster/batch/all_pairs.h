// What the batches of all models with each other have in common: the order of the pairs, and where
// outcomes go to or come from when no batch computes and keeps them.
//
// all_pairs.cpp has the searches and fits, all_by_measure.cpp the measures on demand.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <utility>

#include "cluster/batch/batch.h"
#include "cluster/batch/run_batch.h"

namespace tervolanda {

template <typename Value>
void setBoth(Matrix<Value>& matrix, BatchPair pair, Value value) {
    matrix.at(pair.experiment, pair.prediction) = value;
    matrix.at(pair.prediction, pair.experiment) = value;
}

// An N x N matrix of zeros but for its diagonal.
inline DistanceMatrix matrixWithDiagonal(std::size_t n, float diagonal) {
    DistanceMatrix matrix(n, n, 0.0F);
    for (std::size_t i = 0; i < n; ++i)
        matrix.at(i, i) = diagonal;
    return matrix;
}

// The order of the pairs, for batches of all kinds: (1, 0), (2, 1), (2, 0), (3, 2), (3, 1) ...  A
// pair's number in this order is what a block's slice counts, so that it must never change.
class AllPairs {
 public:
    explicit AllPairs(const PreparedList& list)
        : AllPairs(PairSlice{list, {0, pairsOf(list.size())}}) {}
    explicit AllPairs(const PairSlice& slice)
        : sets(slice.models.sets()), list_(slice.models), range_(slice.range) {}

    // The models are in memory, and so fewer pairs than an address has values.
    std::size_t count() const { return static_cast<std::size_t>(range_.count); }
    BatchPair first() const { return skip({1, 0}, static_cast<std::size_t>(range_.first)); }
    static BatchPair next(BatchPair pair) {
        if (pair.prediction > 0) return {pair.experiment, pair.prediction - 1};
        return {pair.experiment + 1, pair.experiment};
    }
    // Row by row, at most N steps, once for each chunk.
    static BatchPair skip(BatchPair pair, std::size_t count) {
        while (count > pair.prediction) {
            count -= pair.prediction + 1;
            pair = {pair.experiment + 1, pair.experiment};
        }
        return {pair.experiment, pair.prediction - count};
    }
    static std::size_t together(BatchPair) { return 1; }
    const Chain& experiment(BatchPair pair) const { return chain(pair.experiment); }
    const Chain& prediction(BatchPair pair) const { return chain(pair.prediction); }

 protected:
    // For outcomes that hold what a search found.
    ChunkNeeds needsOfSearches(std::size_t bytesOfOutcome) const {
        std::size_t longest = 0;
        for (const CoordinateSet& set : sets)
            longest = std::max(longest, set.size());
        ChunkNeeds needs;
        needs.bytesOfPair = bytesOfOutcome + longest * kBytesOfSearch;
        return needs;
    }
    ComparedPair compared(BatchPair pair) const {
        return {pair, sets[pair.experiment], sets[pair.prediction]};
    }

    const std::span<const CoordinateSet> sets;

 private:
    const Chain& chain(std::size_t i) const { return list_.models().chains[i]; }

    const PreparedList& list_;
    PairRange range_;
};

// Pairs whose outcomes go elsewhere than into matrices: for the blocks of a run no matrix is made.
template <typename Searches>
class TakenPairs : public Searches {
 public:
    using Outcome = typename Searches::Outcome;

    TakenPairs(Searches searches, const TakePair<Outcome>& take)
        : Searches(std::move(searches)), take_(take) {}
    void consume(BatchPair pair, const Outcome& outcome) { take_(pair, outcome); }

 private:
    const TakePair<Outcome>& take_;
};

// Pairs whose outcomes come from elsewhere than from a comparison: in a merge progress, matrices
// and recorders are those of the ordinary batch.
template <typename Pairs>
class GivenPairs : public Pairs {
 public:
    using Outcome = typename Pairs::Outcome;

    template <typename... Arguments>
    explicit GivenPairs(const GivePair<Outcome>& give, Arguments&&... arguments)
        : Pairs(std::forward<Arguments>(arguments)...), give_(give) {}
    static std::size_t together(BatchPair) { return 1; }
    void compute(BatchPair pair, std::span<Outcome> outcomes, BatchWorker& worker) const {
        give_(pair, outcomes.front());
        worker.finishPair();
    }

 private:
    const GivePair<Outcome>& give_;
};

}  // namespace tervolanda
