// The page of --report: the data of a run as one block of JSON between the two halves of the page,
// whose script makes tables and pictures of it.  Numbers are written with the decimals that the
// page shows.
#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <utility>
#include <vector>

#include "base/format.h"
#include "export/export.h"
#include "export/json_text.h"
#include "export/report_template.h"
#include "export/scene.h"

namespace tervolanda {

namespace {

constexpr int kDecimals = 3;  // of scores and distances
// A matrix of more models is no picture any more, and would make a page of more than 8 MB.
constexpr std::size_t kMostModelsInMatrix = 2000;
constexpr std::size_t kMostMembersNamed = 12;

// --- JSON, value by value ------------------------------------------------------------------------

// With so many decimals, as other output prints it; null for none and for what is not finite.
void appendJsonFixed(std::string& text, std::optional<double> value, int decimals) {
    if (value && std::isfinite(*value)) {
        text += format("%.*f", decimals, withoutNegativeZero(*value, decimals));
    } else {
        text += "null";
    }
}

// Lists in lists, of mixed values: writes commas where they belong.
class JsonWriter {
 public:
    explicit JsonWriter(std::string& out) : out_(out) {}

    void open(char bracket) {
        separate();
        out_ += bracket;
        isFirst_ = true;
    }
    void close(char bracket) {
        out_ += bracket;
        isFirst_ = false;
    }
    void key(const char* name) {
        separate();
        appendJson(out_, name);
        out_ += ':';
        isFirst_ = true;
    }
    void text(std::string_view value) {
        separate();
        appendJson(out_, value);
    }
    void number(std::optional<double> value, int decimals) {
        separate();
        appendJsonFixed(out_, value, decimals);
    }
    void count(std::size_t value) { raw(std::to_string(value)); }
    void flag(bool value) { raw(value ? "true" : "false"); }
    void null() { raw("null"); }
    void raw(std::string_view value) {
        separate();
        out_ += value;
    }

 private:
    void separate() {
        if (!isFirst_) out_ += ',';
        isFirst_ = false;
    }

    std::string& out_;
    bool isFirst_ = true;
};

// --- Names ---------------------------------------------------------------------------------------

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
        case ScoreKind::Similarity:
            break;
    }
    return "score";
}

std::string nameOf(const InputStructure& input) {
    if (!input.file.empty()) return input.file;
    return input.id ? format("model %u", *input.id) : "model";
}

std::string titleOf(const RunInputs& inputs) {
    const std::size_t models = inputs.structures.size() - inputs.firstModel();
    switch (inputs.kind) {
        case RunKind::Pairwise:
            return nameOf(inputs.structures[1]) + " against " + nameOf(inputs.structures[0]);
        case RunKind::OneVersusList:
            return format("%zu models against ", models) + nameOf(inputs.structures[0]);
        case RunKind::AllVersusAll:
            return format("%zu models against each other", models);
        case RunKind::DistanceFile:
            return format("%zu models of a distance file", models);
        case RunKind::MaxSubFile:
            break;
    }
    return format("%zu models of a MaxSub file", models);
}

// --- Tables --------------------------------------------------------------------------------------

struct Column {
    const char* name;
    int decimals = -1;  // of numbers; negative for text
    bool isHeader = false;
    bool isCluster = false;
    const char* about = nullptr;
};

void writeColumns(JsonWriter& json, const std::vector<Column>& columns) {
    json.key("columns");
    json.open('[');
    for (const Column& column : columns) {
        json.open('{');
        json.key("name");
        json.text(column.name);
        if (column.decimals >= 0) {
            json.key("digits");
            json.count(static_cast<std::size_t>(column.decimals));
        }
        if (column.isHeader) {
            json.key("header");
            json.flag(true);
        }
        if (column.isCluster) {
            json.key("cluster");
            json.flag(true);
        }
        if (column.about != nullptr) {
            json.key("about");
            json.text(column.about);
        }
        json.close('}');
    }
    json.close(']');
}

// What is known of a compared pair, each a column where any pair has it.
struct Figure {
    Column column;
    std::optional<double> (*value)(const PairResult& pair);
};

template <auto Member>
std::optional<double> member(const PairResult& pair) {
    const auto& value = pair.*Member;
    if (!value) return std::nullopt;
    return static_cast<double>(*value);
}

constexpr auto kFigures = std::to_array<Figure>({
    {{"GDT", 3, false, false, "Global Distance Test, 0 to 100"}, member<&PairResult::gdt>},
    {{"TM-score", 3, false, false, "by the length of the experiment"}, member<&PairResult::tm1>},
    {{"TM-score (2)", 3, false, false, "by the length of the model"}, member<&PairResult::tm2>},
    {{"MaxSub", 3, false, false, nullptr}, member<&PairResult::maxsub>},
    {{"MSI", 3, false, false, "MaxSub over all domains"}, member<&PairResult::msi>},
    {{"Pairs", 0, false, false, "residues in the superposition"}, member<&PairResult::pairs>},
    {{"Mapped", 0, false, false, "residue pairs"}, member<&PairResult::mapped>},
    {{"RMSD", 3, false, false, "of the superposition, Å"}, member<&PairResult::rmsd>},
    {{"gRMSD", 3, false, false, "of all residue pairs, Å"}, member<&PairResult::grmsd>},
    {{"rRMSD", 3, false, false, nullptr}, member<&PairResult::rrmsd>},
    {{"URMSD", 3, false, false, nullptr}, member<&PairResult::urmsd>},
    {{"rURMSD", 3, false, false, nullptr}, member<&PairResult::rurmsd>},
    {{"Contacts, %", 2, false, false, "native contacts"}, member<&PairResult::contacts>},
    {{"Cut-off", 3, false, false, "of the first domain, Å"}, member<&PairResult::cutoff>},
    {{"Domains", 0, false, false, nullptr}, member<&PairResult::domains>},
});

std::vector<const Figure*> figuresOf(const std::vector<PairResult>& pairs) {
    std::vector<const Figure*> figures;
    for (const Figure& figure : kFigures) {
        if (std::any_of(pairs.begin(), pairs.end(), [&figure](const PairResult& pair) {
                return figure.value(pair).has_value();
            }))
            figures.push_back(&figure);
    }
    return figures;
}

// --- Matrices ------------------------------------------------------------------------------------

// Values as whole numbers of thousandths, each with so many digits of base 64, the highest first;
// all bits set for a missing one, and on the diagonal, which says nothing.
std::string packedCells(const DistanceMatrix& matrix, unsigned& width) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    constexpr unsigned kBits = 6;
    constexpr unsigned kMostDigits = 5;
    // Rounded as printf rounds: the product of a float and 1000 is exact in double precision.
    const auto thousandths = [](float value) {
        return std::nearbyint(static_cast<double>(value) * 1000.0);
    };
    double most = 0.0;
    for (const float value : matrix.values()) {
        if (std::isfinite(value)) most = std::max(most, thousandths(value));
    }
    const auto none = [&width] { return (std::uint64_t{1} << width * kBits) - 1; };
    width = 2;
    while (width < kMostDigits && most >= static_cast<double>(none()))
        ++width;
    std::string text;
    text.reserve(matrix.values().size() * width);
    for (std::size_t i = 0; i < matrix.rows(); ++i) {
        for (std::size_t j = 0; j < matrix.columns(); ++j) {
            const float value = matrix.at(i, j);
            const bool isKnown =
                i != j && value >= 0.0F && thousandths(value) < static_cast<double>(none());
            const std::uint64_t cell =
                isKnown ? static_cast<std::uint64_t>(thousandths(value)) : none();
            for (unsigned k = width; k > 0; --k)
                text += kDigits[cell >> (k - 1) * kBits & 63U];
        }
    }
    return text;
}

// --- Residues ------------------------------------------------------------------------------------

std::string residueName(const Chain& chain, std::size_t residue) {
    if (residue >= chain.residues.size()) return {};
    const Atom& atom = chain.atoms[chain.residues[residue].first];
    std::string name(atom.residueName.view());
    name += format(" %d", atom.residueNumber);
    if (atom.insertionCode != ' ') name += atom.insertionCode;
    return name;
}

// The residues of both chains one above the other: pairs, and what has no partner.  Residue pairs
// ascend in both chains; one that does not stands for nothing here.
struct AlignmentColumn {
    std::optional<std::size_t> experiment, prediction;
    const ResiduePair* pair = nullptr;
};
std::vector<AlignmentColumn> alignmentOf(const PairResult& pair, std::size_t experimentLength,
                                         std::size_t predictionLength) {
    std::vector<AlignmentColumn> columns;
    std::size_t e = 0;
    std::size_t p = 0;
    const auto advance = [&columns, &e, &p](std::size_t toExperiment, std::size_t toPrediction) {
        while (p < toPrediction)
            columns.push_back({std::nullopt, p++, nullptr});
        while (e < toExperiment)
            columns.push_back({e++, std::nullopt, nullptr});
    };
    for (const ResiduePair& residues : pair.residues) {
        if (residues.experimentPosition < e || residues.predictionPosition < p) continue;
        if (residues.experimentPosition >= experimentLength) continue;
        if (residues.predictionPosition >= predictionLength) continue;
        advance(residues.experimentPosition, residues.predictionPosition);
        columns.push_back({e++, p++, &residues});
    }
    advance(experimentLength, predictionLength);
    return columns;
}

// --- The page ------------------------------------------------------------------------------------

class ReportPage final : public ExportFile {
 public:
    using ExportFile::ExportFile;

    PairDetail pairDetail() const override {
        return comparesModels() ? PairDetail::None : PairDetail::Residues;
    }
    void start(const RunInputs& inputs) override { inputs_ = &inputs; }
    bool showsScores() const override { return modelCount() <= kMostModelsInMatrix; }
    void take(const PairResult& pair) override;
    void finish(const RunResults& results) override;

 private:
    bool comparesModels() const { return inputs_->kind == RunKind::AllVersusAll; }
    std::size_t modelCount() const { return inputs_->structures.size() - inputs_->firstModel(); }
    std::string modelName(std::size_t model) const {
        return nameOf(inputs_->structures[inputs_->firstModel() + model]);
    }
    bool isBetter(const PairResult& pair) const;
    std::optional<double> scoreOf(const PairResult& pair) const;

    void writeFacts(JsonWriter& json, const RunResults& results);
    void writeTables(JsonWriter& json, const RunResults& results);
    void writeRanking(JsonWriter& json, const RunResults& results);
    void writeListRanking(JsonWriter& json, const RunResults& results);
    void writeFigures(JsonWriter& json);
    void writeClusters(JsonWriter& json, const RunResults& results);
    void writeSkipped(JsonWriter& json);
    void writeMap(JsonWriter& json, const RunResults& results);
    void writeScores(JsonWriter& json);
    void writePair(JsonWriter& json);
    void writeResidues(JsonWriter& json, const std::vector<AlignmentColumn>& columns);
    void writeTraces(JsonWriter& json);
    void writeMotions(JsonWriter& json);

    const RunInputs* inputs_ = nullptr;
    std::vector<PairResult> pairs_;   // of a list, without residues, in list order
    std::optional<PairResult> best_;  // the first of the best, with residues
};

std::optional<double> ReportPage::scoreOf(const PairResult& pair) const {
    switch (inputs_->score) {
        case ScoreKind::Tm:
            return pair.tm1;
        case ScoreKind::MaxSub:
            return pair.maxsub;
        case ScoreKind::Gdt:
            return pair.gdt;
        default:
            return pair.rmsd;
    }
}

bool ReportPage::isBetter(const PairResult& pair) const {
    if (!best_) return true;
    const std::optional<double> score = scoreOf(pair);
    const std::optional<double> bestScore = scoreOf(*best_);
    if (!score || !bestScore) return score && !bestScore;
    return isDistance(inputs_->score) ? *score < *bestScore : *score > *bestScore;
}

void ReportPage::take(const PairResult& pair) {
    if (isBetter(pair)) best_ = pair;
    pairs_.push_back(pair);
    pairs_.back().residues = {};
    pairs_.back().superpositions = {};
}

void ReportPage::finish(const RunResults& results) {
    std::string data;
    JsonWriter json(data);
    json.open('{');
    json.key("title");
    json.text(titleOf(*inputs_));
    writeFacts(json, results);
    writeTables(json, results);
    if (inputs_->kind != RunKind::Pairwise && inputs_->kind != RunKind::OneVersusList)
        writeMap(json, results);
    if (inputs_->kind == RunKind::OneVersusList) writeScores(json);
    if (best_) writePair(json);
    json.close('}');
    text() += kReportHead;
    text() += data;  // no string has a "<", which could end the block
    text() += kReportTail;
}

void ReportPage::writeFacts(JsonWriter& json, const RunResults& results) {
    json.key("facts");
    json.open('[');
    const auto fact = [&json](const char* name, const std::string& value) {
        json.open('[');
        json.text(name);
        json.text(value);
        json.close(']');
    };
    std::string command = inputs_->program;
    for (const std::string& argument : inputs_->command)
        command += ' ' + argument;
    fact("Command", command);
    fact("Version", inputs_->version);
    if (inputs_->kind == RunKind::Pairwise || inputs_->kind == RunKind::OneVersusList)
        fact("Experiment", nameOf(inputs_->structures.front()));
    if (inputs_->kind != RunKind::Pairwise) {
        std::string models = format("%zu read", modelCount());
        if (!inputs_->skipped.empty()) models += format(", %zu skipped", inputs_->skipped.size());
        fact("Models", models);
    }
    if (inputs_->kind != RunKind::Pairwise) fact("Ranked by", scoreName(inputs_->score));
    if (results.clustering) {
        fact("Clusters", format("%u, threshold %g", results.clustering->clusters.count,
                                results.clustering->threshold));
    }
    json.close(']');
}

void ReportPage::writeTables(JsonWriter& json, const RunResults& results) {
    json.key("tables");
    json.open('[');
    if (inputs_->kind == RunKind::Pairwise) {
        writeFigures(json);
    } else if (inputs_->kind == RunKind::OneVersusList) {
        writeListRanking(json, results);
    } else {
        writeRanking(json, results);
        if (results.clustering) writeClusters(json, results);
    }
    if (!inputs_->skipped.empty()) writeSkipped(json);
    json.close(']');
}

void ReportPage::writeRanking(JsonWriter& json, const RunResults& results) {
    const auto& structures = inputs_->structures;
    const bool hasJury = std::any_of(results.ranking.begin(), results.ranking.end(),
                                     [](const RankedModel& one) { return one.jury.has_value(); });
    const bool hasB = std::any_of(structures.begin(), structures.end(),
                                  [](const auto& input) { return input.meanBFactor.has_value(); });
    std::vector<Column> columns = {{"Rank", 0, false, false, nullptr},
                                   {"Model", -1, true, false, nullptr},
                                   {"Residues", 0, false, false, nullptr}};
    if (hasJury)
        columns.push_back({"Jury", 0, false, false, "residues shared with the other models"});
    columns.push_back({"Mean score", 3, false, false, "over the other models"});
    if (results.clustering) {
        columns.push_back({"Cluster", 0, false, true, nullptr});
        columns.push_back({"Medoid", -1, false, false, "stands for its cluster"});
    }
    if (hasB) columns.push_back({"Mean B", 2, false, false, "B-factor; pLDDT in predictions"});
    json.open('{');
    json.key("title");
    json.text("Ranking");
    json.key("note");
    json.text(
        hasJury ? "Best first, by the 3D-Jury: what is right tends to recur, so that a model that "
                  "shares much with the others comes first. Typical is not always right."
                : "Best first, by the mean over the other models.");
    writeColumns(json, columns);
    json.key("rows");
    json.open('[');
    for (std::size_t i = 0; i < results.ranking.size(); ++i) {
        const RankedModel& ranked = results.ranking[i];
        const InputStructure& input = structures[ranked.model];
        json.open('[');
        json.count(i + 1);
        json.text(nameOf(input));
        if (input.length) {
            json.count(*input.length);
        } else {
            json.null();
        }
        if (hasJury)
            json.number(ranked.jury ? std::optional<double>(*ranked.jury) : std::nullopt, 0);
        json.number(ranked.meanScore, kDecimals);
        if (results.clustering) {
            json.number(ranked.cluster ? std::optional<double>(*ranked.cluster) : std::nullopt, 0);
            json.text(ranked.isMedoid ? "yes" : "");
        }
        if (hasB) json.number(input.meanBFactor, 2);
        json.close(']');
    }
    json.close(']');
    json.close('}');
}

void ReportPage::writeListRanking(JsonWriter& json, const RunResults& results) {
    const std::vector<const Figure*> figures = figuresOf(pairs_);
    std::vector<Column> columns = {{"Rank", 0, false, false, nullptr},
                                   {"Model", -1, true, false, nullptr},
                                   {"Residues", 0, false, false, nullptr}};
    for (const Figure* figure : figures)
        columns.push_back(figure->column);
    columns.push_back({"Mean B", 2, false, false, "B-factor; pLDDT in predictions"});
    columns.push_back({"Status", -1, false, false, nullptr});
    json.open('{');
    json.key("title");
    json.text("Ranking");
    writeColumns(json, columns);
    json.key("rows");
    json.open('[');
    for (std::size_t i = 0; i < results.ranking.size(); ++i) {
        const std::size_t model = results.ranking[i].model;
        const InputStructure& input = inputs_->structures[inputs_->firstModel() + model];
        const PairResult& pair = pairs_[model];
        json.open('[');
        json.count(i + 1);
        json.text(nameOf(input));
        json.number(input.length ? std::optional<double>(*input.length) : std::nullopt, 0);
        for (const Figure* figure : figures)
            json.number(figure->value(pair), figure->column.decimals);
        json.number(input.meanBFactor, 2);
        json.text(statusWord(pair.status));
        json.close(']');
    }
    json.close(']');
    json.close('}');
}

// The figures of a pair, a row each.
void ReportPage::writeFigures(JsonWriter& json) {
    json.open('{');
    json.key("title");
    json.text("Figures");
    writeColumns(json, {{"Figure", -1, true, false, nullptr},
                        {"Value", -1, false, false, nullptr},
                        {"Meaning", -1, false, false, nullptr}});
    json.key("rows");
    json.open('[');
    const auto row = [&json](const char* name, std::string_view value, const char* about) {
        json.open('[');
        json.text(name);
        json.text(value);
        json.text(about == nullptr ? "" : about);
        json.close(']');
    };
    for (const Figure* figure : figuresOf(pairs_)) {
        const int decimals = figure->column.decimals;
        const double value = *figure->value(pairs_.front());
        row(figure->column.name, format("%.*f", decimals, withoutNegativeZero(value, decimals)),
            figure->column.about);
    }
    row("Status", statusWord(pairs_.front().status), nullptr);
    json.close(']');
    json.close('}');
}

void ReportPage::writeClusters(JsonWriter& json, const RunResults& results) {
    const Clustering& clustering = *results.clustering;
    const std::uint32_t first = clustersByLinkage(clustering.settings.method) ? 0 : 1;
    std::vector<std::vector<std::size_t>> members(clustering.centroids.size());
    for (std::size_t i = 0; i < clustering.clusters.cluster.size(); ++i) {
        const std::uint32_t cluster = clustering.clusters.cluster[i];
        if (cluster >= first && cluster - first < members.size())
            members[cluster - first].push_back(i);
    }
    json.open('{');
    json.key("title");
    json.text("Clusters");
    json.key("note");
    json.text(
        "The medoid is the model that stands for its cluster, the spread its mean distance from "
        "the "
        "members.");
    writeColumns(json, {{"Cluster", 0, false, true, nullptr},
                        {"Models", 0, false, false, nullptr},
                        {"Medoid", -1, true, false, nullptr},
                        {"Spread", 3, false, false, nullptr},
                        {"Members", -1, false, false, nullptr}});
    json.key("rows");
    json.open('[');
    for (std::size_t k = 0; k < members.size(); ++k) {
        const Centroid& centroid = clustering.centroids[k];
        json.open('[');
        json.count(k + 1);
        json.count(centroid.size);
        json.text(modelName(centroid.model));
        json.number(centroid.spread, kDecimals);
        json.open('[');
        for (std::size_t i = 0; i < std::min(members[k].size(), kMostMembersNamed); ++i)
            json.text(modelName(members[k][i]));
        if (members[k].size() > kMostMembersNamed)
            json.text(format("%zu more", members[k].size() - kMostMembersNamed));
        json.close(']');
        json.close(']');
    }
    json.close(']');
    json.close('}');
}

void ReportPage::writeSkipped(JsonWriter& json) {
    json.open('{');
    json.key("title");
    json.text("Skipped files");
    json.key("last");
    json.flag(true);
    writeColumns(json, {{"Number", 0, false, false, nullptr},
                        {"File", -1, true, false, nullptr},
                        {"Reason", -1, false, false, nullptr}});
    json.key("rows");
    json.open('[');
    for (const SkippedInput& skipped : inputs_->skipped) {
        json.open('[');
        json.count(skipped.id);
        json.text(skipped.file);
        json.text(skipped.reason);
        json.close(']');
    }
    json.close(']');
    json.close('}');
}

// Names, clusters, tree and matrix of all models.
void ReportPage::writeMap(JsonWriter& json, const RunResults& results) {
    if (modelCount() > kMostModelsInMatrix) return;
    const DistanceMatrix* const matrix =
        results.scores != nullptr ? results.scores : results.matrix;
    if (matrix == nullptr || modelCount() < 2) return;
    json.key("names");
    json.open('[');
    for (std::size_t i = 0; i < modelCount(); ++i)
        json.text(modelName(i));
    json.close(']');
    if (results.clustering) {
        const Clustering& clustering = *results.clustering;
        const bool isTree = clustersByLinkage(clustering.settings.method);
        json.key("clusterOf");
        json.open('[');
        for (const std::uint32_t cluster : clustering.clusters.cluster)
            json.count(cluster + (isTree ? 1 : 0));
        json.close(']');
        json.key("unassigned");
        json.count(0);
        json.key("threshold");
        json.number(clustering.threshold, kDecimals);
        json.key("tree");
        json.open('[');
        for (const Join& join : clustering.tree) {
            json.open('[');
            json.raw(std::to_string(join.first));
            json.raw(std::to_string(join.second));
            json.number(join.distance, kDecimals);
            json.close(']');
        }
        json.close(']');
    }
    unsigned width = 0;
    const std::string cells = packedCells(*matrix, width);
    json.key("matrix");
    json.open('{');
    json.key("of");
    json.text(scoreName(inputs_->score));
    json.key("high");
    json.flag(!isDistance(inputs_->score));
    json.key("width");
    json.count(width);
    json.key("cells");
    json.raw('"' + cells + '"');
    json.close('}');
}

void ReportPage::writeScores(JsonWriter& json) {
    json.key("scores");
    json.open('{');
    json.key("of");
    json.text(scoreName(inputs_->score));
    json.key("values");
    json.open('[');
    for (const PairResult& pair : pairs_)
        json.number(scoreOf(pair), kDecimals);
    json.close(']');
    json.close('}');
}

void ReportPage::writePair(JsonWriter& json) {
    const PairResult& pair = *best_;
    const Chain& experiment = *inputs_->chains[pair.experiment];
    const Chain& prediction = *inputs_->chains[pair.prediction];
    const std::vector<AlignmentColumn> columns =
        alignmentOf(pair, experiment.residues.size(), prediction.residues.size());
    json.key("pair");
    json.open('{');
    json.key("title");
    json.text(inputs_->kind == RunKind::Pairwise
                  ? "Superposition"
                  : "The best model: " + nameOf(inputs_->structures[pair.prediction]));
    if (pair.cutoff) {
        json.key("cutoff");
        json.number(*pair.cutoff, kDecimals);
    }
    writeResidues(json, columns);
    if (!pair.superpositions.empty()) {
        writeTraces(json);
        writeMotions(json);
    }
    json.close('}');
}

void ReportPage::writeResidues(JsonWriter& json, const std::vector<AlignmentColumn>& columns) {
    const Chain& experiment = *inputs_->chains[best_->experiment];
    const Chain& prediction = *inputs_->chains[best_->prediction];
    const std::string experimentLetters = oneLetterSequence(experiment);
    const std::string predictionLetters = oneLetterSequence(prediction);
    std::array<std::string, 3> rows;
    json.key("residues");
    json.open('[');
    for (const AlignmentColumn& column : columns) {
        const auto letter = [](const std::string& letters, const std::optional<std::size_t>& at) {
            return at && *at < letters.size() ? letters[*at] : '.';
        };
        rows[0] += letter(predictionLetters, column.prediction);
        rows[1] += column.pair == nullptr ? ' ' : column.pair->domain > 0 ? '|' : '\'';
        rows[2] += letter(experimentLetters, column.experiment);
        json.open('[');
        json.text(column.experiment ? residueName(experiment, *column.experiment) : "");
        json.text(column.prediction ? residueName(prediction, *column.prediction) : "");
        if (column.pair != nullptr) {
            json.number(column.pair->distance, kDecimals);
        } else {
            json.null();
        }
        const std::uint32_t domain = column.pair == nullptr ? 0 : column.pair->domain;
        json.count(domain > 0 ? 1 : 0);
        json.count(domain);
        json.close(']');
    }
    json.close(']');
    json.key("alignment");
    json.open('[');
    for (const std::string& row : rows)
        json.text(row);
    json.close(']');
}

// C-alpha atoms in chain order, those of the prediction moved; each with whether the first
// superposition rests on its residue.
void ReportPage::writeTraces(JsonWriter& json) {
    const PairResult& pair = *best_;
    json.key("traces");
    json.open('[');
    for (const bool isExperiment : {true, false}) {
        const Chain& chain = *inputs_->chains[isExperiment ? pair.experiment : pair.prediction];
        std::vector<bool> isMatched(chain.residues.size());
        for (const ResiduePair& residues : pair.residues) {
            const std::size_t at =
                isExperiment ? residues.experimentPosition : residues.predictionPosition;
            if (residues.domain == 1 && at < isMatched.size()) isMatched[at] = true;
        }
        json.open('[');
        for (std::size_t i = 0; i < chain.residues.size(); ++i) {
            if (chain.residues[i].ca == kNoAtom) continue;
            const Atom& atom = chain.atoms[chain.residues[i].ca];
            std::array<double, 3> place = {atom.x, atom.y, atom.z};
            if (!isExperiment) place = pair.superpositions.front().apply(atom.x, atom.y, atom.z);
            json.open('[');
            for (const double coordinate : place)
                json.number(coordinate, 2);
            json.count(isMatched[i] ? 1 : 0);
            json.close(']');
        }
        json.close(']');
    }
    json.close(']');
}

void ReportPage::writeMotions(JsonWriter& json) {
    constexpr int kRotationDecimals = 9;
    json.key("motions");
    json.open('[');
    const auto numbers = [&json](const char* name, std::span<const double> values, int decimals) {
        json.key(name);
        json.open('[');
        for (const double value : values)
            json.number(value, decimals);
        json.close(']');
    };
    for (const Superposition& motion : best_->superpositions) {
        json.open('{');
        numbers("rotation", motion.rotation, kRotationDecimals);
        numbers("from", motion.predictionCentre, kDecimals);
        numbers("to", motion.experimentCentre, kDecimals);
        json.close('}');
    }
    json.close(']');
}

}  // namespace

std::unique_ptr<ExportFile> makeReportPage(std::string path) {
    return std::make_unique<ReportPage>(std::move(path));
}

}  // namespace tervolanda
