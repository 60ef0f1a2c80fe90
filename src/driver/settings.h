// The configuration of a run, and how the command line becomes one.
//
// Plain values, filled by readCommandLine() and const from then on: a run mode takes all it needs
// to know from here, and nobody else looks at an argument.  Groups follow who reads them.  What two
// options decide together is decided in settings.cpp or read_plan.cpp, once, and not where it is
// used.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/log.h"
#include "chain/input/input.h"
#include "cluster/batch/batch.h"
#include "compare/compare.h"
#include "driver/export_forms.h"

namespace tervolanda {

// What a pairwise RMSD comparison does with unit vectors.
enum UrmsdFlags : std::uint8_t {
    UrmsdCompute = 0x01,
    UrmsdRotate = 0x02,  // take the rotation from the URMSD fit
};

// The structures and the files of an earlier run.  Paths as they were given; "-" is standard input.
struct InputSettings {
    std::optional<std::string> experimentFile;
    std::optional<std::string> predictionFile;
    std::optional<std::string> distanceFile;   // cluster this and compare nothing
    std::optional<std::string> transformFile;  // rank and cluster this and compare nothing
    std::optional<std::string> listFile;
    bool listIsPath = false;  // the list may be a folder or a pattern, too: see readModelsAt()
    std::optional<std::string> exclusionFile;  // residues that no read returns
    EntryRules entry;                          // but for the chain
    std::string experimentChain;               // empty for the only one
    std::string predictionChain;
    bool allAtoms = false;
};

// What is measured, beyond the parameters of a comparison: -rmsd, -gdt, -bb, -rankMS, -nourmsd and
// -urmsd.  Without the first two it is MaxSub.
struct MeasureSettings {
    bool rmsdOnly = false;
    bool gdt = false;
    bool backbone = false;
    bool rankMS = false;
    std::uint8_t urmsdFlags = UrmsdCompute;
    std::optional<Measure> by;  // in place of MaxSub, GDT or RMSD
};

// In this order -T, -Tm, -a, -s, -P, -is, -ms and -C.  Negative thresholds and steps stand for "by
// the kind of run" until resolveRun() has replaced them; thresholds are distances, Å or 1 -
// similarity.
struct ClusteringSettings {
    double threshold = -1.0;  // negative: by the kind of run
    double maxThreshold = -1.0;
    double thresholdStep = -1.0;
    double juryScore = 0.2;
    int juryPairs = 20;
    int initialClusterSize = 50;
    int minClusterSize = 5;
    // 0 none, 1 single, 2 average, 3 maximum linkage, 4 neighbour pairs (min size), 5 neighbour
    // pairs (absolute size): see clusterMethod().
    int clusterMethod = 5;
};

// Where results go and how much of them is shown; none of it changes a result.  A file that is not
// asked for has no path.  Levels are those of log.h.
struct OutputSettings {
    std::optional<std::string> resultFile;
    std::optional<std::string> liteResultFile;
    std::optional<std::string> urmsdResultFile;
    std::optional<std::string> logFile;
    std::vector<ExportRequest> exports;
    int outputOption = 0;  // 0 MaxSub atoms, 1 all atoms spanning MaxSub, 2 all atoms
    bool outputOptionGiven = false;
    int superTop = 0;  // models in the superposition script of a list run
    bool average = false;
    bool noSort = false;
    bool alignOutput = true;
    int logLevel = 1;
    int lineWrap = 60;
};

// All pairs of a list in blocks, each computed by a run of its own.  A run has at most one of the
// tasks (checkBlocks()): to compute a block, to merge the parts of all, to name those that are
// missing, to plan how many there should be.
struct BlockSettings {
    std::uint64_t number = 0;  // of `blocks`, from 1
    std::uint64_t blocks = 0;  // 0: none were asked for
    std::optional<std::string> partFile;
    bool resume = false;
    std::optional<std::string> mergeFolder;
    std::optional<std::string> missingFolder;
    std::optional<int> planMinutes;

    // Runs whose output another program reads, so that nothing else may be among it.
    bool printsFiguresAlone() const { return missingFolder || planMinutes; }
};

struct Settings {
    bool strict = false;  // nothing is ignored in silence
    ComparisonParameters comparison;
    InputSettings input;
    MeasureSettings measure;
    ClusteringSettings clustering;
    OutputSettings output;
    BlockSettings blocks;
    Workforce workforce;  // threads of list runs, kernels of all
    ProgressForm progress = ProgressForm::Counter;
    // The arguments after the program's name, but for those that do not matter to results.
    std::vector<std::string> command;
};

// What the command line asks for: a run, or a text.  Texts win over runs; which text it is depends
// on the flags and, without any, on the number of arguments.
enum class Request { Run, ShortUsage, StandardHelp, ExtendedHelp, MoreHelp, Version };

struct CommandLine {
    Request request = Request::Run;
    Settings settings;
};

// Reads the command line from the arguments, the program name first.  Sets the log's level.  A file
// of the positional form that cannot be opened is fatal.
CommandLine readCommandLine(std::vector<std::string> values, Log& log);

}  // namespace tervolanda
