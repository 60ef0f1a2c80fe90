// What the run modes list, as values, and its form as lines of text.  Another form of output takes
// the same values.
//
// Widths, precisions and separators are those of the lines that scripts take apart: they change by
// no measure and by no option.  A number that does not fit its width pushes the rest of the line to
// the right and is never cut.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "chain/chain.h"
#include "compare/compare.h"
#include "driver/read_plan.h"

namespace tervolanda {

// --- Values --------------------------------------------------------------------------------------

// Of a pair by MaxSub, or a model of a list.
struct MaxSubFigures {
    std::uint32_t pairs = 0;
    double rmsd = 0.0;  // Å
    double maxsub = 0.0;
    std::optional<double> tm, msi;  // not kept of the pairs of a list
};

struct GdtFigures {
    double gdt = 0.0;  // 0 to 100
};

// -1 and zeros for a failed fit: the only place, beside matrices and result files, in which a
// missing RMSD is a number.
struct RmsdFigures {
    double rmsd = -1.0;  // Å
    std::uint32_t pairs = 0;
    RelativeRmsd relative;
    double urmsd = 0.0;
    double relativeUrmsd = 0.0;
    std::optional<NativeContacts> contacts;
};

// The radii of gyration are those of the two chains, Å.
RmsdFigures rmsdFigures(std::optional<double> rmsd, std::uint32_t pairs, double urmsd,
                        double experimentGyration, double predictionGyration);

// Of a run by a measure on demand; without a value 0.
struct MeasuredFigures {
    Measure measure = Measure::Lddt;
    double value = 0.0;
    std::optional<std::uint32_t> pairs;  // not kept of the pairs of a list
};

using Figures = std::variant<MaxSubFigures, GdtFigures, RmsdFigures, MeasuredFigures>;

// A model of a list beside the experiment; the best has position 1.
struct ListRow {
    std::size_t position;
    const Chain& experiment;
    const Chain& model;
    const Figures& figures;
    MeasureFigures beside{};  // shown after the figures
};

// Two models of a list.
struct PairRow {
    const Chain& first;
    const Chain& second;
    Figures figures;
};

// The mean over all pairs of a list that have a value.
struct AverageRow {
    ComparisonKind kind;
    double mean = 0.0;
    std::size_t count = 0;
};

// --- Text ----------------------------------------------------------------------------------------

// Widths of the columns of a list's lines, the same for all lines of a run, so that they stand
// under each other.
struct ColumnWidths {
    int number = 1;  // the smallest i >= 1 for which 10^i exceeds the models
    int name = 0;    // the longest file name
};
ColumnWidths columnWidths(const ChainList& models);

std::string listLine(const ListRow& row, const ColumnWidths& widths);
std::string pairLine(const PairRow& row, const ColumnWidths& widths);
std::string averageLine(const AverageRow& row);
// The line of a pairwise run by GDT, RMSD or a measure on demand.
std::string singleLine(const Figures& figures);
// "lDDT=0.977, GDT_TS= 94.882"; empty where there are none.
std::string measuresText(const MeasureFigures& figures);

}  // namespace tervolanda
