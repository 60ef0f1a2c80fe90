// The distance scale of the TM-score, d0: at this distance a pair counts half.  It grows with the
// chain so that unrelated chains score alike whatever their length.
//
// For whole chains, for mapped pairs (as a cut-off) and for residues that are paired by distance;
// the term is used wherever pairs are scored.
#pragma once

namespace tervolanda {

// Length-dependent distance scale of the TM-score, Å (Zhang & Skolnick 2004), times `scaleFactor`;
// at least 0.5.  The exponent is the decimal 0.33333 and not a third: scores must not change in
// the last printed digit.
double distanceScale(double length, double scaleFactor);
// The same, held within 3.5 to 8 Å.
double clampedDistanceScale(double length, double scaleFactor);

// What a pair at a squared distance adds to the TM-score, and to MaxSub with the cut-off as scale,
// before either is divided by a length.
inline double tmTerm(double squared, double scaleSquared) {
    return 1.0 / (1.0 + squared / scaleSquared);
}

}  // namespace tervolanda
