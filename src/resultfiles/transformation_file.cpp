// The MaxSub file keeps an all-versus-all run: names, scores and pair counts (lite file), and in
// the full file the superposition and the residue pairs of every pair of models, too.  Reading
// either gives what ranking and clustering need without comparing structures again.
#include "resultfiles/transformation_file.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <new>
#include <string_view>
#include <utility>

#include "base/format.h"
#include "base/log.h"
#include "base/text.h"
#include "resultfiles/gradual_matrix.h"
#include "resultfiles/transformation_spool.h"

namespace tervolanda {

namespace {

constexpr std::string_view kTransformationKey = "TRANS:";
constexpr std::string_view kPositionKey = "POS  :";
constexpr std::string_view kScoreKey = "MS :";
constexpr std::string_view kLiteChainKey = "PDB:";
constexpr std::size_t kRuleWidth = 26;

// --- Writing -------------------------------------------------------------------------------------

// A score that was renormalised to a shorter model can exceed 1, which no reader accepts.
double writtenScore(float score) {
    if (!(score > 0.0F)) return 0.0;
    return score < 1.0F ? static_cast<double>(score) : 1.0;
}

// A value that three decimals show as zero has no sign there.
double unsignedZero(double value) {
    return std::fabs(value) < 0.0005 ? 0.0 : value;
}

void appendNumber(std::string& text, std::uint32_t number) {
    std::array<char, 10> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    text.append(digits.data(), end);
}

bool openMaxSubFile(const OutputFile& output, const std::string& path, Log& log) {
    if (!output.isOpen()) {
        log.error(0, "Can't open MaxSub output file '%s' - %s", path.c_str(), systemErrorText());
    }
    return output.isOpen();
}

void writeHead(OutputFile& output, const ChainList& chains, std::size_t size,
               std::string_view chainKey) {
    writeRule(output, kRuleWidth);
    output.write("# Tervolanda MaxSub File\n");
    writeRule(output, kRuleWidth);
    output.write("# Size record\n");
    writeSizeRecord(output, size);
    writeRule(output, kRuleWidth);
    output.write("# Chain records\n# ");
    output.write(chainKey);
    output.write(" <ID> <Filename>\n");
    writeRule(output, kRuleWidth);
    writeChainRecords(output, chains, chainKey);
}

void writeSectionHead(OutputFile& output, std::string_view text) {
    writeRule(output, kRuleWidth);
    output.write(text);
    writeRule(output, kRuleWidth);
}

struct TransformationLine {
    std::uint32_t id1, id2;
    double score1, score2;
    std::uint32_t pairs;
    Superposition superposition;
};

void writeTransformation(OutputFile& output, const TransformationLine& line) {
    output.print("TRANS: %6u %6u   %10.4f %10.4f %4d   ", line.id1, line.id2, line.score1,
                 line.score2, static_cast<int>(line.pairs));
    const auto& [centre1, centre2, rotation] = line.superposition;
    for (const auto* centre : {&centre1, &centre2}) {
        output.print("%8.3f %8.3f %8.3f   ", unsignedZero((*centre)[0]), unsignedZero((*centre)[1]),
                     unsignedZero((*centre)[2]));
    }
    for (std::size_t k = 0; k < rotation.size(); ++k)
        output.print(k == 0 ? "%8.3f" : " %8.3f", unsignedZero(rotation[k]));
    output.write("\n");
}

void writePositions(OutputFile& output, std::uint32_t id1, std::uint32_t id2,
                    const std::vector<PairRun>& runs, std::string& line) {
    line = format("POS  : %6u %6u   ", id1, id2);
    for (const PairRun& run : runs) {
        for (std::uint32_t k = 0; k < run.length; ++k) {
            line += ' ';
            appendNumber(line, run.experiment + k);
            line += ':';
            appendNumber(line, run.prediction + k);
        }
    }
    line += '\n';
    output.write(line);
}

std::optional<FormatError> spoolFault(const TransformationSpool::Storage& spool,
                                      const PairMatrix& pairs, std::span<const std::uint32_t> ids) {
    for (std::size_t i = 1; i < ids.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            const std::uint32_t id1 = ids[i];
            const std::uint32_t id2 = ids[j];
            if (!spool.has(i, j)) {
                return FormatError{
                    format("Missing MaxSub positions count for %u vs. %u", id1, id2)};
            }
            if (spool.matched(i, j) != pairs.at(i, j)) {
                return FormatError{format("Currupt MaxSub positions list for %u vs. %u", id1, id2)};
            }
        }
    }
    return std::nullopt;
}

// The two sections of pair records; false when the spool could not be read.
bool writePairSections(OutputFile& output, const TransformationSpool::Storage& spool,
                       const DistanceMatrix& scores, const PairMatrix& pairs,
                       std::span<const std::uint32_t> ids) {
    writeSectionHead(output,
                     "# Transformation records\n# TRANS: <ID1> <ID2> <MaxSub 1-2> <MaxSub 2-1> "
                     "<Pairs> <CoM 1> <CoM 2> <RotMat>\n");
    for (std::size_t i = 1; i < ids.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            TransformationLine line{ids[i],
                                    ids[j],
                                    writtenScore(scores.at(i, j)),
                                    writtenScore(scores.at(j, i)),
                                    pairs.at(i, j),
                                    {}};
            if (!spool.readSuperposition(i, j, line.superposition)) return false;
            writeTransformation(output, line);
        }
    }
    writeSectionHead(output, "# Position records\n# POS  : <ID> <ID> <Positions ...>\n");
    std::vector<PairRun> runs;
    std::string text;
    for (std::size_t i = 1; i < ids.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (!spool.readRuns(i, j, runs)) return false;
            writePositions(output, ids[i], ids[j], runs, text);
        }
    }
    return true;
}

}  // namespace

FileOutcome writeMaxSubFile(const std::string& path, const ChainList& chains,
                            const DistanceMatrix& scores, const PairMatrix& pairs,
                            std::span<const std::uint32_t> ids, Log& log) {
    log.info(0, "Printing MaxSub output file %s", path.c_str());
    OutputFile output(path);
    if (!openMaxSubFile(output, path, log)) return FileOutcome::NotCreated;
    writeHead(output, chains, ids.size(), kLiteChainKey);
    writeSectionHead(output, "# Maxsub records\n# MS : <ID1> <ID2> <1-2> <2-1> <Pairs>\n");
    for (std::size_t i = 0; i < ids.size(); ++i) {
        for (std::size_t j = i; j < ids.size(); ++j) {
            output.print("MS : %6u\t%6u\t%5.3f\t%5.3f\t%4d\n", ids[i], ids[j],
                         i == j ? 1.0 : writtenScore(scores.at(i, j)),
                         i == j ? 1.0 : writtenScore(scores.at(j, i)),
                         static_cast<int>(pairs.at(i, j)));
        }
    }
    return finishFile(output, path, log);
}

std::variant<FileOutcome, FormatError> writeTransformationFile(
    const std::string& path, const ChainList& chains, const DistanceMatrix& scores,
    const PairMatrix& pairs, const TransformationSpool& transformations,
    std::span<const std::uint32_t> ids, Log& log) {
    log.info(0, "Printing MaxSub output file %s", path.c_str());
    OutputFile output(path);
    if (!openMaxSubFile(output, path, log)) return FileOutcome::NotCreated;
    TransformationSpool::Storage& spool = transformations.storage();
    if (auto fault = spoolFault(spool, pairs, ids)) return *std::move(fault);
    writeHead(output, chains, ids.size(), kChainKey);
    if (!spool.flush() || !writePairSections(output, spool, scores, pairs, ids)) {
        log.error(0, "Failed to write file '%s' - %s", path.c_str(), systemErrorText());
        return FileOutcome::Incomplete;
    }
    return finishFile(output, path, log);
}

// --- Reading -------------------------------------------------------------------------------------

namespace {

// The five fields at the front of TRANS and MS records.
struct PairFields {
    std::int64_t id1 = 0, id2 = 0;
    double score1 = 0.0, score2 = 0.0;
    std::uint32_t pairs = 0;
};

class MaxSubFileParser {
 public:
    std::optional<FormatError> addLine(std::string_view line);
    bool hasSize() const { return size() > 0; }
    ParsedMaxSubFile take();

 private:
    struct Rows {
        std::uint32_t first = 0, second = 0;
    };

    std::size_t size() const { return seen_.size(); }
    std::optional<FormatError> addSize(std::string_view line);
    std::optional<FormatError> addChain(std::string_view line, std::size_t keyLength);
    std::optional<FormatError> addTransformation(std::string_view line);
    std::optional<FormatError> addScore(std::string_view line);
    std::optional<FormatError> addPositions(std::string_view line);

    // The row that an ID of a pair record stands for; kNone when there is none.
    std::uint32_t rowOf(std::int64_t id);
    std::optional<FormatError> findRows(std::int64_t id1, std::int64_t id2, Rows& rows);
    std::optional<FormatError> storePair(std::string_view line, const PairFields& pair,
                                         unsigned int seen);
    void markSeen(const Rows& rows, unsigned int bits);

    ParsedMaxSubFile parsed_;  // but for the matrices
    GradualMatrix<float> scores_;
    GradualMatrix<std::uint32_t> pairs_;
    GradualMatrix<std::uint8_t> seen_;
    IdIndex rows_;
    std::uint64_t cells_ = 0;
    std::uint32_t chainRows_ = 0;  // rows that belong to chain records: the first ones
};

FormatError missingSizeBefore(const char* records) {
    return {
        format("Failed to determine size of matrix before %s records. Require header 'SIZE : "
               "<N>'",
               records)};
}

FormatError incorrectTransformation(std::string_view line) {
    return faultyLine(
        "Incorrect transformation record, require 'TRANS: <ID1> <ID2> <MaxSub 1-2> <MaxSub 2-1> "
        "<Pairs> <CoM 1> <CoM 2> <RotMat>' - Check: ",
        line);
}

FormatError incorrectScore(std::string_view line) {
    return faultyLine(
        "Incorrect transformation record, require 'MS : <ID1> <ID2> <MaxSub 1-2> <MaxSub 2-1> "
        "<Pairs>' - Check: ",
        line);
}

std::optional<std::uint32_t> parseCount(std::string_view field) {
    const std::optional<std::int64_t> number = wholeInteger(field);
    if (!number || *number < 0 || *number > std::numeric_limits<std::int32_t>::max()) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(*number);
}

std::optional<PairFields> takePairFields(std::string_view& fields) {
    const auto id1 = wholeInteger(takeField(fields));
    const auto id2 = wholeInteger(takeField(fields));
    const auto score1 = wholeReal(takeField(fields));
    const auto score2 = wholeReal(takeField(fields));
    const auto pairs = parseCount(takeField(fields));
    if (!id1 || !id2 || !score1 || !score2 || !pairs) return std::nullopt;
    return PairFields{*id1, *id2, *score1, *score2, *pairs};
}

// An item "a:b" of a position record.
bool isNumberPair(std::string_view item) {
    const std::size_t colon = item.find(':');
    return colon != std::string_view::npos && parseCount(item.substr(0, colon)) &&
           parseCount(item.substr(colon + 1));
}

bool inScoreRange(double score) {
    return score >= 0.0 && score <= 1.0;
}

ParsedMaxSubFile MaxSubFileParser::take() {
    parsed_.file.scores = scores_.take();
    parsed_.file.pairs = pairs_.take();
    parsed_.seen = seen_.take();
    return std::move(parsed_);
}

std::optional<FormatError> MaxSubFileParser::addLine(std::string_view line) {
    if (line.starts_with(kTransformationKey)) return addTransformation(line);
    if (line.starts_with(kPositionKey)) return addPositions(line);
    if (line.starts_with(kScoreKey)) return addScore(line);
    if (line.starts_with(kSizeKey)) return addSize(line);
    if (line.starts_with(kChainKey)) return addChain(line, kChainKey.size());
    if (line.starts_with(kLiteChainKey)) return addChain(line, kLiteChainKey.size());
    return std::nullopt;
}

std::optional<FormatError> MaxSubFileParser::addSize(std::string_view line) {
    constexpr std::size_t kBytesPerCell =
        sizeof(float) + sizeof(std::uint32_t) + sizeof(std::uint8_t);
    std::size_t size = 0;
    if (auto error = parseSizeRecord(line, kBytesPerCell, cells_, size)) return error;
    parsed_ = {};  // a later size record starts over; the old matrices go before the new come
    scores_ = {};
    pairs_ = {};
    seen_ = {};
    chainRows_ = 0;
    try {
        scores_ = GradualMatrix<float>(size, 0.0F, 1.0F);
        pairs_ = GradualMatrix<std::uint32_t>(size, 0, 0);
        parsed_.file.ids.assign(size, 0);
        parsed_.file.chains.chains.resize(size);
        seen_ = GradualMatrix<std::uint8_t>(size, 0, 0);
        rows_ = IdIndex(size);
    } catch (const std::bad_alloc&) {
        return sizeNotAllocated(line);
    }
    return std::nullopt;
}

std::optional<FormatError> MaxSubFileParser::addChain(std::string_view line,
                                                      std::size_t keyLength) {
    if (!hasSize()) return missingSizeBefore("Chain");
    Chain chain;
    if (auto error = parseChainRecord(line, keyLength, chain)) return error;
    // A row whose number a pair record has used as an ID cannot get another ID afterwards.
    if (chainRows_ == size()) return incorrectChainRecord(line);
    std::uint32_t& id = parsed_.file.ids[chainRows_];
    if (id != 0 && id != chain.number) return incorrectChainRecord(line);
    id = chain.number;
    rows_.add(chain.number, chainRows_);
    parsed_.file.chains.chains[chainRows_] = std::move(chain);
    ++chainRows_;
    return std::nullopt;
}

std::uint32_t MaxSubFileParser::rowOf(std::int64_t id) {
    if (id < 1 || id > std::numeric_limits<std::uint32_t>::max()) return IdIndex::kNone;
    const auto number = static_cast<std::uint32_t>(id);
    const std::uint32_t known = rows_.find(number);
    if (known != IdIndex::kNone) return known;
    if (number > size() || number - 1 < chainRows_) return IdIndex::kNone;
    parsed_.file.ids[number - 1] = number;
    parsed_.file.chains.chains[number - 1].number = number;
    rows_.add(number, number - 1);
    return number - 1;
}

std::optional<FormatError> MaxSubFileParser::findRows(std::int64_t id1, std::int64_t id2,
                                                      Rows& rows) {
    rows = {rowOf(id1), rowOf(id2)};
    if (rows.first == IdIndex::kNone || rows.second == IdIndex::kNone) {
        const auto size = static_cast<long long>(this->size());
        return FormatError{
            format("Index out of bounds - Check: 0 < %lld <= %lld,  0 < %lld <= %lld",
                   static_cast<long long>(id1), size, static_cast<long long>(id2), size)};
    }
    return std::nullopt;
}

void MaxSubFileParser::markSeen(const Rows& rows, unsigned int bits) {
    const std::uint32_t row = std::min(rows.first, rows.second);
    const std::uint32_t column = std::max(rows.first, rows.second);
    seen_.set(row, column, static_cast<std::uint8_t>(seen_.get(row, column) | bits));
}

std::optional<FormatError> MaxSubFileParser::storePair(std::string_view line,
                                                       const PairFields& pair, unsigned int seen) {
    if (!inScoreRange(pair.score1) || !inScoreRange(pair.score2)) {
        return faultyLine("MaxSub score out of range [0 - 1] - Check: ", line);
    }
    Rows rows;
    if (auto error = findRows(pair.id1, pair.id2, rows)) return error;
    scores_.set(rows.first, rows.second, static_cast<float>(pair.score1));
    scores_.set(rows.second, rows.first, static_cast<float>(pair.score2));
    pairs_.set(rows.first, rows.second, pair.pairs);
    pairs_.set(rows.second, rows.first, pair.pairs);
    markSeen(rows, seen);
    return std::nullopt;
}

std::optional<FormatError> MaxSubFileParser::addTransformation(std::string_view line) {
    if (!hasSize()) return missingSizeBefore("transformation");
    std::string_view fields = line.substr(kTransformationKey.size());
    const std::optional<PairFields> pair = takePairFields(fields);
    if (!pair) return incorrectTransformation(line);
    constexpr int kCoordinates = 3 + 3 + 9;  // two centres and the rotation
    for (int k = 0; k < kCoordinates; ++k) {
        if (!wholeReal(takeField(fields))) return incorrectTransformation(line);
    }
    parsed_.hasTransformations = true;
    return storePair(line, *pair, ParsedMaxSubFile::Score | ParsedMaxSubFile::Transformation);
}

std::optional<FormatError> MaxSubFileParser::addScore(std::string_view line) {
    if (!hasSize()) return missingSizeBefore("transformation");
    std::string_view fields = line.substr(kScoreKey.size());
    const std::optional<PairFields> pair = takePairFields(fields);
    if (!pair) return incorrectScore(line);
    return storePair(line, *pair, ParsedMaxSubFile::Score);
}

// The number of items must be the pair count of the record that gave the pair's scores, which
// stands earlier in the file.
std::optional<FormatError> MaxSubFileParser::addPositions(std::string_view line) {
    if (!hasSize()) return missingSizeBefore("position");
    std::string_view fields = line.substr(kPositionKey.size());
    const auto id1 = wholeInteger(takeField(fields));
    const auto id2 = wholeInteger(takeField(fields));
    if (!id1 || !id2) {
        return faultyLine("ID in position record is not a number - check: ", line);
    }
    Rows rows;
    if (auto error = findRows(*id1, *id2, rows)) return error;
    std::uint32_t items = 0;
    for (std::string_view item = takeField(fields); !item.empty(); item = takeField(fields)) {
        if (!isNumberPair(item)) {
            const std::string text =
                "Invalid number pair in position record (" + std::string(item) + ")- check: ";
            return faultyLine(text, line);
        }
        ++items;
    }
    const std::uint32_t expected = pairs_.get(rows.first, rows.second);
    if (items != expected) {
        return faultyLine(format("Incorrect number of positions (%d != %d) in POS record - check: ",
                                 static_cast<int>(items), static_cast<int>(expected)),
                          line);
    }
    markSeen(rows, ParsedMaxSubFile::Positions);
    return std::nullopt;
}

}  // namespace

std::variant<ParsedMaxSubFile, FormatError> parseMaxSubFile(std::FILE* file) {
    MaxSubFileParser parser;
    RecordLines lines(file);
    while (const std::optional<std::string_view> line = lines.next()) {
        if (auto error = parser.addLine(*line)) return *std::move(error);
    }
    if (auto error = lines.error()) return *std::move(error);
    if (!parser.hasSize()) return missingSizeBefore("transformation");
    return parser.take();
}

bool reportMissingMaxSubRecords(const ParsedMaxSubFile& parsed, Log& log) {
    bool complete = reportDoubleIds(parsed.file.ids, log);
    FaultReport report(log);
    const std::size_t size = parsed.seen.rows();
    for (std::size_t i = 0; i < size; ++i) {
        const std::span<const std::uint8_t> row = parsed.seen.row(i);
        for (std::size_t j = i + 1; j < size; ++j) {
            const int model1 = static_cast<int>(i + 1);
            const int model2 = static_cast<int>(j + 1);
            if ((row[j] & ParsedMaxSubFile::Score) == 0) {
                report.error(1, "Missing MaxSub record for %d - %d", model1, model2);
                complete = false;
            }
            if (!parsed.hasTransformations) continue;
            if ((row[j] & ParsedMaxSubFile::Transformation) == 0) {
                report.error(1, "Missing transform record for %d - %d", model1, model2);
            }
            if ((row[j] & ParsedMaxSubFile::Positions) == 0) {
                report.error(1, "Missing position record for %d - %d", model1, model2);
            }
        }
    }
    report.finish();
    return complete;
}

std::variant<std::optional<MaxSubFile>, FormatError> readMaxSubFile(const std::string& path,
                                                                    Log& log) {
    log.info(0, "Reading MaxSub file %s", path.c_str());
    const FileHandle file = openForReading(path);
    if (!file) return cannotOpen("MaxSub file", path);
    auto result = parseMaxSubFile(file.get());
    if (auto* error = std::get_if<FormatError>(&result)) return std::move(*error);
    auto& parsed = std::get<ParsedMaxSubFile>(result);
    if (!reportMissingMaxSubRecords(parsed, log)) return std::nullopt;
    return std::move(parsed.file);
}

}  // namespace tervolanda
