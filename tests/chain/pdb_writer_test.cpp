#include "chain/pdb_writer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "chain/records.h"

namespace tervolanda {
namespace {

using test::CapturedLog;
using test::readFile;
using test::TemporaryFolder;

Atom serine() {
    Atom atom;
    atom.name = FixedText<4>(" OG ");
    atom.residueName = FixedText<3>("SER");
    atom.residueNumber = -12;
    atom.insertionCode = 'B';
    atom.chainId = 'C';
    atom.alternateLocation = 'A';
    atom.serial = 77;
    atom.x = 12345.678;
    atom.y = -0.0004;
    atom.z = -1.5;
    atom.occupancy = 0.5;
    atom.bFactor = 20.25;
    atom.segmentId = FixedText<4>("SG");
    atom.element = FixedText<2>(" O");
    atom.charge = FixedText<2>("1-");
    return atom;
}

TEST(AtomLines, HaveTheirColumnsAndCutCoordinates) {
    EXPECT_EQ(formatAtomLine(serine()), "ATOM     77  OG  SER   -12B   12345.67   0.000  -1.500\n");
    EXPECT_EQ(formatFullAtomLine(serine(), 4),
              "ATOM      4  OG ASER C -12B   12345.67   0.000  -1.500  0.50 20.25      SG   O1-\n");
}

TEST(ChainFiles, HaveTheirHeadersAndSerialsFromOneInEachChain) {
    const TemporaryFolder folder;
    CapturedLog captured;
    ChainSet set;
    set.number = 9;
    set.fileName = "dir/set.pdb";
    Chain chain;
    chain.number = 3;
    chain.id = 'C';
    chain.atoms = {serine(), serine()};
    chain.atoms[1].residueNumber = -11;
    buildResidues(chain, captured.log);
    set.chains = {chain, Chain{}};
    ASSERT_TRUE(writeChainSetFile(set, folder / "out.pdb", /*takeName=*/true));
    EXPECT_EQ(set.fileName, "out.pdb");
    EXPECT_EQ(readFile(folder / "out.pdb"),
              "REMARK  99  PDB ID   : 9\n"
              "REMARK  99  File     : dir/set.pdb\n"
              "REMARK  99  Chains   : 2\n"
              "REMARK  99  Chain ID : 3\n"
              "REMARK  99  Residues : 2\n"
              "REMARK  99  Atoms    : 2\n" +
                  formatFullAtomLine(chain.atoms[0], 1) + formatFullAtomLine(chain.atoms[1], 2) +
                  "TER\n"
                  "REMARK  99  Residues : 0\n"
                  "REMARK  99  Atoms    : 0\n");
}

TEST(ChainFiles, ReadBackAsTheyWere) {
    const TemporaryFolder folder;
    CapturedLog captured;
    ReadRequest request;
    request.options = ReadAllAtoms;
    Chain chain;
    chain.atoms = {serine()};
    chain.atoms[0].x = 1.25;
    ASSERT_TRUE(writeChainFile(chain, folder / "a.pdb", /*takeName=*/false));
    EXPECT_EQ(chain.fileName, "");
    const auto again = readChain(folder / "a.pdb", request, {}, captured.log);
    ASSERT_TRUE(again);
    EXPECT_EQ(formatFullAtomLine(again->atoms.at(0), 1), formatFullAtomLine(chain.atoms[0], 1));
}

TEST(Models, AreWrittenByNumberAndAFailureDoesNotStopTheOthers) {
    const TemporaryFolder folder;
    CapturedLog captured(/*logLevel=*/2);
    ChainSet set;
    set.chains.resize(3);
    set.chains[0].number = 3;
    set.chains[1].number = 5;
    set.chains[2].number = 7;
    std::filesystem::create_directory(folder / "model.5.pdb");
    EXPECT_FALSE(writeModels(set, folder.path().string(), /*takeName=*/true, captured.log));
    EXPECT_EQ(captured.output(),
              "INFO  : Outputting models to dir " + folder.path().string() + "\n");
    EXPECT_EQ(set.chains[0].fileName, "model.3.pdb");
    EXPECT_EQ(set.chains[1].fileName, "");
    EXPECT_NE(readFile(folder / "model.7.pdb").find("REMARK  99  Chain ID : 7\n"),
              std::string::npos);
    std::filesystem::remove(folder / "model.5.pdb");
    EXPECT_TRUE(writeModels(set, folder.path().string(), /*takeName=*/true, captured.log));
    EXPECT_FALSE(writeChainFile(set.chains[0], folder / "no/such/folder.pdb", /*takeName=*/true));
    EXPECT_EQ(set.chains[0].fileName, "model.3.pdb");
}

}  // namespace
}  // namespace tervolanda
