// The rotation that minimises the squared distances is the unit quaternion that belongs to the
// largest eigenvalue of a symmetric 4x4 matrix made of the nine correlation sums (Horn 1987, J.
// Opt. Soc. Am. A4:629).  The eigenvalue is the largest root of a quartic, found by Newton's method
// from above, where it converges monotonically (Theobald 2005, Acta Cryst. A61:478); the quaternion
// is a column of the adjugate of the matrix less the eigenvalue (Liu, Agrafiotis & Theobald 2010,
// J. Comput. Chem. 31:1561).  Where two eigenvalues nearly meet the adjugate loses its digits, and
// Jacobi rotations, which do not, take over.
#include "compare/fit/superposition.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace tervolanda {

namespace {

#include "compare/fit/quaternion_body.inc"

using Vector4 = std::array<double, 4>;  // w, x, y, z

// A sum of deviations below this share of the squares is rounding.
constexpr double kRounding = 1e-24;
// Determinants outside 1 -+ this are no rotations.
constexpr double kDeterminantTolerance = 0.001;

// The largest root, from 1 downwards: the sums are scaled so that no root is above 1.
double largestRoot(const Quartic<double>& quartic) {
    constexpr int kMostSteps = 60;  // quadratic convergence takes about 5; double roots are slow
    double x = 1.0;
    for (int step = 0; step < kMostSteps; ++step) {
        const double slope = quartic.slopeAt(x);
        if (!(slope > kRoundingSlope)) break;
        const double change = quartic.at(x) / slope;
        x -= change;
        // Convergence is quadratic: the error left is the square of the last change.
        if (!(std::abs(change) > 1e-9)) break;
    }
    return x;
}

// One Jacobi rotation: annihilates a[p][q] and carries the eigenvectors v along.
void annihilate(double (&a)[4][4], double (&v)[4][4], std::size_t p, std::size_t q) {
    if (a[p][q] == 0.0) return;
    const double theta = (a[q][q] - a[p][p]) / (2.0 * a[p][q]);
    // Not hypot(), whose last bit differs between C libraries.  A theta whose square overflows
    // makes no turn, as it should.
    const double t = std::copysign(1.0, theta) / (std::abs(theta) + std::sqrt(theta * theta + 1.0));
    const double c = 1.0 / std::sqrt(t * t + 1.0);
    const double s = t * c;
    const auto turn = [c, s](double& x, double& y) {
        const double old = x;
        x = c * old - s * y;
        y = s * old + c * y;
    };
    for (auto& row : a)
        turn(row[p], row[q]);
    for (std::size_t k = 0; k < 4; ++k)
        turn(a[p][k], a[q][k]);
    for (auto& row : v)
        turn(row[p], row[q]);
}

// Eigenvector of a symmetric matrix for its largest eigenvalue, and that eigenvalue, by cyclic
// Jacobi rotations (Golub & Van Loan 1996, Matrix Computations, section 8.4).
std::pair<Vector4, double> largestEigenvector(Matrix4<double> key) {
    double(&a)[4][4] = key.row;
    double v[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    constexpr int kMostSweeps = 30;  // six are usual
    for (int sweep = 0; sweep < kMostSweeps; ++sweep) {
        double offDiagonal = 0.0;
        for (std::size_t p = 0; p < 4; ++p) {
            for (std::size_t q = p + 1; q < 4; ++q)
                offDiagonal += a[p][q] * a[p][q];
        }
        if (!(offDiagonal > 1e-34)) break;
        for (std::size_t p = 0; p < 4; ++p) {
            for (std::size_t q = p + 1; q < 4; ++q)
                annihilate(a, v, p, q);
        }
    }
    std::size_t largest = 0;
    for (std::size_t i = 1; i < 4; ++i) {
        if (a[i][i] > a[largest][largest]) largest = i;
    }
    return {{v[0][largest], v[1][largest], v[2][largest], v[3][largest]}, a[largest][largest]};
}

// The eigenvector for `root` as a column of the adjugate, the one with the largest diagonal; none
// where the adjugate is too small to be trusted.
std::optional<Vector4> adjugateColumn(Matrix4<double> key, double root) {
    for (std::size_t i = 0; i < 4; ++i)
        key.row[i][i] -= root;
    Matrix4<double> adjugate;
    adjugateOf(key, adjugate);
    std::size_t best = 0;
    for (std::size_t i = 1; i < 4; ++i) {
        if (std::abs(adjugate.row[i][i]) > std::abs(adjugate.row[best][best])) best = i;
    }
    if (!(std::abs(adjugate.row[best][best]) > kSmallestAdjugate)) return std::nullopt;
    const double* const column = adjugate.row[best];
    return Vector4{column[0], column[1], column[2], column[3]};
}

// True when a reflection superposes the sets exactly.  Its residual share is 1 + x for the smallest
// root x; the quartic is negative between its two smallest roots.
bool reflectionFits(const Quartic<double>& quartic) {
    return quartic.at(kMirrorTolerance - 1.0) < 0.0;
}

double lengthOf(double x, double y, double z) {
    return std::sqrt((x * x + y * y) + z * z);
}

bool allFinite(const std::array<double, 9>& values) {
    for (const double value : values) {
        if (!std::isfinite(value)) return false;
    }
    return true;
}

}  // namespace

// Scaled by half the squares the matrix has eigenvalues of at most 1, whatever the size of the
// chains: all tolerances are shares of that.
std::optional<BestRotation> bestRotation(const std::array<double, 9>& covariance, double squares) {
    if (!std::isfinite(squares) || !allFinite(covariance)) return std::nullopt;
    if (!(squares > 0.0)) return BestRotation{Rotation{1, 0, 0, 0, 1, 0, 0, 0, 1}, 0.0};
    std::array<double, 9> m = covariance;
    for (double& value : m)
        value /= 0.5 * squares;
    if (!allFinite(m)) return std::nullopt;
    const double determinantOfM = determinantOf3(m.data());
    Matrix4<double> key;
    keyMatrix(m.data(), key);
    const Quartic<double> quartic = characteristic(m.data(), determinantOfM, key);
    double root = largestRoot(quartic);
    auto eigenvector = adjugateColumn(key, root);
    if (!eigenvector) std::tie(eigenvector, root) = largestEigenvector(key);
    if (determinantOfM < 0.0 && 1.0 - root >= kMirrorTolerance && reflectionFits(quartic)) {
        return std::nullopt;
    }
    const auto& [w, x, y, z] = *eigenvector;
    const BestRotation best{asRotation({x, y, z, w}), std::max(0.0, 1.0 - root)};
    if (!(std::abs(determinant(best.rotation) - 1.0) <= kDeterminantTolerance)) {
        return std::nullopt;
    }
    return best;
}

std::optional<Fit> fitFromSums(const CorrelationSums& sums, std::size_t n) {
    if (n == 0) return std::nullopt;
    const double perPoint = 1.0 / static_cast<double>(n);
    Fit fit;
    std::array<double, 9> covariance{};
    double squares = sums.squares;
    for (std::size_t a = 0; a < 3; ++a) {
        fit.predictionCentre[a] = sums.prediction[a] * perPoint;
        fit.experimentCentre[a] = sums.experiment[a] * perPoint;
        for (std::size_t b = 0; b < 3; ++b) {
            covariance[3 * a + b] =
                sums.product[3 * a + b] - sums.prediction[a] * (sums.experiment[b] * perPoint);
        }
    }
    for (std::size_t a = 0; a < 3; ++a) {
        squares -= sums.prediction[a] * fit.predictionCentre[a] +
                   sums.experiment[a] * fit.experimentCentre[a];
    }
    const auto best = bestRotation(covariance, squares);
    if (!best) return std::nullopt;
    fit.rotation = best->rotation;
    fit.residual = best->residual;
    fit.squares = squares;
    return fit;
}

void PairedPoints::centre() {
    const std::size_t n = size();
    const std::array<std::vector<double>*, 6> axes = {&experiment.x, &experiment.y, &experiment.z,
                                                      &prediction.x, &prediction.y, &prediction.z};
    // Six sums side by side: one after the other each would wait for its own additions.
    std::array<double, 6> sums{};
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t a = 0; a < 6; ++a)
            sums[a] += (*axes[a])[i];
    }
    for (std::size_t a = 0; a < 6; ++a) {
        double origin = n == 0 ? 0.0 : sums[a] / static_cast<double>(n);
        // One absurd coordinate must not drown the others' digits.
        if (!(std::abs(origin) < kFarthestOrigin)) origin = 0.0;
        for (double& value : *axes[a])
            value -= origin;
        (a < 3 ? experimentOrigin : predictionOrigin)[a % 3] = origin;
    }
}

std::optional<Fit> fitPairs(const PairedPoints& pairs, const Kernels& kernels) {
    return fitFromSums(kernels.correlate(pairs.arrays(), pairs.size()), pairs.size());
}

std::optional<Fit> fitPairs(const PairedPoints& pairs, std::span<const std::uint32_t> subset,
                            const Kernels& kernels, PairedPoints& gathered) {
    const std::size_t n = subset.size();
    if (gathered.size() < n) {
        gathered.experiment.resize(n);
        gathered.prediction.resize(n);
    }
    for (std::size_t i = 0; i < n; ++i) {
        const std::uint32_t pair = subset[i];
        gathered.experiment.x[i] = pairs.experiment.x[pair];
        gathered.experiment.y[i] = pairs.experiment.y[pair];
        gathered.experiment.z[i] = pairs.experiment.z[pair];
        gathered.prediction.x[i] = pairs.prediction.x[pair];
        gathered.prediction.y[i] = pairs.prediction.y[pair];
        gathered.prediction.z[i] = pairs.prediction.z[pair];
    }
    return fitFromSums(kernels.correlate(gathered.arrays(), n), n);
}

// The centres are folded into one shift: p' = R p + (e - R c).
Motion asMotion(const Fit& fit) {
    const Rotation& r = fit.rotation;
    const auto& p = fit.predictionCentre;
    const auto& e = fit.experimentCentre;
    Motion motion;
    std::copy(r.begin(), r.end(), motion.begin());
    for (std::size_t a = 0; a < 3; ++a) {
        motion[9 + a] = e[a] - ((r[3 * a] * p[0] + r[3 * a + 1] * p[1]) + r[3 * a + 2] * p[2]);
    }
    return motion;
}

void squaredDeviations(const PairedPoints& pairs, const Fit& fit, const Kernels& kernels,
                       std::span<double> squared) {
    kernels.squaredDeviations(pairs.arrays(), pairs.size(), asMotion(fit), squared.data());
}

// The residual gives the RMSD without a look at the points, as long as it has digits.
double fitRmsd(const Fit& fit, std::span<const double> squared) {
    const auto n = static_cast<double>(squared.size());
    if (fit.residual > kCancelledShare) return std::sqrt(fit.residual * fit.squares / n);
    double sum = 0.0;
    for (const double value : squared)
        sum += value;
    return sum < kRounding * fit.squares ? 0.0 : std::sqrt(sum / n);
}

Superposition asSuperposition(const PairedPoints& pairs, const Fit& fit) {
    Superposition superposition;
    superposition.rotation = fit.rotation;
    for (std::size_t a = 0; a < 3; ++a) {
        superposition.experimentCentre[a] = fit.experimentCentre[a] + pairs.experimentOrigin[a];
        superposition.predictionCentre[a] = fit.predictionCentre[a] + pairs.predictionOrigin[a];
    }
    return superposition;
}

double determinant(const Rotation& r) {
    return determinantOf3(r.data());
}

Quaternion asQuaternion(const Rotation& r) {
    // The largest of the four squared components is at least 1/4: dividing by it is safe.
    const double w = 1.0 + r[0] + r[4] + r[8];
    const double x = 1.0 + r[0] - r[4] - r[8];
    const double y = 1.0 - r[0] + r[4] - r[8];
    const double z = 1.0 - r[0] - r[4] + r[8];
    Quaternion q{};
    if (w >= x && w >= y && w >= z) {
        q = {r[7] - r[5], r[2] - r[6], r[3] - r[1], w};
    } else if (x >= y && x >= z) {
        q = {x, r[1] + r[3], r[2] + r[6], r[7] - r[5]};
    } else if (y >= z) {
        q = {r[1] + r[3], y, r[5] + r[7], r[2] - r[6]};
    } else {
        q = {r[2] + r[6], r[5] + r[7], z, r[3] - r[1]};
    }
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    for (double& component : q)
        component /= length;
    return q;
}

Rotation asRotation(const Quaternion& q) {
    Rotation rotation;
    rotationOf(q[0], q[1], q[2], q[3], rotation.data());
    return rotation;
}

// A product of two matrices would not be orthogonal to the last digit; one made of a quaternion is.
Rotation compose(const Rotation& second, const Rotation& first) {
    const auto [ax, ay, az, aw] = asQuaternion(second);
    const auto [bx, by, bz, bw] = asQuaternion(first);
    return asRotation({aw * bx + ax * bw + ay * bz - az * by, aw * by - ax * bz + ay * bw + az * bx,
                       aw * bz + ax * by - ay * bx + az * bw,
                       aw * bw - ax * bx - ay * by - az * bz});
}

void makeUnitVectors(Points& points) {
    constexpr double kShortestVector = 1e-6;  // Å
    constexpr double kLargestSquare = 1e200;
    constexpr double kShrunk = 0x1p-600;  // to this, absurd vectors have squares that are numbers
    if (points.size() == 0) return;
    const std::size_t n = points.size() - 1;
    for (std::size_t i = 0; i < n; ++i) {
        const double x = points.x[i + 1] - points.x[i];
        const double y = points.y[i + 1] - points.y[i];
        const double z = points.z[i + 1] - points.z[i];
        const double squared = (x * x + y * y) + z * z;
        const double length = squared < kLargestSquare
                                  ? std::sqrt(squared)
                                  : lengthOf(x * kShrunk, y * kShrunk, z * kShrunk) / kShrunk;
        const double scale = length >= kShortestVector ? 1.0 / length : 1.0;
        points.x[i] = x * scale;
        points.y[i] = y * scale;
        points.z[i] = z * scale;
    }
    points.resize(n);
}

}  // namespace tervolanda
