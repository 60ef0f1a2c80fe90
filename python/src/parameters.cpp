#include "parameters.h"

#include <cmath>
#include <string>

#include "compare/compare.h"

namespace tervolanda::python {

namespace {

void require(bool holds, const char* text) {
    if (!holds) throw py::value_error(text);
}

ComparisonParameters parametersOf(double cutoff, unsigned int domains, const std::string& align,
                                  bool maximiseTm, int normLength, double scale, int passes,
                                  double gapOpen, double gapExtend, int seedLevels, bool byRmsd,
                                  int minimumPairs, double minimumScore, double gdtCutoff,
                                  bool mapChains) {
    require(std::isfinite(cutoff) && cutoff >= 0.0, "cutoff is a positive number, Å");
    require(domains >= 1 && domains <= 200, "domains is 1 to 200");
    require(normLength >= 0, "norm_length is a number of residues");
    require(std::isfinite(scale) && scale > 0.0, "scale is a positive number");
    require(std::isfinite(gapOpen) && gapOpen <= 0.0, "gap_open is 0 or negative");
    require(std::isfinite(gapExtend) && gapExtend <= 0.0, "gap_extend is 0 or negative");
    require(seedLevels >= 0 && seedLevels <= 30, "seed_levels is 0 to 30");
    require(std::isfinite(minimumScore), "minimum_score is a number");
    require(std::isfinite(gdtCutoff) && gdtCutoff > 0.0, "distance is a positive number, Å");
    require(align == "number" || align == "sequence" || align == "structure",
            "align is 'number', 'sequence' or 'structure'");
    ComparisonParameters parameters;
    parameters.distanceCutoff = cutoff;
    parameters.iterations = domains;
    parameters.sequenceIndependent = align == "structure";
    parameters.pairBySequence = align == "sequence";
    parameters.mapChains = mapChains;
    parameters.maximiseTM = maximiseTm;
    parameters.normLength = normLength;
    parameters.thresholdScale = scale;
    constexpr int kStructurePasses = 20;
    parameters.optimisations =
        passes >= 0 ? passes : (parameters.sequenceIndependent ? kStructurePasses : 0);
    parameters.gapOpen = gapOpen;
    parameters.gapAffine = gapExtend;
    parameters.seedLevels = seedLevels;
    parameters.maxRMSD = byRmsd;
    parameters.minIterationPairs = minimumPairs;
    parameters.minIterationScore = minimumScore;
    parameters.gdtCutoff = gdtCutoff;
    return parameters;
}

}  // namespace

void addParameters(py::module_& module) {
    py::class_<ComparisonParameters>(module, "Parameters").def(py::init(&parametersOf));
}

}  // namespace tervolanda::python
