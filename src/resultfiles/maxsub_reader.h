// The reading of a MaxSub file in two steps that can be tested without ending the process: what the
// records say, and what is missing. readMaxSubFile() takes both.
#pragma once

#include <cstdint>
#include <cstdio>
#include <variant>

#include "base/matrix.h"
#include "resultfiles/result_record.h"
#include "resultfiles/resultfiles.h"

namespace tervolanda {

// What a MaxSub file had, and which records of each pair.
struct ParsedMaxSubFile {
    // Score is set by either record that has the scores, Transformation by the one of the full
    // file.
    enum Seen : std::uint8_t { Score = 1, Transformation = 2, Positions = 4 };

    MaxSubFile file;
    Matrix<std::uint8_t> seen;  // N x N, Seen bits at (smaller row, larger row)
    bool hasTransformations = false;
};

std::variant<ParsedMaxSubFile, FormatError> parseMaxSubFile(std::FILE* file);

// An ERROR line for every ID and every pair record that is missing; false when an ID or a score is.
// Transformations and positions are missed only in files that have transformations.
bool reportMissingMaxSubRecords(const ParsedMaxSubFile& parsed, Log& log);

}  // namespace tervolanda
