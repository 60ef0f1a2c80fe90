// The table of pairs (--tsv): tab-separated, a row a pair in the order of the run, the first line
// the names of its columns.
//
// Columns are the same in every run; what a run does not compute is empty, and never 0.  So tables
// of different measures can be put together, and a script may count on a column's place.  Only what
// an option adds to every pair stands after them.
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "export/export.h"
#include "export/export_text.h"

namespace tervolanda {

namespace {

// Rows of a list of 10,000 models are 50 million: a row is put together from the texts of its
// inputs, which are made once, and numbers.
class PairTable final : public ExportFile {
 public:
    using ExportFile::ExportFile;

    PairDetail pairDetail() const override { return PairDetail::Figures; }
    void start(const RunInputs& inputs) override;
    void take(const PairResult& pair) override;

 private:
    // What an input contributes to its rows, between tabs, escaped.
    struct Columns {
        std::string id, file, chain, length;
    };
    std::vector<Columns> inputs_;  // by position among the inputs
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
        Columns columns;
        appendCell(columns.id, input.id);
        appendField(columns.file, input.file);
        appendField(columns.chain, input.chain);
        appendCell(columns.length, input.length);
        inputs_.push_back(std::move(columns));
    }
}

void PairTable::take(const PairResult& pair) {
    std::string& row = text();
    // Each column of both inputs side by side: id1, id2, file1, file2 ...
    for (const auto column : {&Columns::id, &Columns::file, &Columns::chain, &Columns::length}) {
        for (const std::size_t input : {pair.experiment, pair.prediction}) {
            row += inputs_[input].*column;
            row += '\t';
        }
    }
    // Mapped and fitted pairs, twelve figures and the domains, each with its tab.
    std::array<char, 15 * (kMostNumber + 1)> room;
    TextCursor cells(room.data());
    const auto addCount = [&cells](std::optional<std::uint32_t> count) {
        if (count) cells.number(*count);
        cells.put('\t');
    };
    addCount(pair.mapped);
    addCount(pair.pairs);
    for (const auto* value :
         {&pair.rmsd, &pair.grmsd, &pair.maxsub, &pair.tm1, &pair.tm2, &pair.msi, &pair.gdt,
          &pair.rrmsd, &pair.urmsd, &pair.rurmsd, &pair.contacts, &pair.cutoff}) {
        if (*value && std::isfinite(**value)) cells.number(**value);
        cells.put('\t');
    }
    addCount(pair.domains);
    row.append(room.data(), cells.at());
    row += statusWord(pair.status);
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
