// Whether a chain can be used, and two repairs: residues without backbone atoms are removed,
// missing beta carbons are built.
#pragma once

#include <array>

#include "chain/chain.h"

namespace tervolanda {

// Runs the checks that the request's options ask for; false when the chain is invalid, after an
// ERROR line for each fault (for the first one without ReadCheckAll).  The chain may be changed; it
// is then without residues until they are built again.
bool checkChain(Chain& chain, const ReadRequest& request, Log& log);

// Deletes every atom of this residue number and insertion code, with an INFO line of level 1.  The
// chain is then without residues until they are built again.
void removeResidue(Chain& chain, int residueNumber, char insertionCode, Log& log);

// Marks the residues behind which the chain is broken: C to N of the next residue above 2.0 Å where
// both are known, else C-alpha to C-alpha above 4.2 Å.  The residues are built.
void markBreaks(Chain& chain);

// Radius of gyration over that of a compact chain, `parameter` x residues^0.38 Å; 0 without
// residues.
double compactness(const Chain& chain, double parameter);

// Place of the beta carbon, Å, from the residue's N, CA and C and its type.
std::array<double, 3> placeBeta(const Atom& n, const Atom& ca, const Atom& c, int residueType);

}  // namespace tervolanda
