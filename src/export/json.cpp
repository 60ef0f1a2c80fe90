// Pairs as JSON: the text of a pair that the document (json_document.cpp) and the lines of --jsonl
// share.  It is the same object in both, but that a line says itself what its matrices mean.
//
// docs/formats.md and docs/results.schema.json describe every key; none is renamed, and none gets
// another type, without them.
#include <array>
#include <cmath>
#include <cstdint>
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

// Members of pairs, each after a comma or a bracket, with names that need no escapes.
class Members : public TextCursor {
 public:
    using TextCursor::TextCursor;

    template <std::size_t Size, typename Number>
    void add(const char (&key)[Size], const std::optional<Number>& value) {
        put(key);
        if (value) {
            addValue(*value);
        } else {
            put("null");
        }
    }
    void addValue(std::uint32_t count) { number(count); }
    void addValue(double value) {
        if (std::isfinite(value)) {
            number(value);
        } else {
            put("null");
        }
    }
    void addTriple(std::span<const double, 3> values) {
        put('[');
        addValue(values[0]);
        put(',');
        addValue(values[1]);
        put(',');
        addValue(values[2]);
        put(']');
    }
};

// What a run knows of each pair.
void appendFigures(std::string& text, const PairResult& pair, const RunInputs& inputs) {
    constexpr std::size_t kMostMembers = 24;
    constexpr std::size_t kLongestKey = 16;
    std::array<char, kMostMembers*(kLongestKey + kMostNumber)> room;
    Members members(room.data());
    members.add(R"(,"mapped":)", pair.mapped);
    members.add(R"(,"pairs":)", pair.pairs);
    members.add(R"(,"rmsd":)", pair.rmsd);
    members.add(R"(,"grmsd":)", pair.grmsd);
    members.add(R"(,"maxsub":)", pair.maxsub);
    members.add(R"(,"tm1":)", pair.tm1);
    members.add(R"(,"tm2":)", pair.tm2);
    members.add(R"(,"msi":)", pair.msi);
    members.add(R"(,"gdt":)", pair.gdt);
    members.add(R"(,"rrmsd":)", pair.rrmsd);
    members.add(R"(,"urmsd":)", pair.urmsd);
    members.add(R"(,"rurmsd":)", pair.rurmsd);
    members.add(R"(,"contacts":)", pair.contacts);
    members.add(R"(,"cutoff":)", pair.cutoff);
    if (inputs.pairsBySequence) {
        members.add(R"(,"identity":)", pair.identity);
        members.add(R"(,"coverage1":)", pair.coverage1);
        members.add(R"(,"coverage2":)", pair.coverage2);
    }
    text.append(room.data(), members.at());
    for (const Measure measure : kMeasures) {
        if (!inputs.measures.has(measure)) continue;
        text += ",\"";
        text += measureName(measure);
        text += "\":";
        appendJson(text, figureOf(pair.measures, measure));
    }
}

// The rotation row by row, both centres, and the translation c1 - R c2.
void addMotion(JsonObject& object, const Superposition& motion) {
    constexpr std::size_t kNumbers = 18;
    constexpr std::size_t kKeys = 64;
    std::array<char, kNumbers*(kMostNumber + 2) + kKeys> room;
    Members members(room.data());
    const std::span rotation(motion.rotation);
    members.put(R"("rotation":[)");
    members.addTriple(rotation.subspan<0, 3>());
    members.put(',');
    members.addTriple(rotation.subspan<3, 3>());
    members.put(',');
    members.addTriple(rotation.subspan<6, 3>());
    members.put(R"(],"translation":)");
    members.addTriple(motion.apply(0.0, 0.0, 0.0));
    members.put(R"(,"centre1":)");
    members.addTriple(motion.experimentCentre);
    members.put(R"(,"centre2":)");
    members.addTriple(motion.predictionCentre);
    object.keys({room.data(), members.at()});
}

// A residue number, or with an insertion code a string.
void appendJsonResidue(std::string& text, ResidueId residue) {
    if (residue.insertionCode == ' ') return appendJson(text, residue.number);
    std::string name;
    appendResidue(name, residue);
    appendJson(text, name);
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

// The four residues and the domain.  Insertion codes are rare.
void appendStretch(std::string& text, const MatchedStretch& at) {
    const std::array<ResidueId, 4> residues = {at.experimentFirst, at.experimentLast,
                                               at.predictionFirst, at.predictionLast};
    std::array<char, 5 * (kMostNumber + 1)> room;
    TextCursor cursor(room.data());
    for (const ResidueId residue : residues) {
        if (residue.insertionCode == ' ') {
            cursor.number(residue.number);
        } else {
            text.append(room.data(), cursor.at());
            cursor = TextCursor(room.data());
            appendJsonResidue(text, residue);
        }
        cursor.put(',');
    }
    cursor.number(at.domain);
    text.append(room.data(), cursor.at());
}

// Stretches of matched residues, which are long where a model is right: [first 1, last 1, first 2,
// last 2, domain], and the chains of complexes.
void appendMatched(std::string& text, const InputStructure& first, const InputStructure& second,
                   const std::vector<MatchedStretch>& stretches) {
    text += '[';
    bool isFirst = true;
    for (const MatchedStretch& at : stretches) {
        if (at.domain == 0) continue;
        text += isFirst ? "[" : ",[";
        isFirst = false;
        appendStretch(text, at);
        appendChains(text, first, second, at.experimentFirst, at.predictionFirst);
        text += ']';
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
    addMotion(object, pair.superpositions.front());
    if (pair.superpositions.size() == 1) return;
    object.key("further_domains");
    appendJsonList(text, std::span(pair.superpositions).subspan(1),
                   [&text](const Superposition& motion) {
                       JsonObject domain(text);
                       addMotion(domain, motion);
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
    appendFigures(text, pair, *inputs_);
    object.add("domains", pair.domains);
    object.add("status", statusWord(pair.status));
    const InputStructure& first = inputs_->structures[pair.experiment];
    const InputStructure& second = inputs_->structures[pair.prediction];
    addChainPairs(object, text, first, second, pair.subunits);
    object.key("matched");
    appendMatched(text, first, second, pair.stretches);
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
