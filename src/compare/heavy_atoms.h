// The atoms of a chain beyond those that are compared, for measures that look at side chains.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "chain/chain.h"
#include "compare/pairing/pairing.h"

namespace tervolanda {

// An atom's name without its blanks, as one number.
using AtomName = std::uint32_t;
constexpr AtomName atomName(std::string_view name) {
    AtomName packed = 0;
    for (const char c : name) {
        if (c != ' ') packed = packed << 8U | static_cast<unsigned char>(c);
    }
    return packed;
}

// All atoms but hydrogens of the residues of a coordinate set's records, in chain order.
struct HeavyAtoms {
    Points points;                     // Å, as read
    std::vector<AtomName> name;        // one an atom
    std::vector<std::uint32_t> first;  // atoms of record i are [first[i], first[i + 1])
};

// Gives the set of a chain its heavy atoms; the records are C-alpha atoms.
void addHeavyAtoms(const Chain& chain, CoordinateSet& set);

}  // namespace tervolanda
