#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "chain/input/chain_builder.h"
#include "chain/input/pdb_columns.h"
#include "chain/input/record_scanner.h"
#include "support/records.h"

namespace tervolanda {
namespace {

using test::CapturedLog;
using test::line;
using test::TemporaryFolder;
using testing::HasSubstr;

// Columns:                 1234567890123456789012345678901234567890123456789012345678901234567890
const std::string kFull =
    "ATOM     12 1HB BSER C-123A     -1.500  22.250-333.125  0.25107.50      "
    "SEG HH1+";

std::string described(const Atom& a) {
    return format("%s|%c|%s|%c|%d|%c|%g %g %g|%g %g|%s|%s|%s", a.name.text(), a.alternateLocation,
                  a.residueName.text(), a.chainId, a.residueNumber, a.insertionCode, a.x, a.y, a.z,
                  a.occupancy, a.bFactor, a.segmentId.text(), a.element.text(), a.charge.text());
}

std::string described(const std::vector<Chain>& chains) {
    std::string text;
    for (const Chain& chain : chains) {
        text += format("[%s %u]", chain.name.c_str(), chain.number);
        for (const Atom& atom : chain.atoms)
            text += described(atom) + "\n";
    }
    return text;
}

// Takes the atoms of the records that it is given.
struct Taken {
    explicit Taken(const Selection& selection = {}) : builder(selection, none) {}
    void take(std::string_view record) { reader.take(record); }
    const Atom& last() { return builder.chains().at(0).atoms.back(); }

    ResidueExclusions none;
    ChainBuilder builder;
    AtomRecordReader reader{builder};
};

std::string taken(std::string_view record) {
    Taken all;
    all.take(record);
    return described(all.last());
}

TEST(Record, GivesItsColumns) {
    const std::string placed = "1HB |B|SER|C|-123|A|-1.5 22.25 -333.125|";
    const std::string full = placed + "0.25 107.5|SEG | H|1+";  // the element of a hydrogen
    const std::string lean = placed + "1 0|    |  |  ";
    for (const char* end : {"", "\n", "\r\n", "trailing"})
        EXPECT_EQ(taken(kFull + end), full);
    std::string dense = kFull;  // numbers of another form, that touch each other
    EXPECT_EQ(taken(dense.replace(54, 12, "+00.1275e-9 ")), placed + "0.12 7.5e-08|SEG | H|1+");
    // A digit as insertion code is no part of the number.
    EXPECT_THAT(taken(std::string(kFull).replace(26, 1, "4")), HasSubstr("|C|-123|4|"));
    for (const std::size_t width : {79U, 78U, 66U, 54U})
        for (const char* end : {"", "\n", "\r\n"})
            EXPECT_EQ(taken(kFull.substr(0, width) + end), lean) << width;
    EXPECT_EQ(taken(kFull.substr(0, 40) + "\n"), "1HB |B|SER|C|-123|A|-1.5 0 0|1 0|    |  |  ");
    EXPECT_EQ(taken("ATOM\n"), "    | |   | |0| |0 0 0|1 0|    |  |  ");
    const std::string tail = full.substr(4, full.size() - 9);
    for (const char* heavy : {"HD11", " CH ", "AH  ", "/H  ", ":H  "}) {
        std::string record = kFull;
        EXPECT_EQ(taken(record.replace(12, 4, heavy)), heavy + tail + "HH|1+") << heavy;
    }
    for (const char* hydrogen : {" HB ", "0H  ", "9H  "}) {
        std::string record = kFull;
        EXPECT_EQ(taken(record.replace(12, 4, hydrogen)), hydrogen + tail + " H|1+") << hydrogen;
    }
}

TEST(Record, NumbersAreConvertedAsDecimals) {
    std::vector<std::pair<std::string, double>> cases = {
        {"        ", 0}, {"     nan", 0}, {"12345678", 1.2345678e7}, {"12 34   ", 12}};
    std::mt19937 engine(3);
    for (int i = 0; i < 2000; ++i) {
        // Digits with a point anywhere: equal to the last bit to the C library's conversion.
        std::string field = std::to_string(10000000 + engine() % 90000000);
        field[engine() % 8] = '.';
        if (engine() % 2 == 0) field[0] = '-';
        cases.emplace_back(field, std::strtod(field.c_str(), nullptr));
        // The usual form, and the same with one character changed.
        const auto thousandths = static_cast<int>(engine() % 10999999) - 999999;
        std::string usual = format("%8.3f", thousandths / 1000.0);
        if (i % 2 == 0) usual[engine() % 8] = " +-.,5e~"[engine() % 8];
        const double value = std::strtod(usual.c_str(), nullptr);
        cases.emplace_back(usual, std::isfinite(value) ? value : 0.0);
    }
    // The last two numbers often are those of the record before.
    constexpr std::array kShort = {0.0, 1.0, 0.5, -0.5, 99.99};
    Taken all;
    for (const auto& [field, value] : cases) {
        const double occupancy = kShort[engine() % 5], bFactor = kShort[engine() % 5];
        std::string record = kFull;
        record.replace(38, 8, field).replace(54, 12, format("%6.2f%6.2f", occupancy, bFactor));
        all.take(record);
        EXPECT_EQ(all.last().y, value) << "'" << field << "'";
        EXPECT_EQ(all.last().occupancy, occupancy);
        EXPECT_EQ(all.last().bFactor, bFactor);
    }
}

TEST(Selection, TakesTheFirstOptionThatIsSet) {
    std::string text;
    for (const char* name : {" N  ", " CA ", " CB ", " OG ", " HB2", "1HA ", "CA  ", " H  "})
        text += line({name, "SER"});
    text += line({" CA ", "  A", 2}) + line({" CA ", "UNK", 3}) + "HETATM" + line({}).substr(6) +
            "atom" + line({}).substr(4) + " " + line({});
    const std::string all = " N  , CA , CB , OG , HB2,1HA ,CA  , H  , CA ,";
    for (const auto& [options, expected] : std::vector<std::pair<unsigned, std::string>>{
             {0, all},
             {ReadCalphaOnly, " CA , CA ,"},
             {ReadCalphaOnly | ReadBackboneAndBeta, " N  , CA , CB , HB2,1HA ,CA  , H  , CA ,"},
             {ReadCalphaOnly | ReadBackboneAndBeta | ReadNoHydrogen, " N  , CA , CB ,CA  , CA ,"},
             {ReadCalphaOnly | ReadBackboneAndBeta | ReadAllAtoms, all},
             {ReadAllAtoms | ReadNoHydrogen, " N  , CA , CB , OG ,CA  , CA ,"}}) {
        CapturedLog captured;
        ReadRequest request;
        request.options = static_cast<std::uint16_t>(options);
        const auto set = test::readText(text, request, captured.log);
        std::string names;
        for (const Atom& atom : set->chains.at(0).atoms)
            names += std::string(atom.name.view()) + ",";
        EXPECT_EQ(names, expected) << options;
    }
}

TEST(StructureFile, GroupsItsAtomsByChainAndDropsInvalidOnes) {
    std::string text;
    for (const auto& [chain, number] : {std::pair('B', 1), {'A', 1}, {'B', 2}, {' ', 1}, {'A', 1}})
        text += line({" CA ", "ALA", number, ' ', chain});
    CapturedLog captured;
    const auto set = test::readText(text, {}, captured.log);
    std::string chains;
    for (const Chain& chain : set->chains)
        chains += format("'%s' %u: %zu, ", chain.name.c_str(), chain.number, chain.residues.size());
    EXPECT_EQ(chains, "'B' 1: 2, ' ' 3: 1, ");  // A has a duplicate
    EXPECT_EQ(captured.error(),
              "ERROR : Chain 'A' has duplicate atoms:  CA   @ 1\nERROR : Invalid chain 'A'\n");
}

TEST(StructureFile, SaysWhyItCannotBeRead) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "d.gz");
    const std::string header = folder.write("header.pdb", "HEADER\n\nEND");
    const std::string two = folder.write("two", line({}) + line({" CA ", "ALA", 1, ' ', 'B'}));
    const std::string none = folder / "none";
    const std::string cannot = "ERROR : Can't open ";
    std::vector<std::pair<std::string, std::string>> cases = {
        {none + ".GZ", cannot + "input file '" + none + ".GZ' - Unknown error.\n"},
        {folder.path(), cannot + "input file '" + folder.path().string() + "' - Unknown error.\n"},
        {".gz", cannot + "input file '.gz' - Unknown error.\n"},  // a dot in front is no suffix
        {header + std::string("\0.pdb", 5), cannot + "input file '" + header + "' - "},
        {none + ".gz", cannot + "z-compressed input file '" + none + ".gz'\n"},
        {folder / "d.gz", cannot + "z-compressed input file '" + (folder / "d.gz") + "'\n"},
        {none + ".bin", "ERROR : Failed to read loop DB binary file '" + none + ".bin'\n"},
        {header, "ERROR : PDB contains no chains\n"},
        {two, "ERROR : Multiple chains in PDB: 2\n"}};
    const std::string unreadable = "/proc/self/mem";  // opens, and its first byte is an error
    if (std::filesystem::exists(unreadable))
        cases.emplace_back(unreadable, "ERROR : Problem reading input file '" + unreadable +
                                           "' - Unknown error.\nERROR : PDB contains no chains\n");
    for (const auto& [path, errors] : cases) {
        CapturedLog captured;
        EXPECT_FALSE(readChain(path, {}, {}, captured.log));
        const bool wasOpened = errors.find(cannot) == std::string::npos;
        const std::string skipped = "ERROR : Invalid PDB file '" + path + "', skipped\n";
        EXPECT_THAT(captured.error(), testing::StartsWith(errors + (wasOpened ? skipped : "")));
    }
}

// The atoms that a text gives as a plain and as a compressed file; of the compressed bytes the
// last `cut` are missing and one in the middle is another where `isDamaged`.
std::string readAs(const std::string& name, const std::string& text, std::size_t cut = 0,
                   bool isDamaged = false) {
    const TemporaryFolder folder;
    const std::string path = folder / name;
    const gzFile file = gzopen(path.c_str(), name.ends_with(".gz") ? "wb" : "wbT");
    gzwrite(file, text.data(), static_cast<unsigned>(text.size()));
    gzclose(file);
    std::string bytes = test::readFile(path);
    if (isDamaged) bytes[bytes.size() - 6] ^= 1;  // in the check sum
    std::ofstream(path, std::ios::binary) << bytes.substr(0, bytes.size() - cut);
    CapturedLog captured;
    ReadRequest request;
    request.options = ReadAllAtoms;
    const auto set = readStructureFile(path, request, {}, captured.log);
    return captured.error() + (set ? described(set->chains) : "");
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
    // What came before the end of a file cut short, or before damage, is kept.
    EXPECT_EQ(readAs("a.pdb.gz", text, 8), plain);
    // zlib hands out 16 KiB at a time and loses those with the damage: 809 records come before.
    std::string records;
    for (int i = 0; i < 900; ++i)
        records += kFull + "\n";
    EXPECT_EQ(readAs("a.pdb.gz", records, 0, true),
              "ERROR : Problem reading compressed data stream\n" +
                  readAs("a.pdb", records.substr(0, 809 * 81)));
}

TEST(CompressedText, IsScannedForRecordsAnywhere) {
    const std::string inside = "REMARK 470 MISSING " + kFull + "\n";
    EXPECT_THAT(readAs("a.pdb", inside), HasSubstr("PDB contains no chains"));
    EXPECT_EQ(readAs("a.pdb.gz", inside), "[C 1]" + taken(kFull) + "\n");
    // 53 characters at the end are no record, 54 are; in the middle a line of any length is one.
    const std::string last = kFull.substr(0, 54);
    EXPECT_EQ(readAs("a.pdb.gz", last), "[C 1]" + taken(last) + "\n");
    EXPECT_THAT(readAs("a.pdb.gz", last.substr(0, 53)), HasSubstr("no chains"));
    EXPECT_EQ(readAs("a.pdb.gz", last.substr(0, 40) + "\n" + std::string(60, 'x')),
              "[C 1]" + taken(last.substr(0, 40)) + "\n");
}

std::string scanned(const std::string& text, std::mt19937& engine, std::size_t longest) {
    Taken all;
    RecordScanner scanner(all.reader);
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = 1 + engine() % longest;
        scanner.append(std::string_view(text).substr(at, length));
        at += length;
    }
    scanner.finish();
    return described(all.builder.chains());
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
    Taken calphas({.kinds = AtomKinds::Calpha});
    for (const char* part : {"ATOM  ", "ATOM ", " "}) {
        std::string block;
        while (block.size() < 81)
            block += part;
        RecordScanner scanner(calphas.reader);
        for (int i = 0; i < 100000; ++i)
            scanner.append(block);  // 8 MB; quadratic: hours
        scanner.finish();
    }
    EXPECT_TRUE(calphas.builder.chains().empty());
}

// What a read of a real file gives: the C-alpha atoms of the chain that is kept, and its residues
// where that is another number; or why there is none.
std::string outcome(const std::string& path, int options) {
    CapturedLog captured;
    ReadRequest request;
    request.options = static_cast<std::uint16_t>(options);
    const auto chain = readChain(path, request, {}, captured.log);
    const std::string errors = captured.error();
    if (!chain) {
        for (const char* reason : {"PDB contains no chains", "Multiple chains", "duplicate atoms"})
            if (errors.find(reason) != std::string::npos) return reason;
        return errors;
    }
    const auto isCalpha = [](const Atom& atom) { return atom.matches(kMaskCA); };
    const auto calphas = std::count_if(chain->atoms.begin(), chain->atoms.end(), isCalpha);
    const auto residues = static_cast<std::ptrdiff_t>(chain->residues.size());
    return std::to_string(calphas) + (residues == calphas ? "" : format(" in %td", residues)) +
           (errors.find("Residue assignment error") == std::string::npos ? "" : ", scattered");
}

// oddities.txt: file | as C-alpha atoms | as all atoms; the numbers are those of another reader.
TEST(RealOddities, AreReadOrRejectedAsAnotherReaderDoes) {
    TERVOLANDA_NEED_REAL_STRUCTURES(structures);
    std::ifstream table(TERVOLANDA_SOURCE_DIR "/tests/chain/oddities.txt");
    std::string file, calphaRead, fullRead;
    int files = 0;
    for (; table >> file; ++files) {
        std::getline(std::getline(table.ignore(3), calphaRead, '|').ignore(1), fullRead);
        const std::string path = structures / "oddities" / file;
        const int listRead = ReadRequest{}.options;
        EXPECT_EQ(outcome(path, listRead) + " ", calphaRead) << file;
        EXPECT_EQ(outcome(path, listRead | ReadAllAtoms), fullRead) << file;
    }
    EXPECT_EQ(files, 49);
}

}  // namespace
}  // namespace tervolanda
