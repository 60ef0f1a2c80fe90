// Chains compared in a line.
#pragma once

#include <string>

#include "compare/compare.h"
#include "compare/fit/superposition.h"
#include "compare/literal.h"
#include "support/support.h"

namespace tervolanda::test {

inline ComparisonParameters defaultParameters() {
    ComparisonParameters parameters;
    parameters.minIterationPairs = 4;
    parameters.seedLevels = 2;
    return parameters;
}

struct Compared {
    CoordinateSet experiment, prediction;
    ComparisonResult result;
    std::string lines;
};

inline CoordinateSet prepared(const Chain& chain, AtomSelection selection = AtomSelection::Calpha) {
    CapturedLog log;
    return prepareChain(chain, selection, ComparisonParameters{}, log.report);
}

inline Compared compare(const Chain& experiment, const Chain& prediction,
                        const ComparisonParameters& parameters = defaultParameters(),
                        int reportLevel = 6, const Kernels& kernels = bestKernels()) {
    CapturedLog log(1, reportLevel);
    Compared compared;
    compared.experiment = prepared(experiment);
    compared.prediction = prepared(prediction);
    ComparisonWorkspace workspace(kernels);
    compareMaxSub(compared.experiment, compared.prediction, parameters, workspace, log.report,
                  compared.result);
    compared.lines = log.reported();
    return compared;
}

inline RmsdResult compareByRmsd(const Chain& experiment, const Chain& prediction,
                                const RmsdOptions& options = {},
                                AtomSelection selection = AtomSelection::Calpha) {
    CapturedLog log(1, 3);
    ComparisonWorkspace workspace;
    RmsdResult result;
    compareRmsd(prepared(experiment, selection), prepared(prediction, selection), options,
                workspace, log.report, result);
    return result;
}

inline Place placeOf(const CoordinateSet& set, std::size_t i) {
    return {set.points.x[i], set.points.y[i], set.points.z[i]};
}

// The mapped pairs of a comparison, in mapped order.
inline LiteralPairs pairsOf(const CoordinateSet& experiment, const CoordinateSet& prediction,
                            const std::vector<std::int32_t>& partners) {
    LiteralPairs pairs;
    pairs.experimentLength = experiment.size();
    for (std::size_t i = 0; i < partners.size(); ++i) {
        if (partners[i] < 0) continue;
        pairs.prediction.push_back(placeOf(prediction, i));
        pairs.experiment.push_back(placeOf(experiment, static_cast<std::size_t>(partners[i])));
    }
    return pairs;
}

inline Chain withoutResidues(Chain chain, std::size_t first, std::size_t end) {
    chain.atoms.erase(chain.atoms.begin() + static_cast<std::ptrdiff_t>(first),
                      chain.atoms.begin() + static_cast<std::ptrdiff_t>(end));
    Log log;
    buildResidues(chain, log);
    return chain;
}

inline Chain mirrored(Chain chain) {
    for (Atom& atom : chain.atoms)
        atom.x = -atom.x;
    return chain;
}

}  // namespace tervolanda::test
