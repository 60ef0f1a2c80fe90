// Reads PDB coordinate files.  Only lines that begin with "ATOM" count, and the fields of a record
// stand in fixed columns.  A compressed file is not taken apart into lines: its text is searched
// for records as it comes out of the decompressor, so that a record is found wherever it begins.
#include "chain/pdb_reader.h"

#include <sys/stat.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "base/file.h"
#include "base/log.h"
#include "chain/chain_checks.h"

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
constexpr std::size_t kMostAtOnce = std::size_t{1} << 24;  // bytes, packed or not
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

// Written in place: half of an atom's fields are texts.
template <std::size_t Width>
void assign(FixedText<Width>& text, std::string_view columns) {
    std::copy_n(columns.begin(), Width, &text[0]);
}

// Eight columns as one number, the first in its lowest byte.
std::uint64_t packedColumns(const char* text) {
    std::uint64_t columns = 0;
    std::memcpy(&columns, text, sizeof(columns));
    if constexpr (std::endian::native == std::endian::big) columns = __builtin_bswap64(columns);
    return columns;
}

// The number in a field.  Nearly all fields are blanks, a minus sign or none, digits, the point,
// and three digits: where `columns`, the field written in eight columns, are such, all of them are
// converted together.  A loop over them mispredicts where the digits begin, a branch mispredicts
// the sign: this is a sixth of the time to read all atoms.  The digits are a whole number below
// 10^7, and its quotient by 1000 is the double nearest to the decimal number.  Any other field
// takes the general conversion.
inline double fieldReal(std::string_view field, std::uint64_t columns) {
    constexpr std::uint64_t kInteger = 0x00000000FFFFFFFF;  // the columns before the point
    constexpr std::uint64_t kPoint = 0x000000FF00000000;
    // 0 to 9 where there is a digit, and 0 for the point.
    const std::uint64_t values = columns ^ 0x3030302E30303030;
    const std::uint64_t others = ((values + 0x7676767676767676) | values) & 0x8080808080808080;
    // All bits of the columns that are no digit; they have to be the first ones.
    const std::uint64_t lead = (others << 1) - (others >> 7);
    const std::uint64_t sign = (columns ^ 0x2020202020202020) & lead;  // 0 where all are blank
    const std::uint64_t minus = (lead + 1) * ('-' ^ ' ') >> 8;         // in the last of them
    // With a sign that is neither, the product of two numbers below 2^32 is not 0.
    const std::uint64_t faults =
        (lead & ~kInteger) | (lead & (lead + 1)) | (values & kPoint) | sign * (sign ^ minus);
    if (faults != 0) [[unlikely]]
        return leadingReal(field);

    // Neighbours are joined to two digits, to four, and these by the weight of the point.
    std::uint64_t digits = values & ~lead;
    digits = digits * (10 << 8 | 1) >> 8 & 0x00FF00FF00FF00FF;
    digits = digits * (100 << 16 | 1) >> 16 & 0x0000FFFF0000FFFF;
    digits = digits * (std::uint64_t{1000} << 32 | 1) >> 32;
    // The sign is the divisor's, so that zero has it too.
    static constexpr std::array<double, 2> kDivisors = {1000.0, -1000.0};
    return static_cast<double>(static_cast<std::int64_t>(digits)) /
           kDivisors[static_cast<std::size_t>(sign != 0)];
}

bool namesHydrogen(const FixedText<4>& name) {
    return name[1] == 'H' && (name[0] == ' ' || (name[0] >= '0' && name[0] <= '9'));
}

double coordinate(const Record& record, std::size_t first) {
    const std::string_view field = record.columns(first, first + 7);
    return fieldReal(field, packedColumns(field.data()));
}

// A number in six columns, with two decimals as a rule: a blank before and a zero behind them make
// it the same number with three.  There are columns on both sides.  Most numbers are the same as in
// the record before, the `latest`: all occupancies, and the B-factors of a residue in a prediction.
// Looking at that first takes a tenth off reading all atoms of plain files.
template <typename ShortNumber>
double shortReal(const Record& record, std::size_t first, ShortNumber& latest) {
    const std::uint64_t columns =
        (packedColumns(record.columns(first - 1, first + 6).data()) & 0x00FFFFFFFFFFFF00) |
        0x3000000000000020;
    if (columns != latest.columns) {
        latest = {columns, fieldReal(record.columns(first, first + 5), columns)};
    }
    return latest.value;
}

void takePlacement(const Record& record, Atom& atom) {
    atom.alternateLocation = record.column(17);
    atom.chainId = record.column(22);
    atom.insertionCode = record.column(27);
    atom.x = coordinate(record, 31);
    atom.y = coordinate(record, 39);
    atom.z = coordinate(record, 47);
}

// The texts that only records of full width have.
void takeFullWidthTexts(const Record& record, Atom& atom) {
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

bool refuseLength(const std::string& path, Log& log) {
    log.error(0, "Input file '%s' is longer than %zu bytes", path.c_str(), kLongestStructure);
    return false;
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
    LineReader reader(file, kLongestStructure);
    while (const auto piece = reader.next(kPieceLength)) {
        if (piece->starts_with(kRecordName)) taker.take(*piece);
        if (taker.exceeds()) break;
    }
    if (reader.exceeded()) return refuseLength(path, log);
    if (reader.failed()) {
        log.error(0, "Problem reading input file '%s' - %s", path.c_str(), systemErrorText());
    }
    return true;
}

// The bytes of a regular file of moderate length; empty for any other.
std::string readAtOnce(const std::string& path, const struct stat& status) {
    const auto most = static_cast<off_t>(kMostAtOnce);
    if (!S_ISREG(status.st_mode) || status.st_size > most) return {};
    const FileHandle file = openForReading(path);
    std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
    if (!file || std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) return {};
    return bytes;
}

// The text of one gzip stream of moderate length that is whole and alone, as nearly all are: taken
// apart in one go it needs six sevenths of the time of gzread.  None for anything else: how much is
// kept of a damaged stream depends on the steps in which it is read.
std::optional<std::string> inflateWhole(std::string packed) {
    constexpr int kGzipFormat = 16 + MAX_WBITS;
    constexpr std::size_t kShortestStream = 18;
    constexpr std::size_t kLargestFactor = 1032;  // deflate makes nothing shorter
    if (packed.size() < kShortestStream) return std::nullopt;
    std::size_t length = 0;  // stands in the last four bytes
    for (std::size_t i = 1; i <= 4; ++i)
        length = length << 8 | static_cast<unsigned char>(packed[packed.size() - i]);
    if (length > std::min(kMostAtOnce, kLargestFactor * packed.size())) return std::nullopt;
    std::string text(length, '\0');
    z_stream stream{};
    if (inflateInit2(&stream, kGzipFormat) != Z_OK) return std::nullopt;
    stream.next_in = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data());
    stream.avail_out = static_cast<uInt>(length);
    const bool isWhole =
        inflate(&stream, Z_FINISH) == Z_STREAM_END && stream.avail_in == 0 && stream.avail_out == 0;
    inflateEnd(&stream);
    if (!isWhole) return std::nullopt;
    return text;
}

// Hands the text of an opened file to the scanner, as much of it as is kept; false when it is too
// long.
bool scanInSteps(gzFile_s* file, RecordScanner& scanner, const std::string& path,
                 const RecordTaker& taker, Log& log) {
    std::size_t length = 0;
    std::array<char, kReadLength * 64> block;
    int got = 0;
    do {
        std::size_t filled = 0;
        do {
            const std::size_t wanted = std::min(kReadLength, block.size() - filled);
            got = gzread(file, block.data() + filled, static_cast<unsigned>(wanted));
            if (got > 0) filled += static_cast<std::size_t>(got);
        } while (got > 0 && filled < block.size());
        length += filled;
        if (length > kLongestStructure) return refuseLength(path, log);
        scanner.append({block.data(), filled});
    } while (got > 0 && !taker.exceeds());
    if (got < 0) log.error(0, "Problem reading compressed data stream");
    return true;
}

bool readCompressedText(const std::string& path, RecordTaker& taker, Log& log) {
    struct stat status {};
    const bool isThere =
        !hasNul(path) && stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
    RecordScanner scanner(taker);
    if (const auto text = isThere ? inflateWhole(readAtOnce(path, status)) : std::nullopt) {
        scanner.append(*text);
    } else {
        const GzHandle file(isThere ? gzopen(path.c_str(), "rb") : nullptr);
        if (!file) {
            log.error(0, "Can't open z-compressed input file '%s'", path.c_str());
            return false;
        }
        if (!scanInSteps(file.get(), scanner, path, taker, log)) return false;
    }
    scanner.finish();
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
    if (!chains.empty() && chains[latest_].id == id) return chains[latest_];
    for (latest_ = 0; latest_ < chains.size(); ++latest_) {
        if (chains[latest_].id == id) return chains[latest_];
    }
    Chain& chain = chains.emplace_back();
    chain.id = id;
    chain.number = static_cast<std::uint32_t>(chains.size());
    return chain;
}

// Most records repeat the residue of the one before.
const RecordTaker::ResidueColumns& RecordTaker::residueOf(std::string_view columns) {
    ResidueColumns& residue = latestResidue_;
    if (columns == residue.text.view()) return residue;
    assign(residue.text, columns);
    assign(residue.name, columns.substr(0, 3));
    residue.type = static_cast<std::int16_t>(residueIndex(columns.substr(0, 3)));
    residue.number = static_cast<std::int16_t>(leadingInteger(columns.substr(5, 4)));
    residue.isTaken = residue.type <= kLastAminoAcid && !exclusions_.excludes(columns.substr(5));
    return residue;
}

void RecordTaker::take(std::string_view line) {
    const Record record(line);
    const ResidueColumns& residue = residueOf(record.columns(18, 27));
    if (!residue.isTaken) return;
    const std::uint32_t classification = classifyAtomName(record.columns(13, 16), residue.type);
    if (!isSelected(classification) || ++atoms_ > kMostAtoms) return;
    Atom& atom = chainOf(record.column(22)).atoms.emplace_back();
    assign(atom.name, record.columns(13, 16));
    atom.residueName = residue.name;
    atom.residueType = residue.type;
    atom.residueNumber = residue.number;
    atom.classification = classification;
    takePlacement(record, atom);
    if (!record.isFull()) return;
    atom.occupancy = shortReal(record, 55, latestOccupancy_);
    atom.bFactor = shortReal(record, 61, latestBFactor_);
    takeFullWidthTexts(record, atom);
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
    if (pending_.empty()) {  // a whole text needs no copy
        pending_ = block.substr(search(block, false));
        return;
    }
    pending_ += block;
    pending_.erase(0, search(pending_, false));
}

void RecordScanner::finish() {
    search(pending_, true);
    pending_.clear();
}

std::size_t RecordScanner::search(std::string_view text, bool isEnd) {
    std::size_t begin = 0;
    for (;;) {
        const std::size_t match = findRecord(text, begin);
        if (match == std::string_view::npos) {
            // The end may hold the beginning of a match.
            return std::max(begin, text.size() - std::min(text.size(), kScannedName.size() - 1));
        }
        begin = match;
        const std::string_view rest = text.substr(match);
        const std::size_t lineEnd = rest.substr(0, kRecordWidth).find('\n');
        const bool isComplete = rest.size() >= kRecordWidth || lineEnd != std::string_view::npos;
        if (rest.size() < kShortestRecord || !(isComplete || isEnd)) return begin;
        taker_.take(rest.substr(0, lineEnd));
        ++begin;
    }
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
    if (taker.exceeds()) {
        log.error(0, "Input file '%s' has more than %zu atoms", path.c_str(), kMostAtoms);
        return std::nullopt;
    }
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
