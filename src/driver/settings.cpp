// The options are looked up in a fixed order, because a lookup may rewrite the arguments that it
// visits (arguments.h): a new lookup between two others could change what a misspelt command line
// means, and scripts have such lines.  Then come the decisions that depend on several options.
//
// More than 400 lines, because the order of all lookups matters and is to be seen in one place.
#include "driver/settings.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

#include "base/file.h"
#include "base/log.h"
#include "base/parallel.h"
#include "base/text.h"
#include "compare/fit/kernels.h"
#include "driver/abend.h"
#include "driver/arguments.h"
#include "driver/options.h"
#include "driver/own_options.h"
#include "driver/strict.h"

namespace tervolanda {

namespace {

// The requests for a text, as the flags stand on the command line.  Which of them is heeded is
// decided when everything has been looked up (chooseRequest()).
struct TextFlags {
    bool help = false;
    bool extendedHelp = false;
    bool version = false;
};

// Names are taken as they are, also those that begin with a dash: "-e -p" reads a file "-p".
void readFileOptions(Arguments& arguments, Settings& settings) {
    settings.input.experimentFile = arguments.text("-e");
    settings.input.predictionFile = arguments.text("-p");
    settings.input.distanceFile = arguments.text("-F");
    settings.input.transformFile = arguments.text("-M");
    settings.input.listFile = arguments.text("-l");
    settings.output.resultFile = arguments.text("-R");
    settings.output.liteResultFile = arguments.text("-Rl");
    settings.output.urmsdResultFile = arguments.text("-Ru");
    settings.output.logFile = arguments.text("-log");
    settings.input.exclusionFile = arguments.text("-exclude");
}

// What depends on the kind of run is -1 here and filled in by resolveRun(), when that is known.
void readClusterOptions(Arguments& arguments, Settings& settings) {
    settings.clustering.threshold = arguments.real("-T", -1.0);
    settings.clustering.maxThreshold = arguments.real("-Tm", -1.0);
    settings.clustering.thresholdStep = arguments.real("-a", -1.0);
    settings.clustering.juryScore = arguments.real("-s", 0.2);
    settings.comparison.thresholdScale = arguments.real("-TSF", 1.0);
    settings.comparison.contactDistance = arguments.real("-dist", 7.5);
    settings.output.logLevel = arguments.integer("-L", -1);
    settings.clustering.initialClusterSize = arguments.integer("-is", 50);
    settings.clustering.minClusterSize = arguments.integer("-ms", 5);
    settings.output.outputOption = arguments.integer("-O", 0);
    settings.clustering.clusterMethod = arguments.integer("-C", 5);
    settings.clustering.juryPairs = arguments.integer("-P", 20);
    settings.comparison.contactGap = arguments.integer("-gap", 5);
}

// The order of these lookups is that in which arguments lose their repeated dashes (arguments.h).
TextFlags readFlagOptions(Arguments& arguments, Settings& settings) {
    TextFlags texts;
    texts.help = arguments.hasFlag("-h");
    // Both are looked up before they are joined: "||" would leave out the second lookup, which may
    // rewrite arguments that later ones see.
    const bool shortVersion = arguments.hasFlag("-V");
    texts.version = arguments.hasFlag("-version") || shortVersion;
    settings.input.allAtoms = arguments.hasFlag("-all");
    const bool shortRmsd = arguments.hasFlag("-rms");
    settings.measure.rmsdOnly = arguments.hasFlag("-rmsd") || shortRmsd;
    settings.measure.gdt = arguments.hasFlag("-gdt");
    // A flag that may be followed by a number; any other argument after it is left to whoever it
    // belongs to.
    if (settings.measure.gdt) settings.comparison.gdtCutoff = arguments.real("-gdt", 4.0);
    texts.extendedHelp = arguments.hasFlag("-help");
    settings.comparison.contacts = arguments.hasFlag("-contact");
    settings.output.average = arguments.hasFlag("-av");
    settings.output.noSort = arguments.hasFlag("-nosort");
    settings.comparison.scorePoor = !arguments.hasFlag("-noscore");
    settings.measure.rankMS = arguments.hasFlag("-rankMS");
    settings.measure.backbone = arguments.hasFlag("-bb");
    return texts;
}

// Numbers out of range are left to those who use them, but for those that would be a count of
// nothing or of far too much.
void readSearchOptions(Arguments& arguments, Settings& settings) {
    ComparisonParameters& comparison = settings.comparison;
    settings.output.superTop = arguments.integer("-super", 0);
    // A negative count wraps to a huge one, which is cut to the maximum below.
    comparison.iterations = static_cast<unsigned int>(arguments.integer("-i", 1));
    comparison.minIterationPairs = arguments.integer("-mP", 4);
    comparison.minIterationScore = arguments.real("-mS", 0.0);
    comparison.maxRMSD = arguments.hasFlag("-maxRMSD");
    comparison.similarityMatrix = arguments.hasFlag("-matrix");
    comparison.distanceCutoff = arguments.real("-d", 0.0);
    comparison.sequenceIndependent = arguments.hasFlag("-in");
    // Re-mapping is what runs by structure live on, and elsewhere it has to be asked for.
    comparison.optimisations = arguments.integer("-opt", comparison.sequenceIndependent ? 20 : 0);
    comparison.gapOpen = arguments.real("-open", -0.6);
    comparison.gapAffine = arguments.real("-aff", 0.0);
    comparison.normLength = arguments.integer("-N", 0);
    comparison.seedLevels = arguments.integer("-seed", 2);
    comparison.maximiseTM = arguments.hasFlag("-TM");
    const int lineWrap = arguments.integer("-lws", settings.output.lineWrap);
    if (lineWrap >= 1) settings.output.lineWrap = lineWrap;
    settings.output.alignOutput = !arguments.hasFlag("-noalign");
    if (arguments.hasFlag("-nourmsd"))
        settings.measure.urmsdFlags &= static_cast<std::uint8_t>(~UrmsdCompute);
    settings.output.outputOptionGiven = arguments.hasFlag("-O");

    // The TM-score is that of one domain; over several only MaxSub adds up.
    if (comparison.iterations > 1) settings.measure.rankMS = true;
    comparison.iterations = std::min(comparison.iterations, kMaxIterations);
    comparison.rankByTM = !settings.measure.rankMS;
}

// "k/n": block k of n, from 1.  More blocks than pairs are no fault: some of them are empty.
void readBlock(const std::string& text, BlockSettings& blocks) {
    constexpr std::uint64_t kMostBlocks = 1'000'000'000;
    std::string_view rest = text;
    const auto number = digitsOnly(takeUpTo(rest, '/'));
    const auto count = digitsOnly(rest);
    if (!number || !count || *number < 1 || *number > *count || *count > kMostBlocks) {
        abend("Option '--block' takes k/n with k from 1 to n, not '%s'", text.c_str());
    }
    blocks.number = *number;
    blocks.blocks = *count;
}

// The arguments but for those that do not matter to results.
std::vector<std::string> recordedCommand(const std::vector<std::string>& values) {
    std::vector<std::string> command;
    for (std::size_t i = 1; i < values.size(); ++i) {
        const auto isGiven = [&](std::string_view option) { return values[i].starts_with(option); };
        const bool matters = !isGiven("--threads=") && !isGiven("--progress=") &&
                             !isGiven("--kernels=") && !isGiven("--merge=");
        if (matters) command.push_back(values[i]);
    }
    return command;
}

// REQUIRES: the chains to read are known.
void readComplexOptions(const OwnOptions& own, Settings& settings) {
    const InputSettings& input = settings.input;
    const bool readsComplex =
        input.experimentChain == kAllChains || input.predictionChain == kAllChains;
    // An alignment by structure runs along one chain, and would go on from the end of a chain to
    // whichever comes next.
    if (readsComplex && settings.comparison.sequenceIndependent) {
        abend("Options '--chain=all' and '-in' exclude each other");
    }
    settings.comparison.mapChains = own.has("map-chains");
    if (settings.comparison.mapChains && !readsComplex) {
        abend("Option '--map-chains' is for complexes: --chain=all");
    }
}

// The measures on demand, named as in the columns of files: by which the run is, and which are to
// be shown beside.
void readMeasures(const OwnOptions& own, Settings& settings) {
    std::array<std::string_view, kMeasures.size()> names;
    std::transform(kMeasures.begin(), kMeasures.end(), names.begin(), measureName);
    MeasureSet& wanted = settings.comparison.measures.wanted;
    if (const auto by = own.choice("measure", names)) {
        settings.measure.by = kMeasures[*by];
        wanted.add(kMeasures[*by]);
    }
    for (const std::size_t chosen : own.choices("scores", names))
        wanted.add(kMeasures[chosen]);
}

// The options of two dashes, all checked; those of entries and lists have functions of their own.
void readOwnOptions(const OwnOptions& own, Settings& settings) {
    if (const auto block = own.text("block")) readBlock(*block, settings.blocks);
    settings.blocks.partFile = own.text("part");
    settings.blocks.resume = own.has("resume");
    settings.blocks.mergeFolder = own.text("merge");
    settings.blocks.missingFolder = own.text("missing");
    settings.blocks.planMinutes = own.integer("plan", 1, 1'000'000);

    constexpr std::array<std::string_view, 2> kProgress = {"none", "lines"};
    if (const auto form = own.choice("progress", kProgress))
        settings.progress = *form == 0 ? ProgressForm::None : ProgressForm::Lines;
    if (own.text("threads") == "all") {
        settings.workforce.threads = usableProcessors();
    } else if (const auto threads = own.integer("threads", 1, kMostThreads)) {
        settings.workforce.threads = static_cast<std::size_t>(*threads);
    }
    if (const auto set = own.choice("kernels", kInstructionSetNames)) {
        settings.workforce.kernels = findKernels(static_cast<InstructionSet>(*set));
        if (settings.workforce.kernels == nullptr) {
            abend("Option '--kernels=%s' is not for this processor or build",
                  std::string(kInstructionSetNames.at(*set)).c_str());
        }
    }
    readMeasures(own, settings);
    constexpr std::array<std::string_view, 1> kPairings = {"sequence"};
    settings.comparison.pairBySequence = own.choice("pair", kPairings).has_value();
    if (settings.comparison.pairBySequence && settings.comparison.sequenceIndependent) {
        abend("Options '--pair=sequence' and '-in' exclude each other");
    }
    readComplexOptions(own, settings);
}

// Whether an argument is the value of the one before it, whatever stands before that: in
// "-T -N 60" the number belongs to -N.  REQUIRES: i > 0.
bool isValue(const Arguments& arguments, std::size_t i) {
    const std::string& before = arguments[i - 1];
    if (before == "-gdt") return isWellFormedReal(arguments[i]);
    const Option* const option = findOption(before);
    return option != nullptr && option->takesNext();
}

// Positions of the two files of the form "prediction experiment [cut-off]": the first two arguments
// that are neither options nor their values or, where there are not two of them, the first two
// arguments of all.
std::array<std::size_t, 2> findPlainArguments(const Arguments& arguments) {
    std::array<std::size_t, 2> plain{};
    std::size_t found = 0;
    for (std::size_t i = 1; i < arguments.count() && found < plain.size(); ++i) {
        const bool isOption = arguments[i].starts_with('-') && arguments[i] != "-";
        if (!isOption && !isValue(arguments, i)) plain[found++] = i;
    }
    if (found < plain.size()) return {1, 2};
    return plain;
}

// REQUIRES: at least two arguments after the program name.
void takePositionalForm(const Arguments& arguments, Settings& settings) {
    const auto [prediction, experiment] = findPlainArguments(arguments);
    for (const std::size_t i : {prediction, experiment}) {
        if (arguments[i] != "-" && !openForReading(arguments[i])) {
            abend(Fault::Input, "Failed to read PDB file '%s'", arguments[i].c_str());
        }
    }
    settings.input.predictionFile = arguments[prediction];
    settings.input.experimentFile = arguments[experiment];
    const std::size_t next = experiment + 1;
    if (next < arguments.count() && isWellFormedReal(arguments[next])) {
        settings.comparison.distanceCutoff = realValue(arguments[next]);
    }
}

// "all" is a word in place of a number, and integer() would end the run at it.
void takeModel(const OwnOptions& own, EntryRules& rules) {
    rules.allModels = own.text("model") == "all";
    if (!rules.allModels) rules.model = own.integer("model", 0, std::numeric_limits<int>::max());
}

// "best", "first", or a letter.
void takeConformers(const OwnOptions& own, EntryRules& rules) {
    const std::string value = own.text("altloc").value_or("best");
    if (value == "first") {
        rules.conformers = Conformers::First;
    } else if (value.size() == 1) {
        rules.conformers = Conformers::Lettered;
        rules.conformer = value.front();
    } else if (value != "best") {
        abend("Option '--altloc' takes best, first or one letter, not '%s'", value.c_str());
    }
}

// What is read of entries.
void readEntryOptions(const OwnOptions& own, InputSettings& input) {
    constexpr std::array<std::string_view, 1> kInputs = {"auto"};
    constexpr std::array<std::string_view, 5> kImplying = {"chain", "chain-e", "chain-p", "model",
                                                           "altloc"};
    const bool isImplied = std::any_of(kImplying.begin(), kImplying.end(),
                                       [&](std::string_view name) { return own.has(name); });
    input.entry.readsPdb = own.choice("input", kInputs).has_value() || isImplied;
    takeModel(own, input.entry);
    takeConformers(own, input.entry);
    const std::string chain = own.text("chain").value_or("");
    input.experimentChain = own.text("chain-e").value_or(chain);
    input.predictionChain = own.text("chain-p").value_or(chain);
}

// The list, which an older option may name, too.
void readListOption(const OwnOptions& own, InputSettings& input) {
    if (own.has("models")) {
        if (input.listFile) abend("Option '--models' takes the place of -l");
        input.listFile = own.text("models");
        input.listIsPath = true;
    }
}

// -h and runs without work end in the standard help.
Request chooseRequest(const TextFlags& texts, bool hasWork) {
    if (texts.version) return Request::Version;
    if (texts.extendedHelp) return Request::ExtendedHelp;
    return hasWork ? Request::Run : Request::StandardHelp;
}

// By RMSD in Å, else of 1 - similarity; steps that cut the way to the upper threshold into 20,
// or 6.
void resolveThresholds(Settings& settings) {
    const bool rmsd = settings.measure.rmsdOnly;
    if (settings.clustering.threshold < 0.0) settings.clustering.threshold = rmsd ? 4.0 : 0.5;
    if (settings.clustering.maxThreshold < 0.0) settings.clustering.maxThreshold = rmsd ? 8.0 : 0.8;
    if (settings.clustering.thresholdStep < 0.0)
        settings.clustering.thresholdStep = rmsd ? 0.2 : 0.05;
}

// Everything that is decided once it is clear that there will be a run.
void resolveRun(Arguments& arguments, Settings& settings, Log& log) {
    // Distances of a file may be of any kind; its thresholds are those of Å unless others are
    // given.
    if (settings.input.distanceFile) settings.measure.rmsdOnly = true;
    resolveThresholds(settings);
    if (arguments.hasFlag("-urmsd")) settings.measure.urmsdFlags |= UrmsdRotate;
    settings.output.logLevel = std::max(settings.output.logLevel, 1);
    log.setLogLevel(settings.output.logLevel);
}

// Everything that is looked up among the arguments, in the order that arguments.h explains.
TextFlags readOptions(Arguments& arguments, const OwnOptions& own, Settings& settings, Log& log) {
    readFileOptions(arguments, settings);
    readEntryOptions(own, settings.input);
    readListOption(own, settings.input);
    readClusterOptions(arguments, settings);
    log.setLogLevel(settings.output.logLevel);
    const TextFlags texts = readFlagOptions(arguments, settings);
    readSearchOptions(arguments, settings);
    readOwnOptions(own, settings);
    log.setProgressForm(settings.progress);
    return texts;
}

// Whether an option has said what to work on; where none has, files without options do.
bool hasMode(const InputSettings& input) {
    return input.listFile || input.transformFile || input.distanceFile ||
           (input.predictionFile && input.experimentFile);
}

// What is asked for structures where a run reads none, or for an experiment where there is none,
// was meant for another run.
void checkMeanings(const OwnOptions& own, const InputSettings& input) {
    constexpr std::array<std::string_view, 8> kOfStructures = {
        "input", "chain", "chain-e", "chain-p", "model", "altloc", "models", "pair"};
    const char* const run = input.distanceFile ? "of -F" : input.transformFile ? "of -M" : nullptr;
    for (const std::string_view name : kOfStructures) {
        if (run != nullptr && own.has(name)) {
            abend("Option '--%s' has no meaning in a run %s", std::string(name).c_str(), run);
        }
    }
    if (own.has("chain-e") && !input.experimentFile) {
        abend("Option '--chain-e' has no meaning in a run of all models against each other");
    }
}

bool asksForMoreHelp(const OwnOptions& own) {
    constexpr std::array<std::string_view, 1> kPages = {"more"};
    return own.choice("help", kPages).has_value();
}

// Who writes "--report=x.html" and names no structures has forgotten them, or has misspelt
// --models: the help, with status 0, would pass for a run.  Options that only say how to run ask
// for none.
void refuseWithoutWork(const OwnOptions& own) {
    constexpr auto kHow =
        std::to_array<std::string_view>({"threads", "progress", "kernels", "strict"});
    if (own.anyBeside(kHow)) abend("Two structures, a list or a result file are needed");
}

}  // namespace

CommandLine readCommandLine(std::vector<std::string> values, Log& log) {
    std::vector<std::string> command = recordedCommand(values);
    const OwnOptions own(values);
    CommandLine line;
    if (asksForMoreHelp(own)) {
        line.request = Request::MoreHelp;
        return line;
    }
    line.settings.strict = own.has("strict");
    if (line.settings.strict) checkArguments(values, {own.has("models"), own.has("measure")});
    Arguments arguments(std::move(values));
    if (arguments.count() < 2 && !own.has("models")) {
        refuseWithoutWork(own);
        line.request = Request::ShortUsage;
        return line;
    }
    Settings& settings = line.settings;
    const TextFlags texts = readOptions(arguments, own, settings, log);
    const bool hasWork =
        !texts.help && !texts.extendedHelp && (arguments.count() > 2 || settings.input.listIsPath);
    if (hasWork && !hasMode(settings.input)) takePositionalForm(arguments, settings);
    line.request = chooseRequest(texts, hasWork);
    if (line.request == Request::StandardHelp && !texts.help) refuseWithoutWork(own);
    if (line.request != Request::Run) return line;
    if (settings.input.entry.allModels && !settings.input.listFile) {
        abend("Option '--model=all' needs a list: -l or --models");
    }
    checkMeanings(own, settings.input);
    // The level is still the number that was given, -1 without one: the line appears only in runs
    // that ask for details.
    if (!settings.blocks.printsFiguresAlone()) log.info(0, "help");
    resolveRun(arguments, settings, log);
    settings.output.exports = exportRequests(own);
    settings.command = std::move(command);
    MeasureRequest& measures = settings.comparison.measures;
    measures.bothWays = settings.input.listFile && !settings.input.experimentFile;
    measures.perResidue = own.has("residues");
    return line;
}

}  // namespace tervolanda
