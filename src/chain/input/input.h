// How structures come in: files of one structure, lists of models, and the residues to leave out.
//
// A file's bytes become text (structure_text.h), a reader of its format makes atoms of the text
// (pdb_columns.h, pdb_entry.h, mmcif_atoms.h), a builder makes chains of the atoms that are wanted
// (chain_builder.h, entry.h), and what the request asks for is checked (checks.h).  Selection,
// exclusions and checks are the same for all formats.
//
// What cannot be used is an ERROR line and an empty result; the caller decides whether the run goes
// on.  Two ways to read a PDB file live side by side: the lenient one of ATOM records, which
// programs that make models were written for, and that of entries (EntryRules), which understands
// what databanks publish.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "chain/chain.h"

namespace tervolanda {

class Log;

// What is read of a file; one that holds more is refused.  No real file comes near, and a stream
// that never ends gets there soon.
inline constexpr std::size_t kLongestStructure = std::size_t{1} << 30;   // bytes, decompressed
inline constexpr std::size_t kMostAtoms = std::size_t{1} << 24;          // of a structure file
inline constexpr std::size_t kMostParts = std::size_t{1} << 16;          // chains and models of one
inline constexpr std::size_t kLongestList = std::size_t{1} << 26;        // bytes
inline constexpr std::size_t kLongestExclusions = std::size_t{1} << 24;  // bytes

// Which atoms to keep and which checks to run.  ReadModelPrepare and ReadCompleteModel name steps
// that this library does not have; the first of them still makes the checks run.
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

// Which of a residue's alternate places are taken: those of the highest mean occupancy, the first
// of equal ones; those that come first in the file; or those of a letter, and the best where a
// residue does not have it.
enum class Conformers : std::uint8_t { Best, First, Lettered };

// In place of a chain's name: all protein chains, joined.  A chain that its author named like this
// can still be had by mmCIF's own name.
inline constexpr std::string_view kAllChains = "all";

// What is taken of an entry, a file as databanks and predictors write them: protein residues,
// HETATM or not, of one chain or all, one model and one conformer.  Text in mmCIF is always read as
// an entry.
struct EntryRules {
    bool readsPdb = false;  // PDB text is, too, and the content tells what a file is
    // By its author's name, or by mmCIF's own after "label:"; empty for the only one, kAllChains
    // for all of them as one complex.
    std::string chain{};
    std::optional<int> model{};  // its number in a file of several; none for the first
    bool allModels = false;      // in lists every model is a structure of its own
    Conformers conformers = Conformers::Best;
    char conformer = 'A';  // with Conformers::Lettered

    bool takesComplex() const { return chain == kAllChains; }
};

struct ReadRequest {
    std::uint16_t options = ReadCalphaOnly | ReadCheckDuplicates | ReadCheckAll;
    EntryRules entry;
    std::string templateSequence;  // expected one-letter codes by residue number; empty for none
    std::size_t minimumCalphas = 0;
    int maximumGap = 1;               // residue numbers, with ReadCheckGap
    double maximumCompactness = 0.0;  // limit of ReadCheckRadius
    // Refuses a file of which not all is read as it was meant: fields of a PDB record that are not
    // in their columns, text that breaks off, atoms of a residue that do not follow each other.
    bool strict = false;
};

// Residues that no read returns, each named as in columns 23 to 27 of a PDB file's records: the
// number at the right of four characters, and the insertion code.  Looked up for every residue of
// every file, so that an empty set must cost nothing.
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

// Reads a structure file: PDB text, or mmCIF where it begins with "data_", gzip-compressed (suffix
// ".gz") or not, or standard input ("-").  Selects atoms by the first of ReadAllAtoms,
// ReadBackboneAndBeta and ReadCalphaOnly that is set, checks every chain and drops those that fail.
// None, after ERROR lines, when no chain is left or, with ReadSingleChain, when the file has more
// than one.
std::optional<ChainSet> readStructureFile(const std::string& path, const ReadRequest& request,
                                          const ResidueExclusions& exclusions, Log& log);

// The same for a file that must hold exactly one chain or, where the request takes complexes, any
// number of them, which come back joined: none when one of them cannot be used, since a complex
// that lacks a chain would be compared as if it were whole.
std::optional<Chain> readChain(const std::string& path, const ReadRequest& request,
                               const ResidueExclusions& exclusions, Log& log);

// A file of a list that could not be read, and the first ERROR line about it.
struct UnreadModel {
    std::uint32_t id = 0;
    std::string path;
    std::string reason;
};

// How the files of a list are read: each as readChain() reads one.  What is lent has to outlive the
// reading.
struct ListRequest {
    const ReadRequest& structure;
    const ResidueExclusions& exclusions;
    // List and messages do not depend on the number of threads that read the files.
    std::size_t threads = 1;
    // Files that cannot be read are appended here, where there is one.
    std::vector<UnreadModel>* unread = nullptr;
    // Where there is one, only the models are read for whose IDs it returns true; their files hold
    // one.
    std::function<bool(std::uint32_t id)> wanted{};
};

// Reads the models that a list file names, one path a line, and appends those that can be read to
// `list`; returns their number.  `counter` is the caller's running ID: it starts at 0, and every
// line that names a file takes the next ID, whether the file can be read or not; of a file whose
// models are structures of their own every model does.
std::size_t readModelList(const std::string& path, std::uint32_t& counter,
                          const ListRequest& request, ChainList& list, Log& log);

// The same for what `path` names: the structure files of a folder, in the natural order of their
// names ("model_2" before "model_10"), those that match a pattern of the shell, one structure file,
// or those of a list file, where relative paths count from the folder of the list.
std::size_t readModelsAt(const std::string& path, std::uint32_t& counter,
                         const ListRequest& request, ChainList& list, Log& log);

// For callers of the library: the same for the structure files of these paths.
std::size_t readModelFiles(std::span<const std::string> paths, std::uint32_t& counter,
                           const ListRequest& request, ChainList& list, Log& log);

// What a list file holds, its models unread.
struct ListSummary {
    std::uint32_t models = 0;    // lines that name a file
    std::uint32_t checksum = 0;  // CRC-32 of all bytes
};
// None, after an ERROR line, when it cannot be read.
std::optional<ListSummary> summariseModelList(const std::string& path, Log& log);

// Whether the file can be read a second time: standard input, pipes and devices cannot, nor can a
// model of a file by its name ("file:n").
bool canBeReadAgain(const std::string& path);
// All text of a structure file, decompressed; none for one that cannot be read to its end or is
// longer than kLongestStructure.
std::optional<std::string> readStructureText(const std::string& path);

// CRC-32 (ISO 3309) of the bytes of a regular file, as they lie there; none for any other, standard
// input ("-") among them, and, after an ERROR line, for one that cannot be read.
std::optional<std::uint32_t> fileChecksum(const std::string& path, Log& log);

// Adds the keys of a residue exclusion file (the first five characters of every line).  False,
// after an ERROR line, when it cannot be read.
bool readResidueExclusionFile(const std::string& path, ResidueExclusions& exclusions, Log& log);

// For callers of the library, the program itself does not need it: deletes every atom of this
// residue, with an INFO line of level 1.  The chain is then without residues until they are built
// again.
void removeResidue(Chain& chain, ResidueId residue, Log& log);

}  // namespace tervolanda
