// A step of a path is one superposition and one selection.  The superposition is made by the
// search, of several paths at once; what follows from it is here.
//
// Two kinds of superpositions are left out because their outcome is known: a set that a selection
// left unchanged has the one it had, and a set that selects itself at the full cut-off is where its
// path ends.
#include "compare/seed_path.h"

#include <algorithm>
#include <utility>

#include "compare/fit/tolerance.h"

namespace tervolanda {

namespace {

constexpr double kSmallestRadius = 0.5;  // Å; growth by distance skips smaller ones

// The candidate of a path with the superposition that selected it, under which it is judged.
void keep(SeedPath& path, const PairMask& set, std::uint32_t size) {
    path.best = set;
    path.bestSize = size;
    path.bestMotion = path.problem.motion;
}

// The set selects itself at the full cut-off: every further step repeats this one.
void endAtCurrent(SeedPath& path) {
    path.at.stage = SeedStage::Done;
    keep(path, path.current, path.size);
}

void startRefinement(SeedPath& path) {
    path.at = {SeedStage::Refinement, 0};
}

}  // namespace

PathSteps::PathSteps(const SeedSearchTask& task, const Kernels& kernels, const SearchPairs& pairs,
                     PathScratch& scratch)
    : task_(task), kernels_(kernels), pairs_(pairs), scratch_(scratch) {
    scratch_.rounded.resize(paddedSize(pairs_.size()));
    scratch_.squared.resize(pairs_.size());
    scratch_.next.resize(pairs_.words());
}

void PathSteps::begin(const Seed& seed, SeedPath& path) const {
    path.seed = seed;
    setRange(seed.first, seed.end, pairs_.words(), path.current);
    path.size = seed.size();
    pairs_.sumRange(seed.first, seed.end, path.current, kernels_, path.sums);
    path.at = {SeedStage::Growth, 1};
    path.fellBack = false;
    path.bestSize = 0;
    path.bestTm = 0.0;
    path.firstWaiting = 0;
    skipSmallRadii(path);
}

// Growth by distance selects nothing below the smallest radius.
void PathSteps::skipSmallRadii(SeedPath& path) const {
    while (!task_.maximiseTM && path.at.step <= kGrowthSteps &&
           growthRadius(path.at.step) < kSmallestRadius) {
        ++path.at.step;
    }
    if (path.at.step > kGrowthSteps) startRefinement(path);
}

void PathSteps::advance(SeedPath& path, double tmToBeat) {
    path.fellBack = false;
    // A set that cannot be superposed never changes again.
    if (!path.problem.solved) {
        path.at.stage = SeedStage::Done;
        return;
    }
    if (task_.viewer != nullptr) task_.viewer->see(pairs_, path.problem.motion);
    if (task_.maximiseTM) scoreByTm(path, tmToBeat);
    bool changed = false;
    while (!changed && !path.isDone())
        changed = task_.maximiseTM ? stepByTm(path) : stepBySize(path);
}

// One selection of the search by size; true when the set has changed.
bool PathSteps::stepBySize(SeedPath& path) {
    if (path.at.stage == SeedStage::Growth) return growBySize(path);
    if (path.at.stage == SeedStage::Refinement) return refineBySize(path);
    const std::uint32_t size = select(path, task_.cutoff);
    path.at.stage = SeedStage::Done;
    if (size > 0) keep(path, scratch_.next, size);
    return false;
}

bool PathSteps::growBySize(SeedPath& path) {
    const std::uint32_t size = select(path, growthRadius(path.at.step));
    const bool changed = adopt(path, size);
    const bool atCutoff = path.at.step == kGrowthSteps;
    ++path.at.step;
    skipSmallRadii(path);
    if (atCutoff && !changed && size > 0) endAtCurrent(path);
    return changed;
}

bool PathSteps::refineBySize(SeedPath& path) {
    const std::uint32_t before = path.size;
    const std::uint32_t size = select(path, task_.cutoff);
    const bool changed = adopt(path, size);
    if (!changed && size > 0) {
        endAtCurrent(path);
        return false;
    }
    const bool goesOn = size > before && ++path.at.step < kMostSelections;
    if (!goesOn) path.at.stage = SeedStage::Final;
    return changed;
}

// One selection of the search by TM-score; true when the set has changed.
bool PathSteps::stepByTm(SeedPath& path) {
    if (path.at.stage == SeedStage::Growth) {
        const bool changed = adopt(path, select(path, growthRadius(path.at.step)));
        if (++path.at.step > kGrowthSteps) startRefinement(path);
        return changed;
    }
    const std::uint32_t before = path.size;
    const std::uint32_t size = select(path, task_.cutoff);
    if (size == 0 || size == before || ++path.at.step >= kMostSelections) {
        // The last selection is not superposed any more.
        path.at.stage = SeedStage::Done;
        return false;
    }
    return adopt(path, size);
}

// Selects into scratch_.next; its size, 0 when it is too small.  The search by TM-score grows by
// distance alone.
std::uint32_t PathSteps::select(const SeedPath& path, double radius) {
    const double r = radius * SearchPairs::kPerAngstrom;
    const bool growsForTm = task_.maximiseTM && path.at.stage == SeedStage::Growth;
    std::uint32_t size = 0;
    if (task_.byRmsd && !growsForTm) {
        size = selectByRmsd(pairs_, path.problem.motion, inclusiveLimit(r * r), kernels_,
                            scratch_.byRmsd, scratch_.next);
    } else {
        size = selectByDistance(path.problem.motion, inclusiveLimit(r * r));
    }
    return size < kFewestSelected ? 0 : size;
}

// The search by TM-score has deviations of every superposition already, in single precision; that
// by size makes them here.
std::uint32_t PathSteps::selectByDistance(const Motion& motion, double limit) {
    if (task_.maximiseTM) {  // scoreByTm() has had a look already
        return kernels_.selectAmong(pairs_.arrays(), {scratch_.rounded.data(), roundedError_},
                                    pairs_.size(), motion, limit, scratch_.next.data());
    }
    return kernels_.selectWithin(pairs_.arrays(), pairs_.rounded(), pairs_.size(), motion, limit,
                                 scratch_.next.data());
}

// Makes the latest selection, or the seed where it was too small, the current set; true when that
// is another set than before.
bool PathSteps::adopt(SeedPath& path, std::uint32_t size) {
    if (size == 0) {
        size = path.seed.size();
        setRange(path.seed.first, path.seed.end, pairs_.words(), scratch_.next);
        path.fellBack = true;
    }
    if (isSameSet(scratch_.next.data(), path.current.data(), pairs_.words())) return false;
    pairs_.changeSums(path.current, scratch_.next, kernels_, path.sums);
    std::swap(path.current, scratch_.next);
    path.size = size;
    return true;
}

// Scores the superposition of a path, unless single precision shows that it cannot win: -TM runs
// take 0.65 of the time.
void PathSteps::scoreByTm(SeedPath& path, double tmToBeat) {
    const double perSquare = SearchPairs::kPerAngstrom * SearchPairs::kPerAngstrom;
    const double scaleSquared = task_.tmScaleSquared * perSquare;
    const TmEstimate estimate =
        kernels_.estimateTm(pairs_.rounded(), pairs_.size(), path.problem.motion, scaleSquared,
                            scratch_.rounded.data());
    roundedError_ = estimate.error;
    if (!(estimate.bound > std::max(path.bestTm, tmToBeat) * task_.normLength)) return;
    kernels_.squaredDeviations(pairs_.arrays(), pairs_.size(), path.problem.motion,
                               scratch_.squared.data());
    const double tm =
        kernels_.tmSum(scratch_.squared.data(), pairs_.size(), scaleSquared) / task_.normLength;
    if (!isHigherTm(tm, path.bestTm)) return;
    keep(path, path.current, path.size);
    path.bestTm = tm;
}

}  // namespace tervolanda
