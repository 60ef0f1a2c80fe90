// Whether a chain can be used.
//
// structure_reader.cpp calls it for each chain that a file has, whatever the format.  Which checks
// run, and their limits, follows from the options of the request (request.h); the program asks for
// duplicates alone, callers of the library may ask for all.
#pragma once

#include "chain/input/request.h"

namespace tervolanda {

// Runs the checks; false when the chain is invalid, after an ERROR line for each fault (for the
// first one without Checks::reportsAll).  Residues without a whole backbone may be removed and beta
// carbons added; the chain is then without residues until they are built again.
bool checkChain(Chain& chain, const Checks& checks, Log& log);

}  // namespace tervolanda
