// Measures are there for pairs that are compared by residue, and are shown where there is a place
// for them; what a run cannot do with them is said before it reads anything.
#include "driver/measure_options.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "driver/abend.h"

namespace tervolanda {

namespace {

// Whether the run writes a file of one of these forms.
bool isAsked(const Settings& settings, std::initializer_list<std::string_view> forms) {
    const auto& exports = settings.output.exports;
    return std::any_of(exports.begin(), exports.end(), [forms](const ExportRequest& request) {
        return std::find(forms.begin(), forms.end(), request.form->option) != forms.end();
    });
}

// What cannot be had together.
void checkTogether(const Settings& settings) {
    const char* const name = settings.measure.by ? "--measure" : "--scores";
    const InputSettings& input = settings.input;
    if (input.distanceFile || input.transformFile) {
        abend("Option '%s' compares structures, and a run of -F or -M reads none", name);
    }
    if (settings.measure.by && (settings.measure.rmsdOnly || settings.measure.gdt)) {
        abend("Option '--measure' takes the place of -gdt and -rmsd");
    }
    if (settings.measure.by && settings.comparison.sequenceIndependent) {
        abend("Option '--measure' pairs residues by number or by sequence: leave out -in");
    }
    if (settings.measure.rmsdOnly && settings.measure.backbone) {
        abend("Option '%s' looks at C-alpha atoms or at all: leave out -bb", name);
    }
}

}  // namespace

void checkMeasures(const Settings& settings) {
    const MeasureRequest& measures = settings.comparison.measures;
    if (measures.wanted.isEmpty()) return;
    checkTogether(settings);
    if (measures.bothWays && !settings.measure.by && !isAsked(settings, {"tsv", "json", "jsonl"})) {
        abend("Option '--scores' needs a file of all pairs: --tsv, --json or --jsonl");
    }
}

}  // namespace tervolanda
