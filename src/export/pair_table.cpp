// The table of pairs (--tsv): tab-separated, a row a pair in the order of the run, the first line
// the names of its columns.
//
// Columns are the same in every run; what a run does not compute is empty, and never 0.  So tables
// of different measures can be put together, and a script may count on a column's place.  Only what
// an option adds to every pair stands after them.
#include <array>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "export/export.h"
#include "export/export_text.h"
#include "export/pair_texts.h"

namespace tervolanda {

namespace {

// Rows of a list of 10,000 models are 50 million: a row is put together from the texts of its
// inputs, which are made once, and numbers.
class PairTable final : public ExportFile {
 public:
    using ExportFile::ExportFile;

    PairDetail pairDetail() const override { return PairDetail::Figures; }
    void share(PairTexts& texts) override { texts_ = &texts; }
    void start(const RunInputs& inputs) override;
    void take(const PairResult& pair) override;

 private:
    // What an input contributes to its rows, escaped, each with its tab.
    struct Columns {
        PaddedText id, file, chain, length;
        std::size_t room() const { return id.room() + file.room() + chain.room() + length.room(); }
    };
    std::vector<Columns> inputs_;  // by position among the inputs
    PairTexts* texts_ = nullptr;
    bool hasSequences_ = false;
    MeasureSet measures_;
};

void PairTable::start(const RunInputs& inputs) {
    text() +=
        "id1\tid2\tfile1\tfile2\tchain1\tchain2\tlength1\tlength2\tmapped\tpairs\trmsd\tgrmsd\t"
        "maxsub\ttm1\ttm2\tmsi\tgdt\trrmsd\turmsd\trurmsd\tcontacts\tcutoff\tdomains\tstatus";
    hasSequences_ = inputs.pairsBySequence;
    if (hasSequences_) text() += "\tidentity\tcoverage1\tcoverage2";
    measures_ = inputs.measures;
    for (const Measure measure : kMeasures) {
        if (!measures_.has(measure)) continue;
        text() += '\t';
        text() += measureName(measure);
    }
    text() += '\n';
    inputs_.reserve(inputs.structures.size());
    for (const InputStructure& input : inputs.structures) {
        const auto column = [](const auto& append, const auto& value) {
            std::string text;
            append(text, value);
            text += '\t';
            return PaddedText(std::move(text));
        };
        const auto cell = [](std::string& text, const auto& value) { appendCell(text, value); };
        inputs_.push_back({column(cell, input.id), column(appendField, input.file),
                           column(appendField, input.chain), column(cell, input.length)});
    }
}

void PairTable::take(const PairResult& pair) {
    const Columns& first = inputs_[pair.experiment];
    const Columns& second = inputs_[pair.prediction];
    // Mapped and fitted pairs, twelve figures, the domains and the status, each with its tab.
    constexpr std::size_t kNumbers = (2 + kPairFigures + 2) * (kMostNumber + 1);
    std::string& row = text();
    appendWithin(row, first.room() + second.room() + kNumbers, [&](TextCursor& cells) {
        // Each column of both inputs side by side: id1, id2, file1, file2 ...
        for (const auto column :
             {&Columns::id, &Columns::file, &Columns::chain, &Columns::length}) {
            cells.put(first.*column);
            cells.put(second.*column);
        }
        const auto addCount = [&cells](std::optional<std::uint32_t> count) {
            if (count) cells.number(*count);
            cells.put('\t');
        };
        addCount(pair.mapped);
        addCount(pair.pairs);
        for (const ShortText& figure : texts_->figures()) {
            cells.put(figure);
            cells.put('\t');
        }
        addCount(pair.domains);
        cells.put(statusWord(pair.status));
    });
    if (hasSequences_) {
        for (const auto& value : {pair.identity, pair.coverage1, pair.coverage2}) {
            row += '\t';
            appendCell(row, value);
        }
    }
    for (const Measure measure : kMeasures) {
        if (!measures_.has(measure)) continue;
        row += '\t';
        appendCell(row, figureOf(pair.measures, measure));
    }
    row += '\n';
    pace();
}

}  // namespace

std::unique_ptr<ExportFile> makePairTable(std::string path) {
    return std::make_unique<PairTable>(std::move(path));
}

}  // namespace tervolanda
