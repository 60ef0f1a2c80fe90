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
#include "export/pair_texts.h"

namespace tervolanda {

namespace {

// What each object of JSON Lines has before its matrices: what the document says once for all.
std::string motionMember() {
    return R"(,"motion":")" + std::string(kMotionSentence) + '"';
}

// What each input contributes to its pairs: "id1":..., "file1":... and so on where it is the
// experiment, with 2 where it is the prediction; after the bracket or a comma.
PaddedText inputKeys(const InputStructure& input, char number) {
    std::string text(1, number == '1' ? '{' : ',');
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
    return PaddedText(std::move(text));
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

// The keys of PairTexts::figures(), each after a comma.
constexpr auto kFigureKeys = [] {
    std::array<ShortText, kPairFigures> keys{};
    for (std::size_t k = 0; k < keys.size(); ++k) {
        const auto put = [&key = keys[k]](char c) { key.bytes[key.size++] = c; };
        put(',');
        put('"');
        for (const char c : kFigureNames[k])
            put(c);
        put('"');
        put(':');
    }
    return keys;
}();

// What a run knows of each pair: at most so many members, none with a longer key.
constexpr std::size_t kFigureRoom = (5 + kPairFigures + kMeasures.size() + 2) * (16 + kMostNumber);

void addFigures(Members& members, const PairResult& pair,
                const std::array<ShortText, kPairFigures>& figures, const RunInputs& inputs) {
    members.add(R"(,"mapped":)", pair.mapped);
    members.add(R"(,"pairs":)", pair.pairs);
    for (std::size_t k = 0; k < kPairFigures; ++k) {
        members.put(kFigureKeys[k]);
        if (figures[k].size > 0) {
            members.put(figures[k]);
        } else {
            members.put("null");
        }
    }
    if (inputs.pairsBySequence) {
        members.add(R"(,"identity":)", pair.identity);
        members.add(R"(,"coverage1":)", pair.coverage1);
        members.add(R"(,"coverage2":)", pair.coverage2);
    }
    for (const Measure measure : kMeasures) {
        if (!inputs.measures.has(measure)) continue;
        members.put(R"(,")");
        members.put(measureName(measure));
        members.add(R"(":)", figureOf(pair.measures, measure));
    }
    members.add(R"(,"domains":)", pair.domains);
    members.put(R"(,"status":")");
    members.put(statusWord(pair.status));
    members.put('"');
}

// The rotation row by row, both centres, and the translation c1 - R c2.
constexpr std::size_t kMotionRoom = 18 * (kMostNumber + 2) + 64;

void addMotion(Members& members, const Superposition& motion) {
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
}

// A residue number, or with an insertion code, which is rare, a string.
void addResidue(Members& members, ResidueId residue) {
    if (residue.insertionCode == ' ') return members.number(residue.number);
    std::string name, text;
    appendResidue(name, residue);
    appendJson(text, name);
    members.put(text);
}

// What a pair of complexes adds: the names of the two chains.
std::string chainMembers(const InputStructure& first, const InputStructure& second, ResidueId a,
                         ResidueId b) {
    std::string text;
    if (first.subunits.empty() && second.subunits.empty()) return text;
    text += ',';
    appendJson(text, chainOf(first, a));
    text += ',';
    appendJson(text, chainOf(second, b));
    return text;
}

// Stretches of matched residues, which are long where a model is right: [first 1, last 1, first 2,
// last 2, domain], and the chains of complexes.
void appendMatched(std::string& text, const InputStructure& first, const InputStructure& second,
                   const std::vector<MatchedStretch>& stretches) {
    text += R"(,"matched":[)";
    bool isFirst = true;
    for (const MatchedStretch& at : stretches) {
        if (at.domain == 0) continue;
        const std::string chains =
            chainMembers(first, second, at.experimentFirst, at.predictionFirst);
        appendWithin<Members>(
            text, 5 * (kMostNumber + 1) + chains.size() + 3, [&](Members& members) {
                if (!isFirst) members.put(',');
                members.put('[');
                for (const ResidueId residue : {at.experimentFirst, at.experimentLast,
                                                at.predictionFirst, at.predictionLast}) {
                    addResidue(members, residue);
                    members.put(',');
                }
                members.number(at.domain);
                members.put(chains);
                members.put(']');
            });
        isFirst = false;
    }
    text += ']';
}

// Of complexes the names of the chains that belong together, [chain 1, chain 2].
void appendChainPairs(std::string& text, const InputStructure& first, const InputStructure& second,
                      const std::vector<SubunitPair>& pairs) {
    if (first.subunits.empty() && second.subunits.empty()) return;
    text += R"(,"chain_pairs":)";
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
void appendSuperpositions(std::string& text, const std::vector<Superposition>& motions) {
    if (motions.empty()) return;
    appendWithin<Members>(text, kMotionRoom, [&motions](Members& members) {
        members.put(',');
        addMotion(members, motions.front());
    });
    if (motions.size() == 1) return;
    text += R"(,"further_domains":)";
    appendJsonList(text, std::span(motions).subspan(1), [&text](const Superposition& motion) {
        appendWithin<Members>(text, kMotionRoom, [&motion](Members& members) {
            members.put('{');
            addMotion(members, motion);
            members.put('}');
        });
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
    const PaddedText& firstKeys = keys_[pair.experiment].first;
    const PaddedText& secondKeys = keys_[pair.prediction].second;
    const std::size_t most = firstKeys.room() + secondKeys.room() + kFigureRoom;
    appendWithin<Members>(json_, most, [&](Members& members) {
        members.put(firstKeys);
        members.put(secondKeys);
        addFigures(members, pair, figures(), *inputs_);
    });
    const InputStructure& first = inputs_->structures[pair.experiment];
    const InputStructure& second = inputs_->structures[pair.prediction];
    appendChainPairs(json_, first, second, pair.subunits);
    appendMatched(json_, first, second, pair.stretches);
    headOfJson_ = json_.size();
    appendSuperpositions(json_, pair.superpositions);
    json_ += '}';
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
