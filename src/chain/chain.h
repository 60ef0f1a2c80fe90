// The chain model: atoms, residues and chains as plain values, the codes of residues and atom
// names, and structures as records of PDB files.  How structures are read stands in
// chain/input/input.h.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "base/vec3.h"

namespace tervolanda {

class Log;
class OutputFile;

// --- Atoms, residues, chains ---------------------------------------------------------------------

inline constexpr std::uint32_t kNoAtom = UINT32_MAX;

// Bits of an atom's classification, from the four characters of its name (columns 13 to 16).
enum AtomNameBits : std::uint32_t {
    NameElementH = 0x10,         // second character is "H"
    NameBackboneOrBeta = 0x1C0,  // third character is blank, "A" or "B"
    NameBranchBlank = 0x10000,   // fourth character is blank, or unknown
    NamePrefixBlank = 0x100000,  // first character is blank
    NamePrefix1 = 0x200000,
    NamePrefix2 = 0x400000,
    NamePrefix3 = 0x800000,
    NameBeta = 0x4000000,          // the residue's beta atom: CB, or CA of glycine
    NameGlycineAlpha = 0x8000000,  // a glycine CA that stands in for the CB
};

// An atom is the given backbone atom when all bits of its mask are set.
inline constexpr std::uint32_t kMaskN = 0x110041;
inline constexpr std::uint32_t kMaskCA = 0x110082;
inline constexpr std::uint32_t kMaskC = 0x110042;
inline constexpr std::uint32_t kMaskO = 0x110044;
inline constexpr std::uint32_t kMaskCB = 0x110102;

// What a structure file calls a residue: a number, a letter where several residues share one, and
// in a complex the chain.
struct ResidueId {
    std::int16_t number = 0;
    char insertionCode = ' ';
    std::uint16_t subunit = 0;  // of a complex: position of its chain in Chain::subunits

    // All as one number: residues are told apart, paired and put in order by it.  Those of a
    // subunit differ by less than kSubunitKeys, and those of the next come after them.
    static constexpr std::int64_t kSubunitKeys = std::int64_t{1} << 24;
    std::int64_t key() const {
        return subunit * kSubunitKeys + std::int64_t{number} * 256 +
               static_cast<unsigned char>(insertionCode);
    }
    friend bool operator==(ResidueId a, ResidueId b) { return a.key() == b.key(); }
    friend auto operator<=>(ResidueId a, ResidueId b) { return a.key() <=> b.key(); }
};

struct Atom {
    double x = 0.0, y = 0.0, z = 0.0;  // Å
    double occupancy = 1.0;
    double bFactor = 0.0;              // Å²
    std::uint32_t classification = 0;  // AtomNameBits
    std::int32_t serial = 0;           // for formatAtomLine(): no reader sets it
    std::int16_t residueNumber = 0;
    std::int16_t residueType = -1;  // row of the residue table, -1 for a name not in it; of a
                                    // modified residue of an entry its parent's
    char insertionCode = ' ';
    char chainId = ' ';  // as records show it: the first character of the chain's name
    char alternateLocation = ' ';
    std::uint16_t subunit = 0;  // as in ResidueId
    FixedText<4> name;
    FixedText<3> residueName;
    FixedText<4> segmentId;
    FixedText<2> element;
    FixedText<2> charge;

    bool matches(std::uint32_t mask) const { return (classification & mask) == mask; }
    ResidueId residueId() const { return {residueNumber, insertionCode, subunit}; }
    Vec3 place() const { return {x, y, z}; }
};

// A run of consecutive atoms with one residue number and insertion code, in a complex of one chain.
struct Residue {
    std::uint32_t first = 0, end = 0;  // atoms [first, end) of the chain, in file order
    std::uint32_t n = kNoAtom, ca = kNoAtom, c = kNoAtom, o = kNoAtom, beta = kNoAtom;
    bool breakAfter = false;  // the chain is broken between this residue and the next
};

// A chain of a file; or a complex, all of its chains one after the other as if they were one.
struct Chain {
    std::vector<Atom> atoms;        // file order
    std::vector<Residue> residues;  // as buildResidues() left them
    std::string fileName;           // the path as given
    std::uint32_t number = 0;       // 1-based position in its file, or model ID in a list
    std::string name = " ";         // what its file calls it; PDB files give one character; of a
                                    // complex the names of its chains with commas between
    bool isSegment = false;         // the name is that of a segment of a PDB file, whose column for
                                    // the chain is blank
    // Of a complex the names of its chains, in the order of their atoms; empty for a single chain,
    // and not for a complex that happens to have one: it is still paired by the name.
    std::vector<std::string> subunits{};
    // Of a file with several models which one, counted from 1 as they stand in it; else 0.
    std::uint32_t modelPlace = 0;
    bool namesModel = false;  // the file name is the path and ":n", n being the model's number

    // The path of the file itself.
    std::string path() const {
        return namesModel ? fileName.substr(0, fileName.rfind(':')) : fileName;
    }

    // What messages and records show of the name.
    char letter() const { return name.empty() ? ' ' : name.front(); }
};

// The chains of one file, in order of first appearance.
struct ChainSet {
    std::vector<Chain> chains;
    std::string fileName;
    std::uint32_t number = 0;
};

// The models of a list, in list order; each chain's number is its 1-based ID.  IDs of models that
// could not be read are missing.
struct ChainList {
    std::vector<Chain> chains;
};

// Builds the residues of a chain from its atoms.  A residue whose atoms do not follow each other
// ends the array: "Residue assignment error" is logged and the atoms from there on have no residue.
void buildResidues(Chain& chain, Log& log);

// One chain of all, in their order; number and file name are those of the first.
// REQUIRES: there is one, none is a complex, their residues are built, and there are fewer than
// 2^16.
Chain joinChains(std::vector<Chain> chains);

// Radius of gyration over all C-alpha atoms, unweighted, Å; 0 without any.
double radiusOfGyration(const Chain& chain);

// One letter per residue, from the residue names.
std::string oneLetterSequence(const Chain& chain);

// --- Codes and records ---------------------------------------------------------------------------

// Rows of the residue table: those after the last amino acid are nucleotides.
inline constexpr int kGlycine = 0;
inline constexpr int kLastAminoAcid = 23;

// Row of the residue table for a three-letter name, -1 for none.
int residueIndex(std::string_view name);
// One-letter code of a three-letter name; "X" when there is none.  A third character "X" is "X" at
// once, so that ASX and GLX read as "X" in sequences.
char oneLetterCode(std::string_view name);
// The same of an atom's residue; a modified one, whose type is that of its parent, has the
// parent's.
char oneLetterCode(const Atom& atom);
// Classification of a four-character atom name in a residue of the given type.
std::uint32_t classifyAtomName(std::string_view name, int residueType);

// Residue number and insertion code as in columns 23 to 27 of a PDB file.  Numbers above 9999 are
// written in base 36, from "A000" on (hybrid-36, Grosse-Kunstleve).
std::string residueColumns(ResidueId residue);

// A coordinate in the eight columns of a record.  Of a huge one the last characters are cut off, so
// that the columns do not shift.
std::string formatCoordinate(double value);
// An ATOM record of 80 columns and a line end, with `serial` as its serial number.
std::string formatFullAtomLine(const Atom& atom, int serial);

// --- For callers of the library ------------------------------------------------------------------
// The program needs none of these.

// Three-letter name of the first row with this code; none when there is no such row.
std::optional<std::string_view> threeLetterName(char code);
// Three-letter name of a row, "UNK" for a number that is none.
std::string_view threeLetterNameOf(int index);
// Code of rows 0 to 19, lower-case "x" for every other number.
char oneLetterOf(int index);
// Row for an upper-case one-letter code, -1 for none.
int indexOfCode(char letter);

// An ATOM record of 54 columns and a line end, with the atom's own serial number: no chain, no
// alternate location.  Coordinates are cut as above.
std::string formatAtomLine(const Atom& atom);

// A header of REMARK 99 lines, a full ATOM line for each atom with serial numbers from 1, and TER
// when there was an atom.
void writeChain(OutputFile& file, const Chain& chain);

// Write a file that replaces an older one when it is complete; false when it is not.  With
// `takeName` the chain or set then carries the last component of `path` as its file name.
bool writeChainFile(Chain& chain, const std::string& path, bool takeName);
bool writeChainSetFile(ChainSet& set, const std::string& path, bool takeName);

// Writes each chain to "<directory>/model.<number>.pdb".  Goes on after a failure; true when every
// file was written.
bool writeModels(ChainSet& set, const std::string& directory, bool takeName, Log& log);

}  // namespace tervolanda
