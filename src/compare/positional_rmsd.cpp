// The sum of squares that the best rotation leaves is E (1 - x), E half the squares of both chains
// and x the largest root of a quartic in their nine correlation sums (Theobald 2005, Acta Cryst.
// A61:478).  The rotation itself, and the deviations under it, need not be known.
#include "compare/positional_rmsd.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>
#include <string_view>
#include <tuple>

#include "compare/fit/superposition.h"

namespace tervolanda {

namespace {

constexpr std::size_t kFewestPoints = 3;
constexpr std::size_t kSolvedAtOnce = 8;
constexpr double kNotKnown = std::numeric_limits<double>::quiet_NaN();

double meanOf(const std::vector<double>& axis) {
    return std::accumulate(axis.begin(), axis.end(), 0.0) / static_cast<double>(axis.size());
}

// One number for all chains that have the same number of atoms and the same ends or, where they are
// paired by it, the same sequence.
std::vector<std::uint32_t> kindsOf(std::span<const CoordinateSet> sets) {
    using Ends = std::tuple<std::size_t, std::int64_t, std::int64_t, std::string_view>;
    std::map<Ends, std::uint32_t> known;
    std::vector<std::uint32_t> kinds;
    kinds.reserve(sets.size());
    for (const CoordinateSet& set : sets) {
        Ends ends(set.size(), set.firstResidue, set.lastResidue, {});
        if (set.residueLetters.size() == set.size()) {
            ends = {set.size(), 0, 0, set.sequence};
        } else if (!set.residueLetters.empty()) {
            ends = {set.size(), static_cast<std::int64_t>(kinds.size()), 1, {}};  // like no other
        }
        const auto next = static_cast<std::uint32_t>(known.size());
        kinds.push_back(known.try_emplace(ends, next).first->second);
    }
    return kinds;
}

std::size_t blocksOf(std::size_t points) {
    return (points + 3) / 4;
}

}  // namespace

PositionalRmsd::PositionalRmsd(std::span<const CoordinateSet> sets, bool withUrmsd,
                               const Kernels& kernels)
    : kernels_(kernels), withUrmsd_(withUrmsd), kinds_(kindsOf(sets)) {
    positions_.reserve(sets);
    if (withUrmsd) directions_.reserve(sets);
    for (const CoordinateSet& set : sets) {
        positions_.append(set.points);
        if (!withUrmsd) continue;
        Points directions = set.points;
        makeUnitVectors(directions);
        directions_.append(directions);
    }
}

void PositionalRmsd::CentredChains::reserve(std::span<const CoordinateSet> sets) {
    std::size_t most = 0;
    for (const CoordinateSet& set : sets)
        most += blocksOf(set.size());
    blocks.reserve(most);
    chains.reserve(sets.size());
}

void PositionalRmsd::CentredChains::append(const Points& points) {
    Centred& chain = chains.emplace_back();
    const std::size_t n = points.size();
    if (n < kFewestPoints) return;
    const double x = meanOf(points.x), y = meanOf(points.y), z = meanOf(points.z);
    for (const double mean : {x, y, z}) {  // out of any structure's reach, or no number
        if (!(std::abs(mean) < kFarthestOrigin)) return;
    }
    chain.points = n;
    chain.blocks = blocksOf(n);
    chain.firstBlock = blocks.size();
    blocks.resize(blocks.size() + chain.blocks);
    PointBlock* const first = &blocks[chain.firstBlock];
    for (std::size_t k = 0; k < n; ++k) {
        PointBlock& block = first[k / 4];
        const double dx = points.x[k] - x, dy = points.y[k] - y, dz = points.z[k] - z;
        block.x[k % 4] = dx;
        block.y[k % 4] = dy;
        block.z[k % 4] = dz;
        chain.squares += (dx * dx + dy * dy) + dz * dz;
    }
}

// Pairs that wait for being solved side by side.
struct PositionalRmsd::PendingPairs {
    struct Place {
        RmsdRow* row;
        std::size_t j;
        std::size_t points;
    };
    std::array<ResidualProblem, kSolvedAtOnce> problems{};
    std::array<Place, kSolvedAtOnce> places{};
    std::size_t count = 0;
};

void PositionalRmsd::compareWithEarlier(std::size_t first, std::span<RmsdRow> rows) const {
    for (std::size_t k = 0; k < rows.size(); ++k) {
        const bool hasDirections =
            withUrmsd_ && positions_.chains[first + k].points > kFewestPoints;
        rows[k].rmsd.assign(first + k, kNotKnown);
        rows[k].urmsd.assign(first + k, hasDirections ? kNotKnown : 0.0);
    }
    fill(positions_, &RmsdRow::rmsd, first, rows);
    if (withUrmsd_) fill(directions_, &RmsdRow::urmsd, first, rows);
}

void PositionalRmsd::fill(const CentredChains& from, Values values, std::size_t first,
                          std::span<RmsdRow> rows) const {
    PendingPairs pending;
    for (std::size_t j = 0; j + 1 < first + rows.size(); ++j) {
        const Centred& prediction = from.chains[j];
        if (prediction.blocks == 0) continue;
        for (std::size_t i = std::max(first, j + 1); i < first + rows.size(); ++i) {
            const Centred& experiment = from.chains[i];
            if (kinds_[i] != kinds_[j] || experiment.blocks == 0) continue;
            ResidualProblem& problem = pending.problems[pending.count];
            pending.places[pending.count] = {&rows[i - first], j, experiment.points};
            problem.squares = experiment.squares + prediction.squares;
            kernels_.sumProducts(from.blocks.data() + prediction.firstBlock,
                                 from.blocks.data() + experiment.firstBlock, experiment.blocks,
                                 problem.product);
            if (++pending.count == kSolvedAtOnce) finish(values, pending);
        }
    }
    if (pending.count > 0) finish(values, pending);
}

void PositionalRmsd::finish(Values values, PendingPairs& pending) const {
    kernels_.solveResiduals(pending.problems.data(), pending.count);
    for (std::size_t k = 0; k < pending.count; ++k) {
        const ResidualProblem& problem = pending.problems[k];
        if (!problem.solved || !(problem.residual > kCancelledShare)) continue;
        const PendingPairs::Place& place = pending.places[k];
        (place.row->*values)[place.j] =
            std::sqrt(problem.residual * problem.squares / static_cast<double>(place.points));
    }
    pending.count = 0;
}

}  // namespace tervolanda
