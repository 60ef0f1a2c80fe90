// Atoms that a chain has more than once.
#pragma once

#include <cstdint>
#include <vector>

#include "chain/chain.h"

namespace tervolanda {

// For every atom how many later ones have its residue number, insertion code and name; empty when
// no atom has any.
std::vector<std::uint32_t> laterDuplicates(const std::vector<Atom>& atoms);

}  // namespace tervolanda
