// The search tries many short fragments as seeds.  Each is superposed, pairs that come to lie near
// each other are taken in, the larger set is superposed again, with a radius that grows to the
// cut-off, until the set no longer grows.  The largest set wins; of equal ones that with the lower
// RMSD; of equals again the earlier seed's.  With maximiseTM every superposition on the way is
// scored and the set with the highest TM-score wins.
//
// A step of a path is one superposition and one selection.  Seeds are independent of each other, so
// paths advance side by side, and the rotations of four are solved at once; what they found is
// judged in the order of the seeds.  Two kinds of steps are left out because their outcome is
// known: a set that a selection left unchanged has the superposition it had, and a set that selects
// itself at the full cut-off is where its path ends.
#include "compare/seed_search.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>
#include <optional>
#include <utility>

#include "compare/fit/tolerance.h"

namespace tervolanda {

namespace {

constexpr std::size_t kFewestSelected = 3;  // a smaller selection is none
constexpr std::uint32_t kShortestSeed = 4;
constexpr int kGrowthSteps = 4;          // radii of 1/4, 2/4, 3/4 and 4/4 of the cut-off
constexpr double kSmallestRadius = 0.5;  // Å; growth by distance skips smaller ones
constexpr int kMostSelections = 21;      // of one refinement
constexpr double kUsualReach = 4.0;      // selection by RMSD ends within so many limits, mostly
constexpr std::size_t kMostVisited = kGrowthSteps + kMostSelections + 1;  // states of a path
constexpr std::size_t kSideBySide = 16;  // paths: groups of four stay full while some end early
constexpr std::size_t kSolvedAtOnce = 8;
constexpr std::size_t kMostMaskWords = std::size_t{1} << 23;  // of known states, 64 MB

void setRange(std::size_t first, std::size_t end, std::size_t words, PairMask& mask) {
    mask.assign(words, 0);
    for (std::size_t i = first; i < end; ++i)
        mask[i / 64] |= std::uint64_t{1} << (i % 64);
}

void listPairs(const PairMask& mask, std::vector<std::uint32_t>& pairs) {
    pairs.clear();
    for (std::size_t w = 0; w < mask.size(); ++w) {
        for (std::uint64_t left = mask[w]; left != 0; left &= left - 1) {
            pairs.push_back(static_cast<std::uint32_t>(64 * w) +
                            static_cast<std::uint32_t>(std::countr_zero(left)));
        }
    }
}

// A plain loop: sets have a few words, and a call of memcmp costs more (4 % of a search).
bool isSameSet(const std::uint64_t* a, const std::uint64_t* b, std::size_t words) {
    for (std::size_t w = 0; w < words; ++w) {
        if (a[w] != b[w]) return false;
    }
    return true;
}

// The deviations of the pairs in one set and not in the other.
void listDeviations(const double* squared, const PairMask& set, const PairMask& without,
                    std::vector<double>& listed) {
    listed.clear();
    for (std::size_t w = 0; w < set.size(); ++w) {
        for (std::uint64_t left = set[w] & ~without[w]; left != 0; left &= left - 1)
            listed.push_back(squared[64 * w + static_cast<std::size_t>(std::countr_zero(left))]);
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
// limit, in all, fits into `slack`; not all of them do.  Sorting would take most of
// the search's time; halving the interval that holds the first one left out is linear.
Taken takeWhileTheyFit(std::vector<double>& values, double limit, double reach, double slack) {
    constexpr std::ptrdiff_t kFew = 16;
    constexpr int kMostHalvings = 30;
    auto first = values.begin(), end = values.end();
    double low = limit, high = reach;
    for (int halving = 0; halving < kMostHalvings && end - first > kFew; ++halving) {
        const double middle = low + 0.5 * (high - low);
        double excess = 0.0;
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

class SeedSearch {
 public:
    SeedSearch(const SeedSearchTask& task, const Kernels& kernels, SeedSearchScratch& scratch)
        : task_(task), kernels_(kernels), scratch_(scratch), pairs_(scratch.pairs) {
        scratch_.squared.resize(pairs_.size());
        scratch_.next.resize(pairs_.words());
        scratch_.best.clear();
        scratch_.visited.clear(pairs_.words());
        if (scratch_.paths.size() < kSideBySide) scratch_.paths.resize(kSideBySide);
        for (SeedPath& path : scratch_.paths) {
            path.visited.reserve(kMostVisited);
            path.visitedMasks.reserve(kMostVisited * pairs_.words());
        }
    }

    bool run(std::vector<std::uint32_t>& best) {
        const bool complete = searchAll();
        listPairs(scratch_.best, best);
        return complete;
    }

 private:
    // True when the search ended with a complete subset.
    bool searchAll() {
        const auto n = static_cast<std::uint32_t>(pairs_.size());
        seedLengths(n, task_.seedLevels, scratch_.lengths);
        std::size_t waiting = 0;
        std::uint32_t number = 0;
        for (const std::uint32_t length : scratch_.lengths) {
            for (std::uint32_t start = 0; start + length <= n; start += length / 2) {
                scratch_.paths[waiting].number = ++number;
                place(start, start + length, scratch_.paths[waiting++]);
                // The seed of full length goes alone: it ends identical and near-identical pairs.
                if (waiting < kSideBySide && length < n) continue;
                if (runPaths(std::exchange(waiting, 0))) return true;
            }
        }
        return runPaths(waiting);
    }

    void place(std::uint32_t first, std::uint32_t end, SeedPath& path) const {
        path.first = first;
        path.end = end;
        setRange(first, end, pairs_.words(), path.current);
        path.size = end - first;
        pairs_.sumRange(first, end, path.current, kernels_, path.sums);
        path.stage = SeedPath::Stage::Growth;
        path.step = 1;
        path.bestSize = 0;
        path.bestTm = 0.0;
        forgetVisited(path);
        skipSmallRadii(path);
    }

    // Growth by distance selects nothing below the smallest radius.
    void skipSmallRadii(SeedPath& path) const {
        while (!task_.maximiseTM && path.step <= kGrowthSteps &&
               growthRadius(path.step) < kSmallestRadius) {
            ++path.step;
        }
        if (path.step > kGrowthSteps) startRefinement(path);
    }

    static void startRefinement(SeedPath& path) {
        path.stage = SeedPath::Stage::Refinement;
        path.step = 0;
    }

    double growthRadius(int step) const { return step * task_.cutoff * 0.25; }

    // Takes the first `count` paths to their ends and judges what they found.
    bool runPaths(std::size_t count) {
        std::array<SeedPath*, kSideBySide> active{};
        std::size_t left = 0;
        for (std::size_t i = 0; i < count; ++i)
            active[left++] = &scratch_.paths[i];
        while (left > 0) {
            superpose({active.data(), left});
            std::size_t still = 0;
            for (std::size_t i = 0; i < left; ++i) {
                advance(*active[i]);
                if (active[i]->stage != SeedPath::Stage::Done) active[still++] = active[i];
            }
            left = still;
        }
        for (std::size_t i = 0; i < count; ++i) {
            judge(scratch_.paths[i]);
            if (!task_.maximiseTM && bestSize_ == pairs_.size()) return true;
        }
        return false;
    }

    // Solves the rotations of all paths, four at a time, and those alone for which the closed form
    // does not apply.
    void superpose(std::span<SeedPath*> paths) const {
        for (std::size_t first = 0; first < paths.size(); first += kSolvedAtOnce) {
            const std::size_t count = std::min(kSolvedAtOnce, paths.size() - first);
            std::array<RotationProblem*, kSolvedAtOnce> problems{};
            for (std::size_t i = 0; i < count; ++i) {
                SeedPath& path = *paths[first + i];
                path.problem.sums = &path.sums;
                path.problem.count = static_cast<double>(path.size);
                problems[i] = &path.problem;
            }
            kernels_.solveRotations(problems.data(), count);
            for (std::size_t i = 0; i < count; ++i) {
                if (!problems[i]->solved) solveAlone(*problems[i]);
            }
        }
    }

    static void solveAlone(RotationProblem& problem) {
        CorrelationSums sums;
        const SubsetSums& values = *problem.sums;
        std::copy_n(values.begin(), 3, sums.prediction.begin());
        std::copy_n(values.begin() + 3, 3, sums.experiment.begin());
        std::copy_n(values.begin() + 6, 9, sums.product.begin());
        sums.squares = values[15];
        const auto fit = fitFromSums(sums, static_cast<std::size_t>(problem.count));
        problem.solved = fit.has_value();
        if (fit) problem.motion = asMotion(*fit);
    }

    // One or more steps: on to the next set that needs a superposition of its own, or to the end.
    void advance(SeedPath& path) {
        // A set that cannot be superposed never changes again.
        if (!path.problem.solved) {
            path.stage = SeedPath::Stage::Done;
            return;
        }
        bool changed = false;
        if (task_.maximiseTM) scoreByTm(path);
        while (!changed && path.stage != SeedPath::Stage::Done) {
            changed = task_.maximiseTM ? stepForTm(path) : step(path);
        }
        if (path.stage == SeedPath::Stage::Done) {
            publish(path);
        } else {
            visit(path);
        }
    }

    static void forgetVisited(SeedPath& path) {
        path.visited.clear();
        path.visitedMasks.clear();
    }

    // Notes where the path is; ends it when an earlier one was there.
    void visit(SeedPath& path) {
        VisitedState& state = path.visited.emplace_back();
        state.stage = path.stage;
        state.step = path.step;
        state.owner = path.number;
        state.hash = VisitedStates::hashOf(path.current, path.stage, path.step);
        state.maskOffset = path.visitedMasks.size();
        const int left = scratch_.visited.selectionsFrom(state, path.current);
        if (left != VisitedStates::kUnknown) {
            path.visited.pop_back();
            path.step = (path.stage == SeedStage::Growth ? 0 : path.step) + left;
            path.stage = SeedPath::Stage::Done;
            publish(path);
            return;
        }
        path.visitedMasks.insert(path.visitedMasks.end(), path.current.begin(), path.current.end());
    }

    // Makes the states of a path that has ended known, unless the limit of selections ended it.
    void publish(SeedPath& path) {
        if (path.step >= kMostSelections) return;
        for (VisitedState& state : path.visited) {
            const bool inGrowth = state.stage == SeedStage::Growth;
            state.selectionsLeft = path.step - (inGrowth ? 0 : state.step);
            scratch_.visited.add(state, path.visitedMasks.data() + state.maskOffset);
        }
    }

    // Selects into scratch_.next; its size, 0 when it is too small.  The search by TM-score grows
    // by distance alone.
    std::uint32_t select(const SeedPath& path, double radius) {
        const double r = radius * SearchPairs::kPerAngstrom;
        const bool growsForTm = task_.maximiseTM && path.stage == SeedStage::Growth;
        std::uint32_t size = 0;
        if (task_.byRmsd && !growsForTm) {
            size = selectByRmsd(pairs_, path.problem.motion, inclusiveLimit(r * r), kernels_,
                                scratch_.byRmsd, scratch_.next);
        } else {
            size = kernels_.selectWithin(pairs_.arrays(), pairs_.rounded(), pairs_.size(),
                                         path.problem.motion, inclusiveLimit(r * r),
                                         scratch_.next.data());
        }
        return size < kFewestSelected ? 0 : size;
    }

    // Makes the latest selection, or the seed where it was too small, the current set; true when
    // that is another set than before.
    bool adopt(SeedPath& path, std::uint32_t size) {
        if (size == 0) {
            size = path.end - path.first;
            setRange(path.first, path.end, pairs_.words(), scratch_.next);
            forgetVisited(path);
        }
        if (isSameSet(scratch_.next.data(), path.current.data(), pairs_.words())) return false;
        if (pairs_.areExact()) {
            kernels_.changeSums(pairs_.terms(), path.current.data(), scratch_.next.data(),
                                pairs_.words(), path.sums);
        } else {
            kernels_.sumTerms(pairs_.terms(), scratch_.next.data(), pairs_.words(), path.sums);
        }
        std::swap(path.current, scratch_.next);
        path.size = size;
        return true;
    }

    // One selection of the search by size; true when the set has changed.
    bool step(SeedPath& path) {
        switch (path.stage) {
            case SeedPath::Stage::Growth: {
                const std::uint32_t size = select(path, growthRadius(path.step));
                const bool changed = adopt(path, size);
                const bool atCutoff = path.step == kGrowthSteps;
                ++path.step;
                skipSmallRadii(path);
                if (atCutoff && !changed && size > 0) end(path);
                return changed;
            }
            case SeedPath::Stage::Refinement: {
                const std::uint32_t before = path.size;
                const std::uint32_t size = select(path, task_.cutoff);
                const bool changed = adopt(path, size);
                if (!changed && size > 0) {
                    end(path);
                    return false;
                }
                const bool goesOn = size > before && ++path.step < kMostSelections;
                if (!goesOn) path.stage = SeedPath::Stage::Final;
                return changed;
            }
            case SeedPath::Stage::Final: {
                const std::uint32_t size = select(path, task_.cutoff);
                path.stage = SeedPath::Stage::Done;
                if (size > 0) keep(path, scratch_.next, size);
                return false;
            }
            case SeedPath::Stage::Done:
                break;
        }
        return false;
    }

    // The set selects itself at the full cut-off: every further step repeats this one.
    static void end(SeedPath& path) {
        path.stage = SeedPath::Stage::Done;
        keep(path, path.current, path.size);
    }

    static void keep(SeedPath& path, const PairMask& set, std::uint32_t size) {
        path.best = set;
        path.bestSize = size;
        path.bestMotion = path.problem.motion;
    }

    // One selection of the search by TM-score; true when the set has changed.
    bool stepForTm(SeedPath& path) {
        if (path.stage == SeedPath::Stage::Growth) {
            const bool changed = adopt(path, select(path, growthRadius(path.step)));
            if (++path.step > kGrowthSteps) startRefinement(path);
            return changed;
        }
        const std::uint32_t before = path.size;
        const std::uint32_t size = select(path, task_.cutoff);
        if (size == 0 || size == before || ++path.step >= kMostSelections) {
            // The last selection is not superposed any more.
            path.stage = SeedPath::Stage::Done;
            return false;
        }
        return adopt(path, size);
    }

    // Scores the superposition of a path, unless single precision shows that it cannot win: -TM
    // runs take 0.65 of the time.
    void scoreByTm(SeedPath& path) {
        const double perSquare = SearchPairs::kPerAngstrom * SearchPairs::kPerAngstrom;
        const double scaleSquared = task_.tmScaleSquared * perSquare;
        const double bound =
            kernels_.tmBound(pairs_.rounded(), pairs_.size(), path.problem.motion, scaleSquared);
        if (!(bound > std::max(path.bestTm, bestTm_) * task_.normLength)) return;
        kernels_.squaredDeviations(pairs_.arrays(), pairs_.size(), path.problem.motion,
                                   scratch_.squared.data());
        const double tm =
            kernels_.tmSum(scratch_.squared.data(), pairs_.size(), scaleSquared) / task_.normLength;
        if (!isHigherTm(tm, path.bestTm)) return;
        keep(path, path.current, path.size);
        path.bestTm = tm;
    }

    // Holds a path's candidate against the best so far.
    void judge(const SeedPath& path) {
        if (task_.maximiseTM) {
            if (path.bestSize > 0 && isHigherTm(path.bestTm, bestTm_)) {
                scratch_.best = path.best;
                bestSize_ = path.bestSize;
                bestTm_ = path.bestTm;
            }
            return;
        }
        if (path.bestSize <= kFewestSelected || path.bestSize < bestSize_) return;
        const double rmsd = candidateRmsd(path);
        if (path.bestSize == bestSize_ && !isLowerRmsd(rmsd, bestRmsd_)) return;
        scratch_.best = path.best;
        bestSize_ = path.bestSize;
        bestRmsd_ = rmsd;
    }

    // Å
    double candidateRmsd(const SeedPath& path) {
        kernels_.squaredDeviations(pairs_.arrays(), pairs_.size(), path.bestMotion,
                                   scratch_.squared.data());
        listPairs(path.best, scratch_.selected);
        double sum = 0.0;
        for (const std::uint32_t pair : scratch_.selected)
            sum += scratch_.squared[pair];
        return std::sqrt(sum / static_cast<double>(path.bestSize)) / SearchPairs::kPerAngstrom;
    }

    const SeedSearchTask& task_;
    const Kernels& kernels_;
    SeedSearchScratch& scratch_;
    const SearchPairs& pairs_;
    std::uint32_t bestSize_ = 0;
    double bestRmsd_ = 0.0;  // Å
    double bestTm_ = 0.0;
};

}  // namespace

void VisitedStates::clear(std::size_t words) {
    // Some three states a pair are usual; of 64 pairs a word that fills half of the slots at most.
    words_ = words;
    slots_.assign(std::bit_ceil(512 * words), 0);
    states_.clear();
    masks_.clear();
    // Room for all states at once, but no more than 1 MB that may not be needed.
    constexpr std::size_t kMostReserved = std::size_t{1} << 17;
    const std::size_t most = slots_.size() / 2;
    if (most * words > kMostReserved) return;
    states_.reserve(most);
    masks_.reserve(most * words);
}

std::uint64_t VisitedStates::hashOf(const PairMask& mask, SeedStage stage, int step) {
    // Refinement goes on alike from a set, whichever its step.
    std::uint64_t hash = static_cast<std::uint64_t>(stage) * 64 +
                         (stage == SeedStage::Growth ? static_cast<std::uint64_t>(step) : 0);
    for (const std::uint64_t word : mask) {
        hash = (hash ^ word) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 32;
    }
    return hash;
}

void VisitedStates::add(const VisitedState& state, const std::uint64_t* mask) {
    // Forgetting costs only time.
    const bool isFull = 2 * states_.size() >= slots_.size();
    if (isFull || masks_.size() + words_ > kMostMaskWords) return;
    std::size_t slot = firstSlot(state.hash);
    while (slots_[slot] != 0)
        slot = (slot + 1) & (slots_.size() - 1);
    states_.push_back(state);
    states_.back().maskOffset = masks_.size();
    masks_.insert(masks_.end(), mask, mask + words_);
    slots_[slot] = static_cast<std::uint32_t>(states_.size());
}

int VisitedStates::selectionsFrom(const VisitedState& state, const PairMask& mask) const {
    for (std::size_t slot = firstSlot(state.hash); slots_[slot] != 0;
         slot = (slot + 1) & (slots_.size() - 1)) {
        const VisitedState& known = states_[slots_[slot] - 1];
        if (known.hash != state.hash || known.stage != state.stage || known.owner > state.owner) {
            continue;
        }
        const bool isSameStep = state.stage == SeedStage::Growth
                                    ? known.step == state.step
                                    : state.step + known.selectionsLeft < kMostSelections;
        if (isSameStep && isSameSet(mask.data(), masks_.data() + known.maskOffset, words_)) {
            return known.selectionsLeft;
        }
    }
    return kUnknown;
}

// The coordinates of one axis about their rounded mean.
SearchPairs::Extent SearchPairs::placeAxis(const std::vector<double>& values, double origin,
                                           std::vector<double>& placed,
                                           std::vector<float>& rounded) {
    // Coordinates come centred about `origin`, which costs them their last bits.
    constexpr double kNoise = 1e-5;  // of a thousandth of an ångström
    const double shift = std::nearbyint(origin * kPerAngstrom);
    const std::size_t n = values.size();
    placed.resize(n + 3);
    rounded.resize(n + 7);
    Extent extent;
    for (std::size_t i = 0; i < n; ++i) {
        const double value = (values[i] + origin) * kPerAngstrom;
        const double whole = std::nearbyint(value);
        const bool isWhole = std::abs(value - whole) <= kNoise;
        placed[i] = (isWhole ? whole : value) - shift;
        rounded[i] = static_cast<float>(placed[i]);
        extent.isWhole = extent.isWhole && isWhole;
        extent.largest = std::max(extent.largest, std::abs(placed[i]));
    }
    std::fill(placed.begin() + static_cast<std::ptrdiff_t>(n), placed.end(), 0.0);
    std::fill(rounded.begin() + static_cast<std::ptrdiff_t>(n), rounded.end(), 0.0F);
    return extent;
}

void SearchPairs::place(const PairedPoints& pairs, const Kernels& kernels) {
    size_ = pairs.size();
    const Points* const sides[2] = {&pairs.prediction, &pairs.experiment};
    const std::array<double, 3>* const origins[2] = {&pairs.predictionOrigin,
                                                     &pairs.experimentOrigin};
    Extent all;
    for (std::size_t side = 0; side < 2; ++side) {
        const std::vector<double>* const values[3] = {&sides[side]->x, &sides[side]->y,
                                                      &sides[side]->z};
        for (std::size_t a = 0; a < 3; ++a) {
            const std::size_t axis = 3 * side + a;
            const Extent extent =
                placeAxis(*values[a], (*origins[side])[a], axis_[axis], rounded_[axis]);
            all.largest = std::max(all.largest, extent.largest);
            all.isWhole = all.isWhole && extent.isWhole;
        }
    }
    largest_ = all.largest;
    // Six squares a pair; whole numbers below 2^53 are exact.
    exact_ =
        all.isWhole && 6.0 * static_cast<double>(size_) * largest_ * largest_ < 9007199254740992.0;
    terms_.resize(size_ * kTerms);
    kernels.makeTerms(arrays(), size_, terms_.data());
    prefix_.resize(exact_ ? size_ + 1 : 0);
    for (std::size_t i = 0; exact_ && i < size_; ++i) {
        for (std::size_t k = 0; k < kTerms; ++k) {
            prefix_[i + 1][k] = prefix_[i][k] + terms_[i * kTerms + k];
        }
    }
}

RoundedArrays SearchPairs::rounded() const {
    return {rounded_[0].data(),
            rounded_[1].data(),
            rounded_[2].data(),
            rounded_[3].data(),
            rounded_[4].data(),
            rounded_[5].data(),
            largest_};
}

PairedArrays SearchPairs::arrays() const {
    return {axis_[0].data(), axis_[1].data(), axis_[2].data(),
            axis_[3].data(), axis_[4].data(), axis_[5].data()};
}

void SearchPairs::sumRange(std::size_t first, std::size_t end, const PairMask& mask,
                           const Kernels& kernels, SubsetSums& sums) const {
    if (!exact_) {
        kernels.sumTerms(terms(), mask.data(), words(), sums);
        return;
    }
    for (std::size_t k = 0; k < kTerms; ++k)
        sums[k] = prefix_[end][k] - prefix_[first][k];
}

bool searchSeeds(const PairedPoints& pairs, const SeedSearchTask& task, const Kernels& kernels,
                 SeedSearchScratch& scratch, std::vector<std::uint32_t>& best) {
    scratch.pairs.place(pairs, kernels);
    return SeedSearch(task, kernels, scratch).run(best);
}

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
    if (sums.within < count) {
        addFirst(squared, inclusiveLimit(taken.next), scratch.near, count - sums.within, mask);
    }
    return count;
}

void seedLengths(std::uint32_t pairs, int levels, std::vector<std::uint32_t>& lengths) {
    lengths.clear();
    float divisor = 1.0F;
    for (int level = 0; level <= levels; ++level, divisor *= 2.0F) {
        const auto length = static_cast<std::uint32_t>(static_cast<float>(pairs) / divisor);
        if (length < kShortestSeed) break;
        lengths.push_back(length);
    }
    lengths.push_back(kShortestSeed);
}

}  // namespace tervolanda
