// Whether structures mean the same residues by equal numbers.
#pragma once

#include <span>

#include "chain/chain.h"
#include "driver/settings.h"

namespace tervolanda {

// For strict runs that pair residues by number: ends the run by an Abend where fewer than half of
// the residues that a model shares with the experiment, or without one with another model, have
// the same name.  Unknown residues do not count.
void checkResidueNames(const Chain* experiment, std::span<const Chain> models,
                       const Settings& settings);

}  // namespace tervolanda
