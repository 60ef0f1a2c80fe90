// Two generated chains compared by every measure.  Both sets of kernels give the same bits.  Scores
// are within their bounds and add up over the iterations; superpositions are proper rotations; the
// pairs of a subset are different residues within the cut-off under its superposition; the RMSD is
// what the superposition gives, does not change when the chains are exchanged, and is not above
// that without turning.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <set>

#include "chains.h"
#include "compare/compare.h"
#include "compare/fit/kernels.h"
#include "support.h"
#include "support/support.h"

using namespace tervolanda;
using namespace tervolanda::fuzz;

namespace {

ComparisonParameters makeParameters(FuzzedDataProvider& input) {
    ComparisonParameters parameters;
    parameters.distanceCutoff = input.PickValueInArray({0.0, 0.0, 3.5, 1e-9, 1e9, -2.0});
    parameters.normLength = input.PickValueInArray({0, 0, 1, 100});
    // As the command line gives them: any -opt, and any -i, of which more than 200 are 200.
    if (input.ConsumeBool())
        parameters.iterations = std::min(input.ConsumeIntegral<unsigned int>(), 200U);
    parameters.thresholdScale = input.PickValueInArray({1.0, 1.0, 0.0, -1.0, 3.0});
    parameters.scorePoor = !input.ConsumeBool();
    parameters.maximiseTM = input.ConsumeBool();
    parameters.minIterationPairs = input.ConsumeIntegralInRange(-1, 6);
    parameters.minIterationScore = input.PickValueInArray({0.0, 0.5, -1.0});
    parameters.maxRMSD = input.ConsumeBool();
    parameters.sequenceIndependent = input.ConsumeIntegralInRange(0, 3) == 0;  // slow
    parameters.optimisations = input.ConsumeBool() ? input.ConsumeIntegral<int>() : 20;
    parameters.gapOpen = input.PickValueInArray({-0.6, 0.0, -10.0, 2.0});
    parameters.gapAffine = input.PickValueInArray({0.0, -0.5, 1.0});
    parameters.seedLevels = input.PickValueInArray({2, 0, 1, -1, 2147483647});
    return parameters;
}

// The largest coordinate, Å: rounding errors grow with it.
double magnitude(const CoordinateSet& set) {
    double most = 1.0;
    for (const auto* axis : {&set.points.x, &set.points.y, &set.points.z}) {
        for (const double value : *axis)
            most = std::max(most, std::fabs(value));
    }
    return most;
}

void requireProper(const Superposition& superposition) {
    const auto& r = superposition.rotation;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            double product = 0.0;
            for (std::size_t k = 0; k < 3; ++k)
                product += r[3 * i + k] * r[3 * j + k];
            FUZZ_REQUIRE(std::fabs(product - (i == j ? 1.0 : 0.0)) < 1e-6);
        }
    }
    const double determinant = r[0] * (r[4] * r[8] - r[5] * r[7]) -
                               r[1] * (r[3] * r[8] - r[5] * r[6]) +
                               r[2] * (r[3] * r[7] - r[4] * r[6]);
    FUZZ_REQUIRE(determinant > 0.0);
}

struct Subject {
    const CoordinateSet& experiment;
    const CoordinateSet& prediction;
    double tolerance;  // Å, of distances
};

double squaredDistance(const Subject& subject, const MatchedPair& pair,
                       const Superposition& superposition) {
    const Points& p = subject.prediction.points;
    const Points& e = subject.experiment.points;
    const auto moved =
        superposition.apply(p.x[pair.prediction], p.y[pair.prediction], p.z[pair.prediction]);
    const double x = moved[0] - e.x[pair.experiment];
    const double y = moved[1] - e.y[pair.experiment];
    const double z = moved[2] - e.z[pair.experiment];
    return x * x + y * y + z * z;
}

double rmsdOf(const Subject& subject, const std::vector<MatchedPair>& pairs,
              const Superposition& superposition) {
    double sum = 0.0;
    for (const MatchedPair& pair : pairs)
        sum += squaredDistance(subject, pair, superposition);
    return std::sqrt(sum / static_cast<double>(pairs.size()));
}

void requireSubsets(const Subject& subject, const ComparisonResult& result) {
    FUZZ_REQUIRE(result.pairs == result.matched.size());
    FUZZ_REQUIRE(result.partners.size() == subject.prediction.size());
    std::set<std::uint32_t> experiment;
    std::set<std::uint32_t> prediction;
    for (const MatchedPair& pair : result.matched) {
        FUZZ_REQUIRE(pair.experiment < subject.experiment.size());
        FUZZ_REQUIRE(pair.prediction < subject.prediction.size());
        FUZZ_REQUIRE(pair.iteration < result.iterations.size());
        FUZZ_REQUIRE(experiment.insert(pair.experiment).second);
        FUZZ_REQUIRE(prediction.insert(pair.prediction).second);
        const DomainIteration& iteration = result.iterations[pair.iteration];
        const double limit = std::fabs(iteration.distanceCutoff) + subject.tolerance;
        FUZZ_REQUIRE(squaredDistance(subject, pair, iteration.superposition) <= limit * limit);
        if (pair.iteration == 0) {
            FUZZ_REQUIRE(result.partners[pair.prediction] ==
                         static_cast<std::int32_t>(pair.experiment));
        }
    }
}

void requireSound(const Subject& subject, const ComparisonParameters& parameters,
                  const ComparisonResult& result) {
    constexpr double kOne = 1.0 + 1e-9;
    FUZZ_REQUIRE(std::isfinite(result.rmsd) && result.rmsd >= 0.0);
    FUZZ_REQUIRE(std::isfinite(result.grmsd) && result.grmsd >= 0.0);
    FUZZ_REQUIRE(result.maxsub >= 0.0 && result.maxsub <= kOne);
    FUZZ_REQUIRE(result.tm >= 0.0 && (result.tm <= kOne || parameters.normLength > 0));
    FUZZ_REQUIRE(std::isfinite(result.msi) && result.msi >= 0.0);
    for (const Measure measure : kMeasures) {
        const double value = result.measures.value(measure).value_or(0.0);
        FUZZ_REQUIRE(value >= 0.0 && value <= (isPercentage(measure) ? 100.0 : 1.0));
    }
    for (const double value : result.measures.residues)
        FUZZ_REQUIRE(std::isnan(value) || (value >= 0.0 && value <= 1.0));
    FUZZ_REQUIRE(result.iterations.size() <= std::max(parameters.iterations, 1U));
    FUZZ_REQUIRE(result.iterations.empty() == result.matched.empty());
    double score = 0.0;
    std::uint32_t pairs = 0;
    for (const DomainIteration& iteration : result.iterations) {
        requireProper(iteration.superposition);
        FUZZ_REQUIRE(iteration.score > 0.0);
        score += iteration.score;
        pairs += iteration.pairs;
    }
    FUZZ_REQUIRE(pairs == result.pairs && std::fabs(score - result.maxsub) < 1e-9);
    requireSubsets(subject, result);
    if (result.iterations.size() != 1) return;
    const double rmsd = rmsdOf(subject, result.matched, result.iterations[0].superposition);
    FUZZ_REQUIRE(std::fabs(rmsd - result.rmsd) <= subject.tolerance);
}

bool haveSameBits(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

bool areSame(const Superposition& a, const Superposition& b) {
    return std::ranges::equal(a.rotation, b.rotation, haveSameBits) &&
           std::ranges::equal(a.experimentCentre, b.experimentCentre, haveSameBits) &&
           std::ranges::equal(a.predictionCentre, b.predictionCentre, haveSameBits);
}

void requireSameBits(const ComparisonResult& a, const ComparisonResult& b) {
    FUZZ_REQUIRE(a.pairs == b.pairs && a.mapped == b.mapped && a.partners == b.partners);
    FUZZ_REQUIRE(haveSameBits(a.rmsd, b.rmsd) && haveSameBits(a.grmsd, b.grmsd));
    FUZZ_REQUIRE(haveSameBits(a.maxsub, b.maxsub) && haveSameBits(a.tm, b.tm));
    FUZZ_REQUIRE(haveSameBits(a.msi, b.msi) && a.iterations.size() == b.iterations.size());
    FUZZ_REQUIRE(a.measures.values == b.measures.values);
    for (std::size_t i = 0; i < a.iterations.size(); ++i)
        FUZZ_REQUIRE(areSame(a.iterations[i].superposition, b.iterations[i].superposition));
}

void compareSubsets(const Subject& subject, const ComparisonParameters& parameters,
                    test::CapturedLog& outputs) {
    ComparisonWorkspace workspace;
    ComparisonResult result;
    ComparisonResult other;
    const auto& [experiment, prediction, tolerance] = subject;
    compareMaxSub(experiment, prediction, parameters, workspace, outputs.report, result);
    requireSound(subject, parameters, result);
    for (const Kernels* kernels : runnableKernels()) {
        if (kernels == &bestKernels()) continue;
        ComparisonWorkspace slower(*kernels);
        compareMaxSub(experiment, prediction, parameters, slower, outputs.report, other);
        requireSameBits(result, other);
    }
    printAlignment(experiment, prediction, result, parameters, 7, outputs.report);
    if (parameters.sequenceIndependent) return;  // the slow pairing once more
    const GdtResult gdt =
        compareGdt(experiment, prediction, parameters, workspace, outputs.report, other);
    FUZZ_REQUIRE(gdt.gdt >= 0.0 && gdt.gdt <= 100.0);
    if (gdt.superposition) requireProper(*gdt.superposition);
}

void compareWhole(const Subject& subject, const RmsdOptions& options, test::CapturedLog& outputs) {
    ComparisonWorkspace workspace;
    RmsdResult result;
    RmsdResult exchanged;
    const auto& [experiment, prediction, tolerance] = subject;
    compareRmsd(experiment, prediction, options, workspace, outputs.report, result);
    compareRmsd(prediction, experiment, options, workspace, outputs.report, exchanged);
    FUZZ_REQUIRE(result.pairs == exchanged.pairs && result.pairs == result.matched.size());
    FUZZ_REQUIRE(result.rmsd.has_value() == exchanged.rmsd.has_value());
    FUZZ_REQUIRE(result.urmsd >= 0.0 && result.urmsd <= 2.0 + 1e-9);
    if (!result.rmsd) return;
    requireProper(result.superposition);
    FUZZ_REQUIRE(std::fabs(*result.rmsd - *exchanged.rmsd) <= tolerance);
    const bool isCalphaFit = experiment.atomKey == std::vector<std::uint8_t>(experiment.size(), 1);
    if (options.urmsdRotation || !isCalphaFit) return;
    FUZZ_REQUIRE(std::fabs(rmsdOf(subject, result.matched, result.superposition) - *result.rmsd) <=
                 tolerance);
    Superposition unturned = result.superposition;
    unturned.rotation = Superposition{}.rotation;
    FUZZ_REQUIRE(*result.rmsd <= rmsdOf(subject, result.matched, unturned) + tolerance);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    test::CapturedLog outputs(1, input.PickValueInArray({1, 1, 4, 9}));
    ComparisonParameters parameters = makeParameters(input);
    const RmsdOptions options{input.ConsumeBool(), input.ConsumeBool(), input.ConsumeBool()};
    const bool areBackbones = input.ConsumeBool();
    const bool areRelated = input.ConsumeIntegralInRange(0, 3) > 0;
    Chain experiment = makeChain(input);
    Chain prediction = areRelated ? makeVariant(experiment, input) : makeChain(input);
    buildResidues(experiment, outputs.log);
    buildResidues(prediction, outputs.log);

    for (const Measure measure : kMeasures) {
        if (input.ConsumeBool()) parameters.measures.wanted.add(measure);
    }
    parameters.measures.perResidue = input.ConsumeBool();

    const auto prepare = [&](const Chain& chain, AtomSelection selection) {
        return prepareChain(chain, selection, parameters, outputs.report);
    };
    const CoordinateSet e = prepare(experiment, AtomSelection::Calpha);
    const CoordinateSet p = prepare(prediction, AtomSelection::Calpha);
    const double tolerance = 1e-5 * std::max(magnitude(e), magnitude(p));
    compareSubsets({e, p, tolerance}, parameters, outputs);
    if (areBackbones) {
        compareWhole({prepare(experiment, AtomSelection::Backbone),
                      prepare(prediction, AtomSelection::Backbone), tolerance},
                     options, outputs);
    } else {
        compareWhole({e, p, tolerance}, options, outputs);
    }
    const NativeContacts contacts = nativeContacts(experiment, prediction, 7.5, 3);
    FUZZ_REQUIRE(contacts.matched <= contacts.native);
    return 0;
}
