// Where each chain stands is known from kinds and lengths alone, so that its coordinates can be
// filled in as they are made.
#include "compare/fit/chain_groups.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "compare/fit/superposition.h"

namespace tervolanda {

namespace {

constexpr std::size_t kFewestPoints = 3;

// A chain is four sequences of so many points, the last filled up with zeros, which add nothing to
// the sums.
std::size_t blocksOf(std::size_t points) {
    return (points + 3) / 4;
}

std::size_t valuesOf(std::size_t points) {
    return 4 * blocksOf(points) * 3;
}

// The three sums side by side: each addition waits for the one before.
std::array<double, 3> centroidOf(const Points& points) {
    double x = 0.0, y = 0.0, z = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        x += points.x[i];
        y += points.y[i];
        z += points.z[i];
    }
    const auto n = static_cast<double>(points.size());
    return {x / n, y / n, z / n};
}

// Out of any structure's reach, or no number.
bool isAbsurd(const std::array<double, 3>& centroid) {
    return !std::all_of(centroid.begin(), centroid.end(),
                        [](double mean) { return std::abs(mean) < kFarthestOrigin; });
}

}  // namespace

ChainGroups::ChainGroups(std::span<const Shape> chains, std::size_t lanes)
    : lanes_(lanes), places_(chains.size()) {
    std::vector<std::uint32_t> order(chains.size());
    std::iota(order.begin(), order.end(), 0U);
    std::stable_sort(order.begin(), order.end(), [chains](std::uint32_t a, std::uint32_t b) {
        return chains[a].kind < chains[b].kind;
    });
    std::size_t values = 0;
    const Shape* last = nullptr;  // that of the chain before
    for (const std::uint32_t chain : order) {
        const Shape& shape = chains[chain];
        if (shape.points < kFewestPoints) continue;
        const bool isNewKind = last == nullptr || last->kind != shape.kind;
        if (isNewKind || groups_.back().size == lanes_) {
            const std::size_t first = isNewKind ? groups_.size() : groups_.back().firstOfKind;
            groups_.push_back({first, shape.points, values, 0, {}, {}});
            groups_.back().squares.fill(std::numeric_limits<double>::quiet_NaN());
            values += valuesOf(shape.points) * lanes_;
        }
        Group& group = groups_.back();
        places_[chain] = {static_cast<std::uint32_t>(groups_.size() - 1),
                          static_cast<std::uint32_t>(group.size)};
        group.members[group.size++] = chain;
        last = &shape;
    }
    coordinates_.resize(values);
}

void ChainGroups::set(std::size_t chain, const Points& points) {
    const Place place = places_[chain];
    if (place.group == kNoGroup) return;
    Group& group = groups_[place.group];
    const std::array<double, 3> centroid = centroidOf(points);
    if (isAbsurd(centroid)) return;
    double* const first = &coordinates_[group.first] + place.lane;
    const std::size_t blocks = blocksOf(points.size());
    double squares = 0.0;
    for (std::size_t k = 0; k < points.size(); ++k) {
        const double x = points.x[k] - centroid[0];
        const double y = points.y[k] - centroid[1];
        const double z = points.z[k] - centroid[2];
        double* const point = first + (k % 4 * blocks + k / 4) * 3 * lanes_;
        point[0] = x;
        point[lanes_] = y;
        point[2 * lanes_] = z;
        squares += (x * x + y * y) + z * z;
    }
    group.squares[place.lane] = squares;
}

ChainGroup ChainGroups::lent(std::size_t group) const {
    const Group& chains = groups_[group];
    return {&coordinates_[chains.first], chains.squares.data(), blocksOf(chains.points),
            static_cast<double>(chains.points)};
}

std::size_t ChainGroups::rowSize(std::size_t chain) const {
    return valuesOf(groups_[places_[chain].group].points);
}

ChainRow ChainGroups::row(std::size_t chain, std::span<double> room) const {
    const Place place = places_[chain];
    const Group& group = groups_[place.group];
    const double* from = &coordinates_[group.first + place.lane];
    for (double& value : room) {
        value = *from;
        from += lanes_;
    }
    return {room.data(), group.squares[place.lane]};
}

}  // namespace tervolanda
