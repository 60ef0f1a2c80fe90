// Clustering of N models from their matrix.  The models are points in families, in six dimensions:
// their distances have the near pairs and the far tail that those of real models have.  Where
// TERVOLANDA_MATRIX_FILE names a file the matrix is written to it, row by row as single-precision
// numbers, so that other programs can cluster the same models.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "base/file.h"
#include "cluster/cluster.h"

namespace {

using tervolanda::ClusterMethod;
using tervolanda::ClusterSettings;
using tervolanda::DistanceMatrix;

constexpr std::size_t kDimensions = 6;
constexpr std::size_t kFamilies = 20;

std::vector<float> makePoints(std::size_t models) {
    std::mt19937 generator(1);
    std::normal_distribution<float> normal;
    std::vector<float> centres(kFamilies * kDimensions);
    for (float& x : centres)
        x = 3.0F * normal(generator);
    std::vector<float> points(models * kDimensions);
    for (std::size_t i = 0; i < models; ++i) {
        const std::size_t family = generator() % kFamilies;
        for (std::size_t k = 0; k < kDimensions; ++k) {
            points[i * kDimensions + k] = centres[family * kDimensions + k] + normal(generator);
        }
    }
    return points;
}

DistanceMatrix makeMatrix(std::size_t models) {
    const std::vector<float> points = makePoints(models);
    DistanceMatrix matrix(models, models);
    for (std::size_t i = 0; i < models; ++i) {
        for (std::size_t j = 0; j < models; ++j) {
            float sum = 0.0F;
            for (std::size_t k = 0; k < kDimensions; ++k) {
                const float d = points[i * kDimensions + k] - points[j * kDimensions + k];
                sum += d * d;
            }
            matrix.at(i, j) = std::sqrt(sum);
        }
    }
    return matrix;
}

void writeMatrix(const DistanceMatrix& matrix, const char* path) {
    const tervolanda::FileHandle file(std::fopen(path, "wb"));
    const std::size_t length = matrix.values().size();
    if (!file || std::fwrite(matrix.values().data(), sizeof(float), length, file.get()) != length) {
        std::fprintf(stderr, "could not write %s\n", path);
    }
}

// The matrix of the last size asked for.
DistanceMatrix& matrixOf(std::size_t models) {
    static DistanceMatrix matrix;
    if (matrix.rows() == models) return matrix;
    matrix = makeMatrix(models);
    if (const char* path = std::getenv("TERVOLANDA_MATRIX_FILE")) writeMatrix(matrix, path);
    return matrix;
}

// Arguments: models, method by its number on the command line.
void cluster(benchmark::State& state, std::size_t threads) {
    DistanceMatrix& matrix = matrixOf(static_cast<std::size_t>(state.range(0)));
    ClusterSettings settings;
    settings.threshold = 1.0;
    settings.maxThreshold = 8.0;
    settings.thresholdStep = 0.2;
    settings.method = static_cast<ClusterMethod>(state.range(1) - 1);
    settings.threads = threads;
    std::uint32_t count = 0;
    for (auto _ : state) {
        count = tervolanda::clusterModels(matrix, settings).value().clusters.count;
    }
    state.counters["clusters"] = count;
}

void clusterModels(benchmark::State& state) {
    cluster(state, 1);
}

// The same, and threads.
void clusterByThreads(benchmark::State& state) {
    cluster(state, static_cast<std::size_t>(state.range(2)));
}

// Arguments: models.
void rankByJury(benchmark::State& state) {
    const DistanceMatrix& matrix = matrixOf(static_cast<std::size_t>(state.range(0)));
    const tervolanda::PairMatrix pairs(matrix.rows(), matrix.rows(), 100U);
    for (auto _ : state) {
        benchmark::DoNotOptimize(tervolanda::rankByJury(matrix, pairs, 4.0, 20).front().score);
    }
}

const std::vector<std::int64_t> kSizes = {1000, 3000, 10000};

}  // namespace

BENCHMARK(clusterModels)
    ->ArgsProduct({kSizes, {1, 2, 3, 4, 5}})
    ->ArgNames({"models", "method"})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(clusterByThreads)
    ->ArgsProduct({{5000, 10000, 20000}, {2, 3}, {1, 2, 3, 4}})
    ->ArgNames({"models", "method", "threads"})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(rankByJury)->ArgsProduct({kSizes})->ArgNames({"models"})->Unit(benchmark::kMillisecond);
