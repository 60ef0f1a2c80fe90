// The sum of squares that the best rotation leaves is E (1 - x), E half the squares of both chains
// and x the largest root of a quartic in their nine correlation sums (Theobald 2005, Acta Cryst.
// A61:478).  The rotation itself, and the deviations under it, need not be known.
#include "compare/fit/positional_rmsd.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "compare/fit/superposition.h"

namespace tervolanda {

namespace {

constexpr std::size_t kFewestPoints = 3;
// Two vectors of four: their roots are found together.
constexpr std::size_t kSolvedAtOnce = 8;
// Says of a cell of a row that it is still open; the caller makes a fit of its own for it.
constexpr double kNotKnown = std::numeric_limits<double>::quiet_NaN();

double meanOf(const std::vector<double>& axis) {
    return std::accumulate(axis.begin(), axis.end(), 0.0) / static_cast<double>(axis.size());
}

// Blocks hold four points; the last is filled up with zeros, which add nothing to the sums.
std::size_t blocksOf(std::size_t points) {
    return (points + 3) / 4;
}

}  // namespace

PositionalRmsd::PositionalRmsd(std::span<const PositionalChain> chains, PositionalMeasures measures,
                               const Kernels& kernels)
    : kernels_(kernels), withUrmsd_(measures == PositionalMeasures::RmsdAndUrmsd) {
    positions_.reserve(chains);
    if (withUrmsd_) directions_.reserve(chains);
    kinds_.reserve(chains.size());
    for (const PositionalChain& chain : chains) {
        kinds_.push_back(chain.kind);
        positions_.append(*chain.points);
        if (!withUrmsd_) continue;
        Points directions = *chain.points;
        makeUnitVectors(directions);
        directions_.append(directions);
    }
}

void PositionalRmsd::CentredChains::reserve(std::span<const PositionalChain> from) {
    std::size_t most = 0;
    for (const PositionalChain& chain : from)
        most += blocksOf(chain.points->size());
    blocks.reserve(most);
    chains.reserve(from.size());
}

// Chains too small for a superposition, or with absurd coordinates, get no blocks: their pairs stay
// open.
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

// Too few directions have no rotation of their own: their URMSD is 0 and known.  All else is open
// until it is filled in.
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

// The earlier chain is the outer loop: it is read once for all rows that are made together.
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
        // With a smaller residual too few digits are left of it: the pair stays open.
        if (!problem.solved || !(problem.residual > kCancelledShare)) continue;
        const PendingPairs::Place& place = pending.places[k];
        (place.row->*values)[place.j] =
            std::sqrt(problem.residual * problem.squares / static_cast<double>(place.points));
    }
    pending.count = 0;
}

}  // namespace tervolanda
