// The local distance difference test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "compare/compare.h"
#include "compare/neighbour_grid.h"

namespace tervolanda {

enum class LddtAtoms : std::uint8_t { Calpha, All };
// Whether the distances of each residue are counted as well.
enum class LddtDetail : std::uint8_t { Sum, Residues };

// Distances of the reference, each once for every threshold, and those that the model keeps.
struct LddtCount {
    std::uint64_t kept = 0;
    std::uint64_t distances = 0;

    // 0 to 1; none where there are no distances to be kept.
    std::optional<double> score() const {
        if (distances == 0) return std::nullopt;
        return static_cast<double>(kept) / static_cast<double>(distances);
    }
};

// Scratch of the test; reused from comparison to comparison.
//
// Invariant while a pair is under work: the arrays have an entry for each atom of the reference, in
// the order of the grid; the model's coordinates are not numbers where it has no such atom.
struct LddtScratch {
    Points reference, model;             // Å, as read
    std::vector<std::uint32_t> residue;  // record of the reference's coordinate set
    std::vector<std::uint8_t> isSure;    // 0 for an atom of which another one may be meant
    std::vector<LddtCount> ofResidues;   // one a record, where they were asked for
    NeighbourGrid grid;

    // The same in the order of the chain, before the grid has its own.
    struct Atom {
        std::array<double, 3> reference, model, exchanged;
        std::uint32_t residue;
        std::uint8_t isSure;
    };
    std::vector<Atom> atoms;
    std::vector<std::uint32_t> places;  // of the atoms of `atoms` in the order of the grid
};

// The lDDT of a model by its reference (Mariani et al. 2013).  `partners` has a record of the
// model, or -1, for each record of the reference.  The distances are those of up to 15 Å between
// atoms of different residues of the reference; one is kept within 0.5, 1, 2 or 4 Å where it
// differs by no more in the model, and it is not where the model lacks an atom of it.  The
// stereochemistry of the model is not looked at.  With All the sets need their heavy atoms; a set
// that has none counts as having no atoms at all.  With Residues their counts are left in the
// scratch.
LddtCount lddtOf(const CoordinateSet& reference, const CoordinateSet& model,
                 std::span<const std::int32_t> partners, LddtAtoms atoms, LddtDetail detail,
                 LddtScratch& scratch);

}  // namespace tervolanda
