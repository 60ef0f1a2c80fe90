// The run as one JSON object (--json).
//
// A run may have more pairs than memory has room for.  They are written as they come, and the order
// of the document's keys is that in which their values become known: inputs, pairs, ranking, tree,
// clusters, and the status last.  A document without a status was not written by a run that ended
// by itself: a run that fails says so in it.
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "base/format.h"
#include "export/export.h"
#include "export/json_text.h"
#include "export/pair_texts.h"
#include "export/tree_nodes.h"
#include "export/values.h"

namespace tervolanda {

namespace {

std::string_view roleOf(const RunInputs& inputs, std::size_t input) {
    const bool hasExperiment = inputs.kind == RunKind::Pairwise || inputs.firstModel() > 0;
    if (hasExperiment && input == 0) return "experiment";
    return inputs.kind == RunKind::Pairwise ? "prediction" : "model";
}

// As the kind of value that it is; null for an option that was not given and has no default.
void appendOption(std::string& text, const RecordedOption& option) {
    std::visit(
        [&text](const auto& value) {
            if constexpr (std::is_same_v<std::decay_t<decltype(value)>, std::monostate>) {
                text += "null";
            } else {
                appendJson(text, value);
            }
        },
        option.value);
}

// The whole run.  Keys, pairs, models and nodes each begin a line, so that such a file can be read
// with the eye and compared line by line.
//
// Invariant: between start() and finish() the array of pairs is open, and hasPairs_ tells whether
// the next one needs a comma.
class JsonDocument final : public ExportFile {
 public:
    using ExportFile::ExportFile;

    PairDetail pairDetail() const override { return PairDetail::Matched; }
    bool showsChecksums() const override { return true; }
    void share(PairTexts& texts) override { texts_ = &texts; }
    void start(const RunInputs& inputs) override;
    void take(const PairResult& pair) override;
    void finish(const RunResults& results) override;
    bool showsSet() const override { return true; }

 private:
    void key(std::string_view name);
    void writeInputs();
    void writeRanking(const RunResults& results);
    void writeTree(const RunResults& results);
    void writeClusters(const RunResults& results);
    void writeSet(const RunResults& results);

    const RunInputs* inputs_ = nullptr;
    PairTexts* texts_ = nullptr;
    bool hasPairs_ = false;
};

// A key of the outermost object, after the first.
void JsonDocument::key(std::string_view name) {
    text() += ",\n\"";
    text() += name;
    text() += "\": ";
}

void JsonDocument::start(const RunInputs& inputs) {
    inputs_ = &inputs;
    std::string& out = text();
    out += "{\n\"program\": ";
    appendJson(out, inputs.program);
    key("version");
    appendJson(out, inputs.version);
    key("command");
    appendJsonList(out, inputs.command, [&out](const std::string& word) { appendJson(out, word); });
    key("options");
    JsonObject options(out);
    for (const RecordedOption& option : inputs.options) {
        options.key(option.name);
        appendOption(out, option);
    }
    options.end();
    writeInputs();
    key("motion");
    appendJson(out, kMotionSentence);
    key("pairs");
    out += '[';
}

// Structures in the order in which pairs, ranking and clusters count them, and what could not be
// read.
void JsonDocument::writeInputs() {
    std::string& out = text();
    key("inputs");
    std::size_t position = 0;
    appendJsonList(out, inputs_->structures, [&](const InputStructure& input) {
        out += '\n';
        JsonObject object(out);
        object.add("role", roleOf(*inputs_, position++));
        object.add("id", input.id);
        object.add("file", input.file);
        object.add("chain", input.chain);
        object.add("length", input.length);
        std::optional<std::string> checksum;
        if (input.crc32) checksum = format("%08x", static_cast<unsigned>(*input.crc32));
        object.add("crc32", checksum);
        object.add("mean_bfactor", input.meanBFactor);
        object.end();
    });
    key("skipped");
    appendJsonList(out, inputs_->skipped, [&out](const SkippedInput& skipped) {
        out += '\n';
        JsonObject object(out);
        object.add("id", skipped.id);
        object.add("file", skipped.file);
        object.add("reason", skipped.reason);
        object.end();
    });
}

void JsonDocument::take(const PairResult& /*pair*/) {
    text() += hasPairs_ ? ",\n" : "\n";
    hasPairs_ = true;
    const PairTexts::Object object = texts_->json();
    text() += object.head;
    text() += object.tail;
    pace();
}

void JsonDocument::finish(const RunResults& results) {
    text() += ']';
    writeRanking(results);
    writeTree(results);
    writeClusters(results);
    if (results.set) writeSet(results);
    key("status");
    appendJson(text(), results.failure.empty() ? "SUCCESS" : results.failure);
    text() += "\n}\n";
}

// A list against an experiment has a score, models among themselves the jury: the key says which it
// is.
void JsonDocument::writeRanking(const RunResults& results) {
    key("ranking");
    std::size_t rank = 0;
    appendJsonList(text(), results.ranking, [&](const RankedModel& model) {
        pace();
        text() += '\n';
        const InputStructure& input = inputs_->structures[inputs_->firstModel() + model.model];
        JsonObject object(text());
        object.add("rank", ++rank);
        object.add("id", input.id);
        object.add("file", input.file);
        object.add("chain", input.chain);
        object.add("length", input.length);
        if (inputs_->kind == RunKind::OneVersusList) {
            object.add("score", model.score);
        } else {
            object.add("jury", model.jury);
        }
        object.add("mean_score", model.meanScore);
        object.add("cluster", model.cluster);
        object.add("medoid", model.cluster ? std::optional(model.isMedoid) : std::nullopt);
        object.add("mean_bfactor", input.meanBFactor);
        object.end();
    });
}

// Numbered as in SciPy: models are 0 to N - 1, and the joins go on from N.
void JsonDocument::writeTree(const RunResults& results) {
    key("tree");
    const std::vector<TreeNode> nodes = treeNodes(results);
    std::size_t number = nodes.size() + 1;  // N, as a tree of N models has N - 1 joins
    appendJsonList(text(), nodes, [&](const TreeNode& node) {
        pace();
        text() += '\n';
        JsonObject object(text());
        object.add("node", number++);
        object.add("first", node.first);
        object.add("second", node.second);
        object.add("distance", node.height);
        object.add("size", node.size);
        object.end();
    });
}

// Members and medoids by ID, as models are named in every other output; null and an empty list
// without clustering.
void JsonDocument::writeSet(const RunResults& results) {
    const SetFigures& set = *results.set;
    key("set");
    JsonObject object(text());
    object.add("pairs", set.pairs);
    object.add("mean", set.mean);
    object.key("quantiles");
    appendJsonList(text(), set.quantiles, [this](double value) { appendJson(text(), value); });
    object.add("medoid", inputs_->structures[inputs_->firstModel() + set.medoid].id);
    object.key("clusters_by_threshold");
    const std::vector<ThresholdTrial> counts = results.clustering
                                                   ? clustersByThreshold(*results.clustering)
                                                   : std::vector<ThresholdTrial>{};
    appendJsonList(text(), counts, [this](const ThresholdTrial& cut) {
        text() += '[';
        appendJson(text(), cut.threshold);
        text() += ',';
        appendJson(text(), std::size_t{cut.clusters});
        text() += ']';
    });
    object.end();
}

void JsonDocument::writeClusters(const RunResults& results) {
    key("threshold");
    if (!results.clustering) {
        text() += "null";
        key("clusters");
        text() += "[]";
        return;
    }
    appendJson(text(), results.clustering->threshold);
    key("clusters");
    const std::vector<std::vector<std::size_t>> members = clusterMembers(*results.clustering);
    std::size_t cluster = 0;
    const auto idOf = [this](std::size_t model) {
        return inputs_->structures[inputs_->firstModel() + model].id;
    };
    appendJsonList(text(), results.clustering->centroids, [&](const Centroid& centroid) {
        pace();
        text() += '\n';
        JsonObject object(text());
        object.add("cluster", cluster + 1);
        object.add("medoid", idOf(centroid.model));
        object.add("size", centroid.size);
        object.add("spread", centroid.spread);
        object.key("members");
        appendJsonList(text(), members[cluster++],
                       [&](std::size_t model) { appendJson(text(), idOf(model)); });
        object.end();
    });
}

}  // namespace

std::unique_ptr<ExportFile> makeJsonDocument(std::string path) {
    return std::make_unique<JsonDocument>(std::move(path));
}

}  // namespace tervolanda
