// Centred coordinates of many chains as the kernel for RMSDs wants them: chains that pair by
// position in groups, side by side, one a lane of a vector.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "compare/fit/fit.h"
#include "compare/fit/kernels.h"
#include "compare/fit/line_vector.h"

namespace tervolanda {

// Groups are made per kind, in list order: the chains before one, of its kind, are those of the
// groups from firstOfKind() to its own, where they come first.
class ChainGroups {
 public:
    struct Shape {
        std::uint32_t kind;  // of which all chains have as many points
        std::size_t points;
    };
    // Without coordinates as yet.  Chains with fewer than 3 points have no group.
    ChainGroups(std::span<const Shape> chains, std::size_t lanes);

    // Fills in a chain, about its centroid.  All pairs of a chain with absurd coordinates stay
    // open.
    void set(std::size_t chain, const Points& points);

    bool has(std::size_t chain) const { return places_[chain].group != kNoGroup; }
    std::size_t groupOf(std::size_t chain) const { return places_[chain].group; }
    std::size_t firstOfKind(std::size_t group) const { return groups_[group].firstOfKind; }
    // Positions in the list.
    std::span<const std::uint32_t> members(std::size_t group) const {
        return std::span(groups_[group].members).first(groups_[group].size);
    }
    ChainGroup lent(std::size_t group) const;
    // The chain by itself, in `room` for rowSize() values.  In its group its coordinates lie among
    // those of others, and would drive the group that it is compared with out of the nearest cache:
    // by itself, a pair of 127 points takes 0.86 of the time (AVX-512; AVX2 does not mind).
    ChainRow row(std::size_t chain, std::span<double> room) const;
    std::size_t rowSize(std::size_t chain) const;

 private:
    static constexpr std::uint32_t kNoGroup = ~std::uint32_t{0};

    struct Group {
        std::size_t firstOfKind = 0;
        std::size_t points = 0;  // of each chain
        std::size_t first = 0;   // where its coordinates begin
        std::size_t size = 0;    // chains
        std::array<std::uint32_t, kMostChainLanes> members{};
        // NaN for idle lanes and absurd chains: of no number there is no root to search for.
        std::array<double, kMostChainLanes> squares;
    };
    struct Place {
        std::uint32_t group = kNoGroup;
        std::uint32_t lane = 0;
    };
    std::size_t lanes_;
    std::vector<Group> groups_;
    std::vector<Place> places_;  // one a chain
    LineVector<double> coordinates_;
};

}  // namespace tervolanda
