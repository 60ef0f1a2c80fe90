// The run as one JSON object (--json), and its pairs as lines (--jsonl); a pair is the same object
// in both, but that a line says itself what its matrices mean.
//
// A run may have more pairs than memory has room for.  They are written as they come, and the order
// of the document's keys is that in which their values become known: inputs, pairs, ranking, tree,
// clusters, and the status last.  A document without a status was not written by a run that ended
// by itself: a run that fails says so in it.
//
// docs/formats.md and docs/results.schema.json describe every key; none is renamed, and none gets
// another type, without them.
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "base/format.h"
#include "export/export.h"
#include "export/json_text.h"
#include "export/tree_nodes.h"

namespace tervolanda {

namespace {

// What each object of JSON Lines has before its matrices: what the document says once for all.
std::string motionMember() {
    return R"(,"motion":")" + std::string(kMotionSentence) + '"';
}

// What each input contributes to its pairs: "id1":..., "file1":... and so on where it is the
// experiment, with 2 where it is the prediction.
std::string inputKeys(const InputStructure& input, char number) {
    std::string text;
    const auto key = [&text, number](std::string_view name) {
        text += '"';
        text += name;
        text += number;
        text += "\":";
    };
    key("id");
    appendJson(text, input.id);
    text += ',';
    key("file");
    appendJson(text, input.file);
    text += ',';
    key("chain");
    appendJson(text, input.chain);
    text += ',';
    key("length");
    appendJson(text, input.length);
    return text;
}

void appendNumbers(std::string& text, std::span<const double> numbers) {
    appendJsonList(text, numbers, [&text](double number) { appendJson(text, number); });
}

// The rotation row by row, both centres, and the translation c1 - R c2.
void addMotion(JsonObject& object, std::string& text, const Superposition& motion) {
    const auto& r = motion.rotation;
    object.key("rotation");
    text += '[';
    for (std::size_t row = 0; row < 3; ++row) {
        if (row > 0) text += ',';
        appendNumbers(text, std::span(r).subspan(3 * row, 3));
    }
    text += ']';
    object.key("translation");
    appendNumbers(text, motion.apply(0.0, 0.0, 0.0));
    object.key("centre1");
    appendNumbers(text, motion.experimentCentre);
    object.key("centre2");
    appendNumbers(text, motion.predictionCentre);
}

// A residue number, or with an insertion code a string.
void appendJsonResidue(std::string& text, ResidueId residue) {
    if (residue.insertionCode == ' ') return appendJson(text, residue.number);
    std::string name;
    appendResidue(name, residue);
    appendJson(text, name);
}

// Whether residue pair b follows a in both chains, and belongs to the same run.  A gap in the
// numbering ends a run even where the chain goes on, and so does an insertion code: a range has to
// mean its residues by number to whoever reads it.
bool continues(const ResiduePair& a, const ResiduePair& b) {
    const auto follows = [](ResidueId x, ResidueId y) {
        return y.number == x.number + 1 && x.insertionCode == ' ' && y.insertionCode == ' ';
    };
    return a.domain == b.domain && b.experimentPosition == a.experimentPosition + 1 &&
           b.predictionPosition == a.predictionPosition + 1 &&
           follows(a.experiment, b.experiment) && follows(a.prediction, b.prediction);
}

// Runs of matched residues, which are long where a model is right: [first 1, last 1, first 2, last
// 2, domain].  Pairs outside of every subset are left out.
void appendMatched(std::string& text, const std::vector<ResiduePair>& residues) {
    text += '[';
    bool isFirst = true;
    for (auto at = residues.begin(); at != residues.end();) {
        auto last = at;
        while (std::next(last) != residues.end() && continues(*last, *std::next(last)))
            ++last;
        if (at->domain > 0) {
            text += isFirst ? "[" : ",[";
            isFirst = false;
            for (const ResidueId residue :
                 {at->experiment, last->experiment, at->prediction, last->prediction}) {
                appendJsonResidue(text, residue);
                text += ',';
            }
            appendJson(text, at->domain);
            text += ']';
        }
        at = std::next(last);
    }
    text += ']';
}

// The first domain's motion stands in the pair itself, where readers of runs with one domain find
// it; those of others, by -i, follow in a list.
void addSuperpositions(JsonObject& object, std::string& text, const PairResult& pair) {
    if (pair.superpositions.empty()) return;
    addMotion(object, text, pair.superpositions.front());
    if (pair.superpositions.size() == 1) return;
    object.key("further_domains");
    appendJsonList(text, std::span(pair.superpositions).subspan(1),
                   [&text](const Superposition& motion) {
                       JsonObject domain(text);
                       addMotion(domain, text, motion);
                       domain.end();
                   });
}

}  // namespace

// What each input contributes to its pairs is made once, since each takes part in as many pairs as
// the list has models, and escaping a name costs more than copying it.
void PairTexts::start(const RunInputs& inputs) {
    hasSequences_ = inputs.pairsBySequence;
    keys_.clear();
    keys_.reserve(inputs.structures.size());
    for (const InputStructure& input : inputs.structures)
        keys_.push_back({inputKeys(input, '1'), inputKeys(input, '2')});
}

PairTexts::Object PairTexts::json() {
    if (json_.empty()) makeJson();
    const std::string_view whole = json_;
    return {whole.substr(0, headOfJson_), whole.substr(headOfJson_)};
}

void PairTexts::makeJson() {
    const PairResult& pair = *pair_;
    std::string& text = json_;
    JsonObject object(text);
    object.keys(keys_[pair.experiment].first);
    object.keys(keys_[pair.prediction].second);
    object.add("mapped", pair.mapped);
    object.add("pairs", pair.pairs);
    const auto add = [&object](std::string_view name, const std::optional<double>& value) {
        object.add(name, value);
    };
    add("rmsd", pair.rmsd);
    add("grmsd", pair.grmsd);
    add("maxsub", pair.maxsub);
    add("tm1", pair.tm1);
    add("tm2", pair.tm2);
    add("msi", pair.msi);
    add("gdt", pair.gdt);
    add("rrmsd", pair.rrmsd);
    add("urmsd", pair.urmsd);
    add("rurmsd", pair.rurmsd);
    add("contacts", pair.contacts);
    add("cutoff", pair.cutoff);
    if (hasSequences_) {
        add("identity", pair.identity);
        add("coverage1", pair.coverage1);
        add("coverage2", pair.coverage2);
    }
    object.add("domains", pair.domains);
    object.add("status", statusWord(pair.status));
    object.key("matched");
    appendMatched(text, pair.residues);
    headOfJson_ = text.size();
    addSuperpositions(object, text, pair);
    object.end();
}

namespace {

class JsonLines final : public ExportFile {
 public:
    using ExportFile::ExportFile;

    PairDetail pairDetail() const override { return PairDetail::Matched; }
    void share(PairTexts& texts) override { texts_ = &texts; }
    void start(const RunInputs& /*inputs*/) override {}
    void take(const PairResult& pair) override {
        const PairTexts::Object object = texts_->json();
        text() += object.head;
        if (!pair.superpositions.empty()) text() += motion_;
        text() += object.tail;
        text() += '\n';
        pace();
    }

 private:
    PairTexts* texts_ = nullptr;
    std::string motion_ = motionMember();
};

std::string_view roleOf(const RunInputs& inputs, std::size_t input) {
    const bool hasExperiment = inputs.kind == RunKind::Pairwise || inputs.firstModel() > 0;
    if (hasExperiment && input == 0) return "experiment";
    return inputs.kind == RunKind::Pairwise ? "prediction" : "model";
}

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

 private:
    void key(std::string_view name);
    void writeInputs();
    void writeRanking(const RunResults& results);
    void writeTree(const RunResults& results);
    void writeClusters(const RunResults& results);

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
    key("status");
    appendJson(text(), results.failure.empty() ? "SUCCESS" : results.failure);
    text() += "\n}\n";
}

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

std::unique_ptr<ExportFile> makeJsonLines(std::string path) {
    return std::make_unique<JsonLines>(std::move(path));
}

std::unique_ptr<ExportFile> makeJsonDocument(std::string path) {
    return std::make_unique<JsonDocument>(std::move(path));
}

}  // namespace tervolanda
