#include "chain/input/checks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "chain/input/chain_geometry.h"
#include "support/records.h"

namespace tervolanda {
namespace {

using test::CapturedLog;
using test::line;

Chain unchecked(const std::string& text) {
    CapturedLog captured;
    ReadRequest request;
    request.options = ReadAllAtoms;
    return test::readText(text, request, captured.log)->chains.at(0);
}

struct Outcome {
    bool valid;
    std::string errors;
};

Outcome check(Chain& chain, unsigned options, int logLevel = 1, const char* sequence = "",
              std::size_t minimum = 0) {
    CapturedLog captured(logLevel);
    ReadRequest request;
    request.options = static_cast<std::uint16_t>(options);
    request.templateSequence = sequence;
    request.minimumCalphas = minimum;
    const bool valid = checkChain(chain, checksOf(request), captured.log);
    return {valid, captured.error()};
}

// C-alpha atoms by their residue number with insertion code and their x: "1 0.0 1A 3.8".
std::string trace(const std::string& steps) {
    std::istringstream words(steps);
    std::string text;
    int number = 0;
    char code = ' ';
    for (double x = 0.0; words >> number; text += line({" CA ", "ALA", number, code, 'A', x})) {
        words.get(code);
        words >> x;
    }
    return text;
}

TEST(ChainChecks, ReportTheirFaults) {
    struct Case {
        const char* what;
        const char* steps;
        unsigned options;
        std::string errors;  // "" for a valid chain
    };
    const char* const gap = "1 0 2 3.8 3 7.6 10 11.4";
    const char* const falling = "5 0 4 4.3 4A 9.0 3 9.1";
    const std::string gapLine = "ERROR : Chain 'A' has adjacent residues exceeding gap 1: ";
    const std::string farLine =
        "ERROR : Chain 'A' C-alpha distance outside range between residues: ";
    const std::vector<Case> cases = {
        {"a gap", gap, ReadCheckGap | ReadCheckAll, gapLine + "3 - 10\n"},
        {"the gap test checks nothing on its own", gap, ReadCheckGap, ""},
        {"falling numbers exceed every gap", falling, ReadCheckGap | ReadCheckAll,
         gapLine + "5 - 4\n"},
        {"distances, both limits included", "1 0 2 4.2 3 2.2 5 90 5 95", ReadCheckCalphaDistance,
         ""},
        {"too far, downwards too, and only with equal insertion codes", falling,
         ReadCheckCalphaDistance, farLine + "5 - 4 (dist = 4.300)\n"},
        {"too near, the first fault only", "1 0 2 1.9 3 3.8", ReadCheckCalphaDistance,
         farLine + "1 - 2 (dist = 1.900)\n"},
        {"every fault", "1 0 2 1.9 3 9", ReadCheckCalphaDistance | ReadCheckAll,
         farLine + "1 - 2 (dist = 1.900)\n" + farLine + "2 - 3 (dist = 7.100)\n"},
        {"insertion codes", "27 0 27A 4 28 8", ReadCheckInsertionCodes | ReadCheckAll,
         "ERROR : Chain 'A' has multiple insertion codes: ' ' and 'A'\n"},
        {"duplicates, three of a kind", "1 0 2C 0 2C 0 2C 0", ReadCheckDuplicates | ReadCheckAll,
         "ERROR : Chain 'A' has duplicate atoms:  CA C @ 2\n"
         "ERROR : Chain 'A' has duplicate atoms:  CA C @ 2\n"
         "ERROR : Chain 'A' has duplicate atoms:  CA C @ 2\n"},
        {"breaks", "1 0 2 4.2 2A 8.41", ReadCheckBreaks,
         "ERROR : Chain 'A' has chain break @    2  -    2A\n"},
        {"compactness above its limit of zero: 1.9 by 2 x 2^0.38", "1 0 2 3.8",
         ReadCheckRadius | ReadCheckAll,
         "ERROR : Chain 'A' exceeds RGE limit - 0.730016 > 0.000000\n"},
    };
    for (const Case& c : cases) {
        Chain chain = unchecked(trace(c.steps));
        const Outcome outcome = check(chain, c.options);
        EXPECT_EQ(outcome.valid, c.errors.empty()) << c.what;
        EXPECT_EQ(outcome.errors, c.errors) << c.what;
    }
}

TEST(ChainChecks, CompareWithATemplateAndCountCalphas) {
    struct Case {
        const char* sequence;
        std::size_t minimum;
        unsigned options;
        std::string errors;
    };
    const std::string text = line({" CA ", "ALA", 1}) + line({" CA ", "GLX", 2}) +
                             line({" N  ", "GLY", 3}) + line({" CA ", "GLY", 3});
    const std::string mismatch = "ERROR : Chain 'A' sequence mismatch ";
    const std::string exceeds = "ERROR : Chain 'A' exceeds template sequence length (3 > 2)\n";
    for (const Case& c : std::vector<Case>{
             {"AXG", 3, ReadCheckAll, ""},
             {"AZG", 0, ReadCheckAll, mismatch + "X != Z @ position 2\n"},
             {"CX", 0, ReadCheckAll,
              mismatch + "A != C @ position 1\n" + exceeds + exceeds +
                  "ERROR : Chain 'A' sequence error - position 3 out of bounds\n"},
             {"", 4, ReadCheckAll, "ERROR : Chain 'A' has too few C-alpha atoms: 3 < 4\n"}}) {
        Chain chain = unchecked(text);
        const Outcome outcome = check(chain, c.options, 1, c.sequence, c.minimum);
        EXPECT_EQ(outcome.errors, c.errors);
        EXPECT_EQ(outcome.valid, c.errors.empty());
    }
}

// A residue by its atoms, in tetrahedral places about the C-alpha atom.
std::string residue(int number, const char* name, const std::string& atoms) {
    const double shift = 4.0 * number;
    std::string text;
    for (const char atom : atoms) {
        if (atom == 'N') text += line({" N  ", name, number, ' ', 'A', shift - 0.8, 0.8, -0.8});
        if (atom == 'A') text += line({" CA ", name, number, ' ', 'A', shift});
        if (atom == 'C') text += line({" C  ", name, number, ' ', 'A', shift + 0.9, -0.9, -0.9});
        if (atom == 'O') text += line({" O  ", name, number, ' ', 'A', shift + 1.9, -0.9, -0.9});
        if (atom == 'B') text += line({" CB ", name, number, ' ', 'A', shift - 0.9, -0.9, 0.9});
    }
    return text;
}

std::string atomsOf(const Chain& chain) {
    std::string text;
    for (const Atom& atom : chain.atoms)
        text +=
            format("%d%c ", atom.residueNumber, atom.name[2] == ' ' ? atom.name[1] : atom.name[2]);
    return text;
}

TEST(ChainChecks, RemoveResiduesWithoutBackboneAndBuildBetas) {
    struct Case {
        const char* what;
        std::string text;
        unsigned options;
        int logLevel;
        bool valid;
        std::string errors, atoms;
    };
    const std::string broken = residue(1, "SER", "NACOB") + residue(2, "SER", "NAB") +
                               residue(3, "GLY", "NACO") + residue(4, "SER", "NCO") +
                               residue(5, "MSE", "NACO") + residue(6, "SER", "NA");
    const std::string rest =
        "ERROR : Chain 'A' missing CA @ position 4\n"
        "ERROR : Chain 'A' missing CB @ position 5 - adding\n"
        "ERROR : Chain 'A' missing N, C or O @ position 6\n";
    const std::string combined = "ERROR : Chain 'A' missing N, C or O @ position 2\n" + rest;
    const std::string whole = "1N 1A 1C 1O 1B 3N 3A 3C 3O ";
    for (const Case& c : std::vector<Case>{
             {"repair", broken, ReadCheckBackbone, 1, true, combined, whole + "5N 5A 5C 5O 5B "},
             {"one line an atom, but for the last residue", broken, ReadCheckBackbone, 2, true,
              "ERROR : Chain 'A' missing C @ position 2\nERROR : Chain 'A' missing O @ position "
              "2\n" +
                  rest,
              whole + "5N 5A 5C 5O 5B "},
             {"strict: no beta is built", broken, ReadStrictBackbone | ReadCheckAll, 1, false,
              combined, whole + "5N 5A 5C 5O "},
             {"strict: the first fault ends it", broken, ReadStrictBackbone, 1, false,
              "ERROR : Chain 'A' missing N, C or O @ position 2\n",
              whole + "4N 4C 4O 5N 5A 5C 5O 6N 6A "},
             {"C-alpha atoms are enough when only they are read", broken,
              ReadCheckBackbone | ReadCalphaOnly, 1, true,
              "ERROR : Chain 'A' missing CA @ position 4\n",
              "1N 1A 1C 1O 1B 2N 2A 2B 3N 3A 3C 3O 5N 5A 5C 5O 6N 6A "},
             {"all atoms of a scattered residue go",
              residue(1, "SER", "NACOB") + residue(2, "SER", "N") + residue(1, "SER", "O"),
              ReadCheckBackbone, 1, true,
              "ERROR : Chain 'A' missing CA @ position 2\nERROR : Chain 'A' missing CA @ position "
              "1\n",
              ""},
         }) {
        Chain chain = unchecked(c.text);
        const Outcome outcome = check(chain, c.options, c.logLevel);
        EXPECT_EQ(outcome.valid, c.valid) << c.what;
        EXPECT_EQ(outcome.errors, c.errors) << c.what;
        EXPECT_EQ(atomsOf(chain), c.atoms) << c.what;
    }
}

TEST(ChainChecks, ReportTheDuplicatesThatComparingAllPairsFinds) {
    std::mt19937 engine(7);
    for (int round = 0; round < 40; ++round) {
        std::string text;
        for (int i = 0; i < 60; ++i)
            text += line({engine() % 2 == 0 ? " CA " : " CB ", "ALA",
                          static_cast<int>(engine() % 9) - 4, engine() % 3 == 0 ? 'A' : ' '});
        Chain chain = unchecked(text);
        std::string expected;
        const std::vector<Atom>& atoms = chain.atoms;
        for (std::size_t i = 0; i < atoms.size(); ++i) {
            for (std::size_t j = i + 1; j < atoms.size(); ++j) {
                if (atoms[i].residueNumber == atoms[j].residueNumber &&
                    atoms[i].name == atoms[j].name &&
                    atoms[i].insertionCode == atoms[j].insertionCode)
                    expected += format("ERROR : Chain 'A' has duplicate atoms: %s%c @ %d\n",
                                       atoms[i].name.text(), atoms[i].insertionCode,
                                       atoms[i].residueNumber);
            }
        }
        EXPECT_EQ(check(chain, ReadCheckDuplicates | ReadCheckAll).errors, expected);
    }
}

TEST(Residues, AreRunsOfOneNumberAndInsertionCodeWithTheirFirstBackboneAtoms) {
    CapturedLog captured(/*logLevel=*/2);
    ReadRequest request;
    request.options = ReadAllAtoms;
    const auto set = test::readText(
        line({" N  ", "ALA", -1}) + line({" CA ", "ALA", -1}) + line({" CA1", "ALA", -1}) +
            line({" CB ", "ALA", -1}) + line({" CB ", "ALA", -1}) + line({" CA ", "GLY", -1, 'A'}) +
            line({" O  ", "GLY", -1, 'A'}) + line({" C  ", "MSE", 7, 'A'}) +
            line({" CA ", "ALA", -1}) + line({" CB ", "ALA", -1}),  // scattered: ends the array
        request, captured.log);
    Chain chain = set->chains.at(0);
    std::string residues;
    const auto numberOf = [](std::uint32_t atom) { return atom == kNoAtom ? -1 : int(atom); };
    for (const Residue& r : chain.residues)
        residues += format("%u-%u N%d CA%d C%d O%d B%d, ", r.first, r.end, numberOf(r.n),
                           numberOf(r.ca), numberOf(r.c), numberOf(r.o), numberOf(r.beta));
    EXPECT_EQ(residues, "0-5 N0 CA1 C-1 O-1 B3, 5-7 N-1 CA5 C-1 O6 B5, 7-8 N-1 CA-1 C7 O-1 B-1, ");
    EXPECT_EQ(captured.error(), "ERROR : Residue assignment error\n");
    EXPECT_EQ(oneLetterSequence(chain), "AGX");
    removeResidue(chain, {-1, 'A'}, captured.log);
    EXPECT_EQ(captured.output(), "INFO  : Removing residue   -1A from chain 'A'\n");
    EXPECT_EQ(chain.atoms.size(), 8U);
}

TEST(ChainBreaks, GoByThePeptideBondWhereItIsKnown) {
    // C to N: 2.0 is whole, 2.1 is broken, whatever the C-alpha atoms say.
    for (const double bond : {2.0, 2.1}) {
        Chain chain = unchecked(line({" CA ", "ALA", 1}) + line({" C  ", "ALA", 1}) +
                                line({" N  ", "ALA", 2, ' ', 'A', bond}) +
                                line({" CA ", "ALA", 2, ' ', 'A', bond > 2.0 ? 3.8 : 6.0}));
        markBreaks(chain);
        EXPECT_EQ(chain.residues[0].breakAfter, bond > 2.0);
    }
}

TEST(Beta, HasTheAnglesOfItsResidueTypeOnTheSideOfTheLAminoAcids) {
    struct Case {
        const char* name;
        double atCa, toN, toC;  // degrees: N-CA-C, N-CA-CB, C-CA-CB (Engh and Huber 1991)
    };
    for (const Case& c : std::vector<Case>{{"none", 109.47, 109.47, 109.47},  // a tetrahedron
                                           {"ALA", 111.2, 110.4, 110.5},
                                           {"PRO", 111.8, 103.0, 110.1},
                                           {"VAL", 111.2, 111.5, 109.1}}) {
        const double degree = std::acos(-1.0) / 180.0;
        const Vec3 n{1.46, 0.0, 0.0};
        const Vec3 carbonyl{1.52 * std::cos(c.atCa * degree), 1.52 * std::sin(c.atCa * degree), 0};
        const Vec3 b = placeBeta(n, {}, carbonyl, residueIndex(c.name));
        const double length = std::hypot(b.x, b.y, b.z);
        EXPECT_NEAR(length, 1.535, 0.02) << c.name;
        EXPECT_NEAR(std::acos(b.x / length) / degree, c.toN, 1.5) << c.name;
        const double product = dot(b, carbonyl);
        EXPECT_NEAR(std::acos(product / length / 1.52) / degree, c.toC, 1.5) << c.name;
        // Seen from the hydrogen carbonyl, side chain and nitrogen follow each other clockwise.
        EXPECT_GT(b.z, 0.0) << c.name;
    }
}

}  // namespace
}  // namespace tervolanda
