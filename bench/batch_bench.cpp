// All pairs of a list of models of 127 residues: the cost of a pair with all that a batch does
// around it.  The models are one walk displaced a little or much, so that the pairs range from near
// to far.
#include <benchmark/benchmark.h>

#include "cluster/batch/batch.h"
#include "support/support.h"

namespace tervolanda {
namespace {

constexpr std::size_t kResidues = 127;

ChainList makeModels(std::size_t count) {
    ChainList models;
    const Chain walk = test::coil(kResidues, 1);
    for (std::size_t i = 0; i < count; ++i) {
        const double size = 12.0 * static_cast<double>(i + 1) / static_cast<double>(count);
        models.chains.push_back(
            test::moved(test::shaken(walk, size, static_cast<std::uint32_t>(i))));
        models.chains.back().fileName = "model";
    }
    return models;
}

void countPairs(benchmark::State& state, std::size_t models) {
    const auto pairs = static_cast<double>(models * (models - 1) / 2);
    state.counters["pairs"] =
        benchmark::Counter(pairs, benchmark::Counter::kIsIterationInvariantRate);
}

// Argument: models.
void rmsdBatch(benchmark::State& state, bool urmsd) {
    const auto count = static_cast<std::size_t>(state.range(0));
    const ChainList models = makeModels(count);
    RmsdOptions options;
    options.urmsd = urmsd;
    const FileHandle nowhere(std::fopen("/dev/null", "w"));
    LineStreams streams(nowhere.get(), nowhere.get(), nowhere.get());
    Log log(streams.sink());
    Report report(log, 1);
    for (auto _ : state) {
        const PreparedList prepared(models, AtomSelection::Calpha, ComparisonParameters(), report);
        benchmark::DoNotOptimize(compareAllRmsd(prepared, options, log, report).rmsd.at(1, 0));
    }
    countPairs(state, count);
}

void maxSubBatch(benchmark::State& state) {
    const auto count = static_cast<std::size_t>(state.range(0));
    const ChainList models = makeModels(count);
    ComparisonParameters parameters;
    parameters.seedLevels = 2;
    const FileHandle nowhere(std::fopen("/dev/null", "w"));
    LineStreams streams(nowhere.get(), nowhere.get(), nowhere.get());
    Log log(streams.sink());
    Report report(log, 1);
    for (auto _ : state) {
        const PreparedList prepared(models, AtomSelection::Calpha, parameters, report);
        benchmark::DoNotOptimize(
            compareAllMaxSub(prepared, parameters, nullptr, log, report).scores.at(1, 0));
    }
    countPairs(state, count);
}

BENCHMARK_CAPTURE(rmsdBatch, without_urmsd, false)
    ->Arg(300)
    ->Arg(1000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(rmsdBatch, with_urmsd, true)->Arg(300)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(maxSubBatch)->Arg(60)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tervolanda
