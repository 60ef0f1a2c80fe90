// A MaxSub file, lite or full, gives what ranking and clustering need without comparing structures
// again.  Every record is checked, also those of which nothing is kept: a file that was cut or
// mixed up shall not be ranked as if it were whole.
//
// The kinds of record are recognised by their keys, so that one parser reads both forms, and a file
// in which they are mixed.  What the full form has more than the lite one (rotations, residue
// pairs) is read to find out whether it is whole, and is thrown away.
#include "resultfiles/maxsub_reader.h"

#include <algorithm>
#include <limits>
#include <new>
#include <string_view>
#include <utility>

#include "base/format.h"
#include "base/log.h"
#include "base/text.h"
#include "resultfiles/gradual_matrix.h"
#include "resultfiles/maxsub_keys.h"

namespace tervolanda {

namespace {

// The five fields at the front of TRANS and MS records.  IDs and counts are as they stand there,
// out of range or not: a message has to show them.
struct PairFields {
    std::int64_t id1 = 0, id2 = 0;
    double score1 = 0.0, score2 = 0.0;
    std::uint32_t pairs = 0;
};

// Takes a file line by line.
//
// Invariant: the matrices are N x N after a size record and empty before; an ID that a pair record
// has used stays with its row, and the first chainRows_ rows have those of the chain records.
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

    // The row that an ID of a pair record stands for; kNone when there is none.  An ID that no
    // chain record has named is itself the number of a row, from 1, unless that row is a chain
    // record's: so files without chain records can be read, too.
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

// None when a field is no number; whether the numbers make sense is asked afterwards, each with its
// own message.
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

// Both included; false for what is no number.
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

// As that of a distance file; three tables have to fit into memory.
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

// Chain records take the rows in the order in which they come.
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

// The rows of both IDs of a record, or the message that shows both.
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
    // A pair is one pair, whichever model its records name first.
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
    // Scores depend on whose length they are relative to, pair counts do not.
    scores_.set(rows.first, rows.second, static_cast<float>(pair.score1));
    scores_.set(rows.second, rows.first, static_cast<float>(pair.score2));
    pairs_.set(rows.first, rows.second, pair.pairs);
    pairs_.set(rows.second, rows.first, pair.pairs);
    markSeen(rows, seen);
    return std::nullopt;
}

// The numbers of the motion are only checked: what is ranked and clustered needs none of them.
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
        return faultyLine(format("Incorrect number of positions (%u != %u) in POS record - check: ",
                                 items, expected),
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
            const std::size_t model1 = i + 1;
            const std::size_t model2 = j + 1;
            if ((row[j] & ParsedMaxSubFile::Score) == 0) {
                report.error(1, "Missing MaxSub record for %zu - %zu", model1, model2);
                complete = false;
            }
            if (!parsed.hasTransformations) continue;
            if ((row[j] & ParsedMaxSubFile::Transformation) == 0) {
                report.error(1, "Missing transform record for %zu - %zu", model1, model2);
            }
            if ((row[j] & ParsedMaxSubFile::Positions) == 0) {
                report.error(1, "Missing position record for %zu - %zu", model1, model2);
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
