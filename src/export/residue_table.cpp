// The table of residue pairs (--residues): which residues belong together, how far their C-alpha
// atoms are from each other once the prediction is laid over the experiment, and which pairs the
// superposition rests on.
//
// It has the residues of the mapping only: what one of the chains lacks stands in no row.
#include <utility>

#include "export/export.h"
#include "export/export_text.h"

namespace tervolanda {

namespace {

// Rows come pair by pair in mapped order; the names of a pair's inputs are made once for its rows.
class ResidueTable final : public ExportFile {
 public:
    using ExportFile::ExportFile;

    PairDetail pairDetail() const override { return PairDetail::Residues; }
    void start(const RunInputs& inputs) override {
        inputs_ = &inputs;
        text() +=
            "id1\tid2\tfile1\tfile2\tchain1\tchain2\tresidue1\tresidue2\tcode1\tcode2\tdistance\t"
            "subset\tdomain";
        hasLddt_ = inputs.measures.has(Measure::Lddt) || inputs.measures.has(Measure::LddtAll);
        text() += hasLddt_ ? "\tlddt\n" : "\n";
    }
    void take(const PairResult& pair) override {
        const std::string names = namesOf(pair);
        const InputStructure& first = inputs_->structures[pair.experiment];
        const InputStructure& second = inputs_->structures[pair.prediction];
        std::string& row = text();
        for (const ResiduePair& residue : pair.residues) {
            row += names;
            appendField(row, chainOf(first, residue.experiment));
            row += '\t';
            appendField(row, chainOf(second, residue.prediction));
            row += '\t';
            appendResidue(row, residue.experiment);
            row += '\t';
            appendResidue(row, residue.prediction);
            row += '\t';
            row += residue.experimentCode;
            row += '\t';
            row += residue.predictionCode;
            row += '\t';
            appendCell(row, std::optional(residue.distance));
            row += residue.domain > 0 ? "\t1\t" : "\t0\t";
            if (residue.domain > 0) appendNumber(row, residue.domain);
            if (hasLddt_) {
                row += '\t';
                appendCell(row, residue.lddt);
            }
            row += '\n';
            pace();
        }
    }

 private:
    // The columns that all rows of a pair begin with, up to "chain1".
    std::string namesOf(const PairResult& pair) const {
        const InputStructure& first = inputs_->structures[pair.experiment];
        const InputStructure& second = inputs_->structures[pair.prediction];
        std::string names;
        for (const auto& id : {first.id, second.id}) {
            appendCell(names, id);
            names += '\t';
        }
        for (const std::string* name : {&first.file, &second.file}) {
            appendField(names, *name);
            names += '\t';
        }
        return names;
    }

    const RunInputs* inputs_ = nullptr;
    bool hasLddt_ = false;
};

}  // namespace

std::unique_ptr<ExportFile> makeResidueTable(std::string path) {
    return std::make_unique<ResidueTable>(std::move(path));
}

}  // namespace tervolanda
