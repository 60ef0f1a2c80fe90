// The search tries many short fragments as seeds.  Each is superposed, pairs that come to lie near
// each other are taken in, the larger set is superposed again, with a radius that grows to the
// cut-off, until the set no longer grows.  The largest set wins; of equal ones that with the lower
// RMSD; of equals again the earlier seed's.  With maximiseTM every superposition on the way is
// scored and the set with the highest TM-score wins.
//
// A step of a path is one superposition and one selection.  Seeds are independent of each other, so
// paths advance side by side, and the rotations of eight are solved at once; what they found is
// judged in the order of the seeds.  Three kinds of steps are left out because their outcome is
// known: a set that a selection left unchanged has the superposition it had; a set that selects
// itself at the full cut-off is where its path ends; and a path that comes to where another one was
// (visited_states.h) would find what that one found.
#include "compare/seed_search.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <span>
#include <utility>

#include "compare/fit/tolerance.h"

namespace tervolanda {

namespace {

constexpr std::size_t kFewestSelected = 3;  // a smaller selection is none
constexpr std::uint32_t kShortestSeed = 4;
constexpr double kSmallestRadius = 0.5;  // Å; growth by distance skips smaller ones
constexpr std::size_t kSideBySide = 16;  // paths: groups of eight stay full while some end early
constexpr std::size_t kSolvedAtOnce = 8;

// One search.  All that grows with the pairs is scratch; of itself it has the figures of the best
// subset so far, which lies in scratch_.best.
class SeedSearch {
 public:
    // The pairs lie in the scratch.
    SeedSearch(const SeedSearchTask& task, const Kernels& kernels, SeedSearchScratch& scratch)
        : task_(task), kernels_(kernels), scratch_(scratch), pairs_(scratch.pairs) {
        scratch_.squared.resize(pairs_.size());
        scratch_.rounded.resize((pairs_.size() + 7) / 8 * 8);
        scratch_.next.resize(pairs_.words());
        scratch_.best.clear();
        scratch_.visited.clear(pairs_.words());
        if (scratch_.paths.size() < kSideBySide) scratch_.paths.resize(kSideBySide);
        for (SeedPath& path : scratch_.paths)
            path.trail.reserve(pairs_.words());
    }

    bool run(std::vector<std::uint32_t>& best) {
        const bool complete = searchAll();
        listPairs(scratch_.best, best);
        return complete;
    }

 private:
    // --- Seeds and their paths

    // True when the search ended with a complete subset.
    bool searchAll() {
        const auto n = static_cast<std::uint32_t>(pairs_.size());
        seedLengths(n, task_.seedLevels, scratch_.lengths);
        std::size_t waiting = 0;
        std::uint32_t number = 0;
        for (const std::uint32_t length : scratch_.lengths) {
            // Seeds of one length overlap by half.
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

    // Begins the path of the seed [first, end).
    void place(std::uint32_t first, std::uint32_t end, SeedPath& path) const {
        path.first = first;
        path.end = end;
        setRange(first, end, pairs_.words(), path.current);
        path.size = end - first;
        pairs_.sumRange(first, end, path.current, kernels_, path.sums);
        path.at = {SeedStage::Growth, 1};
        path.bestSize = 0;
        path.bestTm = 0.0;
        path.trail.clear();
        skipSmallRadii(path);
    }

    // Takes the first `count` paths to their ends and judges what they found.
    bool runPaths(std::size_t count) {
        throwIfStopped(task_.stop);
        std::array<SeedPath*, kSideBySide> active{};
        std::size_t left = 0;
        for (std::size_t i = 0; i < count; ++i)
            active[left++] = &scratch_.paths[i];
        while (left > 0) {
            fit({active.data(), left});
            std::size_t still = 0;
            for (std::size_t i = 0; i < left; ++i) {
                advance(*active[i]);
                if (!active[i]->isDone()) active[still++] = active[i];
            }
            left = still;
        }
        for (std::size_t i = 0; i < count; ++i) {
            judge(scratch_.paths[i]);
            if (!task_.maximiseTM && bestSize_ == pairs_.size()) return true;
        }
        return false;
    }

    // --- Fit

    // Solves the rotations of all paths, eight at a time, and those alone for which the closed form
    // does not apply.
    void fit(std::span<SeedPath*> paths) const {
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

    // The slow way, for points on a line, mirror images and other sets for which the closed form
    // has too few digits.
    static void solveAlone(RotationProblem& problem) {
        CorrelationSums sums;
        const SubsetSums& values = *problem.sums;
        std::copy_n(values.begin(), 3, sums.prediction.begin());
        std::copy_n(values.begin() + 3, 3, sums.experiment.begin());
        std::copy_n(values.begin() + 6, 9, sums.product.begin());
        sums.squares = values[15];
        const auto found = fitFromSums(sums, static_cast<std::size_t>(problem.count));
        problem.solved = found.has_value();
        if (found) problem.motion = asMotion(*found);
    }

    // --- Advance

    // One or more steps: on to the next set that needs a superposition of its own, or to the end.
    void advance(SeedPath& path) {
        // A set that cannot be superposed never changes again.
        if (!path.problem.solved) {
            path.at.stage = SeedStage::Done;
            return;
        }
        bool changed = false;
        if (task_.viewer != nullptr) task_.viewer->see(pairs_, path.problem.motion);
        if (task_.maximiseTM) scoreByTm(path);
        while (!changed && !path.isDone()) {
            changed = task_.maximiseTM ? stepByTm(path) : stepBySize(path);
        }
        if (path.isDone()) {
            publish(path);
        } else {
            visit(path);
        }
    }

    // Notes where the path is; ends it when an earlier one was there.
    void visit(SeedPath& path) {
        const StateKey key(path.at, path.current);
        const auto left = scratch_.visited.recall(key, path.current, path.number);
        if (!left) {
            path.trail.add(key, path.current);
            return;
        }
        path.at = {SeedStage::Done, path.at.selections() + *left};
        publish(path);
    }

    // Makes the states of a path that has ended known, unless the limit of selections ended it.
    void publish(const SeedPath& path) {
        if (path.at.step >= kMostSelections) return;
        scratch_.visited.remember(path.trail, path.number, path.at.step);
    }

    // Growth by distance selects nothing below the smallest radius.
    void skipSmallRadii(SeedPath& path) const {
        while (!task_.maximiseTM && path.at.step <= kGrowthSteps &&
               growthRadius(path.at.step) < kSmallestRadius) {
            ++path.at.step;
        }
        if (path.at.step > kGrowthSteps) startRefinement(path);
    }

    static void startRefinement(SeedPath& path) { path.at = {SeedStage::Refinement, 0}; }

    double growthRadius(int step) const { return step * task_.cutoff * 0.25; }

    // One selection of the search by size; true when the set has changed.
    bool stepBySize(SeedPath& path) {
        switch (path.at.stage) {
            case SeedStage::Growth: {
                const std::uint32_t size = select(path, growthRadius(path.at.step));
                const bool changed = adopt(path, size);
                const bool atCutoff = path.at.step == kGrowthSteps;
                ++path.at.step;
                skipSmallRadii(path);
                if (atCutoff && !changed && size > 0) end(path);
                return changed;
            }
            case SeedStage::Refinement: {
                const std::uint32_t before = path.size;
                const std::uint32_t size = select(path, task_.cutoff);
                const bool changed = adopt(path, size);
                if (!changed && size > 0) {
                    end(path);
                    return false;
                }
                const bool goesOn = size > before && ++path.at.step < kMostSelections;
                if (!goesOn) path.at.stage = SeedStage::Final;
                return changed;
            }
            case SeedStage::Final: {
                const std::uint32_t size = select(path, task_.cutoff);
                path.at.stage = SeedStage::Done;
                if (size > 0) keep(path, scratch_.next, size);
                return false;
            }
            case SeedStage::Done:
                break;
        }
        return false;
    }

    // The set selects itself at the full cut-off: every further step repeats this one.
    static void end(SeedPath& path) {
        path.at.stage = SeedStage::Done;
        keep(path, path.current, path.size);
    }

    // The candidate of a path with the superposition that selected it, under which it is judged.
    static void keep(SeedPath& path, const PairMask& set, std::uint32_t size) {
        path.best = set;
        path.bestSize = size;
        path.bestMotion = path.problem.motion;
    }

    // One selection of the search by TM-score; true when the set has changed.
    bool stepByTm(SeedPath& path) {
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

    // --- Select

    // Selects into scratch_.next; its size, 0 when it is too small.  The search by TM-score grows
    // by distance alone.
    std::uint32_t select(const SeedPath& path, double radius) {
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

    // The search by TM-score has deviations of every superposition already, in single precision;
    // that by size makes them here.
    std::uint32_t selectByDistance(const Motion& motion, double limit) {
        if (task_.maximiseTM) {  // scoreByTm() has had a look already
            return kernels_.selectAmong(pairs_.arrays(), {scratch_.rounded.data(), roundedError_},
                                        pairs_.size(), motion, limit, scratch_.next.data());
        }
        return kernels_.selectWithin(pairs_.arrays(), pairs_.rounded(), pairs_.size(), motion,
                                     limit, scratch_.next.data());
    }

    // Makes the latest selection, or the seed where it was too small, the current set; true when
    // that is another set than before.
    bool adopt(SeedPath& path, std::uint32_t size) {
        if (size == 0) {
            size = path.end - path.first;
            setRange(path.first, path.end, pairs_.words(), scratch_.next);
            path.trail.clear();
        }
        if (isSameSet(scratch_.next.data(), path.current.data(), pairs_.words())) return false;
        pairs_.changeSums(path.current, scratch_.next, kernels_, path.sums);
        std::swap(path.current, scratch_.next);
        path.size = size;
        return true;
    }

    // --- Score

    // Scores the superposition of a path, unless single precision shows that it cannot win: -TM
    // runs take 0.65 of the time.
    void scoreByTm(SeedPath& path) {
        const double perSquare = SearchPairs::kPerAngstrom * SearchPairs::kPerAngstrom;
        const double scaleSquared = task_.tmScaleSquared * perSquare;
        roundedError_ = kernels_.roundedDeviations(pairs_.rounded(), pairs_.size(),
                                                   path.problem.motion, scratch_.rounded.data());
        const double bound =
            kernels_.tmBound({scratch_.rounded.data(), roundedError_}, pairs_.size(), scaleSquared);
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
    double roundedError_ = 0.0;  // of scratch_.rounded
};

}  // namespace

bool searchSeeds(const PairedPoints& pairs, const SeedSearchTask& task, const Kernels& kernels,
                 SeedSearchScratch& scratch, std::vector<std::uint32_t>& best) {
    scratch.pairs.place(pairs, kernels);
    return SeedSearch(task, kernels, scratch).run(best);
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
