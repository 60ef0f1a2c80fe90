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
constexpr int kGlycine = 0;

std::uint32_t prefixBits(char c) {
    switch (c) {
        case ' ':
            return NamePrefixBlank;
        case '1':
            return NamePrefix1;
        case '2':
            return NamePrefix2;
        case '3':
            return NamePrefix3;
        default:
            return 0;  // such an atom matches no backbone mask
    }
}

// The bit of `c` in a list of characters that stand for 1, 2, 4 ... times `first`; the bit behind
// the last for every other character.
std::uint32_t listBit(std::string_view list, char c, std::uint32_t first) {
    const std::size_t place = list.find(c);
    return first << (place == std::string_view::npos ? list.size() : place);
}

std::uint32_t branchBits(char c) {
    return c >= '1' && c <= '3' ? NameBranchBlank << (c - '0') : NameBranchBlank;
}

}  // namespace

int residueIndex(std::string_view name) {
    const std::string_view key = name.substr(0, 3);
    for (std::size_t i = 0; i < kResidues.size(); ++i) {
        if (kResidues[i].name == key) return static_cast<int>(i);
    }
    return -1;
}

char oneLetterCode(std::string_view name) {
    if (name.size() > 2 && name[2] == 'X') return 'X';
    const int index = residueIndex(name);
    return index < 0 ? 'X' : kResidues[static_cast<std::size_t>(index)].code;
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
    const FixedText<4> n(name);
    std::uint32_t bits = prefixBits(n[0]) | listBit("NCOSH", n[1], 0x1) |
                         listBit(" ABGDEZH", n[2], 0x40) | branchBits(n[3]);
    const auto has = [bits](std::uint32_t mask) { return (bits & mask) == mask; };
    if (residueType == kGlycine) {
        if (has(kMaskCA)) bits |= NameBeta | NameGlycineAlpha;
    } else if (has(kMaskCB)) {
        bits |= NameBeta;
    }
    return bits;
}

}  // namespace tervolanda
