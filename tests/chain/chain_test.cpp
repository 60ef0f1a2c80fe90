#include "chain/chain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/support.h"

namespace tervolanda {
namespace {

using test::CapturedLog;

// Atoms given as name, residue name, number and insertion code.
struct Part {
    const char* name;
    const char* residue;
    int number;
    char code;
};

Chain chainOf(const std::vector<Part>& parts) {
    Chain chain;
    for (const Part& part : parts) {
        Atom atom;
        atom.name = FixedText<4>(part.name);
        atom.residueName = FixedText<3>(part.residue);
        atom.residueType = static_cast<std::int16_t>(residueIndex(part.residue));
        atom.classification = classifyAtomName(part.name, atom.residueType);
        atom.residueNumber = static_cast<std::int16_t>(part.number);
        atom.insertionCode = part.code;
        chain.atoms.push_back(atom);
    }
    return chain;
}

TEST(Residues, AreRunsOfOneNumberAndInsertionCodeWithTheirFirstBackboneAtoms) {
    Chain chain = chainOf({{" N  ", "ALA", -1, ' '},
                           {" CA ", "ALA", -1, ' '},
                           {" CAY", "ALA", -1, ' '},
                           {" CB ", "ALA", -1, ' '},
                           {" CA ", "GLY", -1, 'A'},
                           {" O  ", "GLY", -1, 'A'},
                           {" C  ", "MSE", 7, 'A'}});
    CapturedLog captured;
    buildResidues(chain, captured.log);
    ASSERT_EQ(chain.residues.size(), 3U);
    const Residue& alanine = chain.residues[0];
    EXPECT_EQ(alanine.first, 0U);
    EXPECT_EQ(alanine.end, 4U);
    EXPECT_EQ(alanine.n, 0U);
    EXPECT_EQ(alanine.ca, 1U);
    EXPECT_EQ(alanine.c, kNoAtom);
    EXPECT_EQ(alanine.beta, 3U);
    const Residue& glycine = chain.residues[1];
    EXPECT_EQ(glycine.ca, 4U);
    EXPECT_EQ(glycine.beta, 4U);
    EXPECT_EQ(glycine.o, 5U);
    EXPECT_EQ(chain.residues[2].c, 6U);
    EXPECT_EQ(oneLetterSequence(chain), "AGX");
    EXPECT_EQ(captured.error(), "");
}

TEST(Residues, ThatAreScatteredEndTheArray) {
    // Three keys, four runs: the fourth run and what follows has no residue.
    Chain chain = chainOf({{" CA ", "ALA", 1, ' '},
                           {" CA ", "ALA", 2, ' '},
                           {" CB ", "ALA", 1, ' '},
                           {" CA ", "ALA", 3, ' '},
                           {" CB ", "ALA", 3, ' '}});
    CapturedLog captured;
    buildResidues(chain, captured.log);
    ASSERT_EQ(chain.residues.size(), 3U);
    EXPECT_EQ(chain.residues.back().end, 3U);
    EXPECT_EQ(captured.error(), "ERROR : Residue assignment error\n");
}

TEST(RadiusOfGyration, IsTheRootMeanSquareDistanceOfCalphasFromTheirCentre) {
    EXPECT_EQ(radiusOfGyration(Chain{}), 0.0);
    // The corners of a cube of edge 2 are sqrt(3) from its centre.
    std::vector<std::array<double, 3>> corners;
    for (const double x : {0.0, 2.0}) {
        for (const double y : {10.0, 12.0}) {
            for (const double z : {-1.0, 1.0})
                corners.push_back({x, y, z});
        }
    }
    Chain cube = test::calphaChain(corners);
    Atom far;  // no C-alpha: does not count
    far.x = 1000.0;
    cube.atoms.push_back(far);
    EXPECT_DOUBLE_EQ(radiusOfGyration(cube), std::sqrt(3.0));
}

}  // namespace
}  // namespace tervolanda
