// Distances and angles of backbones.  Lengths and angles about the beta carbon are means over known
// structures, one row a residue type; for a residue of ideal geometry the angle would be that of a
// tetrahedron, which glycine and unknown residues have.
#include "chain/input/chain_geometry.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "base/elementary.h"

namespace tervolanda {

namespace {

constexpr double kLongestPeptideBond = 2.0;  // Å, C to N

// Bond length CA-CB in Å, angle in radians, correction in degrees.
struct BetaGeometry {
    double length, angle, correction;
};

// By row of the residue table; glycine and the rows after tyrosine use the last entry.  The angle
// is that between the bond and the bisector u of placeBeta(): arccos(1 / sqrt 3) in a tetrahedron.
// A decimal and not std::acos: built atoms must have the same digits everywhere.
// clang-format off
constexpr std::array<BetaGeometry, 21> kBetaGeometry = {{
    {1.535, 0.9553234193716161, 0.0},      // GLY
    {1.531, 0.9194394499506128, 0.389},    // CYS
    {1.531, 0.9127199323304347, 0.162},    // ASP
    {1.532, 0.913540237078872, 0.209},     // GLU
    {1.534, 0.9160535112017437, 0.289},    // PHE
    {1.525, 0.9151633932832267, 0.05},     // ALA
    {1.533, 0.9166992830249817, 0.259},    // HIS
    {1.545, 0.907047612261453, 0.5},       // ILE
    {1.532, 0.9139067562217907, 0.27},     // LYS
    {1.532, 0.9188809445899747, 0.274},    // LEU
    {1.531, 0.9144129017048692, 0.364},    // MET
    {1.532, 0.9065240134858548, 0.09},     // ASN
    {1.531, 1.0022029630801839, -5.371},   // PRO
    {1.532, 0.91416855560959, 0.306},      // GLN
    {1.531, 0.9145525280450286, 0.286},    // ARG
    {1.531, 0.9169610824127808, 0.402},    // SER
    {1.541, 0.9139242095143106, 1.051},    // THR
    {1.544, 0.9056688021523776, 0.75},     // VAL
    {1.534, 0.9143430885347893, 0.281},    // TRP
    {1.535, 0.916943629120261, 0.362},     // TYR
    {1.535, 0.9553234193716161, 0.0},      // any other
}};
// clang-format on
constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180.0;

}  // namespace

void markBreaks(Chain& chain) {
    const auto gap = [&](std::uint32_t a, std::uint32_t b) {
        return distance(chain.atoms[a].place(), chain.atoms[b].place());
    };
    for (std::size_t i = 0; i + 1 < chain.residues.size(); ++i) {
        Residue& residue = chain.residues[i];
        const Residue& next = chain.residues[i + 1];
        if (residue.c != kNoAtom && next.n != kNoAtom) {
            residue.breakAfter = gap(residue.c, next.n) > kLongestPeptideBond;
        } else {
            residue.breakAfter = residue.ca != kNoAtom && next.ca != kNoAtom &&
                                 gap(residue.ca, next.ca) > kLongestCalphaDistance;
        }
    }
}

// The radius of gyration of globular proteins grows with residues^0.38: somewhat faster than that
// of a ball, whose exponent is 1/3.
double compactness(const Chain& chain, double parameter) {
    if (chain.residues.empty()) return 0.0;
    const auto residues = static_cast<double>(chain.residues.size());
    return radiusOfGyration(chain) / (parameter * power(residues, 0.38));
}

// u points outward along the bisector of N-CA-C, w along the normal of their plane, v within the
// plane from N to C.  The correction turns w towards v; its sign is the one that fits real
// structures better.
Vec3 placeBeta(const Vec3& n, const Vec3& ca, const Vec3& c, int residueType) {
    const std::size_t row =
        residueType < 0 ? kBetaGeometry.size() - 1
                        : std::min(static_cast<std::size_t>(residueType), kBetaGeometry.size() - 1);
    const BetaGeometry& geometry = kBetaGeometry[row];
    const Vec3 a = unit(n - ca);
    const Vec3 b = unit(c - ca);
    const Vec3 u = unit(-1.0 * a - b);
    const Vec3 w = unit(cross(n - ca, c - ca));
    const Vec3 v = unit(b - a);
    const double k = geometry.correction * kRadiansPerDegree;
    const double along = geometry.length * cosine(geometry.angle);
    const double aside = geometry.length * sine(geometry.angle);
    return ca + (along * u + aside * (cosine(k) * w + sine(k) * v));
}

}  // namespace tervolanda
