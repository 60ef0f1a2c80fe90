// All options and what they are in this run.
//
// For files that record a run (JSON); settings.cpp has read them, and what it has filled in is
// recorded as it was filled in.
#pragma once

#include <vector>

#include "driver/settings.h"
#include "export/results.h"

namespace tervolanda {

// By their names on the command line, in the order of the help.  Options of files that are written
// and of threads are left out: no result depends on them.
std::vector<RecordedOption> recordedOptions(const Settings& settings);

}  // namespace tervolanda
