// A few generated models compared all with all.  The matrices have the diagonals and symmetries
// that are promised, and an RMSD is that of a single comparison; what is written into the two kinds
// of MaxSub file and into distance files is read back; rankings and clusters hold every model once.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <variant>
#include <vector>

#include "base/file.h"
#include "chains.h"
#include "cluster/batch/batch.h"
#include "compare/workspace.h"
#include "result_checks.h"
#include "resultfiles/distance_file.h"
#include "resultfiles/transformation_file.h"
#include "support.h"

using namespace tervolanda;
using namespace tervolanda::fuzz;

namespace {

constexpr const char* kFile = "results.txt";

ChainList makeModels(FuzzedDataProvider& input, Log& log) {
    ChainList models;
    Chain first = makeChain(input);
    std::uint32_t number = 0;
    for (int more = input.ConsumeIntegralInRange(1, 3); more >= 0; --more) {
        Chain model =
            input.ConsumeIntegralInRange(0, 3) > 0 ? makeVariant(first, input) : makeChain(input);
        buildResidues(model, log);
        number += input.PickValueInArray({1U, 1U, 7U});
        model.number = number;
        model.fileName = "model" + std::to_string(number);
        models.chains.push_back(std::move(model));
    }
    return models;
}

// The score as a file holds it.
double written(float score) {
    return std::clamp(static_cast<double>(score), 0.0, 1.0);
}

void requireReadBack(const MaxSubBatch& batch, const ChainList& models, Log& log) {
    const FileHandle file = openForReading(kFile);
    FUZZ_REQUIRE(file != nullptr);
    auto parsed = parseMaxSubFile(file.get());
    const auto* read = std::get_if<ParsedMaxSubFile>(&parsed);
    FUZZ_REQUIRE(read != nullptr && reportMissingMaxSubRecords(*read, log));
    FUZZ_REQUIRE(read->file.ids == modelIds(models));
    for (std::size_t i = 0; i < models.chains.size(); ++i) {
        FUZZ_REQUIRE(read->file.chains.chains[i].fileName == models.chains[i].fileName);
        for (std::size_t j = 0; j < models.chains.size(); ++j) {
            const auto score = static_cast<double>(read->file.scores.at(i, j));
            FUZZ_REQUIRE(std::fabs(score - written(batch.scores.at(i, j))) <= 0.00051);
            if (i == j && read->hasTransformations) continue;
            FUZZ_REQUIRE(read->file.pairs.at(i, j) == batch.pairs.at(i, j));
        }
    }
    if (!read->hasTransformations) return;
    constexpr auto kAll =
        ParsedMaxSubFile::Score | ParsedMaxSubFile::Transformation | ParsedMaxSubFile::Positions;
    for (std::size_t i = 0; i < models.chains.size(); ++i) {
        for (std::size_t j = i + 1; j < models.chains.size(); ++j)
            FUZZ_REQUIRE(read->seen.at(i, j) == kAll);
    }
}

void requireReadBack(const DistanceMatrix& matrix, const ChainList& models, Log& log) {
    FUZZ_REQUIRE(writeDistanceFile(kFile, models, matrix, modelIds(models), log) ==
                 FileOutcome::Written);
    const FileHandle file = openForReading(kFile);
    ChainList chains;
    auto parsed = parseDistanceFile(file.get(), &chains);
    const auto* read = std::get_if<DistanceFile>(&parsed);
    FUZZ_REQUIRE(read != nullptr && read->ids == modelIds(models));
    FUZZ_REQUIRE(chains.chains.size() == models.chains.size());
    for (std::size_t i = 0; i < models.chains.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            const auto a = static_cast<double>(matrix.at(i, j));
            const auto b = static_cast<double>(read->matrix.at(i, j));
            FUZZ_REQUIRE(matrix.at(i, j) == matrix.at(j, i));
            FUZZ_REQUIRE(std::fabs(a - b) <= 5.1e-5 + 1e-6 * std::fabs(a));
        }
    }
}

void compareSubsets(const ChainList& models, FuzzedDataProvider& input, Log& log, Report& report) {
    ComparisonParameters parameters;
    parameters.iterations = input.PickValueInArray({1U, 3U});
    parameters.rankByTM = parameters.iterations == 1 && input.ConsumeBool();
    parameters.normLength = input.PickValueInArray({0, 0, 10});
    parameters.sequenceIndependent = input.ConsumeIntegralInRange(0, 7) == 7;  // slow
    TransformationSpool spool(kFile, models, log);
    const PairSink sink = [&](std::size_t i, std::size_t j, const ComparisonResult& result) {
        spool.add(i, j, result);
    };
    const MaxSubBatch batch = compareAllMaxSub(models, parameters, sink, log, report);
    for (std::size_t i = 0; i < models.chains.size(); ++i) {
        FUZZ_REQUIRE(batch.scores.at(i, i) == 1.0F);
        FUZZ_REQUIRE(batch.pairs.at(i, i) == models.chains[i].residues.size());
        for (std::size_t j = 0; j < models.chains.size(); ++j) {
            FUZZ_REQUIRE(std::isfinite(batch.scores.at(i, j)) && batch.scores.at(i, j) >= 0.0F);
            FUZZ_REQUIRE(std::isfinite(batch.rmsd.at(i, j)) && batch.rmsd.at(i, j) >= 0.0F);
            FUZZ_REQUIRE(batch.pairs.at(i, j) == batch.pairs.at(j, i));
        }
    }
    const auto outcome = writeTransformationFile(kFile, models, batch.scores, batch.pairs, spool,
                                                 modelIds(models), log);
    FUZZ_REQUIRE(std::get<FileOutcome>(outcome) == FileOutcome::Written);
    requireReadBack(batch, models, log);
    FUZZ_REQUIRE(writeMaxSubFile(kFile, models, batch.scores, batch.pairs, modelIds(models), log) ==
                 FileOutcome::Written);
    requireReadBack(batch, models, log);
    requireClusters(
        batch.scores, {modelIds(models), &models},
        makeClusterSettings(input.ConsumeIntegral<std::uint8_t>(), MatrixValues::Similarities),
        log);
}

// A batch has a shorter way to an RMSD than a fit.
void requireSingleFits(const RmsdBatch& batch, const ChainList& models,
                       const RmsdBatchOptions& options, Report& report) {
    ComparisonWorkspace workspace;
    RmsdResult result;
    const auto prepare = [&](std::size_t i) {
        return prepareChain(models.chains[i], options.selection, ComparisonParameters{}, report);
    };
    for (std::size_t i = 1; i < models.chains.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            compareRmsd(prepare(i), prepare(j), options.rmsd, workspace, report, result);
            const double rmsd = result.rmsd.value_or(-1.0);
            const double tolerance = 1e-5 * std::max(1.0, std::fabs(rmsd));
            FUZZ_REQUIRE(std::fabs(static_cast<double>(batch.rmsd.at(i, j)) - rmsd) <= tolerance);
            if (!result.rmsd) continue;
            FUZZ_REQUIRE(batch.pairs.at(i, j) == result.pairs);
            FUZZ_REQUIRE(std::fabs(static_cast<double>(batch.urmsd.at(i, j)) - result.urmsd) <=
                         1e-5);
        }
    }
}

void compareWhole(const ChainList& models, FuzzedDataProvider& input, Log& log, Report& report) {
    const RmsdBatchOptions options{
        {}, input.ConsumeBool() ? AtomSelection::Backbone : AtomSelection::Calpha};
    const RmsdBatch batch = compareAllRmsd(models, ComparisonParameters{}, options, log, report);
    for (const float value : batch.rmsd.values())
        FUZZ_REQUIRE(std::isfinite(value) && (value >= 0.0F || value == -1.0F));
    requireSingleFits(batch, models, options, report);
    requireReadBack(batch.rmsd, models, log);
    requireReadBack(batch.urmsd, models, log);
    requireClusters(
        batch.rmsd, {modelIds(models), &models},
        makeClusterSettings(input.ConsumeIntegral<std::uint8_t>(), MatrixValues::Distances), log);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const ScratchFolder folder;
    QuietLog quiet;
    Report report(quiet.log, input.PickValueInArray({1, 5}));
    const bool isWhole = input.ConsumeBool();
    const ChainList models = makeModels(input, quiet.log);
    if (isWhole) {
        compareWhole(models, input, quiet.log, report);
    } else {
        compareSubsets(models, input, quiet.log, report);
    }
    return 0;
}
