// Points in cells, so that those near a point are found without looking at all of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "compare/fit/fit.h"

namespace tervolanda {

// Points are put in the order of cubic cells with edges as long as `reach`: what lies within reach
// of a point is in its own cell or in one of the 26 around it.  Cells that follow each other along
// z are neighbours in this order, too, so that the points of three of them are one range.
//
// An object that is used again keeps its memory.
class NeighbourGrid {
 public:
    // Places [first, second) in the order of the cells.
    using Range = std::pair<std::uint32_t, std::uint32_t>;
    // Rows of three cells around a cell, some of them empty.
    using Rows = std::array<Range, 9>;

    // Takes time in proportion to n log n.  Coordinates may be anything: far away ones share a
    // cell.
    void place(const Points& points, double reach);

    // The positions of the points, in the order of the cells.
    std::span<const std::uint32_t> order() const { return order_; }
    // The points of each cell, in order.
    std::size_t cells() const { return cells_.size(); }
    Range pointsOf(std::size_t cell) const { return {cells_[cell].first, endOf(cell)}; }
    // The points that may be within reach of those of a cell, its own among them.
    Rows around(std::size_t cell) const;
    // The cell of each place of the order.
    std::size_t cellOf(std::uint32_t place) const;

 private:
    struct Cell {
        std::uint64_t key = 0;
        std::uint32_t first = 0;  // place of its first point
    };
    std::uint32_t endOf(std::size_t cell) const {
        return cell + 1 < cells_.size() ? cells_[cell + 1].first
                                        : static_cast<std::uint32_t>(order_.size());
    }
    // Place of the first point whose cell has this key or a later one.
    std::uint32_t firstFrom(std::uint64_t key) const;

    std::vector<std::pair<std::uint64_t, std::uint32_t>> keyed_;  // scratch: cell and position
    std::vector<std::uint32_t> order_;
    std::vector<Cell> cells_;  // those that hold a point, ascending
};

}  // namespace tervolanda
