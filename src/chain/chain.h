// The chain model: atoms, residues and chains as plain values, and the ways they come in and go
// out.  This is what the other rooms may use; what stands in the room's other headers is its own.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "base/text.h"

namespace tervolanda {

class Log;

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

struct Atom {
    double x = 0.0, y = 0.0, z = 0.0;  // Å
    double occupancy = 1.0;
    double bFactor = 0.0;              // Å²
    std::uint32_t classification = 0;  // AtomNameBits
    std::int32_t serial = 0;           // set by the code that writes, never read
    std::int16_t residueNumber = 0;
    std::int16_t residueType = -1;  // row of the residue table, -1 for a name not in it
    char insertionCode = ' ';
    char chainId = ' ';
    char alternateLocation = ' ';
    FixedText<4> name;
    FixedText<3> residueName;
    FixedText<4> segmentId;
    FixedText<2> element;
    FixedText<2> charge;

    bool matches(std::uint32_t mask) const { return (classification & mask) == mask; }
};

// A run of consecutive atoms with one residue number and insertion code.
struct Residue {
    std::uint32_t first = 0, end = 0;  // atoms [first, end) of the chain, in file order
    std::uint32_t n = kNoAtom, ca = kNoAtom, c = kNoAtom, o = kNoAtom, beta = kNoAtom;
    bool breakAfter = false;  // the chain is broken between this residue and the next
};

struct Chain {
    std::vector<Atom> atoms;        // file order
    std::vector<Residue> residues;  // as buildResidues() left them
    std::string fileName;           // the path as given
    std::uint32_t number = 0;       // 1-based position in its file, or model ID in a list
    char id = ' ';                  // PDB chain identifier
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

// Radius of gyration over all C-alpha atoms, unweighted, Å; 0 without any.
double radiusOfGyration(const Chain& chain);

// One letter a residue, from the residue names.
std::string oneLetterSequence(const Chain& chain);

// --- Residue codes -------------------------------------------------------------------------------

// Row of the residue table for a three-letter name, -1 for none.
int residueIndex(std::string_view name);
// One-letter code of a three-letter name; "X" when there is none.  A third character "X" is "X" at
// once, so that ASX and GLX read as "X" in sequences.
char oneLetterCode(std::string_view name);
// Three-letter name of the first row with this code; none when there is no such row.
std::optional<std::string_view> threeLetterName(char code);
// Three-letter name of a row, "UNK" for a number that is none.
std::string_view threeLetterNameOf(int index);
// Code of rows 0 to 19, lower-case "x" for every other number.
char oneLetterOf(int index);
// Row for an upper-case one-letter code, -1 for none.
int indexOfCode(char letter);
// Classification of a four-character atom name in a residue of the given type.
std::uint32_t classifyAtomName(std::string_view name, int residueType);

// --- Reading -------------------------------------------------------------------------------------

// What is read of a file; one that holds more is refused.  No real file comes near, and a stream
// that never ends gets there soon.
inline constexpr std::size_t kLongestStructure = std::size_t{1} << 30;   // bytes, decompressed
inline constexpr std::size_t kMostAtoms = std::size_t{1} << 24;          // of a structure file
inline constexpr std::size_t kLongestList = std::size_t{1} << 26;        // bytes
inline constexpr std::size_t kLongestExclusions = std::size_t{1} << 24;  // bytes

// What to read and which checks to run; the bits are tested as documented at readStructureFile.
enum ReadOptions : std::uint16_t {
    ReadCheckGap = 0x0001,
    ReadCalphaOnly = 0x0002,
    ReadBackboneAndBeta = 0x0004,
    ReadAllAtoms = 0x0008,
    ReadCheckDuplicates = 0x0010,
    ReadCheckAll = 0x0020,
    ReadCheckCalphaDistance = 0x0040,
    ReadStrictBackbone = 0x0080,
    ReadSingleChain = 0x0100,
    ReadCheckInsertionCodes = 0x0200,
    ReadNoHydrogen = 0x0400,
    ReadModelPrepare = 0x0800,
    ReadCheckBreaks = 0x1000,
    ReadCheckBackbone = 0x2000,
    ReadCheckRadius = 0x4000,
    ReadCompleteModel = 0x8000,
};

struct ReadRequest {
    std::uint16_t options = ReadCalphaOnly | ReadCheckDuplicates | ReadCheckAll;
    std::string templateSequence;  // expected one-letter codes by residue number; empty for none
    std::size_t minimumCalphas = 0;
    int maximumGap = 1;               // residue numbers, with ReadCheckGap
    double maximumCompactness = 0.0;  // limit of ReadCheckRadius
};

// Residues that no read returns, each named by columns 23 to 27 of its atom records.
class ResidueExclusions {
 public:
    void add(std::string_view key) { keys_.emplace(key.substr(0, kKeyWidth)); }
    // `columns` is the five characters of residue number and insertion code.
    bool excludes(std::string_view columns) const {
        return !keys_.empty() && keys_.contains(std::string(columns));
    }
    std::size_t size() const { return keys_.size(); }

    static constexpr std::size_t kKeyWidth = 5;

 private:
    std::unordered_set<std::string> keys_;
};

// Reads a structure file: PDB text, the same gzip-compressed (suffix ".gz"), or standard input
// ("-").  Selects atoms by the first of ReadAllAtoms, ReadBackboneAndBeta and ReadCalphaOnly that
// is set, checks every chain and drops those that fail.  None, after ERROR lines, when no chain is
// left or, with ReadSingleChain, when the file has more than one.
std::optional<ChainSet> readStructureFile(const std::string& path, const ReadRequest& request,
                                          const ResidueExclusions& exclusions, Log& log);

// The same for a file that must hold exactly one chain.
std::optional<Chain> readChain(const std::string& path, const ReadRequest& request,
                               const ResidueExclusions& exclusions, Log& log);

// Reads the models that a list file names, one path a line, and appends those that can be read to
// `list`; returns their number.  `counter` is the caller's running ID: it starts at 0, and every
// line that names a file takes the next ID, whether the file can be read or not.
std::size_t readModelList(const std::string& path, std::uint32_t& counter,
                          const ReadRequest& request, const ResidueExclusions& exclusions, Log& log,
                          ChainList& list);

// Adds the keys of a residue exclusion file (the first five characters of every line).  False,
// after an ERROR line, when it cannot be read.
bool readResidueExclusionFile(const std::string& path, ResidueExclusions& exclusions, Log& log);

// --- Writing -------------------------------------------------------------------------------------

// An ATOM record of 54 columns and a line end: no chain, no alternate location.  Coordinates are
// cut to eight characters, so that a huge one does not shift the columns.
std::string formatAtomLine(const Atom& atom);
// An ATOM record of 80 columns and a line end, with `serial` as its serial number.
std::string formatFullAtomLine(const Atom& atom, int serial);

}  // namespace tervolanda
