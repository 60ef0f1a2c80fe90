// The run modes know no form of file: they hand over what they have, and the files that were asked
// for take it one after the other.
#include "driver/run_exports.h"

#include <algorithm>

#include "base/log.h"
#include "driver/abend.h"
#include "driver/help_text.h"
#include "driver/medoid_pairs.h"
#include "driver/outputs.h"
#include "driver/read_plan.h"
#include "driver/recorded_options.h"

namespace tervolanda {

namespace {

// In the order in which run.cpp chooses the mode.
RunKind runKind(const Settings& settings) {
    if (settings.input.distanceFile) return RunKind::DistanceFile;
    if (settings.input.transformFile) return RunKind::MaxSubFile;
    if (!settings.input.listFile) return RunKind::Pairwise;
    return settings.input.experimentFile ? RunKind::OneVersusList : RunKind::AllVersusAll;
}

// What messages call it.
const char* nameOf(RunKind kind) {
    switch (kind) {
        case RunKind::Pairwise:
            return "of one pair";
        case RunKind::OneVersusList:
            return "of one experiment against a list";
        case RunKind::AllVersusAll:
            return "of all models against each other";
        case RunKind::DistanceFile:
            return "of -F";
        case RunKind::MaxSubFile:
            break;
    }
    return "of -M";
}

// What the numbers of a file of an earlier run are, only that run knew.
ScoreKind scoreKind(const Settings& settings) {
    if (settings.input.distanceFile) return ScoreKind::Distance;
    if (settings.input.transformFile) return ScoreKind::Similarity;
    switch (comparisonKind(settings)) {
        case ComparisonKind::Gdt:
            return ScoreKind::Gdt;
        case ComparisonKind::Rmsd:
            return ScoreKind::Rmsd;
        case ComparisonKind::Measure:
            return scoreKindOf(*settings.measure.by);
        case ComparisonKind::MaxSub:
            break;
    }
    return settings.comparison.rankByTM ? ScoreKind::Tm : ScoreKind::MaxSub;
}

}  // namespace

void checkExports(const Settings& settings) {
    const RunKind kind = runKind(settings);
    for (const ExportRequest& request : settings.output.exports) {
        if (!hasMeaningIn(*request.form, kind)) {
            abend("Option '%s' has no meaning in a run %s", optionName(request).c_str(),
                  nameOf(kind));
        }
        const std::optional<ClusterMethod> method = clusterMethod(settings);
        const bool hasTree = method && clustersByLinkage(*method);
        if (request.form->has(kNeedsTree) && !hasTree)
            abend("Option '%s' needs a tree: -C 1, 2 or 3", optionName(request).c_str());
        if (kind == RunKind::AllVersusAll && request.form->has(kSuperposes) && !method)
            abend("Option '%s' needs clusters: -C 1 to 5", optionName(request).c_str());
        for (const auto* input : {&settings.input.experimentFile, &settings.input.predictionFile}) {
            if (request.form->has(kRefersToInputs) && *input == "-") {
                abend("Option '%s' refers to its structures by their paths: '-' is none",
                      optionName(request).c_str());
            }
        }
    }
}

void RunExports::startPair(const Chain& experiment, const Chain& prediction) {
    if (!isWanted()) return;
    addInput(experiment);
    addInput(prediction);
    start();
}

void RunExports::startList(const Chain& experiment, const ChainList& models) {
    if (!isWanted()) return;
    addInput(experiment);
    for (const Chain& model : models.chains)
        addModel(model);
    start();
}

void RunExports::startAll(const ChainList& models) {
    if (!isWanted()) return;
    for (const Chain& model : models.chains)
        addModel(model);
    start();
}

// The diagonal of a MaxSub file's pairs, where it has one, is the length of each model.
void RunExports::startMatrix(const std::vector<std::uint32_t>& ids, const ChainList* chains,
                             const PairMatrix* pairs) {
    if (!isWanted()) return;
    for (std::size_t i = 0; i < ids.size(); ++i) {
        InputStructure input;
        input.id = ids[i];
        if (chains != nullptr) input.file = input.path = chains->chains[i].fileName;
        if (pairs != nullptr && pairs->at(i, i) > 0) input.length = pairs->at(i, i);
        inputs_.structures.push_back(std::move(input));
    }
    start();
}

void RunExports::addInput(const Chain& chain) {
    inputs_.chains.push_back(&chain);
    inputs_.structures.push_back(inputOf(chain));
}

// Of a list, whose models have IDs.
void RunExports::addModel(const Chain& model) {
    addInput(model);
    inputs_.structures.back().id = model.number;
}

// What all kinds of run tell their files; the structures have been added before.
void RunExports::setInputs() {
    inputs_.kind = runKind(settings_);
    inputs_.score = scoreKind(settings_);
    inputs_.pairsBySequence = settings_.comparison.pairBySequence;
    inputs_.measures = settings_.comparison.measures.wanted;
    inputs_.program = kProgramName;
    inputs_.version = kProgramVersion;
    inputs_.command = settings_.command;
    inputs_.options = recordedOptions(settings_);
    if (settings_.output.superTop > 0)
        inputs_.shownModels = static_cast<std::size_t>(settings_.output.superTop);
    for (UnreadModel& unread : unread_)
        inputs_.skipped.push_back({unread.id, std::move(unread.path), std::move(unread.reason)});
    unread_.clear();
}

void RunExports::start() {
    isStarted_ = true;
    setInputs();
    form_.hasUrmsd = !settings_.measure.by && (settings_.measure.urmsdFlags & UrmsdCompute) != 0;
    if (inputs_.kind == RunKind::AllVersusAll) form_.matrixScore = inputs_.score;
    // Before any file is opened: that of --json is written for a run that ends here, too.
    if (const auto replaced = replacedInput(settings_, inputs_.structures))
        abend("%s", replaced->c_str());
    makeFiles(0);
}

// REQUIRES: the inputs are complete.
void RunExports::makeFiles(unsigned traits) {
    for (const ExportRequest& request : settings_.output.exports) {
        if ((request.form->traits & traits) != traits) continue;
        std::unique_ptr<ExportFile> file = request.form->make(request.path);
        if (file->isOpen()) {
            files_.push_back({request.form, std::move(file)});
        } else {
            log_.incompleteFile(request.path);
        }
    }
    const bool isRead = !settings_.input.distanceFile && !settings_.input.transformFile;
    // Checksums read each file once more, so they are for forms that show them.
    const bool showsChecksums = std::any_of(
        files_.begin(), files_.end(), [](const auto& open) { return open.file->showsChecksums(); });
    if (showsChecksums && isRead) setChecksums();
    texts_.start(inputs_);
    for (const auto& open : files_) {
        open.file->share(texts_);
        open.file->start(inputs_);
    }
    setDetail();
}

// The models of a file stand one after the other and have its checksum: it is read once for all.
void RunExports::setChecksums() {
    const InputStructure* before = nullptr;
    for (InputStructure& input : inputs_.structures) {
        const bool isSame = before != nullptr && input.modelPlace > 0 && input.path == before->path;
        input.crc32 = isSame ? before->crc32 : fileChecksum(input.path, log_);
        before = &input;
    }
}

bool RunExports::isGivenPairs(const OpenFile& open) const {
    const bool isOfMedoids = inputs_.kind == RunKind::AllVersusAll && open.form->has(kSuperposes);
    return isOfMedoids == isSuperposing_ && open.file->pairDetail() != PairDetail::None;
}

void RunExports::setDetail() {
    form_.detail = PairDetail::None;
    for (const OpenFile& open : files_) {
        if (isGivenPairs(open)) form_.detail = std::max(form_.detail, open.file->pairDetail());
    }
}

void RunExports::take(const ComparedPair& pair) {
    const bool hasFit = pair_.status != PairStatus::NoPairs && pair_.status != PairStatus::NoFit;
    if (!isSuperposing_) count(hasFit);
    if (!showsPairs()) return;
    // Positions count inputs: before the models of a list stands the experiment.
    const std::size_t firstPrediction = inputs_.kind == RunKind::AllVersusAll ? 0 : 1;
    pair_.experiment = pair.at.experiment;
    pair_.prediction = firstPrediction + pair.at.prediction;
    const ComparisonParameters& parameters = settings_.comparison;
    fillPairing(pair, {.bySequence = parameters.pairBySequence, .mapsChains = parameters.mapChains},
                pairing_, pair_, settings_.workforce.kernels);
    texts_.next(pair_);
    // What a file shows must not depend on which others are asked for.
    for (const OpenFile& open : files_) {
        if (isGivenPairs(open)) open.file->take(pair_);
    }
}

void RunExports::seeMaxSub(const ComparedPair& pair, const ComparisonResult& result) {
    fillPair(pair, result, form_, pair_);
    take(pair);
}

void RunExports::seeGdt(const ComparedPair& pair, const GdtResult& found,
                        const ComparisonResult& search) {
    fillPair(pair, found, search, form_, pair_);
    take(pair);
}

void RunExports::seeRmsd(const ComparedPair& pair, const ListedRmsd& found,
                         std::span<const MatchedPair> matched) {
    fillPair(pair, found, matched, form_, pair_);
    take(pair);
}

void RunExports::fail(const std::string& message) {
    if (!isStarted_) {
        setInputs();
        makeFiles(kShowsFailure);
    }
    RunResults results;
    results.failure = message;
    std::erase_if(files_, [](const auto& open) { return !open.form->has(kShowsFailure); });
    finish(results);
}

void RunExports::giveUp() {
    fail("No results");
    for (const ExportRequest& request : settings_.output.exports) {
        if (!request.form->has(kShowsFailure)) log_.incompleteFile(request.path);
    }
}

void RunExports::keepScores(const DistanceMatrix& scores, MatrixValues values) {
    const bool isShown = std::any_of(files_.begin(), files_.end(),
                                     [](const auto& open) { return open.file->showsScores(); });
    if (isShown) scores_ = scores;
    const bool showsSet = std::any_of(files_.begin(), files_.end(),
                                      [](const auto& open) { return open.file->showsSet(); });
    if (showsSet) set_ = setFigures(scores, values);
}

// Each file is completed for itself: one that fails does not keep others from their names.
void RunExports::finish(RunResults results) {
    if (results.failure.empty() && log_.hasIncompleteFile())
        results.failure = "Not all files were written";
    if (scores_) results.scores = &*scores_;
    results.set = set_;
    if (inputs_.kind == RunKind::AllVersusAll) superposeClusters(results);
    for (const auto& open : files_) {
        open.file->finish(results);
        if (!open.file->commit()) log_.incompleteFile(open.file->path());
    }
    files_.clear();
}

void RunExports::superposeClusters(const RunResults& results) {
    isSuperposing_ = true;
    setDetail();
    if (form_.detail != PairDetail::None)
        compareWithMedoids(inputs_.chains, results.ranking, settings_, *this);
    isSuperposing_ = false;
}

}  // namespace tervolanda
