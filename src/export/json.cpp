// Pairs as JSON: the text of a pair that the document (json_document.cpp) and the lines of --jsonl
// share.  It is the same object in both, but that a line says itself what its matrices mean.
//
// docs/formats.md and docs/results.schema.json describe every key; none is renamed, and none gets
// another type, without them.
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "export/export.h"
#include "export/json_text.h"

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
    return a.domain == b.domain && a.experiment.subunit == b.experiment.subunit &&
           a.prediction.subunit == b.prediction.subunit &&
           b.experimentPosition == a.experimentPosition + 1 &&
           b.predictionPosition == a.predictionPosition + 1 &&
           follows(a.experiment, b.experiment) && follows(a.prediction, b.prediction);
}

// What a pair of complexes adds: the names of the two chains.
void appendChains(std::string& text, const InputStructure& first, const InputStructure& second,
                  ResidueId a, ResidueId b) {
    if (first.subunits.empty() && second.subunits.empty()) return;
    text += ',';
    appendJson(text, chainOf(first, a));
    text += ',';
    appendJson(text, chainOf(second, b));
}

// Runs of matched residues, which are long where a model is right: [first 1, last 1, first 2, last
// 2, domain], and the chains of complexes.  Pairs outside of every subset are left out.
void appendMatched(std::string& text, const InputStructure& first, const InputStructure& second,
                   const std::vector<ResiduePair>& residues) {
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
            appendChains(text, first, second, at->experiment, at->prediction);
            text += ']';
        }
        at = std::next(last);
    }
    text += ']';
}

// Of complexes the names of the chains that belong together, [chain 1, chain 2].
void addChainPairs(JsonObject& object, std::string& text, const InputStructure& first,
                   const InputStructure& second, const std::vector<SubunitPair>& pairs) {
    if (first.subunits.empty() && second.subunits.empty()) return;
    object.key("chain_pairs");
    appendJsonList(text, std::span(pairs), [&](const SubunitPair& pair) {
        const ResidueId a{.subunit = pair.experiment}, b{.subunit = pair.prediction};
        text += '[';
        appendJson(text, chainOf(first, a));
        text += ',';
        appendJson(text, chainOf(second, b));
        text += ']';
    });
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
    inputs_ = &inputs;
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

// In two pieces, between which a line says what its matrices mean: up to the matched residues, and
// the motions.
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
    if (inputs_->pairsBySequence) {
        add("identity", pair.identity);
        add("coverage1", pair.coverage1);
        add("coverage2", pair.coverage2);
    }
    for (const Measure measure : kMeasures) {
        if (inputs_->measures.has(measure))
            add(measureName(measure), figureOf(pair.measures, measure));
    }
    object.add("domains", pair.domains);
    object.add("status", statusWord(pair.status));
    const InputStructure& first = inputs_->structures[pair.experiment];
    const InputStructure& second = inputs_->structures[pair.prediction];
    addChainPairs(object, text, first, second, pair.subunits);
    object.key("matched");
    appendMatched(text, first, second, pair.residues);
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

}  // namespace

std::unique_ptr<ExportFile> makeJsonLines(std::string path) {
    return std::make_unique<JsonLines>(std::move(path));
}

}  // namespace tervolanda
