#include "chain/chain_checks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "chain/records.h"

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
    const bool valid = checkChain(chain, request, captured.log);
    return {valid, captured.error()};
}

// C-alpha atoms: number, insertion code, x.
struct Step {
    int number;
    char insertionCode;
    double x;
};

std::string trace(const std::vector<Step>& steps) {
    std::string text;
    for (const Step& s : steps)
        text += line({" CA ", "ALA", s.number, s.insertionCode, 'A', s.x});
    return text;
}

TEST(ChainChecks, ReportTheirFaults) {
    struct Case {
        const char* what;
        std::vector<Step> steps;
        unsigned options;
        std::string errors;  // "" for a valid chain
    };
    const std::vector<Step> gap = {{1, ' ', 0}, {2, ' ', 3.8}, {3, ' ', 7.6}, {10, ' ', 11.4}};
    const std::vector<Step> falling = {{5, ' ', 0}, {4, ' ', 4.3}, {4, 'A', 9.0}, {3, ' ', 9.1}};
    const std::string gapLine = "ERROR : Chain 'A' has adjacent residues exceeding gap 1: ";
    const std::string farLine =
        "ERROR : Chain 'A' C-alpha distance outside range between residues: ";
    const std::vector<Case> cases = {
        {"no gap test", gap, ReadCheckDuplicates | ReadCheckAll, ""},
        {"a gap", gap, ReadCheckGap | ReadCheckAll, gapLine + "3 - 10\n"},
        {"the gap test checks nothing on its own", gap, ReadCheckGap, ""},
        {"falling numbers exceed every gap", falling, ReadCheckGap | ReadCheckAll,
         gapLine + "5 - 4\n"},
        {"a repeated number is no gap",
         {{3, ' ', 0}, {3, ' ', 1}},
         ReadCheckGap | ReadCheckAll,
         ""},
        {"distances, both limits included",
         {{1, ' ', 0}, {2, ' ', 4.2}, {3, ' ', 2.2}, {5, ' ', 90}, {5, ' ', 95}},
         ReadCheckCalphaDistance,
         ""},
        {"too far, downwards too, and only with equal insertion codes", falling,
         ReadCheckCalphaDistance, farLine + "5 - 4 (dist = 4.300)\n"},
        {"too near, the first fault only",
         {{1, ' ', 0}, {2, ' ', 1.9}, {3, ' ', 3.8}},
         ReadCheckCalphaDistance,
         farLine + "1 - 2 (dist = 1.900)\n"},
        {"every fault",
         {{1, ' ', 0}, {2, ' ', 1.9}, {3, ' ', 9}},
         ReadCheckCalphaDistance | ReadCheckAll,
         farLine + "1 - 2 (dist = 1.900)\n" + farLine + "2 - 3 (dist = 7.100)\n"},
        {"insertion codes",
         {{27, ' ', 0}, {27, 'A', 4}, {28, ' ', 8}},
         ReadCheckInsertionCodes | ReadCheckAll,
         "ERROR : Chain 'A' has multiple insertion codes: ' ' and 'A'\n"},
        {"one insertion code throughout",
         {{27, 'B', 0}, {28, 'B', 4}},
         ReadCheckInsertionCodes | ReadCheckAll,
         ""},
        {"duplicates, three of a kind",
         {{1, ' ', 0}, {2, 'C', 0}, {2, 'C', 0}, {2, 'C', 0}},
         ReadCheckDuplicates | ReadCheckAll,
         "ERROR : Chain 'A' has duplicate atoms:  CA C @ 2\n"
         "ERROR : Chain 'A' has duplicate atoms:  CA C @ 2\n"
         "ERROR : Chain 'A' has duplicate atoms:  CA C @ 2\n"},
        {"breaks",
         {{1, ' ', 0}, {2, ' ', 4.2}, {2, 'A', 8.41}},
         ReadCheckBreaks,
         "ERROR : Chain 'A' has chain break @    2  -    2A\n"},
        {"compactness above its limit of zero: 1.9 by 2 x 2^0.38",
         {{1, ' ', 0}, {2, ' ', 3.8}},
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
             {"CX", 9, ReadCheckDuplicates, mismatch + "A != C @ position 1\n"},
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

TEST(Residues, AreRemovedWithALineOfDetailOne) {
    CapturedLog captured(/*logLevel=*/2);
    Chain chain = unchecked(residue(7, "SER", "NACO") + residue(8, "SER", "A"));
    removeResidue(chain, 7, ' ', captured.log);
    EXPECT_EQ(captured.output(), "INFO  : Removing residue    7  from chain 'A'\n");
    EXPECT_EQ(atomsOf(chain), "8A ");
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

Atom at(double x, double y, double z) {
    Atom atom;
    atom.x = x;
    atom.y = y;
    atom.z = z;
    return atom;
}

TEST(Beta, CompletesATetrahedronOnTheSideOfTheLAminoAcids) {
    // Corners of a cube about the C-alpha atom; seen from the hydrogen at (1, 1, 1), carbonyl, side
    // chain and nitrogen follow each other clockwise.
    const auto beta = placeBeta(at(9, 21, 29), at(10, 20, 30), at(11, 19, 29), /*residueType=*/-1);
    const double step = 1.535 / std::sqrt(3.0);
    EXPECT_NEAR(beta[0], 10 - step, 1e-5);
    EXPECT_NEAR(beta[1], 20 - step, 1e-5);
    EXPECT_NEAR(beta[2], 30 + step, 1e-5);
}

TEST(Beta, HasTheAnglesOfItsResidueType) {
    struct Case {
        const char* name;
        double atCa, toN, toC;  // degrees: N-CA-C, N-CA-CB, C-CA-CB (Engh and Huber 1991)
    };
    for (const Case& c : std::vector<Case>{{"ALA", 111.2, 110.4, 110.5},
                                           {"PRO", 111.8, 103.0, 110.1},
                                           {"VAL", 111.2, 111.5, 109.1},
                                           {"THR", 111.2, 111.5, 109.1}}) {
        const double degree = std::acos(-1.0) / 180.0;
        const std::array<double, 3> toC = {1.52 * std::cos(c.atCa * degree),
                                           1.52 * std::sin(c.atCa * degree), 0};
        const auto b =
            placeBeta(at(1.46, 0, 0), at(0, 0, 0), at(toC[0], toC[1], 0), residueIndex(c.name));
        const double length = std::hypot(b[0], b[1], b[2]);
        EXPECT_NEAR(std::acos(b[0] / length) / degree, c.toN, 1.5) << c.name;
        EXPECT_NEAR(std::acos((b[0] * toC[0] + b[1] * toC[1]) / length / 1.52) / degree, c.toC, 1.5)
            << c.name;
    }
}

}  // namespace
}  // namespace tervolanda
