// The tables in the page of --report.  A table is its title, a note above it, columns, and rows of
// one value a column; the script sorts them by any column.
//
// What a run did not compute has no column at all, and a single value that is missing is null.
#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "export/export.h"
#include "export/report_data.h"
#include "export/tree_nodes.h"

namespace tervolanda {

namespace {

constexpr std::size_t kMostMembersNamed = 12;  // of a cluster; a number stands for the others

// --- Columns -------------------------------------------------------------------------------------

// What the script does with a column beyond showing it: a header names its row, the number of a
// cluster has the colour that the cluster has in the map, and a score of which more is better has a
// bar in its cell, from 0 to the highest of the column.
enum class ColumnRole : std::uint8_t { Plain, Header, Cluster, Bar };

// The key of a column under which the script looks for its role.
const char* keyOf(ColumnRole role) {
    switch (role) {
        case ColumnRole::Header:
            return "header";
        case ColumnRole::Cluster:
            return "cluster";
        case ColumnRole::Bar:
            return "bar";
        case ColumnRole::Plain:
            break;
    }
    return nullptr;
}

constexpr int kText = -1;  // in place of decimals

struct Column {
    const char* name;
    int decimals = kText;
    const char* about = nullptr;  // shown when the pointer rests on the name
    ColumnRole role = ColumnRole::Plain;
};

constexpr Column kRankColumn{"Rank", 0};
constexpr Column kModelColumn{"Model", kText, nullptr, ColumnRole::Header};
constexpr Column kResiduesColumn{"Residues", 0};
constexpr Column kMeanBColumn{"Mean B", 2, "B-factor; pLDDT in predictions"};

// A key that is missing is as good as false.
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
        if (const char* const key = keyOf(column.role)) {
            json.key(key);
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

enum class TablePlace : std::uint8_t { InOrder, EndOfPage };

// The rows follow, up to closeTable().  The note may be null.
void openTable(JsonWriter& json, const char* title, const char* note,
               const std::vector<Column>& columns, TablePlace place = TablePlace::InOrder) {
    json.open('{');
    json.key("title");
    json.text(title);
    if (note != nullptr) {
        json.key("note");
        json.text(note);
    }
    if (place == TablePlace::EndOfPage) {
        json.key("last");
        json.flag(true);
    }
    writeColumns(json, columns);
    json.key("rows");
    json.open('[');
}

void closeTable(JsonWriter& json) {
    json.close(']');
    json.close('}');
}

// --- Rankings ------------------------------------------------------------------------------------

// All models by the 3D-Jury or their mean score, with what is known of them in columns of their
// own.
class Ranking {
 public:
    Ranking(const RunInputs& inputs, const RunResults& results);
    void write(JsonWriter& json) const;

 private:
    std::vector<Column> columns() const;
    void writeRow(JsonWriter& json, std::size_t rank, const RankedModel& ranked) const;

    const RunInputs& inputs_;
    const RunResults& results_;
    bool hasJury_, hasMeanB_;
};

Ranking::Ranking(const RunInputs& inputs, const RunResults& results)
    : inputs_(inputs),
      results_(results),
      hasJury_(std::any_of(results.ranking.begin(), results.ranking.end(),
                           [](const RankedModel& one) { return one.jury.has_value(); })),
      hasMeanB_(std::any_of(inputs.structures.begin(), inputs.structures.end(),
                            [](const auto& input) { return input.meanBFactor.has_value(); })) {}

std::vector<Column> Ranking::columns() const {
    std::vector<Column> columns = {kRankColumn, kModelColumn, kResiduesColumn};
    const ColumnRole score = isDistance(inputs_.score) ? ColumnRole::Plain : ColumnRole::Bar;
    if (hasJury_) columns.push_back({"Jury", 0, "residues shared with the other models", score});
    columns.push_back({"Mean score", 3, "over the other models", score});
    if (results_.clustering) {
        columns.push_back({"Cluster", 0, nullptr, ColumnRole::Cluster});
        columns.push_back({"Medoid", kText, "stands for its cluster"});
    }
    if (hasMeanB_) columns.push_back(kMeanBColumn);
    return columns;
}

// A count that may be missing, as a column of no decimals.
template <typename Count>
std::optional<double> asNumber(const std::optional<Count>& count) {
    return count ? std::optional(static_cast<double>(*count)) : std::nullopt;
}

// A value for each of columns(), in its order.
void Ranking::writeRow(JsonWriter& json, std::size_t rank, const RankedModel& ranked) const {
    const InputStructure& input = inputs_.structures[ranked.model];
    json.open('[');
    json.count(rank);
    json.text(reportName(input));
    json.number(asNumber(input.length), 0);
    if (hasJury_) json.number(asNumber(ranked.jury), 0);
    json.number(ranked.meanScore, kReportDecimals);
    if (results_.clustering) {
        json.number(asNumber(ranked.cluster), 0);
        json.text(ranked.isMedoid ? "yes" : "");
    }
    if (hasMeanB_) json.number(input.meanBFactor, 2);
    json.close(']');
}

void Ranking::write(JsonWriter& json) const {
    openTable(
        json, "Ranking",
        hasJury_ ? "Best first, by the 3D-Jury: what is right tends to recur, so that a model that "
                   "shares much with the others comes first. Typical is not always right."
                 : "Best first, by the mean over the other models.",
        columns());
    for (std::size_t i = 0; i < results_.ranking.size(); ++i)
        writeRow(json, i + 1, results_.ranking[i]);
    closeTable(json);
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

template <Measure Which>
std::optional<double> measured(const PairResult& pair) {
    return figureOf(pair.measures, Which);
}

constexpr auto kTableFigures = std::to_array<Figure>({
    {{"GDT", 3, "Global Distance Test, 0 to 100", ColumnRole::Bar}, member<&PairResult::gdt>},
    {{"TM-score", 3, "by the length of the experiment", ColumnRole::Bar}, member<&PairResult::tm1>},
    {{"lDDT", 3, "share of the short distances that are kept, by C-alpha atoms", ColumnRole::Bar},
     measured<Measure::Lddt>},
    {{"lDDT-all", 3, "the same by all atoms but hydrogens", ColumnRole::Bar},
     measured<Measure::LddtAll>},
    {{"GDT_TS", 3, "Global Distance Test, best superpositions, 0 to 100", ColumnRole::Bar},
     measured<Measure::GdtTs>},
    {{"GDT_HA", 3, "the same of high accuracy", ColumnRole::Bar}, measured<Measure::GdtHa>},
    {{"TM-score (2)", 3, "by the length of the model"}, member<&PairResult::tm2>},
    {{"MaxSub", 3, "share of the experiment that is right"}, member<&PairResult::maxsub>},
    {{"MSI", 3, "MaxSub over all domains"}, member<&PairResult::msi>},
    {{"Pairs", 0, "residues in the superposition"}, member<&PairResult::pairs>},
    {{"Mapped", 0, "residue pairs"}, member<&PairResult::mapped>},
    {{"Identity, %", 2, "equal residues, by the sequences"}, member<&PairResult::identity>},
    {{"Coverage, %", 2, "of the experiment, by the sequences"}, member<&PairResult::coverage1>},
    {{"RMSD", 3, "of the superposition, Å"}, member<&PairResult::rmsd>},
    {{"gRMSD", 3, "of all residue pairs, Å"}, member<&PairResult::grmsd>},
    {{"rRMSD", 3, "RMSD, relative to unrelated structures"}, member<&PairResult::rrmsd>},
    {{"URMSD", 3, "RMSD of chain directions"}, member<&PairResult::urmsd>},
    {{"rURMSD", 3, "URMSD, relative to unrelated chains"}, member<&PairResult::rurmsd>},
    {{"Contacts, %", 2, "share of the experiment's contacts"}, member<&PairResult::contacts>},
    {{"Cut-off", 3, "of the first domain, Å"}, member<&PairResult::cutoff>},
    {{"Domains", 0, "parts with a superposition of their own"}, member<&PairResult::domains>},
});

// Columns that would be empty for all models are left out.
std::vector<const Figure*> figuresOf(const std::vector<PairResult>& pairs) {
    std::vector<const Figure*> figures;
    for (const Figure& figure : kTableFigures) {
        if (std::any_of(pairs.begin(), pairs.end(), [&figure](const PairResult& pair) {
                return figure.value(pair).has_value();
            }))
            figures.push_back(&figure);
    }
    return figures;
}

// A list against an experiment: every figure of each comparison, in the order of the ranking.
void writeListRanking(JsonWriter& json, const ReportData& data, const RunResults& results) {
    const std::vector<const Figure*> figures = figuresOf(data.pairs);
    std::vector<Column> columns = {kRankColumn, kModelColumn, kResiduesColumn};
    for (const Figure* figure : figures)
        columns.push_back(figure->column);
    columns.push_back(kMeanBColumn);
    columns.push_back({"Status"});
    openTable(json, "Ranking", nullptr, columns);
    for (std::size_t i = 0; i < results.ranking.size(); ++i) {
        const std::size_t model = results.ranking[i].model;
        const InputStructure& input = data.inputs->structures[data.inputs->firstModel() + model];
        const PairResult& pair = data.pairs[model];
        json.open('[');
        json.count(i + 1);
        json.text(reportName(input));
        json.number(asNumber(input.length), 0);
        for (const Figure* figure : figures)
            json.number(figure->value(pair), figure->column.decimals);
        json.number(input.meanBFactor, 2);
        json.text(statusWord(pair.status));
        json.close(']');
    }
    closeTable(json);
}

// The figures of a pair, a row each.
void writeFigures(JsonWriter& json, const PairResult& pair) {
    openTable(json, "Figures", nullptr,
              {{"Figure", kText, nullptr, ColumnRole::Header}, {"Value"}, {"Meaning"}});
    const auto row = [&json](const char* name, std::string_view value, const char* about) {
        json.open('[');
        json.text(name);
        json.text(value);
        json.text(about == nullptr ? "" : about);
        json.close(']');
    };
    for (const Figure& figure : kTableFigures) {
        const std::optional<double> value = figure.value(pair);
        if (!value) continue;
        const int decimals = figure.column.decimals;
        row(figure.column.name, format("%.*f", decimals, withoutNegativeZero(*value, decimals)),
            figure.column.about);
    }
    row("Status", statusWord(pair.status), nullptr);
    closeTable(json);
}

// --- Clusters and skipped files ------------------------------------------------------------------

// What the search for a threshold came to, where that is easily misread: a wanted size that no
// cluster can reach, as 50 of 24 models, drives the threshold up to the highest allowed, at which
// unlike models are one cluster.
std::string thresholdNote(const Clustering& clustering) {
    const ClusterSettings& settings = clustering.settings;
    std::uint32_t largest = 0;
    for (const Centroid& centroid : clustering.centroids)
        largest = std::max(largest, centroid.size);
    if (largest >= settings.initialSize || !(clustering.threshold > settings.threshold)) return {};
    return format(
        " No cluster has the %u models that were wanted (-is), so that the threshold was raised "
        "from %g to the highest allowed: clusters may hold models that are unlike each other. A "
        "smaller size, or a threshold of your own (-T), tells them apart.",
        settings.initialSize, settings.threshold);
}

// One row a cluster, the largest number of members named that a cell can show.
void writeClusters(JsonWriter& json, const ReportData& data, const Clustering& clustering) {
    const std::vector<std::vector<std::size_t>> members = clusterMembers(clustering);
    const std::string note =
        "The medoid is the model that stands for its cluster, the spread its mean distance from "
        "the members." +
        thresholdNote(clustering);
    openTable(json, "Clusters", note.c_str(),
              {{"Cluster", 0, nullptr, ColumnRole::Cluster},
               {"Models", 0},
               {"Medoid", kText, nullptr, ColumnRole::Header},
               {"Spread", 3},
               {"Members"}});
    for (std::size_t k = 0; k < members.size(); ++k) {
        const Centroid& centroid = clustering.centroids[k];
        json.open('[');
        json.count(k + 1);
        json.count(centroid.size);
        json.text(data.modelName(centroid.model));
        json.number(centroid.spread, kReportDecimals);
        json.open('[');
        for (std::size_t i = 0; i < std::min(members[k].size(), kMostMembersNamed); ++i)
            json.text(data.modelName(members[k][i]));
        if (members[k].size() > kMostMembersNamed)
            json.text(format("%zu more", members[k].size() - kMostMembersNamed));
        json.close(']');
        json.close(']');
    }
    closeTable(json);
}

// At the end of the page: it explains gaps in the numbers and is seldom what is looked for.
void writeSkipped(JsonWriter& json, std::span<const SkippedInput> files) {
    openTable(json, "Skipped files", nullptr,
              {{"Number", 0}, {"File", kText, nullptr, ColumnRole::Header}, {"Reason"}},
              TablePlace::EndOfPage);
    for (const SkippedInput& skipped : files) {
        json.open('[');
        json.count(skipped.id);
        json.text(skipped.file);
        json.text(skipped.reason);
        json.close(']');
    }
    closeTable(json);
}

}  // namespace

void writeReportTables(JsonWriter& json, const ReportData& data, const RunResults& results) {
    json.key("tables");
    json.open('[');
    if (data.inputs->kind == RunKind::Pairwise) {
        writeFigures(json, data.pairs.front());
    } else if (data.inputs->kind == RunKind::OneVersusList) {
        writeListRanking(json, data, results);
    } else {
        Ranking(*data.inputs, results).write(json);
        if (results.clustering) writeClusters(json, data, *results.clustering);
    }
    if (!data.inputs->skipped.empty()) writeSkipped(json, data.inputs->skipped);
    json.close(']');
}

}  // namespace tervolanda
