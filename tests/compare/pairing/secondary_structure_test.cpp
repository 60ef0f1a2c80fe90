#include "compare/pairing/secondary_structure.h"

#include <gtest/gtest.h>

#include <string>

#include "support/records.h"

namespace tervolanda {
namespace {

Chain backboneOf(const std::string& name) {
    return test::chainIn(
        test::readFile(TERVOLANDA_SOURCE_DIR "/tests/compare/pairing/backbones/" + name));
}

TEST(SecondaryStructure, IsWhatTheTableSays) {
    const auto rows = test::tableRows("compare/pairing/secondary_structure.txt");
    EXPECT_EQ(rows.size(), 15U);
    for (const auto& row : rows)
        EXPECT_EQ(secondaryStructure(backboneOf(row.at(0))), row.at(1)) << row[0];
    EXPECT_EQ(secondaryStructure(Chain{}), "");
}

TEST(SecondaryStructure, ToleratesAbsurdCoordinates) {
    for (const double far : {1e300, -1e300, 0.0}) {
        Chain chain = backboneOf("alpha.pdb");
        for (std::size_t i = 0; i < chain.atoms.size(); i += 3)
            chain.atoms[i].x = chain.atoms[i].y = chain.atoms[i].z = far;
        EXPECT_EQ(secondaryStructure(chain).size(), 14U);
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
