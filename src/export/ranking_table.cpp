// The table of models (--ranking), best first: one row a model of the run, none for files that
// could not be read.
//
// In a list against one experiment a model has the score that the list is ranked by; among
// themselves models have the 3D-Jury where there is one, the mean score over the others, and their
// clusters.
#include <utility>

#include "export/export.h"
#include "export/export_text.h"

namespace tervolanda {

namespace {

// Everything is known at the end only; pairs are not looked at.
class RankingTable final : public ExportFile {
 public:
    using ExportFile::ExportFile;

    void start(const RunInputs& inputs) override {
        inputs_ = &inputs;
        const bool isList = inputs.kind == RunKind::OneVersusList;
        text() += "rank\tid\tfile\tchain\tlength\t";
        text() += isList ? "score" : "jury";
        text() += "\tmean_score\tcluster\tmedoid\tmean_bfactor\n";
    }
    void finish(const RunResults& results) override {
        std::size_t rank = 0;
        for (const RankedModel& model : results.ranking) {
            appendNumber(text(), ++rank);
            appendRow(model);
            pace();
        }
    }

 private:
    // Scores that are none, and models in no cluster, have empty cells.
    void appendRow(const RankedModel& model) {
        const InputStructure& input = inputs_->structures[inputs_->firstModel() + model.model];
        std::string& row = text();
        const auto add = [&row](const auto& value) {
            row += '\t';
            appendCell(row, value);
        };
        add(input.id);
        row += '\t';
        appendField(row, input.file);
        row += '\t';
        appendField(row, input.chain);
        add(input.length);
        if (inputs_->kind == RunKind::OneVersusList) {
            add(model.score);
        } else {
            add(model.jury);
        }
        add(model.meanScore);
        add(model.cluster);
        row += model.cluster ? (model.isMedoid ? "\t1" : "\t0") : "\t";
        add(input.meanBFactor);
        row += '\n';
    }

    const RunInputs* inputs_ = nullptr;
};

}  // namespace

std::unique_ptr<ExportFile> makeRankingTable(std::string path) {
    return std::make_unique<RankingTable>(std::move(path));
}

}  // namespace tervolanda
