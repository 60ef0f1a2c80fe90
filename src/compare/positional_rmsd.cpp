// The sum of squares that the best rotation leaves is E (1 - x), E half the squares of both chains
// and x the largest root of a quartic in their nine correlation sums (Theobald 2005, Acta Cryst.
// A61:478).  The rotation itself, and the deviations under it, need not be known.
#include "compare/positional_rmsd.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "compare/mapping.h"
#include "compare/superposition.h"

namespace tervolanda {

namespace {

constexpr std::size_t kFewestPoints = 3;
constexpr std::size_t kSolvedAtOnce = 8;
constexpr double kNotKnown = std::numeric_limits<double>::quiet_NaN();

// Moves an axis to its mean; false where that is out of any structure's reach.
bool centreAxis(std::vector<double>& axis) {
    const double mean =
        std::accumulate(axis.begin(), axis.end(), 0.0) / static_cast<double>(axis.size());
    if (!(std::abs(mean) < kFarthestOrigin)) return false;
    for (double& value : axis)
        value -= mean;
    return true;
}

}  // namespace

PositionalRmsd::PositionalRmsd(std::span<const CoordinateSet> sets, bool withUrmsd,
                               const Kernels& kernels)
    : sets_(sets), kernels_(kernels), withUrmsd_(withUrmsd) {
    for (const CoordinateSet& set : sets) {
        positions_.append(set.points);
        if (!withUrmsd) continue;
        Points directions = set.points;
        if (directions.size() > 0) makeUnitVectors(directions);
        directions_.append(std::move(directions));
    }
}

void PositionalRmsd::CentredChains::append(Points points) {
    Centred& chain = chains.emplace_back();
    if (points.size() < kFewestPoints) return;
    for (std::vector<double>* const axis : {&points.x, &points.y, &points.z}) {
        if (!centreAxis(*axis)) return;
        for (const double value : *axis)
            chain.squares += value * value;
    }
    chain.points = points.size();
    chain.blocks = (chain.points + 3) / 4;
    chain.firstBlock = blocks.size();
    blocks.resize(blocks.size() + chain.blocks);
    for (std::size_t k = 0; k < chain.points; ++k) {
        PointBlock& block = blocks[chain.firstBlock + k / 4];
        block.x[k % 4] = points.x[k];
        block.y[k % 4] = points.y[k];
        block.z[k % 4] = points.z[k];
    }
}

void PositionalRmsd::compareWithEarlier(std::size_t i, RmsdRow& row) const {
    row.rmsd.assign(i, kNotKnown);
    row.urmsd.assign(i, withUrmsd_ ? kNotKnown : 0.0);
    row.others.clear();
    for (std::uint32_t j = 0; j < i; ++j) {
        if (haveSameEnds(sets_[i], sets_[j])) row.others.push_back(j);
    }
    fill(positions_, i, row.others, row.rmsd);
    if (!withUrmsd_) return;
    if (sets_[i].size() <= kFewestPoints) {
        for (const std::uint32_t j : row.others)
            row.urmsd[j] = 0.0;
    } else {
        fill(directions_, i, row.others, row.urmsd);
    }
}

void PositionalRmsd::fill(const CentredChains& from, std::size_t i,
                          std::span<const std::uint32_t> others, std::vector<double>& rmsd) const {
    const Centred& experiment = from.chains[i];
    std::array<ResidualProblem, kSolvedAtOnce> problems{};
    for (std::size_t first = 0; first < others.size(); first += kSolvedAtOnce) {
        const auto group = others.subspan(first, std::min(kSolvedAtOnce, others.size() - first));
        for (std::size_t k = 0; k < group.size(); ++k) {
            const Centred& prediction = from.chains[group[k]];
            problems[k].squares = experiment.squares + prediction.squares;
            // Chains without a closed form have no blocks and stay unsolved.
            kernels_.sumProducts(from.blocks.data() + prediction.firstBlock,
                                 from.blocks.data() + experiment.firstBlock,
                                 std::min(experiment.blocks, prediction.blocks),
                                 problems[k].product);
        }
        kernels_.solveResiduals(problems.data(), group.size());
        for (std::size_t k = 0; k < group.size(); ++k) {
            const ResidualProblem& problem = problems[k];
            if (!problem.solved || !(problem.residual > kCancelledShare)) continue;
            rmsd[group[k]] = std::sqrt(problem.residual * problem.squares /
                                       static_cast<double>(experiment.points));
        }
    }
}

}  // namespace tervolanda
