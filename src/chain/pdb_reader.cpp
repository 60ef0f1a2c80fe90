// Reads PDB coordinate files.  Only lines that begin with "ATOM" count, and the fields of a record
// stand in fixed columns.  A compressed file is not taken apart into lines: its text is searched
// for records as it comes out of the decompressor, so that a record is found wherever it begins.
#include "chain/pdb_reader.h"

#include <sys/stat.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <memory>

#include "base/file.h"
#include "chain/chain_checks.h"
#include "driver/log.h"

namespace tervolanda {

namespace {

constexpr std::size_t kRecordWidth = 80;
constexpr std::size_t kShortestRecord = 54;  // in compressed text
constexpr std::string_view kRecordName = "ATOM";
constexpr std::string_view kScannedName = "ATOM  ";
constexpr std::size_t kPieceLength = 80;  // plain text is read in pieces of at most so many
constexpr int kLastAminoAcid = 23;        // rows of the residue table behind it are nucleotides

// The characters of 1-based columns `first` to `last` that the record has.
std::string_view columns(std::string_view record, std::size_t first, std::size_t last) {
    if (record.size() < first) return {};
    return record.substr(first - 1, last - first + 1);
}

char column(std::string_view record, std::size_t place) {
    return record.size() < place ? ' ' : record[place - 1];
}

// The part of the text up to its line end, and not beyond column 80.
std::string_view recordIn(std::string_view text) {
    text = text.substr(0, kRecordWidth);
    text = text.substr(0, text.find('\n'));
    if (text.ends_with('\r')) text.remove_suffix(1);
    return text;
}

bool namesHydrogen(const FixedText<4>& name) {
    return name[1] == 'H' && (name[0] == ' ' || (name[0] >= '0' && name[0] <= '9'));
}

void takePlacement(std::string_view record, Atom& atom) {
    atom.alternateLocation = column(record, 17);
    atom.chainId = column(record, 22);
    atom.residueNumber = static_cast<std::int16_t>(leadingInteger(columns(record, 23, 26)));
    atom.insertionCode = column(record, 27);
    atom.x = leadingReal(columns(record, 31, 38));
    atom.y = leadingReal(columns(record, 39, 46));
    atom.z = leadingReal(columns(record, 47, 54));
}

// What only records of full width have.
void takeFullWidthFields(std::string_view record, Atom& atom) {
    atom.occupancy = leadingReal(columns(record, 55, 60));
    atom.bFactor = leadingReal(columns(record, 61, 66));
    atom.segmentId = FixedText<4>(columns(record, 73, 76));
    atom.element = FixedText<2>(columns(record, 77, 78));
    atom.charge = FixedText<2>(columns(record, 79, 80));
    if (namesHydrogen(atom.name)) atom.element[0] = ' ';
}

struct GzCloser {
    void operator()(gzFile_s* file) const { gzclose(file); }
};
using GzHandle = std::unique_ptr<gzFile_s, GzCloser>;

bool isDirectory(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool readPlainText(const std::string& path, RecordTaker& taker, Log& log) {
    FileHandle opened;
    std::FILE* file = stdin;
    if (path != "-") {
        opened = openForReading(path);
        file = opened.get();
    }
    if (file == nullptr) {
        log.error(0, "Can't open input file '%s' - %s", path.c_str(), systemErrorText());
        return false;
    }
    LineReader reader(file);
    while (const auto piece = reader.next(kPieceLength)) {
        if (piece->starts_with(kRecordName)) taker.take(*piece);
    }
    return true;
}

bool readCompressedText(const std::string& path, RecordTaker& taker, Log& log) {
    const GzHandle file(isDirectory(path) ? nullptr : gzopen(path.c_str(), "rb"));
    if (!file) {
        log.error(0, "Can't open z-compressed input file '%s'", path.c_str());
        return false;
    }
    // The blocks are small because a block that the stream breaks off in is lost.
    std::array<char, kRecordWidth + 1> block;
    RecordScanner scanner(taker);
    int got = 0;
    while ((got = gzread(file.get(), block.data(), static_cast<unsigned>(block.size()))) > 0) {
        scanner.append({block.data(), static_cast<std::size_t>(got)});
    }
    scanner.finish();
    if (got < 0) log.error(0, "Problem reading compressed data stream");
    return true;
}

enum class InputKind : std::uint8_t { Plain, Compressed, Binary };

// By the suffix, in lower case only.
InputKind kindOf(const std::string& path) {
    const std::size_t dot = path.rfind('.');
    if (dot == std::string::npos || dot == 0) return InputKind::Plain;
    const std::string_view suffix = std::string_view(path).substr(dot);
    if (suffix == ".bin") return InputKind::Binary;
    if (suffix == ".gz") return InputKind::Compressed;
    return InputKind::Plain;
}

// Reads all records of a file; false, after an ERROR line, when there is no way to.
bool readRecords(const std::string& path, InputKind kind, RecordTaker& taker, Log& log) {
    // A C string ends where a path with a NUL in it would open another file.
    if (path.find('\0') != std::string::npos) {
        log.error(0, "Can't open input file '%s' - %s", path.c_str(), systemErrorText());
        return false;
    }
    return kind == InputKind::Compressed ? readCompressedText(path, taker, log)
                                         : readPlainText(path, taker, log);
}

// Drops the chains that fail their checks.
void keepValidChains(const ReadRequest& request, ChainSet& set, Log& log) {
    std::erase_if(set.chains, [&](Chain& chain) {
        if (checkChain(chain, request, log)) {
            buildResidues(chain, log);
            return false;
        }
        log.error(0, "Invalid chain '%c'", chain.id);
        return true;
    });
}

}  // namespace

bool RecordTaker::isSelected(std::uint32_t classification) const {
    const auto has = [classification](std::uint32_t bits) { return (classification & bits) != 0; };
    if ((options_ & ReadNoHydrogen) != 0 && has(NameElementH)) return false;
    if ((options_ & ReadAllAtoms) != 0) return true;
    if ((options_ & ReadBackboneAndBeta) != 0) return has(NameBackboneOrBeta);
    if ((options_ & ReadCalphaOnly) != 0) return (classification & kMaskCA) == kMaskCA;
    return true;
}

Chain& RecordTaker::chainOf(char id) {
    std::vector<Chain>& chains = set_.chains;
    if (latest_ < chains.size() && chains[latest_].id == id) return chains[latest_];
    for (latest_ = 0; latest_ < chains.size(); ++latest_) {
        if (chains[latest_].id == id) return chains[latest_];
    }
    Chain& chain = chains.emplace_back();
    chain.id = id;
    chain.number = static_cast<std::uint32_t>(chains.size());
    return chain;
}

void RecordTaker::take(std::string_view text) {
    const std::string_view record = recordIn(text);
    if (exclusions_.size() > 0 &&
        exclusions_.excludes(
            FixedText<ResidueExclusions::kKeyWidth>(columns(record, 23, 27)).view())) {
        return;
    }
    const FixedText<4> name(columns(record, 13, 16));
    const FixedText<3> residueName(columns(record, 18, 20));
    const int residueType = residueIndex(residueName.view());
    if (residueType > kLastAminoAcid) return;
    const std::uint32_t classification = classifyAtomName(name.view(), residueType);
    if (!isSelected(classification)) return;
    Atom atom;
    atom.name = name;
    atom.residueName = residueName;
    atom.residueType = static_cast<std::int16_t>(residueType);
    atom.classification = classification;
    takePlacement(record, atom);
    if (record.size() == kRecordWidth) takeFullWidthFields(record, atom);
    chainOf(atom.chainId).atoms.push_back(atom);
}

void RecordScanner::append(std::string_view block) {
    pending_ += block;
    search(false);
}

void RecordScanner::finish() {
    search(true);
    pending_.clear();
}

void RecordScanner::search(bool isEnd) {
    const std::string_view text = pending_;
    std::size_t begin = 0;
    for (;;) {
        const std::size_t match = text.find(kScannedName, begin);
        if (match == std::string_view::npos) {
            // The end may hold the beginning of a match.
            begin = std::max(begin, text.size() - std::min(text.size(), kScannedName.size() - 1));
            break;
        }
        begin = match;
        const std::string_view rest = text.substr(match);
        const bool isComplete = rest.size() >= kRecordWidth ||
                                rest.substr(0, kRecordWidth).find('\n') != std::string_view::npos;
        if (rest.size() < kShortestRecord || !(isComplete || isEnd)) break;
        taker_.take(rest);
        ++begin;
    }
    pending_.erase(0, begin);
}

std::optional<ChainSet> readStructureFile(const std::string& path, const ReadRequest& request,
                                          const ResidueExclusions& exclusions, Log& log) {
    const InputKind kind = kindOf(path);
    if (kind == InputKind::Binary) {
        log.error(0, "Failed to read loop DB binary file '%s'", path.c_str());
        log.error(0, "Invalid PDB file '%s', skipped", path.c_str());
        return std::nullopt;
    }
    ChainSet set;
    RecordTaker taker(request.options, exclusions, set);
    if (!readRecords(path, kind, taker, log)) return std::nullopt;
    if (set.chains.empty()) {
        log.error(0, "PDB contains no chains");
    } else if ((request.options & ReadSingleChain) != 0 && set.chains.size() > 1) {
        log.error(0, "Multiple chains in PDB: %d", static_cast<int>(set.chains.size()));
        set.chains.clear();
    } else {
        keepValidChains(request, set, log);
    }
    if (set.chains.empty()) {
        log.error(0, "Invalid PDB file '%s', skipped", path.c_str());
        return std::nullopt;
    }
    set.fileName = path;
    return set;
}

std::optional<Chain> readChain(const std::string& path, const ReadRequest& request,
                               const ResidueExclusions& exclusions, Log& log) {
    ReadRequest single = request;
    single.options |= ReadSingleChain;
    auto set = readStructureFile(path, single, exclusions, log);
    if (!set) return std::nullopt;
    Chain chain = std::move(set->chains.front());
    chain.fileName = set->fileName;
    return chain;
}

}  // namespace tervolanda
