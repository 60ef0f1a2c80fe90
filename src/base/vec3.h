// Places and directions in space, and the little algebra that the geometry of single residues
// needs.  Coordinates that are worked on in bulk are kept in one array for each axis instead.
#pragma once

#include <cmath>

namespace tervolanda {

struct Vec3 {
    double x = 0.0, y = 0.0, z = 0.0;
};

inline Vec3 operator+(const Vec3& a, const Vec3& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec3 operator-(const Vec3& a, const Vec3& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec3 operator*(double factor, const Vec3& a) {
    return {factor * a.x, factor * a.y, factor * a.z};
}
inline Vec3 operator/(const Vec3& a, double divisor) {
    return {a.x / divisor, a.y / divisor, a.z / divisor};
}

inline double dot(const Vec3& a, const Vec3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
// At right angles to both, on the side from which the turn from a to b is seen counter-clockwise.
inline Vec3 cross(const Vec3& a, const Vec3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline double distance(const Vec3& a, const Vec3& b) {
    const Vec3 d = a - b;
    return std::sqrt(dot(d, d));
}
// The direction of a vector; one without a direction stays as it is.
inline Vec3 unit(const Vec3& a) {
    const double length = std::sqrt(dot(a, a));
    return length > 0.0 ? a / length : a;
}

}  // namespace tervolanda
