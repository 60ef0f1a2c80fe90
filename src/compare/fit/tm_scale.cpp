// The scale makes scores of chains of any length comparable: it grows with the distance that two
// unrelated chains of that length have.
#include "compare/fit/tm_scale.h"

#include <algorithm>

#include "base/elementary.h"

namespace tervolanda {

double distanceScale(double length, double scaleFactor) {
    constexpr double kSmallest = 0.5;
    if (!(length > 14.0)) return kSmallest;
    const double scale = (1.24 * power(length - 15.0, 0.33333) - 1.8) * scaleFactor;
    return std::max(scale, kSmallest);
}

double clampedDistanceScale(double length, double scaleFactor) {
    return std::clamp(distanceScale(length, scaleFactor), 3.5, 8.0);
}

}  // namespace tervolanda
