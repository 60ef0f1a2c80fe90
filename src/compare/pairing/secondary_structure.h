// Secondary structure from coordinates.
//
// prepareChain() asks for it in runs that pair by structure, where the alignment is shown with it.
#pragma once

#include <string>

#include "chain/chain.h"

namespace tervolanda {

// One letter a residue: H helix (alpha, 3-10 or pi), E strand or single bridge, C anything else.
// Where N, CA, C and O of a residue are there, from backbone hydrogen bonds (Kabsch & Sander 1983,
// Biopolymers 22:2577); else from distances between C-alpha atoms.  A residue without C-alpha is C.
std::string secondaryStructure(const Chain& chain);

}  // namespace tervolanda
