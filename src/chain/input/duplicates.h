// Atoms that a chain has more than once.
//
// Files with alternate locations, or with a chain twice, have them; a comparison could not tell
// which of the atoms is meant.
#pragma once

#include <cstdint>
#include <vector>

#include "chain/chain.h"

namespace tervolanda {

// For every atom how many later ones have its residue number, insertion code and name; empty when
// no atom has any.
std::vector<std::uint32_t> laterDuplicates(const std::vector<Atom>& atoms);

}  // namespace tervolanda
