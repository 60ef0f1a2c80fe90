#include "compare/pairing/secondary_structure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "support/records.h"

namespace tervolanda {
namespace {

using Place = std::array<double, 3>;

// N, CA, C and O of one residue.
using BackbonePlaces = std::array<Place, 4>;

Place cross(const Place& a, const Place& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Place direction(const Place& from, const Place& to) {
    const Place d = {to[0] - from[0], to[1] - from[1], to[2] - from[2]};
    const double length = std::hypot(d[0], d[1], d[2]);
    return {d[0] / length, d[1] / length, d[2] / length};
}

// The atom bonded to c, with its angle to b and its torsion about b-c against a, in degrees.
Place bonded(const Place& a, const Place& b, const Place& c, double length, double angle,
             double torsion) {
    constexpr double kDegree = 3.14159265358979323846 / 180.0;
    const Place along = direction(b, c);
    Place normal = cross(direction(a, b), along);
    const double size = std::hypot(normal[0], normal[1], normal[2]);
    for (double& component : normal)
        component /= size;
    const Place across = cross(normal, along);
    const double back = -length * std::cos(angle * kDegree);
    const double side = length * std::sin(angle * kDegree) * std::cos(torsion * kDegree);
    const double up = length * std::sin(angle * kDegree) * std::sin(torsion * kDegree);
    Place place = c;
    for (std::size_t k = 0; k < 3; ++k)
        place[k] += back * along[k] + side * across[k] + up * normal[k];
    return place;
}

// A backbone of ideal bonds with the same two torsions in every residue, its first peptide in the
// plane z = 0 and along x.
std::vector<BackbonePlaces> backbone(std::size_t residues, double phi, double psi) {
    std::vector<BackbonePlaces> places(residues);
    Place n = {0.0, 0.0, 0.0};
    Place ca = {1.458, 0.0, 0.0};
    Place c = bonded({0.0, 1.0, 0.0}, n, ca, 1.525, 111.0, 0.0);
    for (BackbonePlaces& residue : places) {
        const Place nextN = bonded(n, ca, c, 1.329, 116.6, psi);
        residue = {n, ca, c, bonded(n, ca, c, 1.231, 120.1, psi + 180.0)};
        const Place nextCa = bonded(ca, c, nextN, 1.458, 121.7, 180.0);
        c = bonded(c, nextN, nextCa, 1.525, 111.0, phi);
        n = nextN;
        ca = nextCa;
    }
    return places;
}

// Without the atoms of `missing` name from residue `from` on.
Chain chainOf(const std::vector<BackbonePlaces>& places, std::string_view sequence = "",
              std::string_view missing = "", std::size_t from = 0) {
    constexpr std::array<const char*, 4> kNames = {" N  ", " CA ", " C  ", " O  "};
    std::string text;
    for (std::size_t i = 0; i < places.size(); ++i) {
        const std::string type(sequence.empty() ? "ALA" : *threeLetterName(sequence[i]));
        for (std::size_t k = 0; k < 4; ++k) {
            if (missing == kNames[k] && i >= from) continue;
            const auto& [x, y, z] = places[i][k];
            text +=
                test::line({kNames[k], type.c_str(), static_cast<int>(i + 1), ' ', 'A', x, y, z});
        }
    }
    Log log;
    ReadRequest request;
    request.options = ReadAllAtoms;
    return test::readText(text, request, log)->chains.at(0);
}

// A fully extended strand in a plane has the NH and CO groups of even residues on one side and of
// odd ones on the other.  `partner` makes the atoms of a second strand from those of the first.
template <typename Partner>
std::string twoStrands(const Partner& partner) {
    std::vector<BackbonePlaces> places = backbone(9, 180.0, 180.0);
    // Turned about z so that the strand runs along x.
    const Place along = direction(places[0][1], places[8][1]);
    for (BackbonePlaces& residue : places) {
        for (Place& p : residue) {
            p = {p[0] * along[0] + p[1] * along[1], -p[0] * along[1] + p[1] * along[0], 0.0};
        }
    }
    std::vector<BackbonePlaces> both = places;
    for (BackbonePlaces residue : places) {
        for (Place& p : residue)
            p = partner(places, p);
        both.push_back(residue);
    }
    return secondaryStructure(chainOf(both));
}

constexpr double kHydrogenBond = 2.9;  // Å, N to O

TEST(SecondaryStructure, HelicesBeginAndEndOneResidueInside) {
    // Alpha, 3-10 and pi helix by their torsions.
    for (const auto& [phi, psi] : {std::pair(-57.0, -47.0), {-49.0, -26.0}, {-57.0, -70.0}})
        EXPECT_EQ(secondaryStructure(chainOf(backbone(14, phi, psi))), "CHHHHHHHHHHHHC") << psi;
    // Two consecutive turns are the least.
    EXPECT_EQ(secondaryStructure(chainOf(backbone(6, -57.0, -47.0))), "CHHHHC");
    EXPECT_EQ(secondaryStructure(chainOf(backbone(5, -57.0, -47.0))), "CCCCC");
    // Proline gives no hydrogen bond.  Without that from residue 5 to residue 1 no two consecutive
    // turns start before residue 2.
    EXPECT_EQ(secondaryStructure(chainOf(backbone(12, -57.0, -47.0), "AAAAAPAAAAAA")),
              "CCCHHHHHHHHC");
}

TEST(SecondaryStructure, AStrandNeedsAPartner) {
    EXPECT_EQ(secondaryStructure(chainOf(backbone(9, 180.0, 180.0))), "CCCCCCCCC");
    // Half a turn about an axis beside residue 4: its NH faces the CO of its image and the other
    // way round.
    const auto antiparallel = [](const std::vector<BackbonePlaces>& strand, const Place& p) {
        const Place& n = strand[4][0];
        const Place& o = strand[4][3];
        const double side = o[1] > strand[4][2][1] ? 1.0 : -1.0;
        return Place{n[0] + o[0] - p[0], n[1] + o[1] + side * kHydrogenBond - p[1], p[2]};
    };
    EXPECT_EQ(twoStrands(antiparallel), "CEEEEEEECCEEEEEEEC");
    // The same with the image out of reach.
    const auto far = [&](const std::vector<BackbonePlaces>& strand, const Place& p) {
        const Place near = antiparallel(strand, p);
        return Place{near[0], near[1], near[2] + 3.0};
    };
    EXPECT_EQ(twoStrands(far), "CCCCCCCCCCCCCCCCCC");
}

TEST(SecondaryStructure, ParallelStrandsPairEverySecondResidueTwice) {
    // The NH of residue 3 above the CO of residue 2, its CO above the NH of residue 4, both as near
    // as one shift along the strands allows.
    const auto parallel = [](const std::vector<BackbonePlaces>& strand, const Place& p) {
        const double along =
            0.5 * (strand[2][3][0] - strand[3][0][0] + strand[4][0][0] - strand[3][3][0]);
        const double side = strand[2][3][1] > strand[2][2][1] ? 1.0 : -1.0;
        const double up = strand[2][3][1] - strand[3][0][1] + side * 2.7;
        return Place{p[0] + along, p[1] + up, p[2]};
    };
    const std::string letters = twoStrands(parallel);
    EXPECT_EQ(letters.substr(2, 5), "EEEEE");
    EXPECT_EQ(letters.substr(11, 5), "EEEEE");
    EXPECT_EQ(letters.find('H'), std::string::npos);
}

TEST(SecondaryStructure, FallsBackToCalphaDistances) {
    EXPECT_EQ(secondaryStructure(test::helix(12)), "CHHHHHHHHHHC");
    std::vector<Place> sheet;
    for (int i = 0; i < 8; ++i)
        sheet.push_back({3.3 * i, 0.0, i % 2 == 0 ? 0.9 : -0.9});
    EXPECT_EQ(secondaryStructure(test::calphaChain(sheet)), "CCCCCCCC");
    for (int i = 7; i >= 0; --i)
        sheet.push_back({3.3 * i, 4.9, i % 2 == 0 ? 0.9 : -0.9});
    EXPECT_EQ(secondaryStructure(test::calphaChain(sheet)), "CEEEEEECCEEEEEEC");
}

TEST(SecondaryStructure, FallsBackResidueByResidue) {
    const std::vector<BackbonePlaces> whole = backbone(20, -57.0, -47.0);
    // The second half has no CO groups: bonds cannot show a helix there, C-alpha distances do.
    EXPECT_EQ(secondaryStructure(chainOf(whole, "", " O  ", 10)), "CHHHHHHHHCHHHHHHHHHC");
    EXPECT_EQ(secondaryStructure(chainOf(whole, "", " CA ", 0)), "CCCCCCCCCCCCCCCCCCCC");
    EXPECT_EQ(secondaryStructure(Chain{}), "");
}

TEST(SecondaryStructure, ToleratesAbsurdCoordinates) {
    for (const double far : {1e300, -1e300, 0.0}) {
        Chain chain = chainOf(backbone(12, -57.0, -47.0));
        for (std::size_t i = 0; i < chain.atoms.size(); i += 3)
            chain.atoms[i].x = chain.atoms[i].y = chain.atoms[i].z = far;
        EXPECT_EQ(secondaryStructure(chain).size(), 12U);
    }
}

TEST(SecondaryStructure, AgreesWithTheReferenceProgramOnARealChain) {
    TERVOLANDA_NEED_REAL_STRUCTURES(data);
    const std::string file = data / "decoys-hard/1ctf/native.pdb";
    // By mkdssp 4.2.2; H, G and I taken as H, E and B as E.
    const std::string known =
        "CEEEEEEECHHHHHHHHHHHHHHHCCCHHHHHHHHHCCCEEEEEEECHHHHHHHHHHHHHHCCEEEEC";
    Log log;
    ReadRequest request;
    request.options = ReadBackboneAndBeta | ReadSingleChain;
    EXPECT_EQ(secondaryStructure(*readChain(file, request, {}, log)), known);
    const std::string byCalphas = secondaryStructure(*readChain(file, {}, {}, log));
    ASSERT_EQ(byCalphas.size(), known.size());
    std::size_t same = 0;
    for (std::size_t i = 0; i < known.size(); ++i)
        same += byCalphas[i] == known[i] ? 1U : 0U;
    EXPECT_GE(same, 55U);
}

}  // namespace
}  // namespace tervolanda
