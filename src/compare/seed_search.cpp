// The search tries many short fragments as seeds.  Each is superposed, pairs that come to lie near
// each other are taken in, the larger set is superposed again, with a radius that grows to the
// cut-off, until the set no longer grows.  The largest set wins; of equal ones that with the lower
// RMSD; of equals again the earlier seed's.  With maximiseTM every superposition on the way is
// scored and the set with the highest TM-score wins.
//
// Seeds are independent of each other.  Eight paths advance side by side, so that their rotations
// are solved at once, and where one ends or waits the next seed takes its place.  A path that comes
// to where an earlier seed's was (visited_states.h) would find what that one finds: it ends, or
// waits until the other has come to its end.  What the paths found is judged in the order of the
// seeds.  So the outcome is that of the seeds one after the other, whichever advance together.
#include "compare/seed_search.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <utility>

#include "compare/fit/tolerance.h"

namespace tervolanda {

namespace {

constexpr std::uint32_t kShortestSeed = 4;
constexpr std::size_t kSolvedAtOnce = 8;
// Seeds from the first that is not judged yet to the last that has begun: enough for a full group
// while others wait.
constexpr std::uint32_t kPlaces = 16;

// The seeds of all lengths, in their order; those of one length overlap by half.
class Seeds {
 public:
    Seeds(std::uint32_t pairs, const std::vector<std::uint32_t>& lengths)
        : pairs_(pairs), length_(lengths.begin()), end_(lengths.end()) {
        skipLengthsWithout();
    }

    bool hasNext() const { return length_ != end_; }
    Seed next() {
        const Seed seed{++number_, start_, start_ + *length_};
        start_ += *length_ / 2;
        skipLengthsWithout();
        return seed;
    }

 private:
    // Leaves out lengths of which no seed is left.
    void skipLengthsWithout() {
        for (; length_ != end_ && start_ + *length_ > pairs_; ++length_)
            start_ = 0;
    }

    std::uint32_t pairs_;
    std::vector<std::uint32_t>::const_iterator length_, end_;
    std::uint32_t start_ = 0, number_ = 0;
};

// Paths in the order in which they came, lent; each is in one queue at most.  Last come, first
// served takes a hundredth more instructions.
class PathQueue {
 public:
    bool isEmpty() const { return size_ == 0; }
    std::size_t size() const { return size_; }
    void push(SeedPath& path) { paths_[(first_ + size_++) % kPlaces] = &path; }
    SeedPath& pop() {
        --size_;
        return *paths_[first_++ % kPlaces];
    }

 private:
    std::array<SeedPath*, kPlaces> paths_{};
    std::size_t first_ = 0, size_ = 0;
};

// One search.  All that grows with the pairs is scratch; of itself it has the figures of the best
// subset so far, which lies in scratch_.best.
//
// Invariant: seeds before judged_ have been judged; the paths of those from there to begun_ are in
// their places, each of which is ready to be superposed, waits for an earlier one, or is done.
class SeedSearch {
 public:
    // The pairs lie in the scratch.
    SeedSearch(const SeedSearchTask& task, const Kernels& kernels, SeedSearchScratch& scratch)
        : task_(task),
          kernels_(kernels),
          scratch_(scratch),
          pairs_(scratch.pairs),
          steps_(task, kernels, scratch.pairs, scratch.steps) {
        scratch_.squared.resize(pairs_.size());
        scratch_.best.clear();
        scratch_.visited.clear(pairs_.words());
        scratch_.paths.resize(kPlaces);
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
        Seeds seeds(n, scratch_.lengths);
        for (;;) {
            throwIfStopped(task_.stop);
            fillPlaces(seeds);
            if (ready_.isEmpty()) return false;
            advanceGroup();
            while (judged_ < begun_ && path(judged_ + 1).isDone()) {
                judge(path(++judged_));
                if (!task_.maximiseTM && bestSize_ == pairs_.size()) return true;
            }
        }
    }

    SeedPath& path(std::uint32_t seed) { return scratch_.paths[seed % kPlaces]; }

    // Begins as many seeds as a group has room for.
    void fillPlaces(Seeds& seeds) {
        while (ready_.size() < kSolvedAtOnce && begun_ - judged_ < kPlaces && seeds.hasNext()) {
            // The seed of full length goes alone: it ends identical and near-identical pairs, and
            // has a TM-score that saves others from being computed.
            if (begun_ > judged_ && path(begun_).seed.size() == pairs_.size()) return;
            const Seed seed = seeds.next();
            begun_ = seed.number;
            steps_.begin(seed, path(begun_));
            scratch_.visited.begin();
            ready_.push(path(begun_));
        }
    }

    // Superposes the sets of up to eight paths and takes these on.
    void advanceGroup() {
        std::array<SeedPath*, kSolvedAtOnce> group{};
        std::size_t count = 0;
        while (count < kSolvedAtOnce && !ready_.isEmpty())
            group[count++] = &ready_.pop();
        fit(group, count);
        for (std::size_t i = 0; i < count; ++i) {
            SeedPath& path = *group[i];
            steps_.advance(path, bestTm_);
            if (path.fellBack) {
                scratch_.visited.forget(path.seed.number);
                wakeWaiting(path);
            }
            goOn(path);
            while (!woken_.isEmpty())
                goOn(woken_.pop());
        }
    }

    // Where a path comes to: its end, a state that is known, or a set to be superposed.
    void goOn(SeedPath& path) {
        if (path.isDone()) {
            finish(path);
            return;
        }
        switch (scratch_.visited.meet(path.seed.number, path.at, path.current)) {
            case Encounter::New:
                ready_.push(path);
                break;
            case Encounter::Ahead: {
                SeedPath& ahead = this->path(scratch_.visited.ahead());
                path.nextWaiting = std::exchange(ahead.firstWaiting, path.seed.number);
                break;
            }
            case Encounter::Known:
                path.at.step = path.at.selections() + scratch_.visited.selectionsLeft();
                path.at.stage = SeedStage::Done;
                finish(path);
                break;
        }
    }

    void finish(SeedPath& path) {
        if (path.problem.solved && path.at.step < kMostSelections) {
            scratch_.visited.end(path.seed.number, path.at.step);
        } else {
            scratch_.visited.endOfNoUse(path.seed.number);
        }
        wakeWaiting(path);
    }

    // Those that wait for a path are to find out what it is to them now.
    void wakeWaiting(SeedPath& path) {
        std::uint32_t waiting = std::exchange(path.firstWaiting, 0);
        for (; waiting != 0; waiting = this->path(waiting).nextWaiting)
            woken_.push(this->path(waiting));
    }

    // --- Fit

    // Solves the rotations of a group, and those alone for which the closed form does not apply.
    void fit(const std::array<SeedPath*, kSolvedAtOnce>& group, std::size_t count) const {
        std::array<RotationProblem*, kSolvedAtOnce> problems{};
        for (std::size_t i = 0; i < count; ++i) {
            SeedPath& path = *group[i];
            path.problem.sums = &path.sums;
            path.problem.count = static_cast<double>(path.size);
            problems[i] = &path.problem;
        }
        kernels_.solveRotations(problems.data(), count);
        for (std::size_t i = 0; i < count; ++i) {
            if (!problems[i]->solved) solveAlone(*problems[i]);
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

    // --- Judge

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
    PathSteps steps_;
    std::uint32_t begun_ = 0, judged_ = 0;  // numbers of seeds
    PathQueue ready_;                       // to be superposed
    PathQueue woken_;                       // to look again at the state that they came to
    std::uint32_t bestSize_ = 0;
    double bestRmsd_ = 0.0;  // Å
    double bestTm_ = 0.0;
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
