// Cells are numbers of 63 bits, 21 for each axis, x first: sorting points by them is all there is
// to do, and cells that hold nothing cost nothing, however far apart the points are.
#include "compare/neighbour_grid.h"

#include <algorithm>
#include <cmath>

namespace tervolanda {

namespace {

constexpr unsigned kBits = 21;
constexpr std::uint64_t kAxis = std::uint64_t{1} << kBits;
constexpr std::uint64_t kRowStep = kAxis;            // to the next cell along y
constexpr std::uint64_t kPlaneStep = kAxis * kAxis;  // along x

// Cells count from 1, and none is the last of its axis, so that every cell has two neighbours.
// What is farther than the last cell (or no number) is in it: points that are near each other never
// have more than a cell between them.
std::uint64_t cellAlong(double value, double least, double reach) {
    constexpr auto kLast = static_cast<double>(kAxis - 3);
    const double cell = std::floor((value - least) / reach);
    return (cell < kLast ? static_cast<std::uint64_t>(cell) : kAxis - 3) + 1;
}

double leastOf(const std::vector<double>& values) {
    return values.empty() ? 0.0 : *std::min_element(values.begin(), values.end());
}

}  // namespace

void NeighbourGrid::place(const Points& points, double reach) {
    const double x = leastOf(points.x), y = leastOf(points.y), z = leastOf(points.z);
    keyed_.clear();
    for (std::uint32_t i = 0; i < points.size(); ++i) {
        const std::uint64_t key = cellAlong(points.x[i], x, reach) * kPlaneStep +
                                  cellAlong(points.y[i], y, reach) * kRowStep +
                                  cellAlong(points.z[i], z, reach);
        keyed_.emplace_back(key, i);
    }
    std::sort(keyed_.begin(), keyed_.end());
    order_.clear();
    cells_.clear();
    for (const auto& [key, position] : keyed_) {
        if (cells_.empty() || cells_.back().key != key) {
            cells_.push_back({key, static_cast<std::uint32_t>(order_.size())});
        }
        order_.push_back(position);
    }
}

std::uint32_t NeighbourGrid::firstFrom(std::uint64_t key) const {
    const auto cell = std::lower_bound(cells_.begin(), cells_.end(), key,
                                       [](const Cell& a, std::uint64_t b) { return a.key < b; });
    return cell == cells_.end() ? static_cast<std::uint32_t>(order_.size()) : cell->first;
}

NeighbourGrid::Rows NeighbourGrid::around(std::size_t cell) const {
    Rows rows;
    std::size_t row = 0;
    const std::uint64_t corner = cells_[cell].key - kPlaneStep - kRowStep - 1;
    for (std::uint64_t plane = 0; plane < 3; ++plane) {
        for (std::uint64_t line = 0; line < 3; ++line) {
            const std::uint64_t first = corner + plane * kPlaneStep + line * kRowStep;
            rows[row++] = {firstFrom(first), firstFrom(first + 3)};
        }
    }
    return rows;
}

std::size_t NeighbourGrid::cellOf(std::uint32_t place) const {
    const auto after = std::upper_bound(cells_.begin(), cells_.end(), place,
                                        [](std::uint32_t a, const Cell& b) { return a < b.first; });
    return static_cast<std::size_t>(after - cells_.begin()) - 1;
}

}  // namespace tervolanda
