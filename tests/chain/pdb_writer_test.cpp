#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/records.h"

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

TEST(ChainFiles, HaveTheirHeadersAndReadBack) {
    const TemporaryFolder folder;
    ChainSet set;
    set.number = 9;
    set.fileName = "dir/set.pdb";
    set.chains.resize(2);
    set.chains[0].number = 3;
    set.chains[0].atoms = {serine()};
    ASSERT_TRUE(writeChainSetFile(set, folder / "out.pdb", /*takeName=*/true));
    EXPECT_EQ(set.fileName, "out.pdb");
    EXPECT_EQ(readFile(folder / "out.pdb"), std::string("REMARK  99  PDB ID   : 9\n"
                                                        "REMARK  99  File     : dir/set.pdb\n"
                                                        "REMARK  99  Chains   : 2\n"
                                                        "REMARK  99  Chain ID : 3\n"
                                                        "REMARK  99  Residues : 0\n"
                                                        "REMARK  99  Atoms    : 1\n") +
                                                kSerineLine +
                                                "TER\n"
                                                "REMARK  99  Residues : 0\n"
                                                "REMARK  99  Atoms    : 0\n");
    CapturedLog captured;
    ReadRequest request;
    request.options = ReadAllAtoms;
    const auto again = readChain(folder / "out.pdb", request, {}, captured.log);
    ASSERT_TRUE(again);
    EXPECT_EQ(formatFullAtomLine(again->atoms.at(0), 1), kSerineLine);
}

TEST(Models, AreWrittenByNumberAndAFailureDoesNotStopTheOthers) {
    const TemporaryFolder folder;
    CapturedLog captured(/*logLevel=*/2);
    ChainSet set;
    set.chains.resize(2);
    set.chains[0].number = 5;
    set.chains[1].number = 7;
    std::filesystem::create_directory(folder / "model.5.pdb");
    const std::string path = folder.path().string();
    EXPECT_FALSE(writeModels(set, path, /*takeName=*/true, captured.log));
    EXPECT_EQ(captured.output(), "INFO  : Outputting models to dir " + path + "\n");
    EXPECT_EQ(set.chains[0].fileName, "");
    EXPECT_EQ(set.chains[1].fileName, "model.7.pdb");
    EXPECT_TRUE(std::filesystem::exists(folder / "model.7.pdb"));
}

}  // namespace
}  // namespace tervolanda
