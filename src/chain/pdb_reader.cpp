// Reads PDB coordinate files.  Only lines that begin with "ATOM" count, and the fields of a record
// stand in fixed columns.  A compressed file is not taken apart into lines: its text is searched
// for records as it comes out of the decompressor, so that a record is found wherever it begins.
#include "chain/pdb_reader.h"

#include <sys/stat.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>
#include <vector>

#include "base/file.h"
#include "chain/chain_checks.h"
#include "driver/log.h"

namespace tervolanda {

namespace {

constexpr std::size_t kRecordWidth = 80;
constexpr std::size_t kPlacementWidth = 54;  // up to the z coordinate
constexpr std::size_t kShortestRecord = 54;  // in compressed text
constexpr std::string_view kRecordName = "ATOM";
constexpr std::string_view kScannedName = "ATOM  ";
constexpr std::size_t kPieceLength = 80;  // plain text is read in pieces of at most so many
// Compressed streams are read in small steps, because a step in which the stream breaks off is
// lost.
constexpr std::size_t kReadLength = 81;
constexpr int kLastAminoAcid = 23;  // rows of the residue table behind it are nucleotides

// The columns of an atom record, counted from 1.  Columns up to 54 that its line does not have are
// blank; those behind them are there in records of full width only.
class Record {
 public:
    explicit Record(std::string_view line) {
        line = line.substr(0, kRecordWidth);
        if (line.ends_with('\n')) line.remove_suffix(1);
        if (line.ends_with('\r')) line.remove_suffix(1);
        isFull_ = line.size() == kRecordWidth;
        if (line.size() < kPlacementWidth) {
            padded_.fill(' ');
            std::copy(line.begin(), line.end(), padded_.begin());
            line = {padded_.data(), padded_.size()};
        }
        text_ = line.data();
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    std::string_view columns(std::size_t first, std::size_t last) const {
        return {text_ + first - 1, last - first + 1};
    }
    char column(std::size_t place) const { return text_[place - 1]; }
    bool isFull() const { return isFull_; }

 private:
    const char* text_;  // the line itself or the padded copy
    std::array<char, kPlacementWidth> padded_;
    bool isFull_;
};

// Written in place, character by character: half of an atom's fields are texts.
template <std::size_t Width>
void assign(FixedText<Width>& text, std::string_view columns) {
    for (std::size_t i = 0; i < Width; ++i)
        text[i] = columns[i];
}

// The number in a field of at most eight columns.  Nearly all fields are digits and a point: the
// quotient of two whole numbers that a double holds exactly is the double nearest to the decimal
// number, at a fraction of the cost of the general conversion, which takes all other fields.
double fieldReal(std::string_view field) {
    static constexpr std::array<double, 9> kPowersOfTen = {1.0, 1e1, 1e2, 1e3, 1e4,
                                                           1e5, 1e6, 1e7, 1e8};
    std::size_t i = 0;
    while (i < field.size() && field[i] == ' ')
        ++i;
    const bool isNegative = i < field.size() && field[i] == '-';
    if (isNegative) ++i;
    std::uint32_t digits = 0;
    const auto takeDigits = [&] {
        const std::size_t first = i;
        for (; i < field.size() && field[i] >= '0' && field[i] <= '9'; ++i)
            digits = digits * 10 + static_cast<std::uint32_t>(field[i] - '0');
        return i - first;
    };
    takeDigits();
    if (i < field.size() && field[i] == '.') ++i;
    const std::size_t decimals = takeDigits();
    if (i < field.size()) return leadingReal(field);
    const double value = digits / kPowersOfTen[decimals];
    return isNegative ? -value : value;
}

bool namesHydrogen(const FixedText<4>& name) {
    return name[1] == 'H' && (name[0] == ' ' || (name[0] >= '0' && name[0] <= '9'));
}

void takePlacement(const Record& record, Atom& atom) {
    atom.alternateLocation = record.column(17);
    atom.chainId = record.column(22);
    atom.residueNumber = static_cast<std::int16_t>(leadingInteger(record.columns(23, 26)));
    atom.insertionCode = record.column(27);
    atom.x = fieldReal(record.columns(31, 38));
    atom.y = fieldReal(record.columns(39, 46));
    atom.z = fieldReal(record.columns(47, 54));
}

// What only records of full width have.
void takeFullWidthFields(const Record& record, Atom& atom) {
    atom.occupancy = fieldReal(record.columns(55, 60));
    atom.bFactor = fieldReal(record.columns(61, 66));
    assign(atom.segmentId, record.columns(73, 76));
    assign(atom.element, record.columns(77, 78));
    assign(atom.charge, record.columns(79, 80));
    if (namesHydrogen(atom.name)) atom.element[0] = ' ';
}

struct GzCloser {
    void operator()(gzFile_s* file) const { gzclose(file); }
};
using GzHandle = std::unique_ptr<gzFile_s, GzCloser>;

// Such a path would open another file: a C string ends at its first NUL.
bool hasNul(const std::string& path) {
    return path.find('\0') != std::string::npos;
}

bool isDirectory(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool readPlainText(const std::string& path, RecordTaker& taker, Log& log) {
    FileHandle opened;
    std::FILE* file = stdin;
    if (path != "-") {
        if (!hasNul(path)) opened = openForReading(path);
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
    if (reader.failed()) {
        log.error(0, "Problem reading input file '%s' - %s", path.c_str(), systemErrorText());
    }
    return true;
}

bool readCompressedText(const std::string& path, RecordTaker& taker, Log& log) {
    const GzHandle file(hasNul(path) || isDirectory(path) ? nullptr : gzopen(path.c_str(), "rb"));
    if (!file) {
        log.error(0, "Can't open z-compressed input file '%s'", path.c_str());
        return false;
    }
    RecordScanner scanner(taker);
    std::array<char, kReadLength * 64> block;
    int got = 0;
    do {
        std::size_t filled = 0;
        do {
            const std::size_t wanted = std::min(kReadLength, block.size() - filled);
            got = gzread(file.get(), block.data() + filled, static_cast<unsigned>(wanted));
            if (got > 0) filled += static_cast<std::size_t>(got);
        } while (got > 0 && filled < block.size());
        scanner.append({block.data(), filled});
    } while (got > 0);
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

// Reads all records of a file; false, after an ERROR line, when it cannot be opened.
bool readRecords(const std::string& path, InputKind kind, RecordTaker& taker, Log& log) {
    return kind == InputKind::Compressed ? readCompressedText(path, taker, log)
                                         : readPlainText(path, taker, log);
}

// Drops the chains that fail their checks, and builds the residues of the others.
void keepValidChains(const ReadRequest& request, ChainSet& set, Log& log) {
    std::vector<Chain> valid;
    for (Chain& chain : set.chains) {
        if (!checkChain(chain, request, log)) {
            log.error(0, "Invalid chain '%c'", chain.id);
            continue;
        }
        if (chain.residues.empty()) buildResidues(chain, log);
        valid.push_back(std::move(chain));
    }
    set.chains = std::move(valid);
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

int RecordTaker::residueTypeOf(std::string_view name) {
    if (name != latestName_.view()) {
        assign(latestName_, name);
        latestType_ = residueIndex(name);
    }
    return latestType_;
}

void RecordTaker::take(std::string_view line) {
    const Record record(line);
    if (exclusions_.size() > 0 && exclusions_.excludes(record.columns(23, 27))) return;
    const int residueType = residueTypeOf(record.columns(18, 20));
    if (residueType > kLastAminoAcid) return;
    const std::uint32_t classification = classifyAtomName(record.columns(13, 16), residueType);
    if (!isSelected(classification)) return;
    Atom& atom = chainOf(record.column(22)).atoms.emplace_back();
    assign(atom.name, record.columns(13, 16));
    assign(atom.residueName, record.columns(18, 20));
    atom.residueType = static_cast<std::int16_t>(residueType);
    atom.classification = classification;
    takePlacement(record, atom);
    if (record.isFull()) takeFullWidthFields(record, atom);
}

namespace {

// Where the next "ATOM" and two blanks begins.  Its "M" is what is looked for: other letters of the
// name stand in nearly every record.
std::size_t findRecord(std::string_view text, std::size_t begin) {
    constexpr std::size_t kPlaceOfM = 3;
    static_assert(kScannedName[kPlaceOfM] == 'M');
    for (std::size_t at = begin + kPlaceOfM; at < text.size(); ++at) {
        at = text.find('M', at);
        if (at == std::string_view::npos) break;
        if (text.substr(at - kPlaceOfM, kScannedName.size()) == kScannedName) return at - kPlaceOfM;
    }
    return std::string_view::npos;
}

}  // namespace

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
        const std::size_t match = findRecord(text, begin);
        if (match == std::string_view::npos) {
            // The end may hold the beginning of a match.
            begin = std::max(begin, text.size() - std::min(text.size(), kScannedName.size() - 1));
            break;
        }
        begin = match;
        const std::string_view rest = text.substr(match);
        const std::size_t lineEnd = rest.substr(0, kRecordWidth).find('\n');
        const bool isComplete = rest.size() >= kRecordWidth || lineEnd != std::string_view::npos;
        if (rest.size() < kShortestRecord || !(isComplete || isEnd)) break;
        taker_.take(rest.substr(0, lineEnd));
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
