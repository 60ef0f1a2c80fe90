// An RMSD grows with the length of the chains, even of unrelated ones.  These measures divide it by
// what unrelated chains of the same size give.
#include <cmath>

#include "base/elementary.h"
#include "compare/compare.h"

namespace tervolanda {

// The expected RMSD of two compact chains from their radii of gyration a and b, which correlate by
// q, and the standard deviation s of the ratio (Betancourt & Skolnick 2001, Biopolymers 59:305).
RelativeRmsd relativeRmsd(double rmsd, double experimentGyration, double predictionGyration,
                          std::uint32_t pairs) {
    // The constants of q and s are the authors' fits to pairs of known structures.
    if (pairs < 3 || !(rmsd > 0.0)) return {};
    const double x = 1.0 - static_cast<double>(pairs);
    const double q = 0.42 + 0.05 * x * exponential(x / 4.7) + 0.63 * exponential(x / 37.0);
    const double a = experimentGyration;
    const double b = predictionGyration;
    const double expected = std::sqrt(a * a + b * b - 2.0 * q * a * b);
    // Chains whose C-alpha atoms all lie in one place have no expected RMSD.
    if (!(expected > 0.0) || !std::isfinite(expected)) return {};
    const double ratio = rmsd / expected;
    const double s = 0.09 + 1.16 * exponential(x / 1.6) + 0.25 * exponential(x / 36.0);
    return {ratio, (ratio - 1.0) / s};
}

double relativeUrmsd(double urmsd, std::uint32_t pairs) {
    if (pairs == 0) return 0.0;
    // The mean over unrelated chains (Ortiz, Strauss & Olmea 2002); negative for one and two pairs.
    const double squared = 2.0 - 2.84 / std::sqrt(static_cast<double>(pairs));
    return squared > 0.0 ? urmsd / std::sqrt(squared) : 0.0;
}

}  // namespace tervolanda
