// What the page of --report shows, and the parts of its JSON, a file of this room for each.
//
// The page is one block of JSON and a script (report_template.cpp) that makes tables and pictures
// of it.  Nobody but that script reads the block, so that keys and their order may change, together
// with it.  Objects have these, those in brackets where there is something to show:
// title     of the page
// facts     pairs [name, value]: command, version, counts
// tables    {title, [note], [last], columns, rows}; a column is {name, [digits], [header],
// [cluster], [bar], [about]}, and a row has a value for each
// [names]   of the models of a list, in matrix order, and with it
// [matrix]  {of, high, width, cells}: what it shows, whether high is good, and the cells packed
// (report_map.cpp)
// [clusterOf, unassigned, threshold, tree]   cluster of each model, joins as [first, second,
// distance]
// [scores]  {of, values}: of a list against an experiment
// [pair]    {title, [cutoff], residues, alignment, [traces], [motions]}: the best superposition; a
// residue is [name 1, name 2, distance, in the subset, domain], an atom of a trace [x, y, z, in the
// subset], Å
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "export/json_writer.h"
#include "export/results.h"

namespace tervolanda {

inline constexpr int kReportDecimals = 3;  // of scores and distances

// What is kept of a run until its page is written.
//
// Pairs are kept where there is one experiment, and of these only the best with its residues: a
// list may have any number of models, and the page draws one superposition.
struct ReportData {
    const RunInputs* inputs = nullptr;  // lent
    std::vector<PairResult> pairs;      // without residues and superpositions, in list order
    std::optional<PairResult> best;     // the first of the best, with both

    std::size_t modelCount() const { return inputs->structures.size() - inputs->firstModel(); }
    std::string modelName(std::size_t model) const;  // counted from 0 among the models
};

// A structure by its path, or by its ID where an earlier run left no path.
std::string reportName(const InputStructure& input);
// As a heading of a column or an axis.
std::string scoreName(ScoreKind kind);

// The key "tables": ranking, figures of a pair, clusters, files that were skipped.
void writeReportTables(JsonWriter& json, const ReportData& data, const RunResults& results);
// Names, clusters, tree and matrix of all models; nothing where there are fewer than two, no
// matrix, or more than kMostModelsInMatrix.
void writeReportMap(JsonWriter& json, const ReportData& data, const RunResults& results);
// The residues, the alignment and the superposition of the best pair.  REQUIRES: there is one.
void writeReportPair(JsonWriter& json, const ReportData& data);

// A matrix of more models is no picture any more, and would make a page of more than 8 MB.
inline constexpr std::size_t kMostModelsInMatrix = 2000;

}  // namespace tervolanda
