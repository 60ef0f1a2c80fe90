// Every kind of comparison prints its figures in one way; the kinds of line differ in what stands
// before them.
#include "driver/result_rows.h"

#include <algorithm>
#include <cstdlib>

#include "base/format.h"
#include "driver/format_expansion.h"

namespace tervolanda {

namespace {

// What stands before the figures of each kind of comparison, and before native contacts.
struct LineForm {
    const char* maxSub;
    const char* gdt;
    const char* rmsd;
    const char* contacts;
};
constexpr LineForm kListForm{"  ", "   ", "   RMSD=", ". "};
constexpr LineForm kPairForm{"  ", " ", " = ", ". "};
constexpr LineForm kSingleForm{"", "", "RMSD=", ", "};

std::string textOf(const MaxSubFigures& figures, const LineForm& form) {
    std::string text = format("%sPairs=%4u, RMSD=%6.3f, MaxSub=%5.3f", form.maxSub, figures.pairs,
                              figures.rmsd, figures.maxsub);
    if (figures.tm) text += format(", TM=%5.3f", *figures.tm);
    if (figures.msi) text += format(", MSI=%4.3f", *figures.msi);
    return text;
}

std::string textOf(const GdtFigures& figures, const LineForm& form) {
    return format("%sGDT=%7.3f", form.gdt, figures.gdt);
}

// The standard score in brackets beside the ratio; contacts only where they were asked for.
std::string textOf(const RmsdFigures& figures, const LineForm& form) {
    std::string text =
        format("%s%6.3f (Pairs=%4u, rRMSD=%5.3f (%6.2f)), URMSD=%6.3f (rURMSD=%5.3f)", form.rmsd,
               figures.rmsd, figures.pairs, figures.relative.ratio,
               withoutNegativeZero(figures.relative.standardScore, 2), figures.urmsd,
               figures.relativeUrmsd);
    if (const auto& contacts = figures.contacts) {
        text += format("%sNC=%6.2f%% (%u/%u)", form.contacts, contacts->percentage(),
                       contacts->matched, contacts->native);
    }
    return text;
}

std::string textOf(Measure measure, double value) {
    switch (measure) {
        case Measure::Lddt:
            return format("lDDT=%5.3f", value);
        case Measure::LddtAll:
            return format("lDDT-all=%5.3f", value);
        case Measure::GdtTs:
            return format("GDT_TS=%7.3f", value);
        case Measure::GdtHa:
            break;
    }
    return format("GDT_HA=%7.3f", value);
}

std::string textOf(const MeasuredFigures& figures, const LineForm& form) {
    std::string text = form.gdt + textOf(figures.measure, figures.value);
    if (figures.pairs) text += format(" (Pairs=%4u)", *figures.pairs);
    return text;
}

std::string textOf(const Figures& figures, const LineForm& form) {
    return std::visit([&form](const auto& kind) { return textOf(kind, form); }, figures);
}

}  // namespace

RmsdFigures rmsdFigures(std::optional<double> rmsd, std::uint32_t pairs, double urmsd,
                        double experimentGyration, double predictionGyration) {
    RmsdFigures figures;
    figures.pairs = pairs;
    if (!rmsd) return figures;
    figures.rmsd = *rmsd;
    figures.relative = relativeRmsd(*rmsd, experimentGyration, predictionGyration, pairs);
    figures.urmsd = urmsd;
    figures.relativeUrmsd = relativeUrmsd(urmsd, pairs);
    return figures;
}

// As many digits as the count of models has.
ColumnWidths columnWidths(const ChainList& models) {
    ColumnWidths widths;
    for (std::size_t rest = models.chains.size() / 10; rest > 0; rest /= 10)
        ++widths.number;
    for (const Chain& model : models.chains)
        widths.name = std::max(widths.name, static_cast<int>(model.fileName.size()));
    return widths;
}

std::string listLine(const ListRow& row, const ColumnWidths& widths) {
    const std::string beside = measuresText(row.beside);
    const std::string line =
        format("%*zu. %-s vs. %-*s", widths.number, row.position, row.experiment.fileName.c_str(),
               widths.name, row.model.fileName.c_str()) +
        textOf(row.figures, kListForm) + (beside.empty() ? "" : ", " + beside);
    // Scripts rely on the lines of this kind being expanded (driver/format_expansion.h).
    return std::holds_alternative<MaxSubFigures>(row.figures) ? expandAsFormat(line) : line;
}

std::string pairLine(const PairRow& row, const ColumnWidths& widths) {
    return format("Model %*u %-*s vs. Model %*u %-*s", widths.number, row.first.number, widths.name,
                  row.first.fileName.c_str(), widths.number, row.second.number, widths.name,
                  row.second.fileName.c_str()) +
           textOf(row.figures, kPairForm);
}

// Three patterns, as the measures have always been printed with three.
std::string averageLine(const AverageRow& row) {
    switch (row.kind) {
        case ComparisonKind::MaxSub:
            return format("All-vs-All average = %.3f (count = %zu)", row.mean, row.count);
        case ComparisonKind::Gdt:
        case ComparisonKind::Measure:
            return format("All-vs-All average = %7.3f (count = %zu)", row.mean, row.count);
        case ComparisonKind::Rmsd:
            return format("All-vs-All average            = %6.3f (count = %zu)", row.mean,
                          row.count);
    }
    std::abort();
}

std::string measuresText(const MeasureFigures& figures) {
    std::string text;
    for (const Measure measure : kMeasures) {
        const std::optional<double> value = figureOf(figures, measure);
        if (value) text += (text.empty() ? "" : ", ") + textOf(measure, *value);
    }
    return text;
}

std::string singleLine(const Figures& figures) {
    return textOf(figures, kSingleForm);
}

}  // namespace tervolanda
