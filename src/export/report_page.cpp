// The page of --report: the data of a run as one block of JSON between the two halves of the page,
// whose script makes tables and pictures of it.  Numbers are written with the decimals that the
// page shows.
#include <optional>
#include <string>
#include <utility>

#include "base/format.h"
#include "export/export.h"
#include "export/report_data.h"
#include "export/report_template.h"
#include "export/values.h"

namespace tervolanda {

namespace {

// Of the page and of the window that shows it.
std::string titleOf(const RunInputs& inputs) {
    const std::size_t models = inputs.structures.size() - inputs.firstModel();
    switch (inputs.kind) {
        case RunKind::Pairwise:
            return reportName(inputs.structures[1]) + " against " +
                   reportName(inputs.structures[0]);
        case RunKind::OneVersusList:
            return format("%zu models against ", models) + reportName(inputs.structures[0]);
        case RunKind::AllVersusAll:
            return format("%zu models against each other", models);
        case RunKind::DistanceFile:
            return format("%zu models of a distance file", models);
        case RunKind::MaxSubFile:
            break;
    }
    return format("%zu models of a MaxSub file", models);
}

// What says of all models how alike they are: the text of numbers with three digits, as in tables.
std::string quartilesText(const SetFigures& set) {
    return format("mean %.3f, quartiles %.3f, %.3f, %.3f, from %.3f to %.3f", set.mean,
                  set.quantiles[1], set.quantiles[2], set.quantiles[3], set.quantiles[0],
                  set.quantiles[4]);
}

// Every fourth of the thresholds: a line, and not a table.
std::string thresholdsText(const Clustering& clustering) {
    constexpr std::size_t kStep = 4;
    const std::vector<ThresholdTrial> cuts = clustersByThreshold(clustering);
    std::string text;
    for (std::size_t i = kStep; i <= cuts.size(); i += kStep) {
        const ThresholdTrial& cut = cuts[i - 1];
        text += format("%s%u at %.3f", text.empty() ? "" : ", ", cut.clusters, cut.threshold);
    }
    return text;
}

// What was done with what, above everything else: a page is often all that is kept of a run.
void writeFacts(JsonWriter& json, const ReportData& data, const RunResults& results) {
    const RunInputs& inputs = *data.inputs;
    json.key("facts");
    json.open('[');
    const auto fact = [&json](const char* name, const std::string& value) {
        json.open('[');
        json.text(name);
        json.text(value);
        json.close(']');
    };
    std::string command = inputs.program;
    for (const std::string& argument : inputs.command)
        command += ' ' + argument;
    fact("Command", command);
    fact("Version", inputs.version);
    if (inputs.kind == RunKind::Pairwise || inputs.kind == RunKind::OneVersusList)
        fact("Experiment", reportName(inputs.structures.front()));
    if (inputs.kind != RunKind::Pairwise) {
        std::string models = format("%zu read", data.modelCount());
        if (!inputs.skipped.empty()) models += format(", %zu skipped", inputs.skipped.size());
        fact("Models", models);
    }
    if (inputs.kind != RunKind::Pairwise) fact("Ranked by", scoreName(inputs.score));
    if (results.clustering) {
        fact("Clusters", format("%u, threshold %g", results.clustering->clusters.count,
                                results.clustering->threshold));
    }
    if (results.set) {
        fact("Scores of pairs", quartilesText(*results.set));
        fact("Most like the others", data.modelName(results.set->medoid));
    }
    const std::string thresholds =
        results.clustering ? thresholdsText(*results.clustering) : std::string();
    if (!thresholds.empty()) fact("Clusters by threshold", thresholds);
    json.close(']');
}

// For the histogram of a list against one experiment.
void writeScores(JsonWriter& json, const ReportData& data) {
    json.key("scores");
    json.open('{');
    json.key("of");
    json.text(scoreName(data.inputs->score));
    json.key("values");
    json.open('[');
    for (const PairResult& pair : data.pairs)
        json.number(scoreOf(pair, data.inputs->score), kReportDecimals);
    json.close(']');
    json.close('}');
}

// --- The file ------------------------------------------------------------------------------------

class ReportPage final : public ExportFile {
 public:
    using ExportFile::ExportFile;

    PairDetail pairDetail() const override {
        return data_.inputs->kind == RunKind::AllVersusAll ? PairDetail::None
                                                           : PairDetail::Residues;
    }
    void start(const RunInputs& inputs) override { data_.inputs = &inputs; }
    bool showsScores() const override { return data_.modelCount() <= kMostModelsInMatrix; }
    bool showsSet() const override { return true; }
    void take(const PairResult& pair) override;
    void finish(const RunResults& results) override;

 private:
    ReportData data_;
};

void ReportPage::take(const PairResult& pair) {
    if (!data_.best || isBetter(pair, *data_.best, data_.inputs->score)) data_.best = pair;
    data_.pairs.push_back(pair);
    data_.pairs.back().stretches = {};
    data_.pairs.back().residues = {};
    data_.pairs.back().superpositions = {};
}

void ReportPage::finish(const RunResults& results) {
    std::string data;
    JsonWriter json(data);
    json.open('{');
    json.key("title");
    json.text(titleOf(*data_.inputs));
    writeFacts(json, data_, results);
    writeReportTables(json, data_, results);
    if (data_.inputs->kind != RunKind::Pairwise && data_.inputs->kind != RunKind::OneVersusList)
        writeReportMap(json, data_, results);
    if (data_.inputs->kind == RunKind::OneVersusList) writeScores(json, data_);
    if (data_.best) writeReportPair(json, data_);
    json.close('}');
    text() += kReportHead;
    text() += data;  // no string has a "<", which could end the block
    text() += kReportTail;
}

}  // namespace

std::string ReportData::modelName(std::size_t model) const {
    return reportName(inputs->structures[inputs->firstModel() + model]);
}

std::string scoreName(ScoreKind kind) {
    switch (kind) {
        case ScoreKind::Tm:
            return "TM-score";
        case ScoreKind::MaxSub:
            return "MaxSub";
        case ScoreKind::Gdt:
            return "GDT";
        case ScoreKind::Rmsd:
            return "RMSD, Å";
        case ScoreKind::Distance:
            return "distance";
        case ScoreKind::Lddt:
            return "lDDT";
        case ScoreKind::LddtAll:
            return "lDDT of all atoms";
        case ScoreKind::GdtTs:
            return "GDT_TS";
        case ScoreKind::GdtHa:
            return "GDT_HA";
        case ScoreKind::Similarity:
            break;
    }
    return "score";
}

std::string reportName(const InputStructure& input) {
    if (!input.file.empty()) return input.file;
    return input.id ? format("model %u", *input.id) : "model";
}

std::unique_ptr<ExportFile> makeReportPage(std::string path) {
    return std::make_unique<ReportPage>(std::move(path));
}

}  // namespace tervolanda
