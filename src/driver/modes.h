// The run modes.  Each reads what it needs, prints its result lines, writes the result files that
// were asked for, hands its results to the exports, and returns the exit status: 1 when a result
// file is not complete.  What it cannot go on without is fatal.
//
// run() chooses one by the settings (compareOrCluster() in run.cpp); no mode calls another.  What
// two of them need stands in result_output.h, model_input.h or read_plan.h.
//
// All take the same four: what was asked for, the residues to leave out, the files to fill, the
// lines.
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

// A block of the pairs of such a run, into its part file.
int runBlock(const Settings& settings, const ResidueExclusions& exclusions, Log& log);

// Prints the numbers of the blocks that a folder lacks whole parts of, and nothing else: "3,7-9".
int runMissing(const Settings& settings, const ResidueExclusions& exclusions, Log& log);

// Times some pairs and prints, as "name=value" lines, how many blocks take the given minutes each.
int runPlan(const Settings& settings, const ResidueExclusions& exclusions, Log& log);

// Clusters a distance file.
int runClusterOnly(const Settings& settings, RunExports& exports, Log& log);

// Ranks and clusters a MaxSub file.
int runTransformMode(const Settings& settings, RunExports& exports, Log& log);

}  // namespace tervolanda
