// Average and maximum linkage along chains of nearest neighbours (Benzecri 1982; Murtagh 1983,
// Computer J. 26:354): from any cluster to its nearest, from there to the nearest of that, until
// two clusters are each other's nearest and join.  Both linkages allow that, since a join never
// brings the joined clusters nearer to a third one: what is each other's nearest now would be
// joined sooner or later.  About 3 N times a cluster is measured against all others, O(N^2) in all.
//
// A chain starts at the cluster in the last slot, turns back rather than on, and of several nearest
// clusters takes the one in the first slot; a joined cluster has the later slot of the two.
//
// Threads share each of these steps (as ParChain does whole chains: Yu et al. 2021,
// PVLDB 15:285), so that the chain, and with it the tree, is the same by any number of them.
#if defined(__linux__)
#include <sys/mman.h>
#endif

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <numeric>
#include <utility>

#include "base/loop_team.h"
#include "cluster/merges.h"

namespace tervolanda {

namespace {

// What the two linkages do with a cell of the triangle.  A weight that is not a number marks
// a slot without a cluster: the distance to it is not a number either and never the smallest.
struct AverageLinkage {
    using Value = double;                // sum of the distances between members
    static constexpr Value kWeight = 1;  // of a model: the members of its cluster
    static Value distance(Value sum, Value a, Value b) { return sum / (a * b); }
    static Value join(Value a, Value b) { return a + b; }
    static Value joinWeights(Value a, Value b) { return a + b; }
};

struct MaximumLinkage {
    using Value = float;                 // largest distance between members
    static constexpr Value kWeight = 0;  // nothing to weigh, but see above
    static Value distance(Value largest, Value a, Value b) { return largest + (a + b); }
    static Value join(Value a, Value b) { return a < b ? b : a; }
    static Value joinWeights(Value, Value) { return 0; }
};

// The smallest value, infinity when there is none below.  Eight independent minima, so that they
// fill the lanes of vector registers; what is not a number is passed over.
template <typename Value>
Value smallestOf(std::span<const Value> values) {
    constexpr std::size_t kLanes = 8;
    Value lanes[kLanes];
    std::fill_n(lanes, kLanes, std::numeric_limits<Value>::infinity());
    std::size_t i = 0;
    for (; i + kLanes <= values.size(); i += kLanes) {
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            const Value value = values[i + lane];
            lanes[lane] = value < lanes[lane] ? value : lanes[lane];
        }
    }
    for (; i < values.size(); ++i)
        lanes[0] = values[i] < lanes[0] ? values[i] : lanes[0];
    return *std::min_element(lanes, lanes + kLanes);
}

// Some of the slots, or of the rows, that one thread does; and which piece of a loop that is.
struct Share {
    std::size_t piece;
    std::size_t from, to;
};

template <typename Linkage>
class NeighbourChain {
 public:
    // REQUIRES: two models or more.
    NeighbourChain(const DistanceView& distances, const StepSharing& sharing);
    std::vector<Merge> run();

 private:
    using Value = typename Linkage::Value;
    static constexpr std::uint32_t kNone = UINT32_MAX;
    static constexpr std::size_t kRowsOfShare = 8;
    // The smallest distance in the shares of a piece, and where the first share with it begins.
    struct Nearest {
        Value distance;
        std::size_t from;
        bool operator<(const Nearest& other) const {
            return std::pair(distance, from) < std::pair(other.distance, other.from);
        }
    };
    // What the triangle holds of a slot and all others.
    struct Row {
        std::uint32_t slot = kNone;
        std::vector<Value> cells;
    };

    // Row `slot` of the strict lower triangle.
    Value* rowOf(std::size_t slot) { return triangle_.get() + slot * (slot - 1) / 2; }
    bool isCluster(std::size_t slot) const { return weight_[slot] == weight_[slot]; }
    // Has the team do what is independent for each slot, or row, from `from` to `to`: work(share).
    template <typename Work>
    void inShares(std::size_t from, std::size_t to, std::size_t length, const Work& work);
    void copyRow(const DistanceView& distances, std::size_t i);
    void gather(std::uint32_t slot, Row& row, Share share);
    Value measure(std::uint32_t slot, Share share);
    std::uint32_t nearestTo(std::uint32_t slot, std::uint32_t previous);
    void join(std::uint32_t gone, std::uint32_t kept, double distance);
    std::uint32_t latestCluster();
    void closeGaps();
    void moveRows(std::span<const std::uint32_t> old);

    const StopFlag* stop_;
    std::unique_ptr<Value[]> triangle_;  // a cell for every two slots
    std::size_t slots_;
    std::size_t clusters_;
    std::vector<Value> weight_;         // per slot
    std::vector<std::uint32_t> model_;  // per slot: a member of the cluster
    std::vector<double> height_;        // per slot: distance of the cluster's last join
    Row tipRow_;                        // of the slot last measured from,
    Row previousRow_;                   // and of the one before it
    std::vector<Value> measured_;       // per slot: distance to the cluster last measured from
    std::vector<std::uint32_t> chain_;  // slots
    std::vector<Merge> merges_;
    std::array<Nearest, LoopTeam::kMostThreads> nearest_{};  // by piece
    StepSharing sharing_;
    LoopTeam team_;
};

// Columns of a large triangle are read with a page for nearly every cell: large pages make that
// twice as fast, and the first touch of the memory, too.
void preferLargePages([[maybe_unused]] void* data, [[maybe_unused]] std::size_t bytes) {
#ifdef MADV_HUGEPAGE
    constexpr std::size_t kLargePage = std::size_t{1} << 21;
    if (std::align(kLargePage, kLargePage, data, bytes) != nullptr) {
        madvise(data, bytes, MADV_HUGEPAGE);  // only a wish
    }
#endif
}

// Copies the strict lower triangle, in the precision of the linkage: joins overwrite it, and the
// matrix stays the caller's.
template <typename Linkage>
NeighbourChain<Linkage>::NeighbourChain(const DistanceView& distances, const StepSharing& sharing)
    : stop_(distances.stop()),
      slots_(distances.size()),
      clusters_(slots_),
      weight_(slots_, Linkage::kWeight),
      model_(slots_),
      height_(slots_, -std::numeric_limits<double>::infinity()),
      measured_(slots_),
      sharing_(sharing),
      team_(slots_ < sharing.fewestSlots ? 1 : sharing.threads) {
    tipRow_.cells.resize(slots_);
    previousRow_.cells.resize(slots_);
    const std::size_t cells = slots_ * (slots_ - 1) / 2;
    triangle_ = std::make_unique_for_overwrite<Value[]>(cells);
    preferLargePages(triangle_.get(), cells * sizeof(Value));
    std::iota(model_.begin(), model_.end(), 0U);
    constexpr std::size_t kRows = 512;  // between two looks at the stop flag
    for (std::size_t row = 1; row < slots_; row += kRows) {
        throwIfStopped(stop_);
        inShares(row, std::min(row + kRows, slots_), kRowsOfShare, [&](Share share) {
            for (std::size_t i = share.from; i < share.to; ++i)
                copyRow(distances, i);
        });
    }
    merges_.reserve(slots_);
}

template <typename Linkage>
void NeighbourChain<Linkage>::copyRow(const DistanceView& distances, std::size_t i) {
    const std::span<const float> row = distances.entries(i);
    Value* const to = rowOf(i);
    for (std::size_t j = 0; j < i; ++j)
        to[j] = static_cast<Value>(distances.read(row[j]));
}

// Shares go round among the threads, so that each has long and short rows, and in every loop the
// same slots.
template <typename Linkage>
template <typename Work>
void NeighbourChain<Linkage>::inShares(std::size_t from, std::size_t to, std::size_t length,
                                       const Work& work) {
    if (team_.size() == 1 || slots_ < sharing_.fewestSlots) return work(Share{0, from, to});
    const std::size_t shares = (to - from + length - 1) / length;
    const std::size_t pieces = std::min(team_.size(), shares);
    team_.run(pieces, [&](std::size_t piece) {
        for (std::size_t k = piece; k < shares; k += pieces)
            work(Share{piece, from + k * length, std::min(from + (k + 1) * length, to)});
    });
}

// Copies the cells that the triangle has of a slot and those of a share.  They stand in its row up
// to the diagonal, and in a column from there on: gathered once, they are measured and joined in
// one piece.
template <typename Linkage>
void NeighbourChain<Linkage>::gather(std::uint32_t slot, Row& row, Share share) {
    if (share.from < slot) {
        const std::size_t end = std::min<std::size_t>(share.to, slot);
        std::copy(rowOf(slot) + share.from, rowOf(slot) + end, row.cells.data() + share.from);
    }
    if (share.from <= slot && slot < share.to) row.cells[slot] = 0;
    const std::size_t begin = std::max(share.from, slot + std::size_t{1});
    const Value* cell = triangle_.get() + begin * (begin - 1) / 2 + slot;
    for (std::size_t j = begin; j < share.to; ++j) {
        row.cells[j] = *cell;
        cell += j;
    }
}

// Distances of a slot from those of a share; returns the smallest.
template <typename Linkage>
typename Linkage::Value NeighbourChain<Linkage>::measure(std::uint32_t slot, Share share) {
    gather(slot, tipRow_, share);
    const Value weight = weight_[slot];
    for (std::size_t j = share.from; j < share.to; ++j) {
        measured_[j] = Linkage::distance(tipRow_.cells[j], weight, weight_[j]);
    }
    if (share.from <= slot && slot < share.to)
        measured_[slot] = std::numeric_limits<Value>::quiet_NaN();
    return smallestOf(std::span<const Value>(measured_.data() + share.from, share.to - share.from));
}

// The nearest cluster, preferably the previous one of the chain: then the two join, and among
// equally near clusters no chain goes round in a circle.
template <typename Linkage>
std::uint32_t NeighbourChain<Linkage>::nearestTo(std::uint32_t slot, std::uint32_t previous) {
    throwIfStopped(stop_);
    std::swap(previousRow_, tipRow_);
    tipRow_.slot = slot;
    nearest_.fill({std::numeric_limits<Value>::infinity(), 0});
    inShares(0, slots_, sharing_.slotsOfShare, [&](Share share) {
        const Value distance = measure(slot, share);
        Nearest& nearest = nearest_[share.piece];
        if (distance < nearest.distance) nearest = {distance, share.from};
    });
    const auto [smallest, from] = *std::min_element(nearest_.begin(), nearest_.end());
    if (previous != kNone && measured_[previous] <= smallest) return previous;
    const Value* const measured = measured_.data();
    return static_cast<std::uint32_t>(std::find(measured + from, measured + slots_, smallest) -
                                      measured);
}

// REQUIRES: gone < kept; `tipRow_` and `previousRow_` are theirs.  The later slot is kept, as more
// of its cells stand in a row.
template <typename Linkage>
void NeighbourChain<Linkage>::join(std::uint32_t gone, std::uint32_t kept, double distance) {
    // Sums that had to be rounded can put a mean an ulp below that of the clusters it is made of.
    height_[kept] = std::max({distance, height_[gone], height_[kept]});
    merges_.push_back({model_[gone], model_[kept], height_[kept]});
    inShares(0, slots_, sharing_.slotsOfShare, [&](Share share) {
        Value* const keptRow = rowOf(kept);
        for (std::size_t k = share.from; k < std::min<std::size_t>(share.to, kept); ++k) {
            keptRow[k] = Linkage::join(tipRow_.cells[k], previousRow_.cells[k]);
        }
        for (std::size_t k = std::max(share.from, kept + std::size_t{1}); k < share.to; ++k) {
            rowOf(k)[kept] = Linkage::join(tipRow_.cells[k], previousRow_.cells[k]);
        }
    });
    weight_[kept] = Linkage::joinWeights(weight_[kept], weight_[gone]);
    weight_[gone] = std::numeric_limits<Value>::quiet_NaN();
    --clusters_;
    tipRow_.slot = kNone;  // both rows are those of the past
    previousRow_.slot = kNone;
}

// REQUIRES: a cluster is left.
template <typename Linkage>
std::uint32_t NeighbourChain<Linkage>::latestCluster() {
    std::size_t slot = slots_ - 1;
    while (!isCluster(slot))
        --slot;
    return static_cast<std::uint32_t>(slot);
}

// Moves the clusters together, over the slots without one.  Cells only move towards the front and
// in order, so none is overwritten before it has moved.
template <typename Linkage>
void NeighbourChain<Linkage>::closeGaps() {
    std::vector<std::uint32_t> old;
    std::vector<std::uint32_t> moved(slots_);
    for (std::uint32_t slot = 0; slot < slots_; ++slot) {
        moved[slot] = static_cast<std::uint32_t>(old.size());
        if (isCluster(slot)) old.push_back(slot);
    }
    moveRows(old);
    for (std::size_t i = 0; i < old.size(); ++i) {
        weight_[i] = weight_[old[i]];
        model_[i] = model_[old[i]];
        height_[i] = height_[old[i]];
    }
    for (std::uint32_t& slot : chain_)
        slot = moved[slot];
    slots_ = old.size();
}

// Row old[i] becomes row i.  Rows from `begin` to old[begin] go to where no row is any more that is
// still to be moved, so that threads can move them.
template <typename Linkage>
void NeighbourChain<Linkage>::moveRows(std::span<const std::uint32_t> old) {
    std::size_t begin = 0;
    while (begin < old.size() && old[begin] == begin)
        ++begin;  // rows before the first gap
    while (begin < old.size()) {
        const std::size_t end = std::clamp<std::size_t>(old[begin], begin + 1, old.size());
        inShares(begin, end, kRowsOfShare, [&](Share share) {
            for (std::size_t i = share.from; i < share.to; ++i) {
                const Value* const from = rowOf(old[i]);
                Value* const to = rowOf(i);
                for (std::size_t j = 0; j < i; ++j)
                    to[j] = from[old[j]];
            }
        });
        begin = end;
    }
}

template <typename Linkage>
std::vector<Merge> NeighbourChain<Linkage>::run() {
    while (clusters_ > 1) {
        if (clusters_ < slots_ - slots_ / 4) closeGaps();
        if (chain_.empty()) chain_.push_back(latestCluster());
        const std::uint32_t tip = chain_.back();
        const std::uint32_t previous = chain_.size() < 2 ? kNone : chain_[chain_.size() - 2];
        const std::uint32_t nearest = nearestTo(tip, previous);
        // Where this is not the previous cluster, rounded sums have led the chain back to an older
        // one at the same distance but for an ulp: join all the same, and drop what lies between.
        const auto found = std::find(chain_.begin(), chain_.end(), nearest);
        if (found == chain_.end()) {
            chain_.push_back(nearest);
            continue;
        }
        if (previousRow_.slot != nearest) gather(nearest, previousRow_, {0, 0, slots_});
        chain_.erase(found, chain_.end());
        join(std::min(tip, nearest), std::max(tip, nearest),
             static_cast<double>(measured_[nearest]));
    }
    return std::move(merges_);
}

}  // namespace

std::vector<Merge> mergeByAverageLinkage(const DistanceView& distances,
                                         const StepSharing& sharing) {
    return NeighbourChain<AverageLinkage>(distances, sharing).run();
}

std::vector<Merge> mergeByMaximumLinkage(const DistanceView& distances,
                                         const StepSharing& sharing) {
    return NeighbourChain<MaximumLinkage>(distances, sharing).run();
}

}  // namespace tervolanda
