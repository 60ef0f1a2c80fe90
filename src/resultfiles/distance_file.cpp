// The distance file: plain text, a line for every structure and one for every pair of structures.
// IDs in the file are those of the list that the structures came from; while reading, the first
// appearance of an ID gives it the next row of the matrix.
//
// It is plain text because other programs write and read it, too.  So the reader is lenient about
// what it does not know (lines with other keys are skipped, records may come in any order) and
// strict about what it uses: a field must be a number as a whole, and every pair must have been
// given.
#include "resultfiles/distance_file.h"

#include <cmath>
#include <limits>
#include <new>
#include <string_view>
#include <utility>

#include "base/log.h"
#include "base/text.h"
#include "resultfiles/gradual_matrix.h"

namespace tervolanda {

namespace {

constexpr std::string_view kDistanceKey = "DIST :";
constexpr std::size_t kRuleWidth = 35;
constexpr std::size_t kChainRuleWidth = 26;
// No record has given it yet.
constexpr float kMissing = -1.0F;
// A distance beyond this would become infinite in the matrix.
constexpr double kLargest = static_cast<double>(std::numeric_limits<float>::max());

// Takes a file line by line.
//
// Invariant: the first usedRows_ rows have their IDs, in the order in which these appeared, and the
// matrix is empty before the first size record.
class DistanceFileParser {
 public:
    explicit DistanceFileParser(ChainList* chains) : chains_(chains) {
        if (chains != nullptr) chainsBefore_ = chains->chains.size();
    }

    std::optional<FormatError> addLine(std::string_view line);
    bool hasSize() const { return distances_.size() > 0; }
    DistanceFile take() { return {distances_.take(), std::move(ids_), std::move(names_)}; }

 private:
    std::optional<FormatError> addSize(std::string_view line);
    std::optional<FormatError> addChain(std::string_view line);
    void noteName(std::string_view line);
    std::optional<FormatError> addDistance(std::string_view line);
    // Gives an ID the next free row; false when all are taken.
    bool addId(std::uint32_t id);
    // The row of an ID, old or new; kNone when all rows are taken by others.
    std::uint32_t rowOf(std::uint32_t id);

    GradualMatrix<float> distances_;
    std::vector<std::uint32_t> ids_;  // one per row
    std::map<std::uint32_t, std::string> names_;
    ChainList* chains_;
    std::size_t chainsBefore_ = 0;  // entries of the caller's list that are not from this file
    IdIndex rows_;
    std::uint32_t usedRows_ = 0;
    std::uint64_t cells_ = 0;
};

// Distances before a size record, or none of either at the end of the file.
FormatError missingSize() {
    return {
        "Failed to determine size of matrix before distance records. Require header 'SIZE : <N>'"};
}

std::optional<FormatError> DistanceFileParser::addLine(std::string_view line) {
    if (line.starts_with(kDistanceKey)) return addDistance(line);
    if (line.starts_with(kSizeKey)) return addSize(line);
    if (!line.starts_with(kChainKey)) return std::nullopt;
    if (chains_ != nullptr) return addChain(line);
    noteName(line);
    return std::nullopt;
}

// The first name of an ID counts, and no more are kept than there are rows.
void DistanceFileParser::noteName(std::string_view line) {
    Chain chain;
    if (names_.size() < ids_.size() && !parseChainRecord(line, kChainKey.size(), chain))
        names_.emplace(chain.number, std::move(chain.fileName));
}

// Tables of N rows; what was read before is forgotten, as it belongs to another matrix.
std::optional<FormatError> DistanceFileParser::addSize(std::string_view line) {
    std::size_t size = 0;
    if (auto error = parseSizeRecord(line, sizeof(float), cells_, size)) return error;
    distances_ = {};  // a later size record starts over; the old matrix goes before the new comes
    if (chains_ != nullptr) chains_->chains.resize(chainsBefore_);
    names_.clear();
    usedRows_ = 0;
    try {
        distances_ = GradualMatrix<float>(size, kMissing, 0.0F);
        ids_.assign(size, 0);
        rows_ = IdIndex(size);
    } catch (const std::bad_alloc&) {
        return sizeNotAllocated(line);
    }
    return std::nullopt;
}

bool DistanceFileParser::addId(std::uint32_t id) {
    if (usedRows_ == ids_.size()) return false;
    ids_[usedRows_] = id;
    rows_.add(id, usedRows_);
    ++usedRows_;
    return true;
}

std::uint32_t DistanceFileParser::rowOf(std::uint32_t id) {
    const std::uint32_t row = rows_.find(id);
    if (row != IdIndex::kNone) return row;
    return addId(id) ? usedRows_ - 1 : IdIndex::kNone;
}

std::optional<FormatError> DistanceFileParser::addChain(std::string_view line) {
    if (!hasSize()) {
        return FormatError{
            "Failed to determine size of matrix before Chain records. Require header 'SIZE : <N>'"};
    }
    Chain chain;
    if (auto error = parseChainRecord(line, kChainKey.size(), chain)) return error;
    // A chain record takes a row even when its ID has one: reportDoubleIds() names such IDs
    // afterwards, all of them and not the first alone.
    if (!addId(chain.number)) return incorrectChainRecord(line);
    chains_->chains.push_back(std::move(chain));
    return std::nullopt;
}

// Both cells of a pair get the distance.  A negative one is stored and is missing later: it is how
// a failed fit was written.
std::optional<FormatError> DistanceFileParser::addDistance(std::string_view line) {
    if (!hasSize()) return missingSize();
    std::string_view fields = line.substr(kDistanceKey.size());
    const std::optional<std::uint32_t> id1 = parseId(takeField(fields));
    const std::optional<std::uint32_t> id2 = parseId(takeField(fields));
    const std::optional<double> number = wholeReal(takeField(fields));
    std::uint32_t i = IdIndex::kNone;
    std::uint32_t j = IdIndex::kNone;
    if (id1 && id2 && number && std::fabs(*number) <= kLargest) {
        i = rowOf(*id1);
        j = rowOf(*id2);
    }
    if (i == IdIndex::kNone || j == IdIndex::kNone) {
        return faultyLine(
            "Incorrect distance record,  require 'DIST : <ID> <ID> <Distance>' - Check: ", line);
    }
    const auto distance = static_cast<float>(*number);
    // Of several records of a pair the last counts.
    distances_.set(i, j, distance);
    distances_.set(j, i, distance);
    return std::nullopt;
}

}  // namespace

FileOutcome writeDistanceFile(const std::string& path, const ChainList& chains,
                              const DistanceMatrix& matrix, std::span<const std::uint32_t> ids,
                              Log& log) {
    log.info(0, "Printing distance file %s", path.c_str());
    OutputFile output(path);
    if (!output.isOpen()) {
        log.error(0, "Can't open distance file '%s' - %s", path.c_str(), systemErrorText());
        return FileOutcome::NotCreated;
    }
    writeRule(output, kRuleWidth);
    output.write("# Tervolanda Distance Matrix File\n");
    writeRule(output, kRuleWidth);
    writeSizeRecord(output, ids.size());
    writeRule(output, kChainRuleWidth);
    output.write("# Chain records\n# PDB  : <ID> <Filename>\n");
    writeRule(output, kChainRuleWidth);
    writeChainRecords(output, chains, kChainKey);
    writeRule(output, kRuleWidth);
    output.write("# Distance records\n# DIST : <ID1> <ID2> <Distance>\n");
    writeRule(output, kRuleWidth);
    // Below the diagonal, column by column, so that the first ID of a line is that of the earlier
    // model.
    for (std::size_t i = 0; i < ids.size(); ++i) {
        for (std::size_t j = i + 1; j < ids.size(); ++j) {
            output.print("DIST : %6u %6u %10.4f\n", ids[i], ids[j],
                         static_cast<double>(matrix.at(j, i)));
        }
    }
    return finishFile(output, path, log);
}

std::variant<DistanceFile, FormatError> parseDistanceFile(std::FILE* file, ChainList* chains) {
    DistanceFileParser parser(chains);
    RecordLines lines(file);
    while (const std::optional<std::string_view> line = lines.next()) {
        if (auto error = parser.addLine(*line)) return *std::move(error);
    }
    if (auto error = lines.error()) return *std::move(error);
    if (!parser.hasSize()) return missingSize();
    return parser.take();
}

bool reportMissingDistances(const DistanceFile& distances, Log& log) {
    const bool uniqueIds = reportDoubleIds(distances.ids, log);
    FaultReport report(log);
    const std::size_t size = distances.matrix.rows();
    for (std::size_t i = 0; i < size; ++i) {
        const std::span<const float> row = distances.matrix.row(i);
        for (std::size_t j = i + 1; j < size; ++j) {
            // A fit that failed was written as -1 and is missing here: there is nothing to cluster
            // by.
            if (row[j] >= 0.0F) continue;
            report.error(1, "Missing distance record for %zu - %zu", i + 1, j + 1);
        }
    }
    report.finish();
    return uniqueIds && report.count() == 0;
}

std::variant<std::optional<DistanceFile>, FormatError> readDistanceFile(const std::string& path,
                                                                        ChainList* chains,
                                                                        Log& log) {
    log.info(0, "Reading distance file %s", path.c_str());
    const FileHandle file = openForReading(path);
    if (!file) return cannotOpen("distance file", path);
    auto parsed = parseDistanceFile(file.get(), chains);
    if (auto* error = std::get_if<FormatError>(&parsed)) return std::move(*error);
    std::optional<DistanceFile> distances(std::get<DistanceFile>(std::move(parsed)));
    if (!reportMissingDistances(*distances, log)) distances.reset();
    return distances;
}

}  // namespace tervolanda
