#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "chain/chain.h"

namespace tervolanda {
namespace {

TEST(ResidueCodes, KeepTheAsymmetriesBetweenNamesRowsAndLetters) {
    struct Case {
        const char* name;
        int index;
        char code;           // from the name
        char codeFromIndex;  // from the row
    };
    const std::vector<Case> cases = {
        {"GLY", 0, 'G', 'G'},  {"GLU", 3, 'E', 'E'},  {"TYR", 19, 'Y', 'Y'}, {"PCA", 20, 'E', 'x'},
        {"ASX", 21, 'X', 'x'}, {"GLX", 22, 'X', 'x'}, {"UNK", 23, 'X', 'x'}, {"  A", 24, 'a', 'x'},
        {"  G", 27, 'g', 'x'}, {"MSE", -1, 'X', 'x'}, {"XYZ", -1, 'X', 'x'}, {"GLYC", 0, 'G', 'G'},
        {"GL", -1, 'X', 'x'},  {"", -1, 'X', 'x'},    {"gly", -1, 'X', 'x'},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(residueIndex(c.name), c.index) << c.name;
        EXPECT_EQ(oneLetterCode(c.name), c.code) << c.name;
        EXPECT_EQ(oneLetterOf(c.index), c.codeFromIndex) << c.name;
    }
    EXPECT_EQ(threeLetterName('E'), "GLU");
    EXPECT_EQ(threeLetterName('B'), "ASX");
    EXPECT_EQ(threeLetterName('t'), "  T");
    EXPECT_FALSE(threeLetterName('J'));
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(indexOfCode(oneLetterOf(i)), i);
    for (const char none : {'J', 'O', 'a', '@', '[', '\xC4'})
        EXPECT_EQ(indexOfCode(none), -1) << none;
    EXPECT_EQ(threeLetterNameOf(27), "  G");
    EXPECT_EQ(threeLetterNameOf(28), "UNK");
    EXPECT_EQ(threeLetterNameOf(-1), "UNK");
}

TEST(AtomNames, AreTakenApartCharacterByCharacter) {
    struct Case {
        const char* name;
        int residueType;
        std::uint32_t bits;
    };
    const int alanine = 5;
    const int glycine = 0;
    const std::vector<Case> cases = {
        {" CA ", alanine, 0x110082},
        {" CA ", glycine, 0xC110082},
        {" CB ", glycine, 0x110102},
        {" CB ", -1, 0x4110102},
        {" SG ", 1, 0x110208},
        {"1HD2", 9, 0x240410},
        {"3HZ3", 8, 0x881010},
        {"2HH1", 14, 0x422010},
        {" CE3", 18, 0x180802},
        {"CA  ", alanine, 0x10060},   // calcium: no prefix, and "A" is
                                      // no element
        {" CA1", alanine, 0x120082},  // a branch: no C-alpha
        {" CAX", alanine, 0x110082},  // an unknown branch counts as blank
        {" ?? ", alanine, 0x114020},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(classifyAtomName(c.name, c.residueType), c.bits) << c.name;
    }
}

}  // namespace
}  // namespace tervolanda
