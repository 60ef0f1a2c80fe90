// The idea is that of programs which align complexes by chains (Mukherjee & Zhang 2009): where two
// copies of a chain lie on each other, the motion that puts them there puts most others there, too,
// if they are the same complex, and the nearest chain is the one that belongs there.
//
// Sequences decide who may be whose partner (subunit_likeness.h), and coordinates who is.
#include "compare/pairing/subunit_mapper.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

#include "compare/fit/tm_scale.h"
#include "compare/fit/tolerance.h"

namespace tervolanda {

namespace {

constexpr std::size_t kFewestFitted = 3;
// Pairs of chains that are superposed; of more, as in capsids, those of some of the chains.
constexpr std::size_t kMostSeeds = 1024;

}  // namespace

// --- Assignments ---------------------------------------------------------------------------------

// The candidates of equal names; a pair that has no choice, whatever its names are.
SubunitMapper::Assignment SubunitMapper::byName() const {
    Assignment assignment(prediction().set->subunits.size(), kNone);
    for (const SubunitGroup& group : likeness_.groups()) {
        for (const std::uint32_t p : group.prediction) {
            for (const std::uint32_t e : group.experiment) {
                const bool hasName = experiment().of(e).name == prediction().of(p).name;
                if (likeness_.of(e, p).isCandidate && (hasName || !group.hasChoice()))
                    assignment[p] = e;
            }
        }
    }
    return assignment;
}

void SubunitMapper::addAssignment(Assignment assignment) {
    if (std::find(assignments_.begin(), assignments_.end(), assignment) == assignments_.end())
        assignments_.push_back(std::move(assignment));
}

// One for each pair of candidates that can be superposed.
void SubunitMapper::addFromSeeds(const Kernels& kernels) {
    std::size_t seeds = 0;
    for (const SubunitGroup& group : likeness_.groups())
        seeds += group.experiment.size() * group.prediction.size();
    const std::size_t stride = (seeds + kMostSeeds - 1) / kMostSeeds;
    for (const SubunitGroup& group : likeness_.groups()) {
        for (std::size_t k = 0; k < group.prediction.size(); k += stride) {
            const std::uint32_t p = group.prediction[k];
            for (const std::uint32_t e : group.experiment) {
                const auto& alike = likeness_.of(e, p);
                if (!alike.isCandidate || alike.residues.size() < kFewestFitted) continue;
                const std::uint32_t u = experiment().of(e).first;
                const std::uint32_t v = prediction().of(p).first;
                pairs_.place(experiment().set->points, prediction().set->points,
                             alike.residues.size(), [&](std::size_t i) {
                                 return std::pair(u + alike.residues[i].experiment,
                                                  v + alike.residues[i].prediction);
                             });
                const auto fit = fitPairs(pairs_, kernels);
                if (fit) addAssignment(assignUnder(asSuperposition(pairs_, *fit)));
            }
        }
    }
}

// The sum of TM terms of two chains under a motion, from a hundred of their residues: enough to
// tell chains apart.
double SubunitMapper::gainOf(const Superposition& motion, std::uint32_t e, std::uint32_t p) const {
    constexpr std::size_t kEnough = 100;
    const auto& residues = likeness_.of(e, p).residues;
    const Points& x = experiment().set->points;
    const Points& y = prediction().set->points;
    const std::size_t stride = residues.size() / kEnough + 1;
    double sum = 0.0;
    for (std::size_t i = 0; i < residues.size(); i += stride) {
        const std::size_t u = experiment().of(e).first + residues[i].experiment;
        const std::size_t v = prediction().of(p).first + residues[i].prediction;
        const auto [a, b, c] = motion.apply(y.x[v], y.y[v], y.z[v]);
        const double dx = a - x.x[u], dy = b - x.y[u], dz = c - x.z[u];
        sum += tmTerm(dx * dx + dy * dy + dz * dz, scale_ * scale_);
    }
    return sum * static_cast<double>(stride);
}

// Of chains in large groups only the centres are looked at.
double SubunitMapper::nearnessOf(const Superposition& motion, std::uint32_t e,
                                 std::uint32_t p) const {
    const auto& from = prediction().centroid[p];
    const auto at = motion.apply(from[0], from[1], from[2]);
    double squared = 0.0;
    for (std::size_t a = 0; a < 3; ++a)
        squared += (at[a] - experiment().centroid[e][a]) * (at[a] - experiment().centroid[e][a]);
    return 1.0 / (1.0 + squared);
}

// Every chain goes where a motion of the prediction puts it.
SubunitMapper::Assignment SubunitMapper::assignUnder(const Superposition& motion) const {
    Assignment assignment(prediction().set->subunits.size(), kNone);
    std::vector<double> gains;
    for (const SubunitGroup& group : likeness_.groups()) {
        const bool isSmall =
            std::max(group.experiment.size(), group.prediction.size()) <= kMostExactCopies;
        gains.clear();
        for (const std::uint32_t p : group.prediction) {
            for (const std::uint32_t e : group.experiment) {
                double gain = 0.0;
                if (likeness_.of(e, p).isCandidate)
                    gain = isSmall ? gainOf(motion, e, p) : nearnessOf(motion, e, p);
                gains.push_back(gain);
            }
        }
        if (isSmall) {
            assignExactly(group, gains, assignment);
        } else {
            assignGreedily(group, gains, assignment);
        }
    }
    return assignment;
}

// The highest sum of gains, by the chains of the prediction one after the other and the sets of
// chains of the experiment that are taken (Held & Karp 1962).
void SubunitMapper::assignExactly(const SubunitGroup& group, const std::vector<double>& gains,
                                  Assignment& assignment) {
    constexpr std::size_t kSets = std::size_t{1} << kMostExactCopies;
    struct Cell {
        double sum = -1.0;           // negative for a set that cannot be
        std::uint32_t last = kNone;  // of the experiment, the one of the latest chain
    };
    const std::size_t rows = group.prediction.size(), columns = group.experiment.size();
    const std::size_t sets = std::size_t{1} << columns;
    std::array<std::array<Cell, kSets>, kMostExactCopies + 1> best{};
    best[0][0].sum = 0.0;
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t taken = 0; taken < sets; ++taken) {
            const double before = best[row][taken].sum;
            if (before < 0.0) continue;
            if (before > best[row + 1][taken].sum) best[row + 1][taken] = {before, kNone};
            for (std::uint32_t column = 0; column < columns; ++column) {
                const std::size_t bit = std::size_t{1} << column;
                const double gain = gains[row * columns + column];
                if ((taken & bit) != 0 || !(gain > 0.0)) continue;
                Cell& after = best[row + 1][taken | bit];
                if (before + gain > after.sum) after = {before + gain, column};
            }
        }
    }
    std::size_t taken = 0;
    for (std::size_t other = 1; other < sets; ++other)
        if (best[rows][other].sum > best[rows][taken].sum) taken = other;
    for (std::size_t row = rows; row-- > 0;) {
        const std::uint32_t last = best[row + 1][taken].last;
        if (last == kNone) continue;
        assignment[group.prediction[row]] = group.experiment[last];
        taken &= ~(std::size_t{1} << last);
    }
}

// The highest gain of all pairs, then the highest of those that are left.
void SubunitMapper::assignGreedily(const SubunitGroup& group, const std::vector<double>& gains,
                                   Assignment& assignment) {
    const std::size_t columns = group.experiment.size();
    std::vector<std::uint32_t> order(gains.size());
    std::iota(order.begin(), order.end(), 0U);
    std::stable_sort(order.begin(), order.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return gains[a] > gains[b]; });
    std::vector<bool> isTaken(columns);
    for (const std::uint32_t at : order) {
        const std::uint32_t p = group.prediction[at / columns];
        if (!(gains[at] > 0.0)) return;
        if (assignment[p] != kNone || isTaken[at % columns]) continue;
        assignment[p] = group.experiment[at % columns];
        isTaken[at % columns] = true;
    }
}

// --- Which assignment ----------------------------------------------------------------------------

void SubunitMapper::placeAssigned(const Assignment& assignment) {
    std::vector<std::uint32_t> partner(experiment().set->subunits.size(), kNone);
    for (std::uint32_t p = 0; p < assignment.size(); ++p)
        if (assignment[p] != kNone) partner[assignment[p]] = p;
    residues_.clear();
    ends_.clear();
    for (const std::uint32_t e : experiment().order) {
        if (partner[e] == kNone) continue;
        const std::uint32_t u = experiment().of(e).first;
        const std::uint32_t v = prediction().of(partner[e]).first;
        for (const auto& at : likeness_.of(e, partner[e]).residues)
            residues_.push_back({u + at.experiment, v + at.prediction, 0});
        ends_.push_back(static_cast<std::uint32_t>(residues_.size()));
    }
    pairs_.place(experiment().set->points, prediction().set->points, residues_.size(),
                 [this](std::size_t k) {
                     return std::pair(residues_[k].experiment, residues_[k].prediction);
                 });
    squared_.resize(residues_.size());
}

// From the superposition of all residues and from those of each pair of chains.
SubunitMapper::Judgement SubunitMapper::judge(const Assignment& assignment,
                                              const Kernels& kernels) {
    placeAssigned(assignment);
    Judgement best;
    subset_.resize(residues_.size());
    std::iota(subset_.begin(), subset_.end(), 0U);
    climb(kernels, best);
    std::uint32_t first = 0;
    for (const std::uint32_t end : ends_) {
        subset_.resize(end - first);
        std::iota(subset_.begin(), subset_.end(), first);
        climb(kernels, best);
        first = end;
    }
    return best;
}

// Superposes the residues of subset_, then those that came near, until they stay the same.
void SubunitMapper::climb(const Kernels& kernels, Judgement& best) {
    constexpr int kMostSteps = 5;
    constexpr double kNearest = 4.5, kFarthest = 8.0;  // Å, as programs of the TM-score have it
    const double near = std::clamp(scale_, kNearest, kFarthest);
    for (int step = 0; step < kMostSteps && subset_.size() >= kFewestFitted; ++step) {
        const auto fit = fitPairs(pairs_, subset_, kernels, gathered_);
        if (!fit) return;
        squaredDeviations(pairs_, *fit, kernels, squared_);
        const double sum = kernels.tmSum(squared_.data(), squared_.size(), scale_ * scale_);
        if (isHigherTm(sum, best.tmSum)) best = {sum, asSuperposition(pairs_, *fit)};
        next_.clear();
        for (std::uint32_t i = 0; i < squared_.size(); ++i)
            if (squared_[i] <= near * near) next_.push_back(i);
        if (next_ == subset_) return;
        std::swap(next_, subset_);
    }
}

// Under the best motion of an assignment another one may be better still.
SubunitMapper::Assignment SubunitMapper::bestAssignment(const Kernels& kernels) {
    assignments_.clear();
    addAssignment(byName());
    const auto& groups = likeness_.groups();
    const bool hasChoice = std::any_of(groups.begin(), groups.end(),
                                       [](const SubunitGroup& group) { return group.hasChoice(); });
    if (hasChoice) addFromSeeds(kernels);
    if (assignments_.size() == 1) return assignments_.front();
    std::size_t best = 0;
    Judgement highest = judge(assignments_.front(), kernels);
    for (std::size_t i = 1; i < assignments_.size(); ++i) {
        const Judgement found = judge(assignments_[i], kernels);
        if (isHigherTm(found.tmSum, highest.tmSum)) {
            highest = found;
            best = i;
        }
        // Grows the list that the loop goes along.
        if (best == i) addAssignment(assignUnder(highest.motion));
    }
    return assignments_[best];
}

void SubunitMapper::map(const CoordinateSet& experimentSet, const CoordinateSet& predictionSet,
                        bool bySequence, SequencePairing& sequences, const Kernels& kernels,
                        std::vector<SubunitPair>& pairs) {
    pairByName(experimentSet, predictionSet, pairs);
    const std::size_t most = std::max(experimentSet.subunits.size(), predictionSet.subunits.size());
    if (most > kMostMappedChains) return;
    scale_ = distanceScale(static_cast<double>(experimentSet.residues), 1.0);
    likeness_.compare(experimentSet, predictionSet, bySequence, sequences);
    Assignment best = bestAssignment(kernels);
    std::vector<bool> isTaken(experimentSet.subunits.size());
    for (const std::uint32_t e : best)
        if (e != kNone) isTaken[e] = true;
    // Names help where sequences could not.
    for (const SubunitPair& named : pairs) {
        if (best[named.prediction] == kNone && !isTaken[named.experiment])
            best[named.prediction] = named.experiment;
    }
    pairs.clear();
    for (const std::uint32_t e : experiment().order) {
        for (std::size_t p = 0; p < best.size(); ++p)
            if (best[p] == e) pairs.push_back(subunitPair(e, p));
    }
}

}  // namespace tervolanda
