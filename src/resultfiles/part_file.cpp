// All numbers are little-endian and of fixed width, doubles and floats by their bits, so that a
// part can be merged on another machine than it was made on.
//
// Writing goes through a spool, since the header holds the number of records and the list of those
// models that could be read, which are known at the end only.  Reading goes through the file twice:
// once for the checksum over everything, and once record by record with the same checksum growing
// again, so that a file that changes between the two is found out at the latest by finish().
//
// More than 400 lines: what writes a field and what reads it stand in one file, so that neither is
// changed without the other.
#include "resultfiles/part_file.h"

#include <sys/stat.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <string_view>
#include <utility>

#include "base/format.h"

namespace tervolanda {

namespace {

// With a line end, so that a transfer that changes line ends is found out at once.
constexpr std::string_view kMagic = "TVLPART\n";
constexpr std::uint32_t kFormatVersion = 1;
// Bytes: magic, version, kind, seven numbers of 64 bits, three of 32.
constexpr std::size_t kFixedHeader = 84;
// Entry, whether it is readable, checksum.
constexpr std::size_t kModelBytes = 12;
constexpr std::size_t kChecksumBytes = 4;
constexpr std::size_t kRunBytes = 12;    // both starts and the length
constexpr std::size_t kScoreBytes = 28;  // of a MaxSub record
constexpr std::size_t kMotionBytes = 15 * sizeof(double);
constexpr std::size_t kCountBytes = 8;  // matched pairs and runs
// What a search has besides: two doubles, three counts.
constexpr std::size_t kSearchBytes = 2 * 8 + 3 * 4;
constexpr std::size_t kDomainBytes = kMotionBytes + 8;  // and its cut-off
// Limits of what a header may claim.  They are far above any run (67 million models) and small
// enough that sizes computed from them neither overflow nor are worth allocating for a file that
// lies.
constexpr std::uint32_t kLongestOptions = 1U << 16;
constexpr std::uint64_t kMostEntries = 1U << 26;
constexpr std::uint64_t kMostBlocks = std::uint64_t{1} << 52;
constexpr std::size_t kPiece = std::size_t{1} << 16;  // what is copied or checked at once

// CRC-32 (ISO 3309) of bytes that follow those of `before`.
std::uint32_t checksum(std::uint32_t before, std::string_view bytes) {
    return static_cast<std::uint32_t>(
        crc32_z(before, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

template <typename Number>
void put(std::string& bytes, Number value) {
    for (std::size_t i = 0; i < sizeof value; ++i)
        bytes += static_cast<char>(value >> (8 * i) & 0xff);
}

void put(std::string& bytes, double value) {
    put(bytes, std::bit_cast<std::uint64_t>(value));
}

void put(std::string& bytes, float value) {
    put(bytes, std::bit_cast<std::uint32_t>(value));
}

// Takes numbers off the front of bytes.  REQUIRES: there are enough; callers read records of known
// length before they take them apart.
class Fields {
 public:
    explicit Fields(std::string_view bytes) : bytes_(bytes) {}

    template <typename Number>
    Number take() {
        if constexpr (std::is_same_v<Number, double>) {
            return std::bit_cast<double>(take<std::uint64_t>());
        } else if constexpr (std::is_same_v<Number, float>) {
            return std::bit_cast<float>(take<std::uint32_t>());
        } else {
            Number value = 0;
            for (std::size_t i = sizeof value; i-- > 0;)
                value = static_cast<Number>(value << 8 | static_cast<unsigned char>(bytes_[i]));
            bytes_.remove_prefix(sizeof value);
            return value;
        }
    }

 private:
    std::string_view bytes_;
};

// Below what no measure of structures comes near.  It keeps infinities and what is no number out of
// all later arithmetic, since a part file may be hostile, and every value that passes fits the
// single precision of matrices.
bool isSound(double value) {
    constexpr double kLargest = 1e9;
    return std::abs(value) <= kLargest;  // false for not a number
}

// The size of a record, without its domains and runs.
std::size_t recordSize(PartKind kind) {
    constexpr std::size_t kFlag = sizeof(std::uint32_t);
    switch (kind) {
        case PartKind::MaxSub:
            return kScoreBytes;
        case PartKind::MaxSubWithSuperpositions:
            return kScoreBytes + kFlag + kMotionBytes + kCountBytes;
        case PartKind::Gdt:
            return sizeof(double);
        case PartKind::Measure:
            return sizeof(double) + kFlag;
        case PartKind::Rmsd:
            return 2 * sizeof(float) + sizeof(std::uint32_t);
        case PartKind::MaxSubWithSearches:
            return kScoreBytes + kSearchBytes + kCountBytes;
        case PartKind::GdtWithSearches:
            return sizeof(double) + kFlag + kMotionBytes + kScoreBytes + kSearchBytes + kCountBytes;
    }
    return 0;
}

bool hasSearches(PartKind kind) {
    return kind == PartKind::MaxSubWithSearches || kind == PartKind::GdtWithSearches;
}

struct MatchedRun {
    std::uint32_t experiment = 0;
    std::uint32_t prediction = 0;
    std::uint32_t length = 0;
    std::uint32_t iteration = 0;
};

// Matched pairs as diagonal runs, which are nearly always few and long.  With `byIteration` a run
// is of one iteration.
std::vector<MatchedRun> runsOf(const std::vector<MatchedPair>& matched, bool byIteration) {
    std::vector<MatchedRun> runs;
    for (const MatchedPair& pair : matched) {
        const bool isNext = !runs.empty() &&
                            pair.experiment == runs.back().experiment + runs.back().length &&
                            pair.prediction == runs.back().prediction + runs.back().length;
        if (isNext && (!byIteration || pair.iteration == runs.back().iteration)) {
            ++runs.back().length;
        } else {
            runs.push_back({pair.experiment, pair.prediction, 1, pair.iteration});
        }
    }
    return runs;
}

// The number of pairs and that of runs, and the runs.
void putMatched(std::string& bytes, const std::vector<MatchedPair>& matched, bool byIteration) {
    const std::vector<MatchedRun> runs = runsOf(matched, byIteration);
    put(bytes, static_cast<std::uint32_t>(matched.size()));
    put(bytes, static_cast<std::uint32_t>(runs.size()));
    for (const MatchedRun& run : runs) {
        put(bytes, run.experiment);
        put(bytes, run.prediction);
        put(bytes, run.length);
        if (byIteration) put(bytes, run.iteration);
    }
}

void putScores(std::string& bytes, const Scores& scores) {
    put(bytes, scores.tm);
    put(bytes, scores.maxsub);
    put(bytes, scores.rmsd);
    put(bytes, scores.pairs);
}

// Fifteen doubles: the centre of the experiment, that of the prediction, the rotation row by row.
void putSuperposition(std::string& bytes, const Superposition& superposition) {
    for (const double value : superposition.experimentCentre)
        put(bytes, value);
    for (const double value : superposition.predictionCentre)
        put(bytes, value);
    for (const double value : superposition.rotation)
        put(bytes, value);
}

// Which further measures have a value, as bits in their order.
std::uint32_t measuresOf(const MeasureValues& measures) {
    std::uint32_t given = 0;
    for (std::size_t i = 0; i < kMeasures.size(); ++i)
        given |= (measures.values[i] ? 1U : 0U) << i;
    return given;
}

// What the files of pairs show of a search.
void putSearch(std::string& bytes, const ComparisonResult& search) {
    putScores(bytes, search);
    put(bytes, search.grmsd);
    put(bytes, search.msi);
    put(bytes, search.mapped);
    put(bytes, measuresOf(search.measures));
    put(bytes, static_cast<std::uint32_t>(search.iterations.size()));
    for (const std::optional<double>& value : search.measures.values) {
        if (value) put(bytes, *value);
    }
    for (const DomainIteration& domain : search.iterations) {
        putSuperposition(bytes, domain.superposition);
        put(bytes, domain.distanceCutoff);
    }
    putMatched(bytes, search.matched, true);
}

// False when one of them is not sound; all are taken either way.
bool takeValues(Fields& fields, std::span<double> values) {
    bool areSound = true;
    for (double& value : values) {
        value = fields.take<double>();
        areSound = areSound && isSound(value);
    }
    return areSound;
}

bool takeSuperposition(Fields& fields, Superposition& superposition) {
    const bool centres = takeValues(fields, superposition.experimentCentre) &&
                         takeValues(fields, superposition.predictionCentre);
    return centres && takeValues(fields, superposition.rotation);
}

bool takeScores(Fields& fields, Scores& scores) {
    scores.tm = fields.take<double>();
    scores.maxsub = fields.take<double>();
    scores.rmsd = fields.take<double>();
    scores.pairs = fields.take<std::uint32_t>();
    return isSound(scores.tm) && isSound(scores.maxsub) && isSound(scores.rmsd);
}

// The header as it lies in the file, its own checksum at the end.
std::string headerBytes(const PartHeader& header, std::uint64_t recordBytes) {
    const PairRange slice = header.slice();
    std::string bytes(kMagic);
    put(bytes, kFormatVersion);
    put(bytes, static_cast<std::uint32_t>(header.kind));
    for (const std::uint64_t value :
         {header.block.number, header.block.blocks, header.entries, std::uint64_t{slice.first},
          std::uint64_t{slice.count}, header.records, recordBytes})
        put(bytes, value);
    put(bytes, header.listChecksum);
    put(bytes, static_cast<std::uint32_t>(header.options.size()));
    put(bytes, static_cast<std::uint32_t>(header.models.size()));
    bytes += header.options;
    for (const PartModel& model : header.models) {
        put(bytes, model.entry);
        put(bytes, std::uint32_t{model.isReadable ? 1U : 0U});
        put(bytes, model.checksum);
    }
    put(bytes, checksum(0, bytes));
    return bytes;
}

}  // namespace

PairRange Block::slice(std::uint64_t pairs) const {
    const std::uint64_t each = pairs / blocks;
    const std::uint64_t more = pairs % blocks;  // blocks that have one more
    const std::uint64_t before = number - 1;
    return {static_cast<std::size_t>(before * each + std::min(before, more)),
            static_cast<std::size_t>(each + (before < more ? 1 : 0))};
}

std::uint32_t chainChecksum(const Chain& chain) {
    // Occupancy and B-factor are left out: no comparison looks at them.  Nor does any look at names
    // but at those of the chains of a complex.
    std::string bytes;
    for (const std::string& name : chain.subunits)
        bytes += name + '\n';
    std::uint32_t sum = checksum(0, bytes);
    for (const Atom& atom : chain.atoms) {
        bytes.clear();
        put(bytes, atom.x);
        put(bytes, atom.y);
        put(bytes, atom.z);
        put(bytes, static_cast<std::uint32_t>(atom.residueNumber));
        put(bytes, static_cast<std::uint32_t>(atom.residueType));
        bytes += atom.insertionCode;
        bytes += atom.name.view();
        bytes += atom.residueName.view();
        if (!chain.subunits.empty()) put(bytes, std::uint32_t{atom.subunit});
        sum = checksum(sum, bytes);
    }
    return sum;
}

PartWriter::PartWriter(std::string path, PartKind kind)
    : path_(std::move(path)), kind_(kind), spool_(openUnnamedBeside(path_)) {
    if (!spool_) spool_.reset(std::tmpfile());
    failed_ = !spool_;
}

PartWriter::~PartWriter() = default;

void PartWriter::append(std::string_view bytes) {
    // After a failure the counts go on, and commit() refuses: a batch need not look after each
    // pair.
    ++records_;
    bytes_ += bytes.size();
    if (!failed_ && std::fwrite(bytes.data(), 1, bytes.size(), spool_.get()) != bytes.size()) {
        failed_ = true;
    }
}

void PartWriter::add(const ComparisonResult& result) {
    record_.clear();
    if (kind_ == PartKind::MaxSubWithSearches) {
        putSearch(record_, result);
        return append(record_);
    }
    putScores(record_, result);
    if (kind_ == PartKind::MaxSubWithSuperpositions) {
        const bool has = !result.iterations.empty();
        put(record_, std::uint32_t{has ? 1U : 0U});
        putSuperposition(record_, has ? result.iterations.front().superposition : Superposition());
        putMatched(record_, result.matched, false);
    }
    append(record_);
}

void PartWriter::add(const GdtOutcome& outcome) {
    record_.clear();
    put(record_, outcome.hasFit ? outcome.found.gdt : kNoGdt);
    if (kind_ == PartKind::GdtWithSearches) {
        const auto& motion = outcome.found.superposition;
        put(record_, std::uint32_t{motion ? 1U : 0U});
        putSuperposition(record_, motion.value_or(Superposition()));
        putSearch(record_, outcome.search);
    }
    append(record_);
}

void PartWriter::add(const MeasuredOutcome& outcome) {
    record_.clear();
    put(record_, outcome.value);
    put(record_, std::uint32_t{outcome.hasFit ? 1U : 0U});
    append(record_);
}

void PartWriter::add(const RmsdCells& cells) {
    record_.clear();
    put(record_, cells.rmsd);
    put(record_, cells.urmsd);
    put(record_, cells.pairs);
    append(record_);
}

bool PartWriter::commit(PartHeader header) {
    if (failed_ || std::fflush(spool_.get()) != 0) return false;
    std::rewind(spool_.get());
    OutputFile file(path_);
    if (!file.isOpen()) return false;
    header.kind = kind_;
    header.records = records_;
    const std::string head = headerBytes(header, bytes_);
    std::uint32_t sum = checksum(0, head);
    file.write(head);
    std::string piece(kPiece, '\0');
    std::uint64_t copied = 0;
    while (const std::size_t got = std::fread(piece.data(), 1, piece.size(), spool_.get())) {
        const std::string_view bytes(piece.data(), got);
        sum = checksum(sum, bytes);
        file.write(bytes);
        copied += got;
    }
    // The checksum of everything stands last, since it is known last.
    std::string trailer;
    put(trailer, sum);
    file.write(trailer);
    return copied == bytes_ && file.commit();
}

bool PartReader::read(void* target, std::size_t size) {
    if (std::fread(target, 1, size, file_.get()) != size) return false;
    checksum_ = checksum(checksum_, {static_cast<const char*>(target), size});
    return true;
}

std::variant<PartReader, FormatError> PartReader::open(const std::string& path) {
    PartReader part;
    part.file_ = openForReading(path);
    if (!part.file_) return FormatError{"cannot be opened"};
    if (auto fault = part.readHeader()) return FormatError{*std::move(fault)};
    if (auto fault = part.checkRecords()) return FormatError{*std::move(fault)};
    return part;
}

// What is wrong with the header, if anything.
std::optional<std::string> PartReader::readHeader() {
    struct stat status {};
    if (fstat(fileno(file_.get()), &status) != 0 || !S_ISREG(status.st_mode)) {
        return "is no regular file";
    }
    std::array<char, kFixedHeader> bytes{};
    if (!read(bytes.data(), bytes.size())) return "is cut short";
    const std::string_view text(bytes.data(), bytes.size());
    if (!text.starts_with(kMagic)) return "is no part file";
    Fields fields(text.substr(kMagic.size()));
    if (const auto version = fields.take<std::uint32_t>(); version != kFormatVersion) {
        return format("is of format version %u", version);
    }
    // Each number is checked before anything is computed from it, and the lengths that follow from
    // all of them against the size of the file before anything is allocated.
    const auto kind = fields.take<std::uint32_t>();
    if (kind < 1 || kind > 7) return "is damaged: its kind";
    header_.kind = static_cast<PartKind>(kind);
    header_.block.number = fields.take<std::uint64_t>();
    header_.block.blocks = fields.take<std::uint64_t>();
    header_.entries = fields.take<std::uint64_t>();
    const auto first = fields.take<std::uint64_t>();
    const auto count = fields.take<std::uint64_t>();
    header_.records = fields.take<std::uint64_t>();
    recordBytes_ = fields.take<std::uint64_t>();
    header_.listChecksum = fields.take<std::uint32_t>();
    header_.options.resize(std::min(fields.take<std::uint32_t>(), kLongestOptions));
    const auto models = fields.take<std::uint32_t>();
    if (auto fault = checkHeader()) return fault;
    const PairRange slice = header_.slice();
    if (slice.first != first || slice.count != count || header_.records > count ||
        models > header_.entries) {
        return "is damaged: its numbers do not go together";
    }
    const std::uint64_t tail = header_.options.size() + models * std::uint64_t{kModelBytes};
    recordsAt_ = kFixedHeader + tail + kChecksumBytes;
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size < recordsAt_ + kChecksumBytes || size - recordsAt_ - kChecksumBytes != recordBytes_) {
        return "is cut short or longer than it says";
    }
    header_.models.resize(models);
    return readHeaderTail();
}

// Of numbers that the slice is computed from: with these in range nothing that follows overflows.
std::optional<std::string> PartReader::checkHeader() const {
    const Block& block = header_.block;
    if (block.number < 1 || block.number > block.blocks || block.blocks > kMostBlocks ||
        header_.entries > kMostEntries) {
        return "is damaged: its numbers are out of range";
    }
    return std::nullopt;
}

// The options, the models and the checksum, for which the file is long enough.
std::optional<std::string> PartReader::readHeaderTail() {
    if (!read(header_.options.data(), header_.options.size())) return "is cut short";
    std::uint64_t next = 0;  // entries rise
    for (PartModel& model : header_.models) {
        std::array<char, kModelBytes> bytes{};
        if (!read(bytes.data(), bytes.size())) return "is cut short";
        Fields fields({bytes.data(), bytes.size()});
        model.entry = fields.take<std::uint32_t>();
        const auto isReadable = fields.take<std::uint32_t>();
        model.isReadable = isReadable == 1;
        model.checksum = fields.take<std::uint32_t>();
        if (model.entry < next || model.entry >= header_.entries || isReadable > 1) {
            return "is damaged: its models";
        }
        next = std::uint64_t{model.entry} + 1;
    }
    const std::uint32_t wanted = checksum_;
    std::array<char, kChecksumBytes> bytes{};
    if (!read(bytes.data(), bytes.size())) return "is cut short";
    if (Fields({bytes.data(), bytes.size()}).take<std::uint32_t>() != wanted) {
        return "is damaged: the checksum of its header";
    }
    headerChecksum_ = checksum_;
    return std::nullopt;
}

// Reads all records for their checksum, and goes back to the first.
std::optional<std::string> PartReader::checkRecords() {
    const std::uint64_t fixed = header_.records * recordSize(header_.kind);
    const bool hasRuns =
        header_.kind == PartKind::MaxSubWithSuperpositions || hasSearches(header_.kind);
    if (hasRuns ? recordBytes_ < fixed : recordBytes_ != fixed) {
        return "is damaged: the length of its records";
    }
    std::string piece(kPiece, '\0');
    for (std::uint64_t left = recordBytes_; left > 0;) {
        const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(left, piece.size()));
        if (!read(piece.data(), size)) return "is cut short";
        left -= size;
    }
    const std::uint32_t wanted = checksum_;
    std::array<char, kChecksumBytes> bytes{};
    if (!read(bytes.data(), bytes.size())) return "is cut short";
    if (Fields({bytes.data(), bytes.size()}).take<std::uint32_t>() != wanted) {
        return "is damaged: its checksum";
    }
    fileChecksum_ = wanted;
    checksum_ = headerChecksum_;
    left_ = recordBytes_;
    if (fseeko(file_.get(), static_cast<off_t>(recordsAt_), SEEK_SET) != 0) return "cannot be read";
    return std::nullopt;
}

std::string_view PartReader::take(std::size_t size) {
    fields_.resize(size);
    if (left_ < size || !read(fields_.data(), size)) return {};
    left_ -= size;
    return fields_;
}

bool PartReader::next(std::size_t experimentSize, std::size_t predictionSize,
                      ComparisonResult& result) {
    if (header_.kind == PartKind::MaxSubWithSearches) {
        return readSearch(experimentSize, predictionSize, result);
    }
    result.clear();
    const bool isPlain = header_.kind == PartKind::MaxSub;
    const std::string_view bytes = take(recordSize(header_.kind) - (isPlain ? 0 : kCountBytes));
    if (bytes.empty()) return false;
    Fields fields(bytes);
    if (!takeScores(fields, result)) return false;
    if (isPlain) return true;
    const bool has = fields.take<std::uint32_t>() != 0;
    DomainIteration first;
    if (!takeSuperposition(fields, first.superposition)) return false;
    if (has) result.iterations.push_back(first);
    return readRuns(experimentSize, predictionSize, result);
}

// `given` has a bit for each that the record has.
bool PartReader::readMeasures(std::uint32_t given, MeasureValues& measures) {
    if (given >> kMeasures.size() != 0) return false;
    for (std::size_t i = 0; i < kMeasures.size(); ++i) {
        if ((given >> i & 1U) == 0) continue;
        const std::string_view bytes = take(sizeof(double));
        if (bytes.empty()) return false;
        measures.values[i] = Fields(bytes).take<double>();
        if (!isSound(*measures.values[i])) return false;
    }
    return true;
}

// Domains are read one by one: their number may be a lie, but not longer than the file.
bool PartReader::readSearch(std::size_t experimentSize, std::size_t predictionSize,
                            ComparisonResult& result) {
    result.clear();
    const std::string_view bytes = take(kScoreBytes + kSearchBytes);
    if (bytes.empty()) return false;
    Fields fields(bytes);
    const bool areSound = takeScores(fields, result);
    result.grmsd = fields.take<double>();
    result.msi = fields.take<double>();
    if (!areSound || !isSound(result.grmsd) || !isSound(result.msi)) return false;
    result.mapped = fields.take<std::uint32_t>();
    const auto measures = fields.take<std::uint32_t>();
    const auto domains = fields.take<std::uint32_t>();
    if (!readMeasures(measures, result.measures)) return false;
    for (std::uint32_t k = 0; k < domains; ++k) {
        const std::string_view of = take(kDomainBytes);
        if (of.empty()) return false;
        Fields domain(of);
        DomainIteration& found = result.iterations.emplace_back();
        if (!takeSuperposition(domain, found.superposition)) return false;
        found.distanceCutoff = domain.take<double>();
        if (!isSound(found.distanceCutoff)) return false;
    }
    return readRuns(experimentSize, predictionSize, result);
}

// The matched pairs of a record: how many they are, in how many runs, and the runs.
bool PartReader::readRuns(std::size_t experimentSize, std::size_t predictionSize,
                          ComparisonResult& result) {
    const std::string_view counts = take(kCountBytes);
    if (counts.empty()) return false;
    Fields fields(counts);
    const auto matched = fields.take<std::uint32_t>();
    const auto runs = fields.take<std::uint32_t>();
    // The pairs are positions in arrays of coordinates: those that lie outside are refused here,
    // whatever the checksum says.
    if (matched > predictionSize) return false;
    const bool hasIterations = hasSearches(header_.kind);
    for (std::uint32_t k = 0; k < runs; ++k) {
        const std::string_view bytes = take(kRunBytes + (hasIterations ? 4 : 0));
        if (bytes.empty()) return false;
        Fields run(bytes);
        const auto experiment = run.take<std::uint32_t>();
        const auto prediction = run.take<std::uint32_t>();
        const auto length = run.take<std::uint32_t>();
        const auto iteration = hasIterations ? run.take<std::uint32_t>() : 0;
        const bool fits = experimentSize >= length && experiment <= experimentSize - length &&
                          predictionSize >= length && prediction <= predictionSize - length &&
                          length <= matched - result.matched.size() &&
                          (!hasIterations || iteration < result.iterations.size());
        if (!fits) return false;
        for (std::uint32_t i = 0; i < length; ++i)
            result.matched.push_back({experiment + i, prediction + i, iteration});
    }
    return result.matched.size() == matched;
}

bool PartReader::next(std::size_t experimentSize, std::size_t predictionSize, GdtOutcome& outcome) {
    const bool hasSearch = header_.kind == PartKind::GdtWithSearches;
    const std::string_view bytes =
        take(sizeof(double) + (hasSearch ? sizeof(std::uint32_t) + kMotionBytes : 0));
    if (bytes.empty()) return false;
    Fields fields(bytes);
    outcome.found = {fields.take<double>(), std::nullopt};
    outcome.hasFit = outcome.found.gdt >= 0.0;
    if (!isSound(outcome.found.gdt)) return false;
    if (!outcome.hasFit && outcome.found.gdt != kNoGdt) return false;
    outcome.found.gdt = std::max(outcome.found.gdt, 0.0);
    if (!hasSearch) return true;
    const bool has = fields.take<std::uint32_t>() != 0;
    Superposition motion;
    if (!takeSuperposition(fields, motion)) return false;
    if (has) outcome.found.superposition = motion;
    return readSearch(experimentSize, predictionSize, outcome.search);
}

bool PartReader::next(MeasuredOutcome& outcome) {
    const std::string_view bytes = take(recordSize(PartKind::Measure));
    if (bytes.empty()) return false;
    Fields fields(bytes);
    outcome.value = fields.take<double>();
    outcome.hasFit = fields.take<std::uint32_t>() != 0;
    return isSound(outcome.value) && outcome.value >= 0.0;
}

bool PartReader::next(RmsdCells& cells) {
    const std::string_view bytes = take(recordSize(PartKind::Rmsd));
    if (bytes.empty()) return false;
    Fields fields(bytes);
    cells.rmsd = fields.take<float>();
    cells.urmsd = fields.take<float>();
    cells.pairs = fields.take<std::uint32_t>();
    return isSound(static_cast<double>(cells.rmsd)) && isSound(static_cast<double>(cells.urmsd));
}

bool PartReader::finish() const {
    return left_ == 0 && checksum_ == fileChecksum_;
}

}  // namespace tervolanda
