// One superposition and one whole search, by chain length.  The chains are walks of which the
// prediction follows the first part loosely and the rest not at all: hard decoys, for which the
// search cannot end early.
#include <benchmark/benchmark.h>

#include <string>

#include "compare/compare.h"
#include "compare/scratch.h"
#include "support/support.h"

namespace tervolanda {
namespace {

constexpr std::uint32_t kSeed = 20;

Chain hardDecoy(const Chain& chain) {
    Chain decoy = test::shaken(chain, 3.0, kSeed);
    const Chain other = test::coil(chain.atoms.size(), kSeed + 1);
    for (std::size_t i = chain.atoms.size() / 2; i < chain.atoms.size(); ++i) {
        decoy.atoms[i] = other.atoms[i];
    }
    return test::moved(decoy);
}

struct Pair {
    explicit Pair(std::int64_t residues) {
        test::CapturedLog log;
        const Chain chain = test::coil(static_cast<std::size_t>(residues), kSeed);
        experiment = prepareChain(chain, AtomSelection::Calpha, parameters, log.report);
        prediction = prepareChain(hardDecoy(chain), AtomSelection::Calpha, parameters, log.report);
        parameters.seedLevels = 2;
    }
    ComparisonParameters parameters;
    CoordinateSet experiment, prediction;
};

void fitOfAllPairs(benchmark::State& state) {
    const Pair pair(state.range(0));
    test::CapturedLog log;
    ComparisonScratch scratch(bestKernels());
    mapByResidue(pair.experiment, pair.prediction, scratch.mapping, log.report);
    scratch.placePairs(pair.experiment, pair.prediction, scratch.mapping.pairs);
    for (auto _ : state) {
        benchmark::DoNotOptimize(fitPairs(scratch.pairs, scratch.kernels));
    }
}

void mapping(benchmark::State& state) {
    const Pair pair(state.range(0));
    test::CapturedLog log;
    ResidueMapping mapped;
    for (auto _ : state) {
        mapByResidue(pair.experiment, pair.prediction, mapped, log.report);
        benchmark::DoNotOptimize(mapped.pairs.data());
    }
}

void search(benchmark::State& state, bool maximiseTM, const Kernels& kernels) {
    Pair pair(state.range(0));
    pair.parameters.maximiseTM = maximiseTM;
    test::CapturedLog log;
    ComparisonWorkspace workspace(kernels);
    ComparisonResult result;
    for (auto _ : state) {
        compareMaxSub(pair.experiment, pair.prediction, pair.parameters, workspace, log.report,
                      result);
        benchmark::DoNotOptimize(result.tm);
    }
}

// Of the pairs that the search has made.
void measure(benchmark::State& state, Measure wanted) {
    Pair pair(state.range(0));
    test::CapturedLog log;
    ComparisonWorkspace workspace;
    ComparisonResult result;
    compareMaxSub(pair.experiment, pair.prediction, pair.parameters, workspace, log.report, result);
    MeasureRequest request;
    request.wanted.add(wanted);
    for (auto _ : state) {
        measurePairs(pair.experiment, pair.prediction, result.partners, request, workspace,
                     result.measures);
        benchmark::DoNotOptimize(result.measures.value(wanted));
    }
}

// Four copies of the chain of the decoy, and of the decoy, each 60 Å from the last.
void complexSearch(benchmark::State& state, bool mapChains) {
    const Chain chain = test::coil(static_cast<std::size_t>(state.range(0)), kSeed);
    std::vector<Chain> experiment(4, chain), prediction(4, hardDecoy(chain));
    for (std::size_t i = 0; i < experiment.size(); ++i) {
        experiment[i].name = prediction[i].name = std::string(1, static_cast<char>('A' + i));
        Superposition shift;
        shift.experimentCentre = {60.0 * static_cast<double>(i), 0.0, 0.0};
        applySuperposition(shift, experiment[i]);
        applySuperposition(shift, prediction[i]);
    }
    ComparisonParameters parameters;
    parameters.seedLevels = 2;
    parameters.mapChains = mapChains;
    test::CapturedLog log;
    const auto prepared = [&](std::vector<Chain> chains) {
        return prepareChain(joinChains(std::move(chains)), AtomSelection::Calpha, parameters,
                            log.report);
    };
    const CoordinateSet one = prepared(std::move(experiment)), other = prepared(prediction);
    ComparisonWorkspace workspace;
    ComparisonResult result;
    for (auto _ : state) {
        compareMaxSub(one, other, parameters, workspace, log.report, result);
        benchmark::DoNotOptimize(result.tm);
    }
}

BENCHMARK(fitOfAllPairs)->Arg(50)->Arg(127)->Arg(300)->Arg(1000);
BENCHMARK(mapping)->Arg(50)->Arg(127)->Arg(300)->Arg(1000);
BENCHMARK_CAPTURE(search, best, false, bestKernels())->Arg(50)->Arg(127)->Arg(300)->Arg(1000);
BENCHMARK_CAPTURE(search, forTm, true, bestKernels())->Arg(127)->Arg(300);

// By the loops of each instruction set.
[[maybe_unused]] const bool kHaveAllKernels = [] {
    for (const Kernels* kernels : runnableKernels()) {
        const auto set = static_cast<std::size_t>(kernels->instructionSet);
        const std::string name = "search/" + std::string(kInstructionSetNames.at(set));
        benchmark::RegisterBenchmark(
            name.c_str(), [kernels](benchmark::State& state) { search(state, false, *kernels); })
            ->Arg(127)
            ->Arg(300)
            ->Arg(1000)
            ->Arg(2500);
    }
    return true;
}();
BENCHMARK_CAPTURE(measure, lddt, Measure::Lddt)->Arg(127)->Arg(1000);
BENCHMARK_CAPTURE(measure, gdtTs, Measure::GdtTs)->Arg(127)->Arg(1000);
BENCHMARK_CAPTURE(complexSearch, byName, false)->Arg(250);
BENCHMARK_CAPTURE(complexSearch, mapped, true)->Arg(250);

}  // namespace
}  // namespace tervolanda
