// When one computed number is more than another.  Rounding differs by some 1e-13 with the place of
// a chain in space and with the order of a sum; an exact tie, or a distance that equals a limit,
// must not be decided by it.  The tolerances lie far above rounding and far below the digits that
// are printed.
//
// Searches, scorings, GDT and contacts all decide by these functions, and by nothing of their own.
#pragma once

namespace tervolanda {

inline constexpr double kLimitTolerance = 1e-10;  // share of a squared distance

// A squared distance is within a limit that counts as inside when it is at most this,
constexpr double inclusiveLimit(double limit) {
    return limit * (1.0 + kLimitTolerance);
}
// and within one that counts as outside when it is below this.
constexpr double exclusiveLimit(double limit) {
    return limit * (1.0 - kLimitTolerance);
}

// Both in Å.
constexpr bool isLowerRmsd(double rmsd, double other) {
    return rmsd < other - 1e-9;
}

// TM-scores, or sums of their terms.
constexpr bool isHigherTm(double tm, double other) {
    return tm - other > 1e-12 * tm;
}

}  // namespace tervolanda
