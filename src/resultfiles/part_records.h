// The records of a part file as bytes: what each PartKind holds of a pair.  docs/formats.md has
// their layout.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "resultfiles/part_file.h"

namespace tervolanda {

// Whether so many bytes may be so many records: what varies in number within a record (domains,
// runs of pairs) is only known when it is read.
bool mayBeRecords(PartKind kind, std::uint64_t records, std::uint64_t bytes);

// Each appends a record.  REQUIRES: the kind is one of this outcome.
void appendRecord(std::string& bytes, PartKind kind, const ComparisonResult& result);
void appendRecord(std::string& bytes, PartKind kind, const GdtOutcome& outcome);
void appendRecord(std::string& bytes, PartKind kind, const MeasuredOutcome& outcome);
void appendRecord(std::string& bytes, PartKind kind, const RmsdCells& cells);

// Gives the next bytes of the records, good until the next call; empty when there are fewer.
using TakeBytes = std::function<std::string_view(std::size_t bytes)>;

// Each reads a record; false when it is cut short or holds what no comparison finds: a number that
// is none or is huge, or pairs outside of sets of these sizes.
bool readRecord(const TakeBytes& take, PartKind kind, const SetSizes& sizes,
                ComparisonResult& result);
bool readRecord(const TakeBytes& take, PartKind kind, const SetSizes& sizes, GdtOutcome& outcome);
bool readRecord(const TakeBytes& take, MeasuredOutcome& outcome);
bool readRecord(const TakeBytes& take, RmsdCells& cells);

}  // namespace tervolanda
