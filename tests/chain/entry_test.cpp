#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "chain/input/model_paths.h"
#include "support/records.h"

namespace tervolanda {
namespace {

using test::CapturedLog;
using test::line;
using test::Record;
using test::TemporaryFolder;
using testing::HasSubstr;

// The atoms of the chains that are read, or what is said instead.
std::string reading(const std::string& path, const EntryRules& rules = {.readsPdb = true}) {
    CapturedLog captured;
    ReadRequest request;
    request.options = ReadAllAtoms | ReadSingleChain;
    request.entry = rules;
    const auto set = readStructureFile(path, request, {}, captured.log);
    std::string text = captured.error();
    for (const Chain& chain : set ? set->chains : std::vector<Chain>()) {
        text += "[" + chain.name + "]";
        for (const Atom& a : chain.atoms)
            text += format("%s%c%s%c%s(%g %g %g)%g,%g%s%s ", a.name.text(), a.alternateLocation,
                           a.residueName.text(), oneLetterCode(a),
                           residueColumns(a.residueId()).c_str(), a.x, a.y, a.z, a.occupancy,
                           a.bFactor, a.element.text(), a.charge.text());
    }
    return text;
}

std::string readingOf(const std::string& text, const EntryRules& rules = {.readsPdb = true}) {
    const TemporaryFolder folder;
    const std::string path = folder.write("entry", text);
    std::string read = reading(path, rules);
    for (std::size_t at; (at = read.find(path)) != read.npos;)
        read.replace(at, path.size(), "entry");
    return read;
}

constexpr const char* kHead =
    "data_X\nloop_\n_atom_site.group_PDB\n_atom_site.auth_asym_id\n_atom_site.label_asym_id\n"
    "_atom_site.label_entity_id\n_atom_site.label_comp_id\n_atom_site.auth_seq_id\n"
    "_atom_site.pdbx_PDB_ins_code\n_atom_site.label_atom_id\n_atom_site.type_symbol\n"
    "_atom_site.label_alt_id\n_atom_site.Cartn_x\n_atom_site.Cartn_y\n_atom_site.Cartn_z\n"
    "_atom_site.occupancy\n_atom_site.B_iso_or_equiv\n";
const std::string kRow = "ATOM A A 1 ALA 7 ? CA C . 1.5 -2 3 1 9\n";
const std::string kRead = "[A] CA  ALAA   7 (1.5 -2 3)1,9 C   ";
constexpr const char* kInvalid = "ERROR : Invalid PDB file 'entry', skipped\n";

TEST(Mmcif, IsReadWhateverFormItsRowsHave) {
    const std::string head = kHead;
    std::string upper = head;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    std::string windows = head + kRow, mac = windows;
    for (std::size_t at = 0; (at = windows.find('\n', at)) != windows.npos; at += 2)
        windows.replace(at, 1, "\r\n");
    std::replace(mac.begin(), mac.end(), '\n', '\r');
    std::string pairs = "data_x\n";
    std::string_view tags = std::string_view(head).substr(head.find("_atom")), values = kRow;
    while (!trimBlanks(values).empty())
        pairs += std::string(takeField(tags)) + "\n " + std::string(takeField(values)) + "\n";
    const std::string other =
        "loop_\n_a.b\n_a.c\n'it's' \"x\"\n;text\n_atom_site.id loop_ '\n;\n1\n";
    for (const std::string& text :
         {head + kRow, upper + kRow, windows, mac, pairs, "# made\n\n" + head + kRow,
          "data_empty\n_x.y 1\n" + head + kRow + "data_second\n" + head + kRow, other + head + kRow,
          head +
              "ATOM 'A' A \"1\" \"ALA\" 7 .\n# a comment\n;CA\n; C ? 1.50(4) -2.0e0\n\n+3 . 9.0\n",
          head + kRow + "stop_\nloop_\n_b.c\n1",
          "data_x\nsave_f\n_atom_site.id 1\nsave_\n" + head + kRow})
        EXPECT_EQ(readingOf(text.starts_with("loop_") ? "data_y\n" + text : text), kRead) << text;
    // Without the rules of entries for PDB text, too, where it begins with "data_".
    EXPECT_EQ(readingOf(head + kRow, {}), kRead);
    EXPECT_THAT(readingOf("#\n" + head + kRow, {}), testing::Not(HasSubstr("7 (")));
    // Names by the author are not always there.
    std::string labels = head;
    for (const char* tag : {"auth_asym_id", "auth_seq_id"})
        labels.replace(labels.find(tag), 4, tag[5] == 's' && tag[6] == 'e' ? "label" : "other");
    EXPECT_EQ(readingOf(labels + kRow), kRead);
}

TEST(Mmcif, SaysWhereItIsWrong) {
    const std::string head = kHead;  // its last line is the 17th
    const auto row = [](const char* from, const std::string& to) {
        std::string text = kRow;
        return text.replace(text.find(from), std::string_view(from).size(), to);
    };
    std::string tags;
    for (int i = 0; i < 1025; ++i)
        tags += "_a ";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {head + kRow + row("1.5", "nan"), "line 19: 'nan' is no coordinate"},
        {head + row("1.5", "?"), "line 18: '' is no coordinate"},
        {head + row("1.5", "1e9"), "line 18: '1e9' is no coordinate"},
        {head + row("1.5", "0x1"), "line 18: '0x1' is no coordinate"},
        {head + row(" 1 9", " x 9"), "line 18: 'x' is no number"},
        {head + row("7", "99999999999"),
         "line 18: '99999999999' is no number of a residue that "
         "can be used"},
        {head + kRow + "ATOM A", "line 19: a loop ends within a row"},
        {head + kRow + "ATOM 'A", "line 19: a quote has no end"},
        {head + ";A\n", "line 18: a text field has no end"},
        {head + "_atom_site.occupancy\n", "line 18: a loop has a tag twice"},
        {"data_x\n_a.b _c.d", "line 2: a tag has no value"},
        {"data_x\n_a.b 1 2", "line 2: a value has no tag"},
        {"data_x\nloop_\n" + tags, "line 3: a loop has too many tags"},
        {"data_x\nloop_\n1", "line 3: a loop has no tags"},
        {head + row(" A A", " A" + std::string(65, 'b') + " A"),
         "line 18: the name of the chain is too long"},
        {head + row("ALA", std::string(5000, 'A')), "line 18: a value is too long"},
        {"data_x\n#" + std::string(2U << 20, ' '), "line 2: the line is too long"},
        {"data_x\n_a.b 1", "has no protein"}};
    for (const auto& [text, fault] : cases) {
        const bool isFault = fault.starts_with("line");
        EXPECT_EQ(readingOf(text), (isFault ? "ERROR : Input file 'entry', " + fault
                                            : "ERROR : PDB contains no chains\nERROR : Input file "
                                              "'entry' " +
                                                  fault) +
                                       "\n" + kInvalid);
    }
}

// Two models of protein chains A and B, with what is left out of them; and the same in mmCIF.
struct BothFormats {
    std::string pdb = "SEQRES   1 A    4  MSE XYZ ALA ACE\n", mmcif = "data_x\n", rows;
    int model = 1, charge = 0;

    BothFormats() {
        mmcif += "loop_ _entity.id _entity.type 1 polymer 2 polymer 3 non-polymer 4 water\n";
        for (model = 1; model <= 2; ++model) {
            pdb += format("MODEL     %4d\n", model);
            charge = -1;
            add("HETATM", "SE", "SE", ' ', "MSE", "A", 1, ' ', 1.0, "1");
            charge = 0;
            add("HETATM", "CA", "C", ' ', "MSE", "A", 1, ' ', 1.0, "1");
            add("HETATM", "CA", "C", ' ', "XYZ", "A", 2, 'B', 1.0, "1");
            add("ATOM", "CA", "C", 'A', "ALA", "A", 10001, ' ', 0.3, "1");
            add("ATOM", "CA", "C", 'C', "SER", "A", 10001, ' ', 0.35, "1");
            charge = 2;
            add("ATOM", "CB", "C", 'C', "SER", "A", 10001, ' ', 0.35, "1");
            charge = 10;  // more than the columns hold
            add("ATOM", "CA", "C", 'D', "GLY", "A", 10001, ' ', 0.35, "1");
            add("ATOM", "CH3", "C", ' ', "ACE", "A", 10002, ' ', 1.0, "1");
            pdb += "TER\n";
            add("ATOM", "CA", "C", ' ', "GLY", "B", -5, ' ', 1.0, "2");
            add("ATOM", "N", "N", ' ', " DA", "C", 1, ' ', 1.0, "5");
            add("HETATM", "CA", "C", ' ', "GLY", "A", 20, ' ', 1.0, "3");
            add("HETATM", "O", "O", ' ', "HOH", "A", 21, ' ', 1.0, "4");
            add("HETATM", "CA", "CA", ' ', " CA", "B", 22, ' ', 1.0, "3");
            pdb += "ENDMDL\n";
        }
        std::string head = kHead;
        mmcif += head.substr(7) + "_atom_site.pdbx_PDB_model_num\n_atom_site.pdbx_formal_charge\n" +
                 rows +
                 "loop_ _entity_poly.entity_id _entity_poly.type 2 'polypeptide(L)'\n"
                 "1 'polypeptide(D)' 5 polydeoxyribonucleotide\n";
    }
    void add(const char* kind, const std::string& name, const char* element, char conformer,
             const char* residue, const char* chain, int number, char insertion, double occupancy,
             const char* entity) {
        const auto value = static_cast<double>(model) + number / 1000.0;
        const std::string columns = residueColumns({static_cast<std::int16_t>(number), insertion});
        pdb += format("%-6s%5d %-4s%c%3s %s%s   %8.3f%8.3f%8.3f%6.2f  5.00          %2s%s\n", kind,
                      1, name.c_str(), conformer, residue, chain, columns.c_str(), value, -value,
                      0.0, occupancy, element,
                      charge == -1  ? "1-"
                      : charge == 2 ? "2+"
                                    : "");
        const auto orNull = [](char c) { return c == ' ' ? '?' : c; };
        rows += format("%s %s L%s%s %s %s %d %c %s %s %c %.3f %.3f 0.000 %.2f 5.00 %d %d\n", kind,
                       chain, chain, entity, entity, std::string(trimBlanks(residue)).c_str(),
                       number, orNull(insertion), name.c_str(), element, orNull(conformer), value,
                       -value, occupancy, model, charge);
    }
};

TEST(Entry, IsTheSameInBothFormats) {
    const BothFormats entry;
    const std::string a =
        "[A]SE   MSEM   1 (1.001 -1.001 0)1,5SE1-  CA  MSEM   1 (1.001 -1.001 "
        "0)1,5 C    CA  XYZX   2B(1.002 -1.002 0)1,5 C   ";
    const std::string c =
        " CA CSERSA001 (11.001 -11.001 0)0.35,5 C    CB CSERSA001 (11.001 -11.001 "
        "0)0.35,5 C2+ ";
    const std::string first = " CA AALAAA001 (11.001 -11.001 0)0.3,5 C   ";
    const std::string b = "[B] CA  GLYG  -5 (-3.995 3.995 0)1,5 C   ";
    const std::string none = "ERROR : PDB contains no chains\nERROR : Input file 'entry' has no ";
    const std::vector<std::pair<EntryRules, std::string>> cases = {
        {{.chain = "A"}, a + c},
        {{.chain = "A", .conformers = Conformers::First}, a + first},
        {{.chain = "A", .conformers = Conformers::Lettered, .conformer = 'A'}, a + first},
        {{.chain = "A", .conformers = Conformers::Lettered, .conformer = 'B'}, a + c},
        {{.chain = "B", .model = 2}, "[B] CA  GLYG  -5 (1.995 -1.995 0)1,5 C   "},
        {{.chain = "B", .model = 3}, none + "protein in a model 3\n" + kInvalid},
        {{.chain = "C"}, none + "protein chain 'C', but A, B\n" + kInvalid},
        {{.chain = "all"}, "[A,B]" + a.substr(3) + c + " CA  GLYG  -5 (0.995 -0.995 0)1,5 C   "},
        {{},
         "ERROR : Multiple chains in PDB: 2\nERROR : Input file 'entry' has the protein chains "
         "A, B: choose one with --chain, or all\n" +
             std::string(kInvalid)}};
    for (auto [rules, expected] : cases) {
        rules.readsPdb = true;
        if (rules.chain == "B" && !rules.model) expected = b;
        EXPECT_EQ(readingOf(entry.mmcif, rules), expected);
        EXPECT_EQ(readingOf(entry.pdb, rules), expected);
    }
    EXPECT_EQ(readingOf(entry.mmcif, {.chain = "label:LB2"}),
              readingOf(entry.mmcif, {.chain = "B"}));
}

TEST(Entry, IsToldByItsFirstBytes) {
    const BothFormats entry;
    const TemporaryFolder folder;
    const EntryRules rules{.readsPdb = true, .chain = "A"};
    const std::string expected = readingOf(entry.mmcif, rules);
    for (const std::string& text : {entry.pdb, entry.mmcif}) {
        const std::string path = folder / "packed";  // without the suffix
        const gzFile file = gzopen(path.c_str(), "wb");
        gzwrite(file, text.data(), static_cast<unsigned>(text.size()));
        gzclose(file);
        EXPECT_EQ(reading(path, rules), expected);
        const std::string packed = test::readFile(path);
        const std::string cut = folder.write("cut.gz", packed.substr(0, packed.size() - 12));
        EXPECT_THAT(reading(cut, rules), HasSubstr("is damaged or cut short"));
        const std::string suffixed = folder.write("entry.gz", packed);
        if (text == entry.pdb) continue;
        EXPECT_EQ(reading(suffixed, {.chain = "A"}), expected);
        EXPECT_THAT(reading(cut, {}), HasSubstr("is damaged or cut short"));
    }
}

TEST(PdbEntry, IsStricterAndMoreTolerantThanRecordsAlone) {
    const std::string usual = line({});
    const auto changed = [&](std::size_t column, const std::string& to) {
        std::string text = usual;
        return text.replace(column - 1, to.size(), to);
    };
    const std::string atom = "[A] CA  ALAA   1 (0 0 0)0.5,12.25     ";
    for (const std::string& text :
         {usual, changed(13, "CA  "), "\xEF\xBB\xBF" + usual,
          usual.substr(0, usual.size() - 1) + "\r\n", changed(1, "HETATM")})
        EXPECT_EQ(readingOf(text), atom) << text;
    EXPECT_EQ(readingOf(usual.substr(0, 54)), "[A] CA  ALAA   1 (0 0 0)1,0     ");
    EXPECT_EQ(readingOf(changed(13, "HG11")), "[A]HG11 ALAA   1 (0 0 0)0.5,12.25     ");
    const std::string hydrogen = changed(13, " HA ");  // with its name cut it may be there twice
    EXPECT_EQ(readingOf(usual + hydrogen + hydrogen), atom + atom.substr(3).replace(1, 2, "HA"));
    const std::string fault = "ERROR : Input file 'entry', line 2: '";
    for (const auto& [column, text, what] :
         {std::tuple(31, " ****.**", " ****.**' is no coordinate"),
          std::tuple(55, "   one", "one' is no number"),
          std::tuple(23, "ZZZZ", "ZZZZ' is no number of a residue that can be used")})
        EXPECT_EQ(readingOf("HEADER\n" + changed(static_cast<std::size_t>(column), text)),
                  fault + what + "\n" + kInvalid);
}

// Older entries have their code where others have segments, and then a number.
TEST(PdbEntry, CallsChainsWithoutNamesAsTheirSegments) {
    const auto atom = [](const char* kind, const char* segment) {
        std::string text = line({.chain = ' '}).substr(0, 66);
        return text.replace(0, 6, kind) + "      " + segment + "\n";
    };
    const std::string two = atom("ATOM  ", "PROA    ") + "TER\n" + atom("HETATM", "PROB C1+");
    const std::string read = " CA  ALAA   1 (0 0 0)0.5,12.25 ";
    EXPECT_EQ(readingOf(two, {.readsPdb = true, .chain = "PROB"}), "[PROB]" + read + "C1+ ");
    EXPECT_EQ(readingOf(atom("ATOM  ", "PROA    ")), "[PROA]" + read + "    ");
    EXPECT_EQ(readingOf(atom("ATOM  ", "1ABC  12")), "[ ]" + read + "    ");
    EXPECT_THAT(readingOf(two), HasSubstr("has the protein chains PROA, PROB: choose one"));
}

// What a file tells of a residue in several places.
TEST(Entry, HasOneConformerOfEachResidue) {
    const std::string head = kHead, a = "ATOM A A 1 ALA 7 ? CA C A 1 2 3 .4 9\n",
                      b = "ATOM A A 1 ALA 7 ? CB C B 1 2 3 .9 9\n",
                      other = "ATOM A A 1 ALA 8 ? CA C . 1 2 3 1 9\n";
    EXPECT_EQ(readingOf(head + a + b), "[A] CB BALAA   7 (1 2 3)0.9,9 C   ");
    EXPECT_EQ(readingOf(head + a + other + b),
              "[A] CA AALAA   7 (1 2 3)0.4,9 C    CA  ALAA   8 (1 2 3)1,9 C   ");
}

TEST(ModelPaths, AreInNaturalOrder) {
    const std::vector<std::string> sorted = {"a", "a01", "a1", "a2b", "a2c", "a10", "a010b", "b"};
    for (std::size_t i = 0; i < sorted.size(); ++i)
        for (std::size_t j = 0; j < sorted.size(); ++j)
            EXPECT_EQ(isBeforeNaturally(sorted[i], sorted[j]), i < j)
                << sorted[i] << " " << sorted[j];
}

TEST(ModelPaths, NameFoldersPatternsListsAndEntries) {
    const TemporaryFolder folder;
    for (const char* name : {"m10.pdb", "m2.cif", ".m1.pdb", "notes.txt"})
        folder.write(name, line({}) + line({.number = 2}));
    folder.write("entry.pdb", BothFormats().pdb);
    const std::string list = folder.write("list.txt", "m2.cif\nentry.pdb\nnone.pdb\nm10.pdb\n");
    const std::string all = "1 m2.cif:1, 2 entry.pdb:1, 3 entry.pdb:2, 5 m10.pdb:1, ";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {folder.path(), "1 entry.pdb:1, 2 entry.pdb:2, 3 m2.cif:1, 4 m10.pdb:1, "},
        {folder / "m*", "1 m2.cif:1, 2 m10.pdb:1, "},
        {folder / "entry.pdb", "1 entry.pdb:1, 2 entry.pdb:2, "},
        {list, all}};
    for (const auto& [path, expected] : cases) {
        CapturedLog captured;
        ReadRequest request;
        request.entry = {.readsPdb = true, .chain = "A", .allModels = true};
        ChainList models;
        std::uint32_t counter = 0;
        readModelsAt(path, counter, {request, {}}, models, captured.log);
        std::string read;
        for (const Chain& chain : models.chains)
            read += format("%u %s, ", chain.number,
                           chain.fileName.substr(folder.path().string().size() + 1).c_str());
        EXPECT_EQ(read, expected) << captured.error();
    }
}

}  // namespace
}  // namespace tervolanda
