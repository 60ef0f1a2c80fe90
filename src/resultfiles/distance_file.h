// The reading of a distance file in two steps that can be tested without ending the process: what
// the records say, and what is missing. readDistanceFile() takes both.
#pragma once

#include <cstdio>
#include <variant>

#include "resultfiles/result_record.h"
#include "resultfiles/resultfiles.h"

namespace tervolanda {

// Reads the records of a distance file.  Distances that the file does not give are -1.
std::variant<DistanceFile, FormatError> parseDistanceFile(std::FILE* file, ChainList* chains);

// An ERROR line for every ID and every distance that is missing; false when there was any.
bool reportMissingDistances(const DistanceFile& distances, Log& log);

}  // namespace tervolanda
