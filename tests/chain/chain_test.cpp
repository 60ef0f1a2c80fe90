#include "chain/chain.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "chain/input/input.h"
#include "support/records.h"

namespace tervolanda {
namespace {

using test::CapturedLog;
using test::line;
using test::readFile;
using test::TemporaryFolder;

TEST(ResidueCodes, KeepTheAsymmetriesBetweenNamesRowsAndLetters) {
    for (const auto& row : test::tableRows("chain/codes.txt")) {
        const int index = std::stoi(row.at(1));
        EXPECT_EQ(residueIndex(row[0]), index) << row[0];
        EXPECT_EQ(oneLetterCode(row[0]), row.at(2)[0]) << row[0];
        EXPECT_EQ(oneLetterOf(index), row.at(3)[0]) << row[0];
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
    for (const auto& row : test::tableRows("chain/atom_names.txt")) {
        const int residue = residueIndex(row.at(0).substr(5));
        EXPECT_EQ(format("0x%X", classifyAtomName(row[0].substr(0, 4), residue)), row.at(1))
            << row[0];
    }
}

TEST(Residues, AreRunsOfOneNumberAndInsertionCodeWithTheirFirstBackboneAtoms) {
    CapturedLog captured(/*logLevel=*/2);
    Chain chain = test::chainIn(
        line({" N  ", "ALA", -1}) + line({" CA ", "ALA", -1}) + line({" CA1", "ALA", -1}) +
        line({" CB ", "ALA", -1}) + line({" CB ", "ALA", -1}) + line({" CA ", "GLY", -1, 'A'}) +
        line({" O  ", "GLY", -1, 'A'}) + line({" C  ", "MSE", 7, 'A'}) + line({" CA ", "ALA", -1}) +
        line({" CB ", "ALA", -1}));  // scattered: ends the array
    buildResidues(chain, captured.log);
    EXPECT_EQ(captured.error(), "ERROR : Residue assignment error\n");
    std::string residues;
    for (const Residue& r : chain.residues)
        residues += format("%u-%u N%d CA%d C%d O%d B%d, ", r.first, r.end, int(r.n), int(r.ca),
                           int(r.c), int(r.o), int(r.beta));
    EXPECT_EQ(residues, "0-5 N0 CA1 C-1 O-1 B3, 5-7 N-1 CA5 C-1 O6 B5, 7-8 N-1 CA-1 C7 O-1 B-1, ");
    EXPECT_EQ(oneLetterSequence(chain), "AGX");
    removeResidue(chain, {-1, 'A'}, captured.log);
    EXPECT_EQ(captured.output(), "INFO  : Removing residue   -1A from chain 'A'\n");
    EXPECT_EQ(chain.atoms.size(), 8U);
}

Atom serine() {
    return {.x = 12345.678,
            .y = -0.0004,
            .z = -1.5,
            .occupancy = 0.5,
            .bFactor = 20.25,
            .serial = 77,
            .residueNumber = -12,
            .insertionCode = 'B',
            .chainId = 'C',
            .alternateLocation = 'A',
            .name = FixedText<4>(" OG "),
            .residueName = FixedText<3>("SER"),
            .segmentId = FixedText<4>("SG"),
            .element = FixedText<2>(" O"),
            .charge = FixedText<2>("1-")};
}

const char* const kSerineLine =
    "ATOM      1  OG ASER C -12B   12345.67   0.000  -1.500  0.50 20.25      SG   O1-\n";

TEST(AtomLines, HaveTheirColumnsAndCutCoordinates) {
    EXPECT_EQ(formatAtomLine(serine()), "ATOM     77  OG  SER   -12B   12345.67   0.000  -1.500\n");
    EXPECT_EQ(formatFullAtomLine(serine(), 1), kSerineLine);
    Atom wide = serine();
    wide.occupancy = -1000.25;
    wide.bFactor = 99999.0;
    EXPECT_EQ(formatFullAtomLine(wide, 199999).substr(54, 12), "-1000.99999.");
    for (const auto& [serial, shown] :
         {std::pair(99999, "99999"), {100000, "    1"}, {199999, "    1"}}) {
        wide.serial = serial;
        EXPECT_EQ(formatFullAtomLine(wide, serial).substr(6, 5), shown);
        EXPECT_EQ(formatFullAtomLine(wide, serial).size(), 81U);
        EXPECT_EQ(formatAtomLine(wide).substr(6, 5), shown);
    }
}

// Of two chains, one with an atom, the first of which takes a name that is taken by a folder.
TEST(ChainFiles, HaveTheirHeadersAndAreWrittenWhereverTheyCan) {
    const TemporaryFolder folder;
    CapturedLog captured(/*logLevel=*/2);
    ChainSet set;
    set.number = 9;
    set.fileName = "dir/set.pdb";
    set.chains.resize(2);
    set.chains[0].number = 3;
    set.chains[0].atoms = {serine()};
    const std::string first =
        std::string(
            "REMARK  99  Chain ID : 3\nREMARK  99  Residues : 0\nREMARK  99  Atoms    : 1\n") +
        kSerineLine + "TER\n";
    ASSERT_TRUE(writeChainSetFile(set, folder / "out.pdb", /*takeName=*/true));
    EXPECT_EQ(set.fileName, "out.pdb");
    EXPECT_EQ(readFile(folder / "out.pdb"),
              "REMARK  99  PDB ID   : 9\nREMARK  99  File     : dir/set.pdb\n"
              "REMARK  99  Chains   : 2\n" +
                  first + "REMARK  99  Residues : 0\nREMARK  99  Atoms    : 0\n");
    ReadRequest request;
    request.options = ReadAllAtoms;
    const auto again = readChain(folder / "out.pdb", request, {}, captured.log);
    ASSERT_TRUE(again);
    EXPECT_EQ(formatFullAtomLine(again->atoms.at(0), 1), kSerineLine);

    std::filesystem::create_directory(folder / "model.0.pdb");
    std::swap(set.chains[0], set.chains[1]);
    const std::string path = folder.path().string();
    EXPECT_FALSE(writeModels(set, path, /*takeName=*/true, captured.log));
    EXPECT_EQ(captured.output(), "INFO  : Outputting models to dir " + path + "\n");
    EXPECT_EQ(set.chains[0].fileName, "");
    EXPECT_EQ(set.chains[1].fileName, "model.3.pdb");
    EXPECT_EQ(readFile(folder / "model.3.pdb"), first);
}

}  // namespace
}  // namespace tervolanda
