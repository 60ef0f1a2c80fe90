// The inner search of MaxSub: from seed fragments to the best subset of pairs.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "compare/fit/kernels.h"
#include "compare/fit/superposition.h"

namespace tervolanda {

// A subset of pairs, a bit each, of 64 pairs a word.
using PairMask = std::vector<std::uint64_t>;

// What a search is asked.
struct SeedSearchTask {
    double cutoff = 0.0;          // Å
    double tmScaleSquared = 0.0;  // Å^2
    double normLength = 0.0;      // divides the TM-score
    int seedLevels = 0;
    bool maximiseTM = false;  // keep the subset whose superposition has the highest TM-score
    bool byRmsd = false;      // select by RMSD instead of by distance
};

// The pairs as the search holds them: in thousandths of an ångström about a rounded centre, so that
// coordinates with three decimals are whole numbers.  Sums of whole numbers are exact, whatever
// their order, as long as they stay below 2^53; then the sums of a subset follow from those of
// another by the pairs in which they differ.  Where coordinates are not of that kind the sums are
// made anew for each subset, in ascending order.
class SearchPairs {
 public:
    void place(const PairedPoints& pairs, const Kernels& kernels);
    std::size_t size() const { return size_; }
    std::size_t words() const { return (size_ + 63) / 64; }
    bool areExact() const { return exact_; }
    PairedArrays arrays() const;
    RoundedArrays rounded() const;
    const double* terms() const { return terms_.data(); }
    // Sums over the pairs [first, end), whose bits are set in `mask`.
    void sumRange(std::size_t first, std::size_t end, const PairMask& mask, const Kernels& kernels,
                  SubsetSums& sums) const;

    static constexpr double kPerAngstrom = 1000.0;

 private:
    // What one axis holds.
    struct Extent {
        double largest = 0.0;  // magnitude
        bool isWhole = true;   // thousandths of an ångström
    };
    static Extent placeAxis(const std::vector<double>& values, double origin,
                            std::vector<double>& placed, std::vector<float>& rounded);

    std::size_t size_ = 0;
    bool exact_ = false;
    double largest_ = 0.0;            // magnitude of a coordinate
    std::vector<float> rounded_[6];   // as axis_, in single precision; padded by 7 zeros
    std::vector<double> axis_[6];     // prediction x, y, z, experiment x, y, z; padded by 3 zeros
    std::vector<double> terms_;       // kTerms a pair
    std::vector<SubsetSums> prefix_;  // sums over the first i pairs, when exact
};

enum class SeedStage : std::uint8_t { Growth, Refinement, Final, Done };

// A set about to be superposed, and at which point of its path: what follows is determined, as long
// as the path does not fall back to its own seed or reach the limit of selections.
struct VisitedState {
    std::uint64_t hash = 0;  // of the set, the stage and the growth step
    SeedStage stage = SeedStage::Done;
    int step = 0;
    std::uint32_t owner = 0;     // number of the seed
    int selectionsLeft = 0;      // that the refinement took from here on
    std::size_t maskOffset = 0;  // where the set's words lie
};

// The states that finished paths went through.  A path that comes to a state of an earlier seed
// would find what that one found, which cannot be better: it ends there.
class VisitedStates {
 public:
    void clear(std::size_t words);
    void add(const VisitedState& state, const std::uint64_t* mask);
    // When an earlier seed's path was in the same state, and went on from there for no more
    // selections than are left: how many its refinement took.  kUnknown otherwise.
    int selectionsFrom(const VisitedState& state, const PairMask& mask) const;
    static constexpr int kUnknown = -1;

    static std::uint64_t hashOf(const PairMask& mask, SeedStage stage, int step);

 private:
    std::size_t firstSlot(std::uint64_t hash) const {
        return static_cast<std::size_t>(hash) & (slots_.size() - 1);
    }

    std::size_t words_ = 0;
    std::vector<std::uint32_t> slots_;  // 1 + index into states_, 0 for free; open addressing
    std::vector<VisitedState> states_;
    std::vector<std::uint64_t> masks_;
};

// One seed on its way: the set under work and how far it has come.
struct SeedPath {
    using Stage = SeedStage;

    std::uint32_t number = 0;  // seeds are numbered in their order

    std::uint32_t first = 0, end = 0;  // the seed's pairs
    PairMask current;                  // the set that is superposed next
    std::uint32_t size = 0;
    SubsetSums sums{};
    RotationProblem problem{};  // its superposition
    Stage stage = Stage::Done;
    int step = 0;                // growth step, or selections of the refinement
    PairMask best;               // its candidate
    std::uint32_t bestSize = 0;  // 0 for none
    Motion bestMotion{};         // the superposition under which the candidate was selected
    double bestTm = 0.0;
    std::vector<VisitedState> visited;        // since it last fell back to its seed
    std::vector<std::uint64_t> visitedMasks;  // their sets
};

// Scratch of one selection by RMSD: the pairs near enough to matter, and those within its limit.
struct RmsdSelectionScratch {
    PairMask near, within;
    std::vector<double> squared;  // deviations of the near ones, 64 a word
    std::vector<double> beyond;   // those above the limit
};

// Scratch of the search; reused from comparison to comparison.
struct SeedSearchScratch {
    SearchPairs pairs;
    std::vector<SeedPath> paths;
    std::vector<double> squared;
    std::vector<std::uint32_t> lengths, selected;
    PairMask next, best;
    RmsdSelectionScratch byRmsd;
    VisitedStates visited;
};

// Searches the seeds of all lengths and leaves the best subset, ascending, in `best`, empty when no
// seed led to one.  True when the subset is complete, which ends the search at once.
bool searchSeeds(const PairedPoints& pairs, const SeedSearchTask& task, const Kernels& kernels,
                 SeedSearchScratch& scratch, std::vector<std::uint32_t>& best);

// The pairs taken by ascending deviation under a motion while the mean of its square stays at most
// `limit`, in the units of the pairs, as bits in `mask`; where that ends among pairs that deviate
// alike, the first of them are taken.  Returns the number of pairs.
std::uint32_t selectByRmsd(const SearchPairs& pairs, const Motion& motion, double limit,
                           const Kernels& kernels, RmsdSelectionScratch& scratch, PairMask& mask);

// The lengths of seed fragments for n pairs: n, n / 2, n / 4 ... down to `levels` halvings or above
// 3 pairs, and 4 at the end.
void seedLengths(std::uint32_t pairs, int levels, std::vector<std::uint32_t>& lengths);

}  // namespace tervolanda
