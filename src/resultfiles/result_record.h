// What the distance file and the MaxSub file have in common: lines that begin with a key, a size
// record and chain records at the front, IDs that name matrix rows, and the way they are written.
//
// Parsers return a FormatError for the first record that they cannot take, and no line is logged:
// the driver decides what becomes of the run.  What is missing at the end is told pair by pair, in
// ERROR lines (FaultReport), of which there may be a million.
#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/file.h"
#include "resultfiles/resultfiles.h"

namespace tervolanda {

inline constexpr std::string_view kSizeKey = "SIZE :";
inline constexpr std::string_view kChainKey = "PDB  :";

// The lines of a result file that may be records.  A file that holds more than kLongestRecord of
// other text, or a line that long, is no result file, and is not read to an end that may not come.
class RecordLines {
 public:
    explicit RecordLines(std::FILE* file) : reader_(file) {}
    // The next of them; none at the end of the file or after an error.
    std::optional<std::string_view> next();
    // Why the file was not read to its end.
    std::optional<FormatError> error() const;

    static constexpr std::size_t kLongestRecord = std::size_t{1} << 24;

 private:
    LineReader reader_;
    std::size_t ignored_ = 0;  // characters
};

// Messages that more than one reader gives: for a file, called `kind`, that cannot be opened.
FormatError cannotOpen(const char* kind, const std::string& path);

// `text` is that of a message up to the line that is at fault; the line follows in quotes.
FormatError faultyLine(std::string_view text, std::string_view line);

// A whole number from 1 to the largest ID; none for any other field.
std::optional<std::uint32_t> parseId(std::string_view field);

// Reads N of a size record.  N is not 0, and N x N cells of `bytesPerCell` fit into the memory of
// the machine: an allocation that the system only promises would end the process later.  `cells`
// counts those of all size records: each starts over, and a file of many would keep a run busy.
std::optional<FormatError> parseSizeRecord(std::string_view line, std::size_t bytesPerCell,
                                           std::uint64_t& cells, std::size_t& size);
// For an N that passed the above when there is no memory for it after all.
FormatError sizeNotAllocated(std::string_view line);

// Reads a chain record whose key has `keyLength` characters into a chain's number and file name.
std::optional<FormatError> parseChainRecord(std::string_view line, std::size_t keyLength,
                                            Chain& chain);
FormatError incorrectChainRecord(std::string_view line);

// Rows by ID.  IDs up to a small multiple of the row count, all that ordinary files have, are found
// by direct index.
class IdIndex {
 public:
    explicit IdIndex(std::size_t rows = 0) : small_(rows * 4 + 1024, kNone) {}
    // The row added first under this ID, or kNone.
    std::uint32_t find(std::uint32_t id) const;
    void add(std::uint32_t id, std::uint32_t row);

    static constexpr std::uint32_t kNone = UINT32_MAX;

 private:
    // By ID, kNone where no row has it.
    std::vector<std::uint32_t> small_;
    std::map<std::uint32_t, std::uint32_t> large_;  // no hash that a file could make degenerate
};

// An ERROR line for every ordered pair of rows with the same ID (0 is that of rows without one);
// false when there was any.
bool reportDoubleIds(std::span<const std::uint32_t> ids, Log& log);

// Writes a line of `width` "#" characters.
void writeRule(OutputFile& output, std::size_t width);
// Writes the head of a file up to its size record and the head of its chain records.
void writeSizeRecord(OutputFile& output, std::size_t size);
// A chain record for every chain.
void writeChainRecords(OutputFile& output, const ChainList& chains, std::string_view key);
// Ends the writing of a result file.
FileOutcome finishFile(OutputFile& output, const std::string& path, Log& log);

}  // namespace tervolanda
