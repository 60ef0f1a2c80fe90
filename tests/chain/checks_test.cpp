#include "chain/input/checks.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "support/records.h"

namespace tervolanda {
namespace {

using test::CapturedLog;
using test::line;

// The text of a chain: "trace 1 0.0 1A 3.8" has C-alpha atoms by residue number with insertion code
// and x; "joined 2.0 6.0" two residues by how far C is from the next N, and C-alpha from the next
// C-alpha; "residues 1SER:NACOB" residues by their atoms (A: C-alpha, B: C-beta), in tetrahedral
// places about the C-alpha atom.
std::string chainText(const std::string& description) {
    std::istringstream words(description);
    std::string kind, name, text;
    int number = 0;
    char code = ' ';
    words >> kind;
    if (double bond = 0.0, step = 0.0; kind == "joined") {
        words >> bond >> step;
        return line({" CA "}) + line({" C  "}) + line({" N  ", "ALA", 2, ' ', 'A', bond}) +
               line({" CA ", "ALA", 2, ' ', 'A', step});
    }
    while (words >> number) {
        if (double x = 0.0; kind == "trace") {
            words.get(code) >> x;
            text += line({" CA ", "ALA", number, code, 'A', x});
            continue;
        }
        std::getline(words, name, ':');
        const double shift = 4.0 * number;
        while (words.get(code) && code != ' ') {
            const auto atom = [&](const char* atomName, double x, double y, double z) {
                text += line({atomName, name.c_str(), number, ' ', 'A', shift + x, y, z});
            };
            if (code == 'N') atom(" N  ", -0.8, 0.8, -0.8);
            if (code == 'A') atom(" CA ", 0.0, 0.0, 0.0);
            if (code == 'C') atom(" C  ", 0.9, -0.9, -0.9);
            if (code == 'O') atom(" O  ", 1.9, -0.9, -0.9);
            if (code == 'B') atom(" CB ", -0.9, -0.9, 0.9);
        }
    }
    return text;
}

std::string atomsOf(const Chain& chain) {
    std::string text;
    for (const Atom& atom : chain.atoms)
        text +=
            format(" %d%c", atom.residueNumber, atom.name[2] == ' ' ? atom.name[1] : atom.name[2]);
    return text;
}

// What a check says, without what all lines have in common, the verdict, and the atoms where these
// are not those of before.  `checks` are their names, and "sequence=", "minimum=" and "level=".
std::string checked(Chain& chain, const std::string& checks) {
    const std::map<std::string, unsigned> bits = {
        {"all", ReadCheckAll},          {"gap", ReadCheckGap},
        {"breaks", ReadCheckBreaks},    {"distances", ReadCheckCalphaDistance},
        {"radius", ReadCheckRadius},    {"insertions", ReadCheckInsertionCodes},
        {"calpha", ReadCalphaOnly},     {"duplicates", ReadCheckDuplicates},
        {"strict", ReadStrictBackbone}, {"backbone", ReadCheckBackbone}};
    CapturedLog captured;
    ReadRequest request;
    request.options = 0;
    std::istringstream words(checks);
    for (std::string word; words >> word;) {
        const std::string value = word.substr(word.find('=') + 1);
        if (word.starts_with("sequence=")) {
            request.templateSequence = value;
        } else if (word.starts_with("minimum=")) {
            request.minimumCalphas = std::stoul(value);
        } else if (word.starts_with("level=")) {
            captured.log.setLogLevel(std::stoi(value));
        } else {
            request.options = static_cast<std::uint16_t>(request.options | bits.at(word));
        }
    }
    const std::string before = atomsOf(chain);
    const bool isValid = checkChain(chain, checksOf(request), captured.log);
    const std::string common = "ERROR : Chain 'A' ";
    std::string text;
    std::istringstream lines(captured.error());
    for (std::string next; std::getline(lines, next); text += "; ")
        text += next.starts_with(common) ? next.substr(common.size()) : next;
    return text + (isValid ? "valid" : "invalid") +
           (atomsOf(chain) == before ? "" : ":" + atomsOf(chain));
}

TEST(ChainChecks, ReportFaultsAndRepairBackbones) {
    const auto rows = test::tableRows("chain/checks.txt");
    EXPECT_EQ(rows.size(), 23U);
    for (const auto& row : rows) {
        Chain chain = test::chainIn(chainText(row.at(1)));
        EXPECT_EQ(checked(chain, row.at(2)), row.at(3)) << row[0];
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
                    expected += format("has duplicate atoms: %s%c @ %d; ", atom.name.text(),
                                       atom.insertionCode, atom.residueNumber);
            }
        }
        EXPECT_EQ(checked(chain, "duplicates all"), expected + "invalid");
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
            EXPECT_EQ(checked(chain, "backbone"),
                      "missing CB @ position 1 - adding; valid: 1N 1A 1C 1O 1B");
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
