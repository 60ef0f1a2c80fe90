#include "chain/pdb_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "chain/records.h"

namespace tervolanda {
namespace {

using test::CapturedLog;
using test::line;
using test::TemporaryFolder;

// Columns:                 1234567890123456789012345678901234567890123456789012345678901234567890
const std::string kFull =
    "ATOM     12 1HB BSER C -12A     -1.500  22.250-333.125  0.25 -7.50      "
    "SEG HH1+";

std::string described(const Atom& a) {
    return format("%s|%c|%s|%c|%d|%c|%g %g %g|%g %g|%s|%s|%s", a.name.text(), a.alternateLocation,
                  a.residueName.text(), a.chainId, a.residueNumber, a.insertionCode, a.x, a.y, a.z,
                  a.occupancy, a.bFactor, a.segmentId.text(), a.element.text(), a.charge.text());
}

std::string described(const std::vector<Chain>& chains) {
    std::string text;
    for (const Chain& chain : chains) {
        text += format("[%c %u]", chain.id, chain.number);
        for (const Atom& atom : chain.atoms)
            text += described(atom) + "\n";
    }
    return text;
}

// The atoms of a record by its text.
std::string taken(std::string_view record) {
    ChainSet set;
    const ResidueExclusions none;
    RecordTaker(ReadAllAtoms, none, set).take(record);
    return set.chains.empty() ? "none" : described(set.chains[0].atoms.at(0));
}

TEST(Record, GivesItsColumns) {
    const std::string placed = "1HB |B|SER|C|-12|A|-1.5 22.25 -333.125|";
    const std::string full = placed + "0.25 -7.5|SEG | H|1+";  // the element of a hydrogen
    const std::string lean = placed + "1 0|    |  |  ";
    EXPECT_EQ(taken(kFull), full);
    EXPECT_EQ(taken(kFull + "\r\n"), full);
    EXPECT_EQ(taken(kFull + "trailing"), full);
    for (const std::size_t width : {79U, 78U, 66U, 54U})
        for (const char* end : {"", "\n", "\r\n"})
            EXPECT_EQ(taken(kFull.substr(0, width) + end), lean) << width;
    EXPECT_EQ(taken(kFull.substr(0, 40) + "\n"), "1HB |B|SER|C|-12|A|-1.5 0 0|1 0|    |  |  ");
    EXPECT_EQ(taken("ATOM\n"), "    | |   | |0| |0 0 0|1 0|    |  |  ");
    std::string heavy = kFull;
    heavy.replace(12, 4, "HD11");  // "H" in column 13 is no hydrogen
    EXPECT_EQ(taken(heavy), "HD11|" + full.substr(5, full.size() - 10) + "HH|1+");
}

TEST(Record, NumbersAreConvertedAsDecimals) {
    struct Case {
        const char* field;
        double value;
    };
    std::vector<std::pair<std::string, double>> cases = {
        {"        ", 0},       {"   1.5  ", 1.5},   {" +2.5   ", 2.5}, {"1e2     ", 100},
        {"     nan", 0},       {"     inf", 0},     {"    0x10", 0},   {"12345678", 12345678},
        {"-.5     ", -0.5},    {"      5.", 5},     {"       -", 0},   {"1.2.3   ", 1.2},
        {"--1.0   ", 0},       {"- 1.0   ", 0},     {"1e999999", 0},   {"\t   1.25", 1.25},
        {"12 34   ", 12},      {"12.34abc", 12.34}, {".       ", 0},   {"99999.99", 99999.99},
        {".1234567", .1234567}};
    std::mt19937 engine(3);
    for (int i = 0; i < 2000; ++i) {
        // Digits with a point anywhere: equal to the last bit to the C library's conversion.
        std::string field = std::to_string(10000000 + engine() % 90000000);
        field[engine() % 8] = '.';
        if (engine() % 2 == 0) field[0] = '-';
        cases.emplace_back(field, std::strtod(field.c_str(), nullptr));
    }
    const ResidueExclusions none;
    for (const auto& [field, value] : cases) {
        ChainSet set;
        std::string record = kFull;
        record.replace(38, 8, field);
        RecordTaker(ReadAllAtoms, none, set).take(record);
        EXPECT_EQ(set.chains.at(0).atoms.at(0).y, value) << "'" << field << "'";
    }
}

TEST(Selection, TakesTheFirstOptionThatIsSet) {
    struct Case {
        unsigned options;
        const char* names;
    };
    std::string text;
    for (const char* name : {" N  ", " CA ", " CB ", " OG ", " HB2", "1HA ", "CA  ", " H  "})
        text += line({name, "SER"});
    text += line({" CA ", "  A", 2}) + line({" CA ", "UNK", 3}) + "HETATM" + line({}).substr(6) +
            "atom" + line({}).substr(4) + " " + line({});
    for (const Case& c : std::vector<Case>{
             {ReadCalphaOnly, " CA , CA ,"},
             {ReadCalphaOnly | ReadBackboneAndBeta, " N  , CA , CB , HB2,1HA ,CA  , H  , CA ,"},
             {ReadCalphaOnly | ReadBackboneAndBeta | ReadNoHydrogen, " N  , CA , CB ,CA  , CA ,"},
             {ReadCalphaOnly | ReadBackboneAndBeta | ReadAllAtoms,
              " N  , CA , CB , OG , HB2,1HA ,CA  , H  , CA ,"},
             {ReadAllAtoms | ReadNoHydrogen, " N  , CA , CB , OG ,CA  , CA ,"}}) {
        CapturedLog captured;
        ReadRequest request;
        request.options = static_cast<std::uint16_t>(c.options);
        const auto set = test::readText(text, request, captured.log);
        std::string names;
        for (const Atom& atom : set->chains.at(0).atoms)
            names += std::string(atom.name.view()) + ",";
        EXPECT_EQ(names, c.names) << c.options;
    }
}

TEST(StructureFile, GroupsItsAtomsByChainAndDropsInvalidOnes) {
    const std::string text =
        line({" CA ", "ALA", 1, ' ', 'B'}) + line({" CA ", "ALA", 1, ' ', 'A'}) +
        line({" CA ", "ALA", 2, ' ', 'B'}) + line({" CA ", "ALA", 1, ' ', ' '}) +
        line({" CA ", "GLY", 1, ' ', 'A'});
    CapturedLog captured;
    const auto set = test::readText(text, {}, captured.log);
    ASSERT_TRUE(set);
    ASSERT_EQ(set->chains.size(), 2U);  // A has a duplicate
    EXPECT_EQ(set->chains[0].id, 'B');
    EXPECT_EQ(set->chains[0].number, 1U);
    EXPECT_EQ(set->chains[0].residues.size(), 2U);
    EXPECT_EQ(set->chains[1].id, ' ');
    EXPECT_EQ(set->chains[1].number, 3U);
    EXPECT_EQ(captured.error(),
              "ERROR : Chain 'A' has duplicate atoms:  CA   @ 1\n"
              "ERROR : Invalid chain 'A'\n");
    CapturedLog again;
    const TemporaryFolder folder;
    const std::string path = folder.write("a.pdb", text);
    EXPECT_FALSE(readChain(path, {}, {}, again.log));
    EXPECT_EQ(again.error(), "ERROR : Multiple chains in PDB: 3\nERROR : Invalid PDB file '" +
                                 path + "', skipped\n");
}

TEST(StructureFile, SaysWhyItCannotBeRead) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "d.gz");
    const std::string header = folder.write("header.pdb", "HEADER\n\nEND");
    struct Case {
        std::string path, errors;
    };
    const auto skipped = [](const std::string& path) {
        return "ERROR : Invalid PDB file '" + path + "', skipped\n";
    };
    const auto unopened = [](const std::string& path) {
        return "ERROR : Can't open input file '" + path + "' - Unknown error.\n";
    };
    const std::string none = folder / "none";
    const std::string folderPath = folder.path().string();
    std::vector<Case> cases = {
        {none, unopened(none)},
        {none + ".GZ", unopened(none + ".GZ")},
        {folderPath, unopened(folderPath)},
        {".gz", unopened(".gz")},  // a leading dot begins no suffix
        {header + std::string("\0.pdb", 5), unopened(header)},
        {none + ".gz", "ERROR : Can't open z-compressed input file '" + none + ".gz'\n"},
        {folder / "d.gz",
         "ERROR : Can't open z-compressed input file '" + (folder / "d.gz") + "'\n"},
        {none + ".bin", "ERROR : Failed to read loop DB binary file '" + none + ".bin'\n" +
                            skipped(none + ".bin")},
        {header, "ERROR : PDB contains no chains\n" + skipped(header)},
    };
    const std::string unreadable = "/proc/self/mem";  // opens, and its first byte is an error
    if (std::filesystem::exists(unreadable))
        cases.push_back({unreadable, "ERROR : Problem reading input file '" + unreadable +
                                         "' - Unknown error.\nERROR : PDB contains no chains\n" +
                                         skipped(unreadable)});
    for (const Case& c : cases) {
        CapturedLog captured;
        EXPECT_FALSE(readStructureFile(c.path, {}, {}, captured.log));
        EXPECT_EQ(captured.error(), c.errors);
    }
}

TEST(StructureFile, IsStandardInputWhenItsNameIsADash) {
    const TemporaryFolder folder;
    const std::string path = folder.write("a.pdb", line({}));
    const int kept = dup(STDIN_FILENO);
    ASSERT_NE(std::freopen(path.c_str(), "rb", stdin), nullptr);
    CapturedLog captured;
    const auto chain = readChain("-", {}, {}, captured.log);
    dup2(kept, STDIN_FILENO);
    close(kept);
    ASSERT_TRUE(chain);
    EXPECT_EQ(chain->fileName, "-");
}

// The atoms that a text gives as a plain and as a compressed file.
std::string readAs(const std::string& name, const std::string& text) {
    const TemporaryFolder folder;
    const std::string path = folder / name;
    const gzFile file = gzopen(path.c_str(), name.ends_with(".gz") ? "wb" : "wbT");
    gzwrite(file, text.data(), static_cast<unsigned>(text.size()));
    gzclose(file);
    CapturedLog captured;
    ReadRequest request;
    request.options = ReadAllAtoms;
    const auto set = readStructureFile(path, request, {}, captured.log);
    return set ? described(set->chains) : captured.error();
}

TEST(CompressedText, GivesTheAtomsOfThePlainText) {
    std::string text = "HEADER\nREMARK ATOMS\n";
    for (int i = 0; i < 500; ++i) {
        const std::string record = i % 3 == 0 ? kFull + "\n" : line({" CA ", "ALA", i});
        text += i % 7 == 0 ? record.substr(0, 54) + "\r\n" : record;
        if (i % 11 == 0) text += "HETATM    1 CA    CA A   1\nTER\n";
    }
    const std::string plain = readAs("a.pdb", text);
    EXPECT_EQ(readAs("a.pdb.gz", text), plain);
    EXPECT_EQ(readAs("a.pdb.gz", text.substr(0, text.size() - 1)), plain);
    EXPECT_EQ(std::count(plain.begin(), plain.end(), '\n'), 500);
}

TEST(CompressedText, IsScannedForRecordsAnywhere) {
    const std::string inside = "REMARK 470 MISSING " + kFull + "\n";
    EXPECT_THAT(readAs("a.pdb", inside), testing::HasSubstr("PDB contains no chains"));
    EXPECT_EQ(readAs("a.pdb.gz", inside), "[C 1]" + taken(kFull) + "\n");
    // 53 characters at the end are no record, 54 are; in the middle a line of any length is one.
    const std::string last = kFull.substr(0, 54);
    EXPECT_EQ(readAs("a.pdb.gz", last), "[C 1]" + taken(last) + "\n");
    EXPECT_THAT(readAs("a.pdb.gz", last.substr(0, 53)), testing::HasSubstr("no chains"));
    EXPECT_EQ(readAs("a.pdb.gz", last.substr(0, 40) + "\n" + std::string(60, 'x')),
              "[C 1]" + taken(last.substr(0, 40)) + "\n");
}

std::string scanned(const std::string& text, std::mt19937& engine, std::size_t longest) {
    ChainSet set;
    const ResidueExclusions none;
    RecordTaker taker(ReadAllAtoms, none, set);
    RecordScanner scanner(taker);
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = 1 + engine() % longest;
        scanner.append(std::string_view(text).substr(at, length));
        at += length;
    }
    scanner.finish();
    return described(set.chains);
}

TEST(RecordScanner, FindsTheSameRecordsHoweverTheTextIsCut) {
    std::mt19937 engine(11);
    const std::vector<std::string> parts = {
        "ATOM  ", "ATOM", " ", "\n", kFull + "\n", kFull.substr(0, 60) + "\n", "x y\n", "AATOM   "};
    for (int round = 0; round < 100; ++round) {
        std::string text;
        for (int i = 0; i < 40; ++i)
            text += parts[engine() % parts.size()];
        const std::string whole = scanned(text, engine, 1);
        for (const std::size_t longest : {7U, 81U, 5000U})
            ASSERT_EQ(scanned(text, engine, longest), whole) << text;
    }
}

TEST(RecordScanner, TakesLinearTimeOnHostileText) {
    ChainSet set;
    const ResidueExclusions none;
    RecordTaker taker(ReadCalphaOnly, none, set);
    for (const char* part : {"ATOM  ", "ATOM ", " "}) {
        std::string block;
        while (block.size() < 81)
            block += part;
        RecordScanner scanner(taker);
        for (int i = 0; i < 100000; ++i)
            scanner.append(block);  // 8 MB; quadratic: hours
        scanner.finish();
    }
    EXPECT_TRUE(set.chains.empty());
}

}  // namespace
}  // namespace tervolanda
