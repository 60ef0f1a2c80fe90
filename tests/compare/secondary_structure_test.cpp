#include "compare/secondary_structure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "support/support.h"

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

Chain chainOf(const std::vector<BackbonePlaces>& places, std::string_view sequence = "") {
    constexpr std::array<const char*, 4> kNames = {" N  ", " CA ", " C  ", " O  "};
    Chain chain;
    for (std::size_t i = 0; i < places.size(); ++i) {
        const int type = sequence.empty() ? residueIndex("ALA") : indexOfCode(sequence[i]);
        for (std::size_t k = 0; k < 4; ++k) {
            Atom atom;
            atom.x = places[i][k][0];
            atom.y = places[i][k][1];
            atom.z = places[i][k][2];
            atom.residueType = static_cast<std::int16_t>(type);
            atom.residueName = FixedText<3>(threeLetterNameOf(type));
            atom.name = FixedText<4>(kNames[k]);
            atom.classification = classifyAtomName(atom.name.view(), type);
            atom.residueNumber = static_cast<std::int16_t>(i + 1);
            chain.atoms.push_back(atom);
        }
    }
    Log log;
    buildResidues(chain, log);
    return chain;
}

Chain withoutAtoms(Chain chain, std::string_view name, std::size_t fromResidue) {
    std::erase_if(chain.atoms, [&](const Atom& atom) {
        return atom.name.view() == name &&
               atom.residueNumber > static_cast<std::int16_t>(fromResidue);
    });
    Log log;
    buildResidues(chain, log);
    return chain;
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
    struct Helix {
        const char* name;
        double phi, psi;
    };
    for (const Helix& helix :
         {Helix{"alpha", -57.0, -47.0}, Helix{"3-10", -49.0, -26.0}, Helix{"pi", -57.0, -70.0}}) {
        EXPECT_EQ(secondaryStructure(chainOf(backbone(14, helix.phi, helix.psi))), "CHHHHHHHHHHHHC")
            << helix.name;
    }
    // Two consecutive turns are the least.
    EXPECT_EQ(secondaryStructure(chainOf(backbone(6, -57.0, -47.0))), "CHHHHC");
    EXPECT_EQ(secondaryStructure(chainOf(backbone(5, -57.0, -47.0))), "CCCCC");
}

TEST(SecondaryStructure, ProlineGivesNoHydrogenBond) {
    // Without the bond from residue 5 to residue 1 no two consecutive turns start before residue 2.
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
    const Chain whole = chainOf(backbone(20, -57.0, -47.0));
    // The second half has no CO groups: bonds cannot show a helix there, C-alpha distances do.
    EXPECT_EQ(secondaryStructure(withoutAtoms(whole, " O  ", 10)), "CHHHHHHHHCHHHHHHHHHC");
    EXPECT_EQ(secondaryStructure(withoutAtoms(whole, " CA ", 0)), "CCCCCCCCCCCCCCCCCCCC");
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

double agreement(const std::string& a, const std::string& b) {
    std::size_t same = 0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        same += a[i] == b[i] ? 1U : 0U;
    return static_cast<double>(same) / static_cast<double>(std::max(a.size(), b.size()));
}

TEST(SecondaryStructure, AgreesWithTheReferenceProgramOnRealChains) {
    TERVOLANDA_NEED_REAL_STRUCTURES(data);
    // By mkdssp 4.2.2; H, G and I taken as H, E and B as E.
    struct Known {
        const char* file;
        const char* letters;
    };
    for (const Known& known :
         {Known{"decoys-hard/1ctf/native.pdb",
                "CEEEEEEECHHHHHHHHHHHHHHHCCCHHHHHHHHHCCCEEEEEEECHHHHHHHHHHHHHHCCEEEEC"},
          Known{"decoys-easy/native.pdb",
                "CHHHHHHHHHHHHHHHHHHHHHHHHHHCCCCHHHHHHHHHHHHHHHCCCHHHHCCHHHHCCEC"
                "CECCCECHHHCCCHHHHHHHHHHHHHHHHHHHHHHCCCCHHHHHHHHHHHHHHHHHHHHHHECC"}}) {
        Log log;
        ReadRequest request;
        request.options = ReadBackboneAndBeta | ReadSingleChain;
        const auto chain = readChain(data / known.file, request, {}, log);
        ASSERT_TRUE(chain.has_value());
        EXPECT_EQ(secondaryStructure(*chain), known.letters);
        request.options = ReadCalphaOnly | ReadSingleChain;
        const auto calphas = readChain(data / known.file, request, {}, log);
        ASSERT_TRUE(calphas.has_value());
        EXPECT_GE(agreement(secondaryStructure(*calphas), known.letters), 0.8) << known.file;
    }
}

}  // namespace
}  // namespace tervolanda
