// The common parts of the two kinds of result file.  Both are read a line at a time; fields stand
// between blanks and must be numbers as a whole.
//
// A file may be another than was meant, cut short, or made to keep a run busy or fill its memory.
// So lines have a limit, sizes are compared with the memory of the machine before anything is
// taken, and each check says in its message what it has found.
#include "resultfiles/result_record.h"

#include <algorithm>
#include <limits>

#include "base/format.h"
#include "base/log.h"
#include "base/memory.h"
#include "base/text.h"

namespace tervolanda {

namespace {

constexpr std::string_view kDigits = "0123456789";

std::string_view sizeValue(std::string_view line) {
    return trimBlanks(line.substr(kSizeKey.size()));
}

// All keys of records end in a colon, within their first six characters.  REQUIRES: the line is not
// empty; a line has at least its end.
bool isRecord(std::string_view line) {
    constexpr std::size_t kLongestKey = 6;
    return line.front() != '#' && line.substr(0, kLongestKey).find(':') != std::string_view::npos;
}

// The precision of "%.*s" is an int.
int printedLength(std::string_view text) {
    return static_cast<int>(std::min(text.size(), RecordLines::kLongestRecord));
}

}  // namespace

std::optional<std::string_view> RecordLines::next() {
    for (;;) {
        const std::optional<std::string_view> line = reader_.next(kLongestRecord);
        if (!line) return std::nullopt;
        // A line of full length was cut, and what is left of it may begin like a record.
        if (line->size() < kLongestRecord && isRecord(*line)) return line;
        ignored_ += line->size();
        if (ignored_ >= kLongestRecord) return std::nullopt;
    }
}

std::optional<FormatError> RecordLines::error() const {
    if (reader_.failed()) return FormatError{"Failed to read the file to its end"};
    if (ignored_ < kLongestRecord) return std::nullopt;
    return FormatError{
        format("No result file: over %zu bytes of it are no records", kLongestRecord)};
}

FormatError cannotOpen(const char* kind, const std::string& path) {
    return {format("Can't open %s '%s' - %s", kind, path.c_str(), systemErrorText())};
}

FormatError faultyLine(std::string_view text, std::string_view line) {
    FormatError error{std::string(text)};
    error.message += '\'';
    error.message += trimBlanks(line);
    error.message += '\'';
    return error;
}

std::optional<std::uint32_t> parseId(std::string_view field) {
    const std::optional<std::int64_t> number = wholeInteger(field);
    if (!number || *number < 1 || *number > std::numeric_limits<std::uint32_t>::max()) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(*number);
}

std::optional<FormatError> parseSizeRecord(std::string_view line, std::size_t bytesPerCell,
                                           std::uint64_t& cells, std::size_t& size) {
    const std::string_view value = sizeValue(line);
    const std::string_view whole = trimBlanks(line);
    if (value.empty() || value.find_first_not_of(kDigits) != std::string_view::npos) {
        FormatError error{"Failed to determine size of distance matrix from line: "};
        error.message += whole;
        return error;
    }
    const std::optional<std::uint64_t> number = digitsOnly(value);  // none when it is too large
    if (number == std::uint64_t{0}) {
        return FormatError{format("Cannot have zero size distance matrix: '%.*s' %.*s",
                                  printedLength(value), value.data(), printedLength(whole),
                                  whole.data())};
    }
    if (!number || *number > std::numeric_limits<std::uint32_t>::max()) {
        return sizeNotAllocated(line);
    }
    // In cells, so that nothing overflows: N is below 2^32, its square below 2^64.
    const std::uint64_t limit = usableMemory() / bytesPerCell;
    if (*number * *number > limit - std::min(cells, limit)) return sizeNotAllocated(line);
    cells += *number * *number;
    size = static_cast<std::size_t>(*number);
    return std::nullopt;
}

FormatError sizeNotAllocated(std::string_view line) {
    const std::string_view value = sizeValue(line);
    return {format("Cannot allocate distance matrix of size '%.*s' within %.1f GB of memory",
                   printedLength(value), value.data(), static_cast<double>(usableMemory()) / 1e9)};
}

FormatError incorrectChainRecord(std::string_view line) {
    return faultyLine("Incorrect Chain record, require 'PDB  : <ID> <Filename>' - Check: ", line);
}

std::optional<FormatError> parseChainRecord(std::string_view line, std::size_t keyLength,
                                            Chain& chain) {
    std::string_view fields = line.substr(keyLength);
    const std::optional<std::uint32_t> id = parseId(takeField(fields));
    const std::string_view name = takeField(fields);
    if (!id || name.empty()) return incorrectChainRecord(line);
    chain.number = *id;
    chain.fileName = name;
    return std::nullopt;
}

std::uint32_t IdIndex::find(std::uint32_t id) const {
    if (id < small_.size()) return small_[id];
    const auto found = large_.find(id);
    return found == large_.end() ? kNone : found->second;
}

void IdIndex::add(std::uint32_t id, std::uint32_t row) {
    if (id >= small_.size()) {
        large_.emplace(id, row);
    } else if (small_[id] == kNone) {
        small_[id] = row;
    }
}

bool reportDoubleIds(std::span<const std::uint32_t> ids, Log& log) {
    // As often as an ID has other rows: once for each ordered pair, counted and not gone through.
    std::map<std::uint32_t, std::size_t> rowsWith;
    for (const std::uint32_t id : ids)
        ++rowsWith[id];
    FaultReport report(log);
    for (const std::uint32_t id : ids) {
        report.error(rowsWith[id] - 1, "Missing unique IDs for each Chain file - Check ID: %u", id);
    }
    report.finish();
    return report.count() == 0;
}

void writeRule(OutputFile& output, std::size_t width) {
    output.write(std::string(width, '#'));
    output.write("\n");
}

void writeSizeRecord(OutputFile& output, std::size_t size) {
    output.print("SIZE : %zu\n", size);
}

void writeChainRecords(OutputFile& output, const ChainList& chains, std::string_view key) {
    for (const Chain& chain : chains.chains) {
        output.write(key);
        output.print(" %6u   %-s\n", chain.number, chain.fileName.c_str());
    }
}

FileOutcome finishFile(OutputFile& output, const std::string& path, Log& log) {
    if (output.commit()) return FileOutcome::Written;
    log.error(0, "Failed to write file '%s' - %s", path.c_str(), systemErrorText());
    return FileOutcome::Incomplete;
}

}  // namespace tervolanda
