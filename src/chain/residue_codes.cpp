// The tables that translate between three-letter residue names, one-letter codes and rows of the
// residue table, and the bit set into which an atom name is taken apart.  All atom selection rests
// on these bits.
#include <array>

#include "chain/chain.h"

namespace tervolanda {

namespace {

struct ResidueRow {
    std::string_view name;
    char code;
};

// The twenty amino acids first, then pyroglutamic acid, which counts as glutamate, three names for
// uncertain residues, and nucleotides as they were once written.
// clang-format off
constexpr std::array<ResidueRow, 28> kResidues = {{
    {"GLY", 'G'}, {"CYS", 'C'}, {"ASP", 'D'}, {"GLU", 'E'}, {"PHE", 'F'}, {"ALA", 'A'}, {"HIS", 'H'},
    {"ILE", 'I'}, {"LYS", 'K'}, {"LEU", 'L'}, {"MET", 'M'}, {"ASN", 'N'}, {"PRO", 'P'}, {"GLN", 'Q'},
    {"ARG", 'R'}, {"SER", 'S'}, {"THR", 'T'}, {"VAL", 'V'}, {"TRP", 'W'}, {"TYR", 'Y'}, {"PCA", 'E'},
    {"ASX", 'B'}, {"GLX", 'Z'}, {"UNK", 'X'}, {"  A", 'a'}, {"  T", 't'}, {"  C", 'c'}, {"  G", 'g'},
}};
// clang-format on
constexpr int kStandardResidues = 20;
static_assert(kResidues[kGlycine].code == 'G' && kResidues[kLastAminoAcid].name == "UNK");

// The first three characters as one number: every record of a file is looked up.
constexpr std::uint32_t packed(std::string_view name) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 3; ++i)
        value = value << 8 | static_cast<unsigned char>(name[i]);
    return value;
}

constexpr auto kPackedNames = [] {
    std::array<std::uint32_t, kResidues.size()> names{};
    for (std::size_t i = 0; i < names.size(); ++i)
        names[i] = packed(kResidues[i].name);
    return names;
}();

// What a character at one place of an atom name contributes to the classification.
using BitTable = std::array<std::uint32_t, 256>;

// The characters of `list` stand for 1, 2, 4 ... times `first`, all others for `unlisted`.
constexpr BitTable bitTable(std::string_view list, std::uint32_t first, std::uint32_t unlisted) {
    BitTable table{};
    table.fill(unlisted);
    for (std::size_t i = 0; i < list.size(); ++i)
        table[static_cast<unsigned char>(list[i])] = first << i;
    return table;
}

// An unknown first character has no bit, so that the atom matches no backbone mask; an unknown
// fourth character counts as blank.
constexpr BitTable kPrefixBits = bitTable(" 123", NamePrefixBlank, 0);
constexpr BitTable kElementBits = bitTable("NCOSH", 0x1, 0x20);
constexpr BitTable kRemotenessBits = bitTable(" ABGDEZH", 0x40, 0x4000);
constexpr BitTable kBranchBits = bitTable(" 123", NameBranchBlank, NameBranchBlank);

std::uint32_t bitsOf(const BitTable& table, char c) {
    return table[static_cast<unsigned char>(c)];
}

}  // namespace

int residueIndex(std::string_view name) {
    if (name.size() < 3) return -1;
    const std::uint32_t key = packed(name);
    for (std::size_t i = 0; i < kPackedNames.size(); ++i) {
        if (kPackedNames[i] == key) return static_cast<int>(i);
    }
    return -1;
}

char oneLetterCode(std::string_view name) {
    if (name.size() > 2 && name[2] == 'X') return 'X';
    const int index = residueIndex(name);
    return index < 0 ? 'X' : kResidues[static_cast<std::size_t>(index)].code;
}

char oneLetterCode(const Atom& atom) {
    const std::string_view name = atom.residueName.view();
    const bool isModified = atom.residueType >= 0 && residueIndex(name) < 0;
    return isModified ? kResidues[static_cast<std::size_t>(atom.residueType)].code
                      : oneLetterCode(name);
}

std::optional<std::string_view> threeLetterName(char code) {
    for (const ResidueRow& row : kResidues) {
        if (row.code == code) return row.name;
    }
    return std::nullopt;
}

std::string_view threeLetterNameOf(int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= kResidues.size()) return "UNK";
    return kResidues[static_cast<std::size_t>(index)].name;
}

char oneLetterOf(int index) {
    if (index < 0 || index >= kStandardResidues) return 'x';
    return kResidues[static_cast<std::size_t>(index)].code;
}

int indexOfCode(char letter) {
    if (letter < 'A' || letter > 'Z' || letter == 'X') return -1;
    for (std::size_t i = 0; i < kResidues.size(); ++i) {
        if (kResidues[i].code == letter) return static_cast<int>(i);
    }
    return -1;
}

std::uint32_t classifyAtomName(std::string_view name, int residueType) {
    const auto at = [name](std::size_t i) { return i < name.size() ? name[i] : ' '; };
    std::uint32_t bits = bitsOf(kPrefixBits, at(0)) | bitsOf(kElementBits, at(1)) |
                         bitsOf(kRemotenessBits, at(2)) | bitsOf(kBranchBits, at(3));
    const auto has = [bits](std::uint32_t mask) { return (bits & mask) == mask; };
    if (residueType == kGlycine) {
        if (has(kMaskCA)) bits |= NameBeta | NameGlycineAlpha;
    } else if (has(kMaskCB)) {
        bits |= NameBeta;
    }
    return bits;
}

}  // namespace tervolanda
