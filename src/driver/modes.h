// The run modes.  Each reads what it needs, prints its result lines, writes the result files that
// were asked for, hands its results to the exports, and returns the exit status: 1 when a result
// file is not complete.  What it cannot go on without is fatal.
#pragma once

#include "chain/input/input.h"
#include "driver/settings.h"

namespace tervolanda {

class Log;
class RunExports;

// One prediction against one experiment.
int runPairwise(const Settings& settings, const ResidueExclusions& exclusions, RunExports& exports,
                Log& log);

// Every model of a list against one experiment.
int runOneVsList(const Settings& settings, const ResidueExclusions& exclusions, RunExports& exports,
                 Log& log);

// The models of a list against each other: pairs, consensus, clusters.
int runAllVsAll(const Settings& settings, const ResidueExclusions& exclusions, RunExports& exports,
                Log& log);

// Clusters a distance file.
int runClusterOnly(const Settings& settings, RunExports& exports, Log& log);

// Ranks and clusters a MaxSub file.
int runTransformMode(const Settings& settings, RunExports& exports, Log& log);

}  // namespace tervolanda
