// Pairs need nothing from each other, so that a list can be compared by any number of processes on
// any number of machines: each takes a slice of the pair order, and one of them later brings the
// results in as if it had computed them.
//
// Slices are of the lines of the list, whether their files can be read or not: so a process need
// not read what it does not compare.  What a process has read, and which of it could be read, is in
// its part, with a checksum of each model, so that a file that another process saw differently is
// found when the parts are merged.
#include "driver/blocks.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

#include "base/format.h"
#include "base/log.h"
#include "base/text.h"
#include "driver/abend.h"
#include "driver/help_text.h"
#include "driver/read_plan.h"

namespace tervolanda {

namespace {

constexpr std::string_view kSuffix = ".part";

// The first file of pairs that the run is asked for; null without one.
const ExportRequest* fileOfPairs(const Settings& settings) {
    const std::vector<ExportRequest>& exports = settings.output.exports;
    const auto found = std::find_if(exports.begin(), exports.end(), [](const auto& request) {
        return request.form->has(kShowsPairs);
    });
    return found == exports.end() ? nullptr : &*found;
}

// What is known of pairs beyond their scores is in parts only where a merged run will show it: in
// files of pairs, or in the superpositions of -R.
PartKind partKind(const Settings& settings) {
    const bool showsPairs = fileOfPairs(settings) != nullptr;
    switch (comparisonKind(settings)) {
        case ComparisonKind::Gdt:
            return showsPairs ? PartKind::GdtWithSearches : PartKind::Gdt;
        case ComparisonKind::Rmsd:
            return PartKind::Rmsd;
        case ComparisonKind::Measure:
            return PartKind::Measure;
        case ComparisonKind::MaxSub:
            break;
    }
    if (showsPairs) return PartKind::MaxSubWithSearches;
    return settings.output.resultFile ? PartKind::MaxSubWithSuperpositions : PartKind::MaxSub;
}

const char* nameOf(PartKind kind) {
    switch (kind) {
        case PartKind::MaxSub:
            return "MaxSub";
        case PartKind::MaxSubWithSuperpositions:
            return "MaxSub for -R";
        case PartKind::Gdt:
            return "GDT";
        case PartKind::Rmsd:
            return "RMSD";
        case PartKind::Measure:
            return "score";
        case PartKind::MaxSubWithSearches:
            return "MaxSub for files of pairs";
        case PartKind::GdtWithSearches:
            return "GDT for files of pairs";
    }
    return "";
}

// What is taken of files that hold more than one structure.
std::string choicesOfEntries(const Settings& settings) {
    const EntryRules& rules = readPlan(settings).models.entry;
    const std::string model = rules.allModels ? "all"
                              : rules.model   ? std::to_string(*rules.model)
                                              : "first";
    std::string conformers = "best";
    if (rules.conformers == Conformers::First) conformers = "first";
    if (rules.conformers == Conformers::Lettered) conformers = std::string(1, rules.conformer);
    return format("--input %s\n--chain %s\n--model %s\n--altloc %s\n",
                  rules.readsPdb ? "auto" : "pdb", rules.chain.c_str(), model.c_str(),
                  conformers.c_str());
}

// Everything on the command line that the result of a pair depends on, a line per option, so that a
// difference can be shown as its line.  What is only decided from the matrices, as clusters and
// ranks are, is left out: parts serve any number of merges with other thresholds.  The version is
// one of the lines, since results of another version may differ in digits.
std::string optionsText(const Settings& settings) {
    const ComparisonParameters& p = settings.comparison;
    std::string text =
        format("version %s\nkind %s\natoms %s\n", kProgramVersion, nameOf(partKind(settings)),
               readPlan(settings).atoms == AtomSelection::Calpha ? "CA" : "-bb");
    const auto real = [&text](const char* name, double value) {
        text += format("%s %.17g\n", name, value);
    };
    const auto integer = [&text](const char* name, long value) {
        text += format("%s %ld\n", name, value);
    };
    text += choicesOfEntries(settings);
    // Numbers with all their digits: 3.7 and the double next to it are other options.
    integer("-nourmsd", rmsdOptions(settings).urmsd ? 0 : 1);
    real("-d", p.distanceCutoff);
    integer("-N", p.normLength);
    integer("-i", static_cast<long>(p.iterations));
    real("-TSF", p.thresholdScale);
    integer("-noscore", p.scorePoor ? 0 : 1);
    integer("-rankMS", p.rankByTM ? 0 : 1);
    integer("-TM", p.maximiseTM ? 1 : 0);
    integer("-mP", p.minIterationPairs);
    real("-mS", p.minIterationScore);
    integer("-maxRMSD", p.maxRMSD ? 1 : 0);
    integer("-in", p.sequenceIndependent ? 1 : 0);
    integer("--pair=sequence", p.pairBySequence ? 1 : 0);
    integer("--map-chains", p.mapChains ? 1 : 0);
    integer("-opt", p.optimisations);
    real("-open", p.gapOpen);
    real("-aff", p.gapAffine);
    integer("-seed", p.seedLevels);
    real("-gdt", p.gdtCutoff);
    if (settings.measure.by) {
        text += "--measure " + std::string(measureName(*settings.measure.by)) + '\n';
    }
    std::string scores;
    for (const Measure measure : kMeasures) {
        if (p.measures.wanted.has(measure) && settings.measure.by != measure)
            scores += (scores.empty() ? "" : ",") + std::string(measureName(measure));
    }
    text += "--scores " + (scores.empty() ? "none" : scores) + '\n';
    return text;
}

// The first lines in which two texts differ, which they do.
std::string differenceOf(std::string_view theirs, std::string_view ours) {
    while (true) {
        const std::string_view a = takeUpTo(theirs, '\n');
        const std::string_view b = takeUpTo(ours, '\n');
        if (a == b) continue;
        return format("was made with '%s', not '%s'", std::string(a).c_str(),
                      std::string(b).c_str());
    }
}

}  // namespace

void checkBlocks(const Settings& settings) {
    const BlockSettings& blocks = settings.blocks;
    const bool computes = blocks.blocks > 0 && !blocks.missingFolder;
    const int tasks = (computes ? 1 : 0) + (blocks.mergeFolder ? 1 : 0) +
                      (blocks.missingFolder ? 1 : 0) + (blocks.planMinutes ? 1 : 0);
    if (blocks.partFile.has_value() != computes || (blocks.resume && !computes)) {
        abend("Options '--block=k/n' and '--part=FILE' go together, and '--resume' with them");
    }
    if (tasks == 0) return;
    if (tasks > 1) abend("One of '--block', '--merge', '--missing' and '--plan' at a time");
    const InputSettings& input = settings.input;
    if (!input.listFile || input.experimentFile || input.distanceFile || input.transformFile) {
        abend("Blocks are of runs over all pairs of a list: -l without -e");
    }
    if (input.listIsPath || input.entry.allModels) {
        abend("Blocks take a list by -l, not --models, and one model of each of its files");
    }
    if (settings.output.logLevel > 2) abend("Blocks keep no details: -L 1 or 2");
    if (settings.measure.by && settings.comparison.measures.wanted.size() > 1) {
        abend("Blocks keep the score that they are by alone: leave out '--scores'");
    }
    if (const ExportRequest* request = fileOfPairs(settings);
        request != nullptr && settings.measure.by) {
        abend("Blocks keep the score that they are by alone: leave out '%s'",
              optionName(*request).c_str());
    }
    if (settings.comparison.similarityMatrix && settings.comparison.sequenceIndependent) {
        abend("Blocks keep no matrices: leave out -matrix");
    }
}

// Row i has the i pairs from number i (i - 1) / 2 on, so i solves a quadratic equation.  Beyond
// 2^53 its root in double precision may be a row off, which the two loops put right.
BatchPair pairAt(std::uint64_t index) {
    auto row =
        static_cast<std::uint64_t>((1.0 + std::sqrt(1.0 + 8.0 * static_cast<double>(index))) / 2.0);
    row = std::max<std::uint64_t>(row, 1);
    while (pairsOf(row) > index)
        --row;
    while (pairsOf(row + 1) <= index)
        ++row;
    return {static_cast<std::size_t>(row),
            static_cast<std::size_t>(row - 1 - (index - pairsOf(row)))};
}

// First the readable models at each place, then their sums from the front.  A model's ID is its
// entry counted from 1, and so the place after it.  The list is read twice, for its models and as a
// whole, and somebody may write to it meanwhile.
ReadablePairs::ReadablePairs(std::size_t entries, const ChainList& models)
    : before_(entries + 1, 0) {
    if (!models.chains.empty() && models.chains.back().number > entries)
        abend("The list of models has changed while it was read");
    for (const Chain& chain : models.chains)
        ++before_.at(chain.number);
    for (std::size_t i = 1; i < before_.size(); ++i)
        before_[i] += before_[i - 1];
}

std::uint64_t ReadablePairs::before(std::uint64_t index) const {
    const auto [i, j] = pairAt(index);
    if (i + 1 >= before_.size()) return pairsOf(before_.back());
    // Predictions come from i - 1 down, so before (i, j) the row has had those above j.
    const std::size_t ofRow = isReadable(i) ? before_[i] - before_[j + 1] : 0;
    return pairsOf(before_[i]) + ofRow;
}

// A slice within one row needs its experiment and some predictions; one that goes on in a later row
// may need any model before its last, and gets them all.
std::vector<std::uint32_t> entriesOf(const Block& block, std::uint64_t entries) {
    std::vector<std::uint32_t> needed;
    const PairRange slice = block.slice(pairsOf(entries));
    if (slice.count == 0) return needed;
    const BatchPair first = pairAt(slice.first);
    const BatchPair last = pairAt(slice.first + slice.count - 1);
    const bool isOneRow = first.experiment == last.experiment;
    const std::size_t from = isOneRow ? last.prediction : 0;
    const std::size_t to = isOneRow ? first.prediction : last.experiment;
    for (std::size_t entry = from; entry <= to; ++entry)
        needed.push_back(static_cast<std::uint32_t>(entry));
    if (isOneRow) needed.push_back(static_cast<std::uint32_t>(first.experiment));
    return needed;
}

// IDs count the lines that name files, from 1; entries count them from 0.
RunIdentity::RunIdentity(const Settings& settings, const ListSummary& list, const ChainList& models)
    : models_(list.models), readable_(list.models, models) {
    common_.kind = partKind(settings);
    common_.entries = list.models;
    common_.listChecksum = list.checksum;
    common_.options = optionsText(settings);
    for (std::uint32_t entry = 0; entry < list.models; ++entry)
        models_[entry].entry = entry;
    for (const Chain& chain : models.chains)
        models_[chain.number - 1] = {
            .entry = chain.number - 1, .isReadable = true, .checksum = chainChecksum(chain)};
}

PartHeader RunIdentity::headerOf(const Block& block) const {
    PartHeader header = common_;
    header.block = block;
    for (const std::uint32_t entry : entriesOf(block, common_.entries))
        header.models.push_back(models_[entry]);
    const PairRange slice = header.slice();
    header.records = readable_.before(slice.first + slice.count) - readable_.before(slice.first);
    return header;
}

// The plainest difference first: with other options or another list everything after it differs,
// too.
std::optional<std::string> RunIdentity::faultOf(const PartHeader& header) const {
    if (header.options != common_.options) {
        return differenceOf(header.options, common_.options);
    }
    if (header.listChecksum != common_.listChecksum || header.entries != common_.entries) {
        return "is of another list";
    }
    const PartHeader wanted = headerOf(header.block);
    if (header.models.size() == wanted.models.size()) {
        const auto other =
            std::mismatch(header.models.begin(), header.models.end(), wanted.models.begin()).second;
        if (other != wanted.models.end()) {
            return format(
                "was made of another model in line %u of the list, blank ones not counted",
                other->entry + 1);
        }
    }
    if (header.models.size() != wanted.models.size() || header.kind != wanted.kind ||
        header.records != wanted.records) {
        return "is damaged: it does not hold what its block has to";
    }
    return std::nullopt;
}

ListSummary summariseList(const Settings& settings, Log& log) {
    const auto list = summariseModelList(*settings.input.listFile, log);
    if (!list) abend("Failed to read PDB list file '%s'", settings.input.listFile->c_str());
    return *list;
}

PartFolder::PartFolder(const std::string& path, const RunIdentity& run, Log& log) {
    auto names = namesIn(path);
    if (!names) abend("Can't read the folder of parts '%s' - %s", path.c_str(), systemErrorText());
    // A folder has its files in any order; messages about them must not.
    std::sort(names->begin(), names->end());
    const std::string folder = path.ends_with('/') ? path : path + '/';
    for (const std::string& name : *names)
        if (name.ends_with(kSuffix)) look(folder + name, run, log);
}

// The first usable part says how many blocks there are; others must agree with it.
void PartFolder::look(const std::string& path, const RunIdentity& run, Log& log) {
    auto opened = PartReader::open(path);
    if (const auto* error = std::get_if<FormatError>(&opened)) {
        return fault(path, error->message, log);
    }
    const PartHeader& header = std::get<PartReader>(opened).header();
    if (const auto text = run.faultOf(header)) return fault(path, *text, log);
    const Block& block = header.block;
    if (blocks_ != 0 && block.blocks != blocks_) {
        return fault(path,
                     format("is one of %ju blocks, those before it of %ju",
                            std::uintmax_t{block.blocks}, std::uintmax_t{blocks_}),
                     log);
    }
    const auto [other, isNew] = parts_.emplace(block.number, path);
    if (!isNew) {
        return fault(
            path,
            format("is block %ju, as '%s'", std::uintmax_t{block.number}, other->second.c_str()),
            log);
    }
    blocks_ = block.blocks;
}

void PartFolder::fault(const std::string& path, const std::string& text, Log& log) {
    hasFaults_ = true;
    log.error(0, "Part '%s' %s", path.c_str(), text.c_str());
}

std::string PartFolder::missing(std::uint64_t blocks) const {
    std::string text;
    const auto add = [&text](std::uint64_t first, std::uint64_t last) {
        if (first > last) return;
        if (!text.empty()) text += ',';
        text += std::to_string(first);
        if (last > first) text += '-' + std::to_string(last);
    };
    std::uint64_t next = 1;
    for (const auto& part : parts_) {
        add(next, part.first - 1);
        next = part.first + 1;
    }
    add(next, blocks);
    return text;
}

MergedPairs::MergedPairs(const Settings& settings, const ChainList& models, Log& log)
    : run_(settings, summariseList(settings, log), models) {
    const std::string& path = *settings.blocks.mergeFolder;
    const PartFolder folder(path, run_, log);
    if (folder.hasFaults()) abend("Not all parts in '%s' can be merged", path.c_str());
    if (folder.blocks() == 0) abend("There are no parts in '%s'", path.c_str());
    const std::string missing = folder.missing(folder.blocks());
    if (!missing.empty()) {
        abend("Of %ju blocks these are missing in '%s': %s", std::uintmax_t{folder.blocks()},
              path.c_str(), missing.c_str());
    }
    parts_ = folder.parts();
    part_ = parts_.begin();
}

// All parts were checked when the run began, which may be hours ago on a disk that others write to:
// each is checked again when its turn comes.
void MergedPairs::openNext() {
    closeCurrent();
    current_ = part_->second;
    auto opened = PartReader::open(current_);
    if (!std::holds_alternative<PartReader>(opened)) refuse();
    reader_.emplace(std::move(std::get<PartReader>(opened)));
    if (reader_->header().block.number != part_->first || run_.faultOf(reader_->header())) refuse();
    left_ = reader_->header().records;
    reader_->forgetModels();
    ++part_;
}

void MergedPairs::closeCurrent() {
    if (reader_ && !reader_->finish()) refuse();
    reader_.reset();
}

void MergedPairs::refuse() const {
    abend("Part '%s' is damaged, or has changed since it was checked", current_.c_str());
}

// The last part, too, has to have stayed what it was.
void MergedPairs::finish() {
    closeCurrent();
}

}  // namespace tervolanda
