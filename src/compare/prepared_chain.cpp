// Chains before and after a comparison: prepared for it, moved by it, and the motion shown.
#include "base/format.h"
#include "base/log.h"
#include "compare/compare.h"
#include "compare/heavy_atoms.h"
#include "compare/pairing/sequence_pairing.h"

namespace tervolanda {

CoordinateSet prepareChain(const Chain& chain, AtomSelection selection,
                           const ComparisonParameters& parameters, Report& report) {
    const auto structure =
        parameters.sequenceIndependent ? SecondaryStructure::Assigned : SecondaryStructure::Omitted;
    CoordinateSet set = prepareChain(chain, selection, structure, report);
    if (parameters.pairBySequence) addSequence(set);
    if (parameters.measures.wanted.has(Measure::LddtAll)) addHeavyAtoms(chain, set);
    return set;
}

// All atoms, also those that were not compared.
void applySuperposition(const Superposition& superposition, Chain& chain) {
    for (Atom& atom : chain.atoms) {
        const auto moved = superposition.apply(atom.x, atom.y, atom.z);
        atom.x = moved[0];
        atom.y = moved[1];
        atom.z = moved[2];
    }
}

// The translation is the way from the centre of the prediction to that of the experiment.
void reportSuperposition(const Superposition& superposition, ReportLevel level, Report& report) {
    if (!report.reports(level)) return;
    // Six decimals: "-0.000000" would depend on rounding.
    const auto number = [](double value) { return withoutNegativeZero(value, 6); };
    const auto& p = superposition.predictionCentre;
    const auto& e = superposition.experimentCentre;
    const auto& r = superposition.rotation;
    report.report(level, "Center Pred. %10.6f %10.6f %10.6f\n", number(p[0]), number(p[1]),
                  number(p[2]));
    report.report(level, "Center Exp.  %10.6f %10.6f %10.6f\n", number(e[0]), number(e[1]),
                  number(e[2]));
    report.report(level, "Translation  %10.6f %10.6f %10.6f\n", number(e[0] - p[0]),
                  number(e[1] - p[1]), number(e[2] - p[2]));
    report.report(level, "Rot. Mat.    %10.6f %10.6f %10.6f\n", number(r[0]), number(r[1]),
                  number(r[2]));
    report.report(level, "             %10.6f %10.6f %10.6f\n", number(r[3]), number(r[4]),
                  number(r[5]));
    report.report(level, "             %10.6f %10.6f %10.6f\n", number(r[6]), number(r[7]),
                  number(r[8]));
}

}  // namespace tervolanda
