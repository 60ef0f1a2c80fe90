// The runs that share a comparison of all pairs among processes: one computes a block (--block),
// one says which blocks are missing (--missing), one how many there should be (--plan).  The run
// that merges them is the ordinary one (all_vs_all.cpp), which takes the pairs from parts.
//
// No process knows of another.  Each reads the list, works out its own slice and writes one part,
// so that any scheduler will do, blocks may run in any order and more than once, and a block that
// failed is simply started again.
#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <system_error>

#include "base/format.h"
#include "base/log.h"
#include "driver/abend.h"
#include "driver/blocks.h"
#include "driver/model_input.h"
#include "driver/modes.h"
#include "driver/read_plan.h"
#include "driver/residue_names.h"
#include "driver/timer.h"

namespace tervolanda {

namespace {

// The models that the pairs of a block need; the others of the list are not read, and of these none
// need be readable but in a strict run.  They have the IDs of the whole list.
ChainList readNeeded(const std::vector<std::uint32_t>& needed, const Settings& settings,
                     const ResidueExclusions& exclusions, Log& log) {
    ChainList models;
    std::uint32_t counter = 0;
    const auto isNeeded = [&needed](std::uint32_t id) {
        return std::binary_search(needed.begin(), needed.end(), id - 1);
    };
    const ReadRequest structure = readPlan(settings).models;
    readModelList(*settings.input.listFile, counter,
                  {structure, exclusions, settings.workforce.threads, nullptr, isNeeded}, models,
                  log);
    if (settings.strict && models.chains.size() < needed.size()) {
        abend("%zu of the %zu structures of the block cannot be read",
              needed.size() - models.chains.size(), needed.size());
    }
    return models;
}

// The pairs of a block among those of the models that were read for it.  A block over several rows
// has all readable models up to its last row, so its pairs begin as far on as there are readable
// pairs before its slice.  A block within one row has read that row's experiment, which comes last,
// and the predictions of its pairs alone: its pairs are then the last row of what was read.
PairRange rangeOf(const PartHeader& header, const ReadablePairs& readable, std::size_t models) {
    const auto count = static_cast<std::size_t>(header.records);
    const bool hasAll = !header.models.empty() &&
                        header.models.back().entry + std::size_t{1} == header.models.size();
    if (hasAll) return {readable.before(header.slice().first), count};
    return {count == 0 ? 0 : pairsOf(models - 1), count};
}

// Compares the pairs of a slice as the run compares pairs; take(pair, outcome) gets what was found
// of each, in the order of the batch, in which a merge asks for it.
template <typename Take>
void comparePairs(const PairSlice& slice, const Settings& settings, const Workforce& workforce,
                  const Take& take, Log& log, Report& report) {
    switch (comparisonKind(settings)) {
        case ComparisonKind::MaxSub:
            return compareMaxSub(slice, settings.comparison, take, log, report, workforce);
        case ComparisonKind::Gdt:
            return compareGdt(slice, settings.comparison, take, log, report, workforce);
        case ComparisonKind::Rmsd:
            return compareRmsd(slice, rmsdOptions(settings), take, log, report, workforce);
        case ComparisonKind::Measure:
            return compareByMeasure(slice, measureOptions(settings), take, log, report, workforce);
    }
}

// For --resume: the part is what this very run would write, to the last byte, as its header has the
// same list, models and options and its checksum holds.
bool isWhole(const std::string& path, const PartHeader& header, const RunIdentity& run) {
    const auto opened = PartReader::open(path);
    const auto* const part = std::get_if<PartReader>(&opened);
    return part != nullptr && part->header().block == header.block && !run.faultOf(part->header());
}

// Processor seconds that comparing all pairs of these models takes, the mean of enough rounds to
// tell.
double secondsForAll(const PreparedList& models, const Settings& settings, Log& log,
                     Report& report) {
    // The processor clock ticks in hundredths of a second on some systems: a tenth of a second is
    // measured to 10 %.
    constexpr double kLongEnough = 0.1;
    const auto nothing = [](BatchPair, const auto&) {};
    const Workforce alone{1, settings.workforce.kernels};
    const PairSlice all{models, {0, pairsOf(models.size())}};
    const std::clock_t begin = std::clock();
    for (int rounds = 1;; ++rounds) {
        comparePairs(all, settings, alone, nothing, log, report);
        const double seconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
        if (seconds >= kLongEnough) return seconds / rounds;
    }
}

// So many of the models, evenly spread over the list, which is often sorted by what made the
// models.
ChainList sampleOf(const ChainList& models, std::size_t count) {
    ChainList sample;
    const std::size_t n = models.chains.size();
    for (std::size_t k = 0; k < std::min(count, n); ++k)
        sample.chains.push_back(models.chains[k * n / std::min(count, n)]);
    return sample;
}

// The most memory that the process has had, MB (ru_maxrss is in kilobytes on Linux).
double peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

// A block may take hours: that its part cannot be written is said before.
void requireWritable(const PartWriter& part, const std::string& path) {
    const int error = part.whyNotWritable();
    if (error == 0) return;
    abend(Fault::NotWritten, "Part '%s' cannot be written: %s", path.c_str(),
          std::generic_category().message(error).c_str());
}

}  // namespace

int runBlock(const Settings& settings, const ResidueExclusions& exclusions, Log& log) {
    Report report(log, settings.output.logLevel);
    const std::string& path = *settings.blocks.partFile;
    const Block block{settings.blocks.number, settings.blocks.blocks};
    const ListSummary list = summariseList(settings, log);
    const ChainList models = readNeeded(entriesOf(block, list.models), settings, exclusions, log);
    checkResidueNames(nullptr, models.chains, settings);
    const RunIdentity run(settings, list, models);
    const PartHeader header = run.headerOf(block);
    if (settings.blocks.resume && isWhole(path, header, run)) {
        log.info(0, "Part '%s' is whole and stays as it is", path.c_str());
        return EXIT_SUCCESS;
    }
    PartWriter part(path, header.kind);
    requireWritable(part, path);
    const RunTimer timer;
    const PreparedList prepared(models, readPlan(settings).atoms, settings.comparison, report);
    const PairRange range = rangeOf(header, run.readable(), prepared.size());
    const auto keep = [&part](BatchPair, const auto& outcome) { part.add(outcome); };
    if (range.count > 0) {
        comparePairs({prepared, range}, settings, settings.workforce, keep, log, report);
    }
    timer.stop(log);
    if (!part.commit(header)) {
        log.incompleteFile(path);
        return EXIT_FAILURE;
    }
    log.info(0, "Wrote %ju pairs, block %ju of %ju, to '%s'", std::uintmax_t{header.records},
             std::uintmax_t{block.number}, std::uintmax_t{block.blocks}, path.c_str());
    return EXIT_SUCCESS;
}

// Reads all models, since a part says of each whether it could be read and what it was.
int runMissing(const Settings& settings, const ResidueExclusions& exclusions, Log& log) {
    const std::string& path = *settings.blocks.missingFolder;
    const ListSummary list = summariseList(settings, log);
    const ChainList models = readModels(settings, exclusions, log, nullptr);
    const RunIdentity run(settings, list, models);
    const PartFolder folder(path, run, log);
    const std::uint64_t given = settings.blocks.blocks;
    if (given != 0 && folder.blocks() != 0 && given != folder.blocks()) {
        abend("The parts in '%s' are of %ju blocks, not of %ju", path.c_str(),
              std::uintmax_t{folder.blocks()}, std::uintmax_t{given});
    }
    const std::uint64_t blocks = given != 0 ? given : folder.blocks();
    if (blocks == 0) {
        abend("No part in '%s' says how many blocks there are: give --block=1/n", path.c_str());
    }
    // On standard output with -log, too, which scripts give to all of these runs.
    const std::string missing = folder.missing(blocks);
    if (!missing.empty()) log.report(missing + '\n');
    return EXIT_SUCCESS;
}

// Bytes that a merge holds for each of the N x N cells: three matrices of four bytes, and what a
// linkage works on beside them: a copy, by maximum linkage of one half.
double bytesOfCell(const std::optional<ClusterMethod>& method) {
    constexpr double kMatrices = 12.0;
    if (method == ClusterMethod::AverageLinkage) return kMatrices + 4.0;
    return kMatrices + (method == ClusterMethod::MaximumLinkage ? 2.0 : 0.0);
}

// Computes a sample and multiplies.  The figures are for a scheduler's limits, so they are those of
// a process: blocks, minutes of each with all of its threads, and megabytes, of a block and of the
// merge, which holds the matrices.
int runPlan(const Settings& settings, const ResidueExclusions& exclusions, Log& log) {
    // Enough for a mean over models of different lengths.
    constexpr std::size_t kSample = 21;  // 210 pairs
    constexpr double kSecondsPerMinute = 60.0;
    Report report(log, 0);
    const ListSummary list = summariseList(settings, log);
    const ChainList models = readModels(settings, exclusions, log, nullptr);
    if (models.chains.size() < 2) abend("Not enough structures for all vs. all clustering");
    // A block has all of its models prepared: it counts for the memory, and is of no other use
    // here.
    const PreparedList prepared(models, readPlan(settings).atoms, settings.comparison, report);
    const ChainList sample = sampleOf(models, kSample);
    const PreparedList few(sample, readPlan(settings).atoms, settings.comparison, report);
    const double each = secondsForAll(few, settings, log, report) /
                        static_cast<double>(pairsOf(sample.chains.size()));
    // All lines count, as for the slices: it is not known what other runs can read.
    const auto pairs = static_cast<double>(pairsOf(list.models));
    const double minutes =
        each * pairs / kSecondsPerMinute / static_cast<double>(settings.workforce.threads);
    const double blocks = std::clamp(std::ceil(minutes / *settings.blocks.planMinutes), 1.0, pairs);
    const auto n = static_cast<double>(models.chains.size());
    constexpr double kMargin = 1.1;  // for what grows with the models: a limit must not be too low
    constexpr double kMegabyte = 1048576.0;
    constexpr double kThreadMemory = 8.0;  // MB
    const double memory =
        peakMemory() + kThreadMemory * static_cast<double>(settings.workforce.threads);
    const double merging =
        memory + kMargin * bytesOfCell(clusterMethod(settings)) * n * n / kMegabyte;
    log.report(format("blocks=%.0f\nminutes=%.1f\nmegabytes=%.0f\nmerge_megabytes=%.0f\n", blocks,
                      minutes / blocks, std::ceil(memory), std::ceil(merging)));
    return EXIT_SUCCESS;
}

}  // namespace tervolanda
