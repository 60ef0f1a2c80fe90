#include "chain/input/checks.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "support/records.h"

namespace tervolanda {
namespace {

using test::CapturedLog;
using test::line;

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

// A residue by its atoms (A: C-alpha, B: C-beta), in tetrahedral places about the C-alpha atom.
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

// Two residues: how far C is from the next N, and C-alpha from the next C-alpha.
std::string joined(double bond, double step) {
    return line({" CA "}) + line({" C  "}) + line({" N  ", "ALA", 2, ' ', 'A', bond}) +
           line({" CA ", "ALA", 2, ' ', 'A', step});
}

std::string atomsOf(const Chain& chain) {
    std::string text;
    for (const Atom& atom : chain.atoms)
        text +=
            format(" %d%c", atom.residueNumber, atom.name[2] == ' ' ? atom.name[1] : atom.name[2]);
    return text;
}

// The lines of a check, without what all have in common, the verdict, and the atoms where these
// are not those of before.
std::string checked(Chain& chain, unsigned options, const char* sequence = "",
                    std::size_t minimum = 0, int logLevel = 1) {
    CapturedLog captured(logLevel);
    ReadRequest request;
    request.options = static_cast<std::uint16_t>(options);
    request.templateSequence = sequence;
    request.minimumCalphas = minimum;
    const std::string before = atomsOf(chain);
    const bool isValid = checkChain(chain, checksOf(request), captured.log);
    const std::string common = "ERROR : Chain 'A' ";
    std::string text;
    std::istringstream lines(captured.error());
    for (std::string next; std::getline(lines, next); text += "\n")
        text += next.starts_with(common) ? next.substr(common.size()) : next;
    return text + (isValid ? "valid" : "invalid") +
           (atomsOf(chain) == before ? "" : ":" + atomsOf(chain));
}

TEST(ChainChecks, ReportFaultsAndRepairBackbones) {
    struct Case {
        const char* what;
        std::string text;
        unsigned options;
        std::string expected;
        const char* sequence = "";
        std::size_t minimum = 0;
        int logLevel = 1;
    };
    const std::string gap = trace("1 0 2 3.8 3 7.6 10 11.4");
    const std::string falling = trace("5 0 4 4.3 4A 9.0 3 9.1");
    const std::string near = trace("1 0 2 1.9 3 9");
    const std::string gapLine = "has adjacent residues exceeding gap 1: ";
    const std::string farLine = "C-alpha distance outside range between residues: ";
    const std::string four = line({" CA ", "ALA", 1}) + line({" CA ", "GLX", 2}) +
                             line({" N  ", "GLY", 3}) + line({" CA ", "GLY", 3});
    const std::string exceeds = "exceeds template sequence length (3 > 2)\n";
    const std::string broken = residue(1, "SER", "NACOB") + residue(2, "SER", "AB") +
                               residue(3, "GLY", "NACO") + residue(4, "SER", "NCO") +
                               residue(5, "MSE", "NACO") + residue(6, "SER", "NA");
    const std::string missing2 = "missing N, C or O @ position 2\n";
    const std::string rest =
        "missing CA @ position 4\nmissing CB @ position 5 - adding\n"
        "missing N, C or O @ position 6\n";
    const std::string whole = ": 1N 1A 1C 1O 1B 3N 3A 3C 3O";
    for (const Case& c : std::vector<Case>{
             {"a gap", gap, ReadCheckGap | ReadCheckAll, gapLine + "3 - 10\ninvalid"},
             {"the gap test checks nothing on its own", gap, ReadCheckGap, "valid"},
             {"falling numbers exceed every gap", falling, ReadCheckGap | ReadCheckAll,
              gapLine + "5 - 4\ninvalid"},
             {"distances, both limits included", trace("1 0 2 4.2 3 2.2 5 90 5 95"),
              ReadCheckCalphaDistance, "valid"},
             {"too far, downwards too, and only with equal insertion codes", falling,
              ReadCheckCalphaDistance, farLine + "5 - 4 (dist = 4.300)\ninvalid"},
             {"too near, the first fault only", near, ReadCheckCalphaDistance,
              farLine + "1 - 2 (dist = 1.900)\ninvalid"},
             {"every fault", near, ReadCheckCalphaDistance | ReadCheckAll,
              farLine + "1 - 2 (dist = 1.900)\n" + farLine + "2 - 3 (dist = 7.100)\ninvalid"},
             {"insertion codes", trace("27 0 27A 4 28 8"), ReadCheckInsertionCodes | ReadCheckAll,
              "has multiple insertion codes: ' ' and 'A'\ninvalid"},
             {"the first of three duplicates", trace("1 0 2C 0 2C 0 2C 0"), ReadCheckDuplicates,
              "has duplicate atoms:  CA C @ 2\ninvalid"},
             {"breaks by C-alpha atoms", trace("1 0 2 4.2 2A 8.41"), ReadCheckBreaks,
              "has chain break @    2  -    2A\ninvalid"},
             {"a whole peptide bond, whatever the C-alpha atoms say", joined(2.0, 6.0),
              ReadCheckBreaks, "valid"},
             {"a broken one", joined(2.1, 3.8), ReadCheckBreaks,
              "has chain break @    1  -    2 \ninvalid"},
             {"compactness above its limit of zero: 1.9 by 2 x 2^0.38", trace("1 0 2 3.8"),
              ReadCheckRadius | ReadCheckAll, "exceeds RGE limit - 0.730016 > 0.000000\ninvalid"},
             {"the template and enough C-alpha atoms", four, ReadCheckAll, "valid", "AXG", 3},
             {"another letter", four, ReadCheckAll,
              "sequence mismatch X != Z @ position 2\ninvalid", "AZG"},
             {"a shorter template", four, ReadCheckAll,
              "sequence mismatch A != C @ position 1\n" + exceeds + exceeds +
                  "sequence error - position 3 out of bounds\ninvalid",
              "CX"},
             {"too few", four, ReadCheckAll, "has too few C-alpha atoms: 3 < 4\ninvalid", "", 4},
             {"repair", broken, ReadCheckBackbone,
              missing2 + rest + "valid" + whole + " 5N 5A 5C 5O 5B"},
             {"one line an atom, but for the last residue", broken, ReadCheckBackbone,
              "missing N @ position 2\nmissing C @ position 2\nmissing O @ position 2\n" + rest +
                  "valid" + whole + " 5N 5A 5C 5O 5B",
              "", 0, 2},
             {"strict: no beta is built", broken, ReadStrictBackbone | ReadCheckAll,
              missing2 + rest + "invalid" + whole + " 5N 5A 5C 5O"},
             {"strict: the first fault ends it", broken, ReadStrictBackbone,
              missing2 + "invalid" + whole + " 4N 4C 4O 5N 5A 5C 5O 6N 6A"},
             {"C-alpha atoms are enough when only they are read", broken,
              ReadCheckBackbone | ReadCalphaOnly,
              "missing CA @ position 4\nvalid: 1N 1A 1C 1O 1B 2A 2B 3N 3A 3C 3O 5N 5A 5C 5O 6N "
              "6A"},
             {"all atoms of a scattered residue go",
              residue(1, "SER", "NACOB") + residue(2, "SER", "N") + residue(1, "SER", "O"),
              ReadCheckBackbone, "missing CA @ position 2\nmissing CA @ position 1\nvalid:"},
         }) {
        Chain chain = test::chainIn(c.text);
        EXPECT_EQ(checked(chain, c.options, c.sequence, c.minimum, c.logLevel), c.expected)
            << c.what;
    }
}

TEST(ChainChecks, ReportTheDuplicatesThatComparingAllPairsFinds) {
    std::mt19937 engine(7);
    for (int round = 0; round < 40; ++round) {
        std::string text;
        for (int i = 0; i < 60; ++i)
            text += line({engine() % 2 == 0 ? " CA " : " CB ", "ALA",
                          static_cast<int>(engine() % 9) - 4, engine() % 3 == 0 ? 'A' : ' '});
        Chain chain = test::chainIn(text);
        std::string expected;
        for (std::size_t i = 0; i < chain.atoms.size(); ++i) {
            const Atom& atom = chain.atoms[i];
            for (std::size_t j = i + 1; j < chain.atoms.size(); ++j) {
                if (chain.atoms[j].residueId() == atom.residueId() &&
                    chain.atoms[j].name == atom.name)
                    expected += format("has duplicate atoms: %s%c @ %d\n", atom.name.text(),
                                       atom.insertionCode, atom.residueNumber);
            }
        }
        EXPECT_EQ(checked(chain, ReadCheckDuplicates | ReadCheckAll), expected + "invalid");
    }
}

// Lengths and angles of built beta carbons; the values are those of Engh and Huber (1991).
TEST(Beta, HasTheAnglesOfItsResidueTypeOnTheSideOfTheLAminoAcids) {
    struct Case {
        const char* names;
        double atCa, toN, toC;  // degrees: N-CA-C, N-CA-CB, C-CA-CB
    };
    for (const Case& c :
         {Case{"XYZ", 109.47, 109.47, 109.47},  // of unknown type: a tetrahedron
          {"ALA ARG ASN ASP CYS GLN GLU HIS LEU LYS MET PHE SER TRP TYR", 111.2, 110.5, 110.1},
          {"ILE THR VAL", 111.2, 111.5, 109.1},
          {"PRO", 111.8, 103.0, 110.1}}) {
        const double degree = std::acos(-1.0) / 180.0;
        const Vec3 n{1.46, 0.0, 0.0};
        const Vec3 carbonyl{1.52 * std::cos(c.atCa * degree), 1.52 * std::sin(c.atCa * degree), 0};
        std::istringstream names(c.names);
        for (std::string name; names >> name;) {
            const char* const type = name.c_str();
            Chain chain = test::chainIn(
                line({" N  ", type, 1, ' ', 'A', n.x}) + line({" CA ", type}) +
                line({" C  ", type, 1, ' ', 'A', carbonyl.x, carbonyl.y}) + line({" O  ", type}));
            EXPECT_EQ(checked(chain, ReadCheckBackbone),
                      "missing CB @ position 1 - adding\nvalid: 1N 1A 1C 1O 1B");
            const Vec3 beta = chain.atoms.back().place();
            const auto angle = [&](const Vec3& to) {
                return std::acos(dot(unit(beta), unit(to))) / degree;
            };
            EXPECT_NEAR(distance(beta, {}), 1.535, 0.02) << name;
            EXPECT_NEAR(angle(n), c.toN, 1.5) << name;
            EXPECT_NEAR(angle(carbonyl), c.toC, 1.5) << name;
            // Seen from the hydrogen carbonyl, side chain and nitrogen follow each other clockwise.
            EXPECT_GT(beta.z, 0.0) << name;
        }
    }
}

}  // namespace
}  // namespace tervolanda
