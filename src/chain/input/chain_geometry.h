// The geometry that checks and repairs go by.
//
// Checks (checks.cpp) and repairs (repairs.cpp) use it, so that both judge by the same limits.
#pragma once

#include "base/vec3.h"
#include "chain/chain.h"

namespace tervolanda {

// Between C-alpha atoms of neighbours, Å, both included.
inline constexpr double kShortestCalphaDistance = 2.0;
inline constexpr double kLongestCalphaDistance = 4.2;

// Marks the residues after which the chain is broken: C to N of the next residue above 2.0 Å where
// both are known, else C-alpha to C-alpha above 4.2 Å.  The residues are built.
void markBreaks(Chain& chain);

// Radius of gyration over that of a compact chain, `parameter` x residues^0.38 Å; 0 without
// residues.
double compactness(const Chain& chain, double parameter);

// Place of the beta carbon, Å, from those of the residue's N, CA and C, and its type.
Vec3 placeBeta(const Vec3& n, const Vec3& ca, const Vec3& c, int residueType);

}  // namespace tervolanda
