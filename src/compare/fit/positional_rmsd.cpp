// The sum of squares that the best rotation leaves is E (1 - x), E half the squares of both chains
// and x the largest root of a quartic in their nine correlation sums (Theobald 2005, Acta Cryst.
// A61:478).  The rotation itself, and the deviations under it, need not be known.
#include "compare/fit/positional_rmsd.h"

#include <algorithm>
#include <array>

#include "compare/fit/superposition.h"

namespace tervolanda {

namespace {

std::vector<ChainGroups::Shape> shapesOf(std::span<const PositionalChain> chains,
                                         std::size_t (*points)(std::size_t atoms)) {
    std::vector<ChainGroups::Shape> shapes;
    shapes.reserve(chains.size());
    for (const PositionalChain& chain : chains)
        shapes.push_back({chain.kind, points(chain.points->size())});
    return shapes;
}

std::size_t atomCount(std::size_t atoms) {
    return atoms;
}

std::size_t directionCount(std::size_t atoms) {
    return std::max<std::size_t>(atoms, 1) - 1;
}

std::size_t noPoints(std::size_t) {
    return 0;
}

}  // namespace

PositionalRmsd::PositionalRmsd(std::span<const PositionalChain> chains, PositionalMeasures measures,
                               const Kernels& kernels)
    : kernels_(kernels),
      withUrmsd_(measures == PositionalMeasures::RmsdAndUrmsd),
      positions_(shapesOf(chains, atomCount), kernels.chainLanes),
      directions_(shapesOf(chains, withUrmsd_ ? directionCount : noPoints), kernels.chainLanes) {
    for (std::size_t i = 0; i < chains.size(); ++i) {
        positions_.set(i, *chains[i].points);
        if (!withUrmsd_) continue;
        Points directions = *chains[i].points;
        makeUnitVectors(directions);
        directions_.set(i, directions);
    }
}

// Too few directions have no rotation of their own: their URMSD is 0 and known.  All else is open
// until it is filled in.
void PositionalRmsd::compareWithEarlier(std::size_t first, std::span<RmsdRow> rows) const {
    for (std::size_t k = 0; k < rows.size(); ++k) {
        rows[k].rmsd.assign(first + k, kOpenRmsd);
        rows[k].urmsd.assign(first + k, directions_.has(first + k) ? kOpenRmsd : 0.0);
    }
    fill(positions_, &RmsdRow::rmsd, first, rows);
    if (withUrmsd_) fill(directions_, &RmsdRow::urmsd, first, rows);
}

// Sorted by their groups, rows of a kind follow each other, and each kind in list order.
void PositionalRmsd::fill(const ChainGroups& chains, Values values, std::size_t first,
                          std::span<RmsdRow> rows) const {
    std::array<OpenRow, kRowsAtOnce> open{};
    OpenRow* end = open.data();
    for (std::size_t k = 0; k < rows.size(); ++k)
        if (chains.has(first + k)) *end++ = {first + k, &(rows[k].*values)};
    std::stable_sort(open.data(), end, [&chains](const OpenRow& a, const OpenRow& b) {
        return chains.groupOf(a.chain) < chains.groupOf(b.chain);
    });
    const auto firstOfKind = [&chains](const OpenRow& row) {
        return chains.firstOfKind(chains.groupOf(row.chain));
    };
    for (OpenRow* from = open.data(); from != end;) {
        OpenRow* const to = std::find_if(
            from, end, [&](const OpenRow& row) { return firstOfKind(row) != firstOfKind(*from); });
        compareRows(chains, std::span(from, to));
        from = to;
    }
}

// Group by group, each with the rows of chains after its first one.
void PositionalRmsd::compareRows(const ChainGroups& chains, std::span<const OpenRow> open) const {
    const std::size_t size = chains.rowSize(open.front().chain);
    std::vector<double> room(open.size() * size);
    std::array<ChainRow, kRowsAtOnce> rows{};
    for (std::size_t k = 0; k < open.size(); ++k)
        rows[k] = chains.row(open[k].chain, std::span(room).subspan(k * size, size));
    std::array<double, kMostRows * kMostChainLanes> rmsd;  // filled by the kernel
    const std::size_t lastGroup = chains.groupOf(open.back().chain);
    std::size_t begin = 0;
    for (std::size_t g = chains.firstOfKind(lastGroup); g <= lastGroup; ++g) {
        const std::span<const std::uint32_t> members = chains.members(g);
        while (begin < open.size() && open[begin].chain <= members.front())
            ++begin;
        if (begin == open.size()) return;
        kernels_.rmsdsOfGroup(&rows[begin], open.size() - begin, chains.lent(g), rmsd.data());
        const double* found = rmsd.data();
        for (const OpenRow& row : open.subspan(begin)) {
            for (std::size_t lane = 0; lane < members.size(); ++lane)
                if (members[lane] < row.chain) (*row.values)[members[lane]] = found[lane];
            found += kernels_.chainLanes;
        }
    }
}

}  // namespace tervolanda
