// A text, read as a distance file and as a MaxSub file.  A distance matrix that is complete is
// symmetric, finite and not negative; MaxSub scores are from 0 to 1, with the same pair count in
// both cells of a pair.  IDs are different, the models can be clustered by every method and ranked,
// and the values come back from a file that is written from them.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <variant>

#include "export/export.h"
#include "resultfiles/distance_file.h"
#include "resultfiles/maxsub_reader.h"
#include "support.h"
#include "support/support.h"

using namespace tervolanda;
using namespace tervolanda::fuzz;

namespace {

// Whether a size record asks for a matrix that is right and too large to be made thousands of times
// a second: a file of a few bytes may ask for all memory of the machine, and get it.  Sizes beyond
// every memory are none of these: they are refused.
bool declaresUnhandySize(std::string_view text) {
    constexpr std::uint64_t kMost = 40;
    constexpr std::uint64_t kFewestRefused = 20'000'000;  // squared, more than any memory
    for (std::size_t at = text.find("SIZE :"); at != std::string_view::npos;
         at = text.find("SIZE :", at + 1)) {
        const std::string_view line = text.substr(at, text.find('\n', at) - at);
        const std::size_t digit = std::min(line.find_first_of("0123456789"), line.size());
        const auto size = std::strtoull(std::string(line.substr(digit)).c_str(), nullptr, 10);
        if (size > kMost && size < kFewestRefused) return true;
    }
    return false;
}

ClusterSettings makeClusterSettings(unsigned int choice, MatrixValues values) {
    constexpr std::array<double, 4> kSteps = {0.05, 0.0, 1e-9, 10.0};
    return {.method = static_cast<ClusterMethod>(choice % 5),
            .values = values,
            .threshold = choice % 7 == 0 ? 4.0 : 0.5,
            .maxThreshold = choice % 5 == 0 ? 1e30 : 8.0,
            .thresholdStep = kSteps[choice % 4],
            .initialSize = choice % 8,
            .minSize = choice % 3,
            .triedOneByOne = choice % 6 == 0 ? 100U : 0U};
}

// Every model is in one cluster or, with the nearest-neighbour methods, in none; no cluster is
// empty, and its centroid is one of its members.
void requireClusters(DistanceMatrix matrix, const ModelLabels& models,
                     const ClusterSettings& settings, Log& log) {
    const std::set<std::uint32_t> different(models.ids.begin(), models.ids.end());
    FUZZ_REQUIRE(different.size() == models.ids.size());
    const std::optional<Clustering> found = clusterModels(matrix, settings);
    FUZZ_REQUIRE(found.has_value());
    printClustering(*found, models, log);
    const ClusterAssignment& clusters = found->clusters;
    const std::uint32_t first = clustersByLinkage(settings.method) ? 0 : 1;
    FUZZ_REQUIRE(clusters.cluster.size() == models.ids.size());
    std::vector<std::uint32_t> sizes(first + clusters.count);
    for (const std::uint32_t cluster : clusters.cluster)
        ++sizes.at(cluster);
    FUZZ_REQUIRE(found->centroids.size() == clusters.count);
    for (std::uint32_t c = 0; c < clusters.count; ++c) {
        const Centroid& centroid = found->centroids[c];
        FUZZ_REQUIRE(clusters.cluster.at(centroid.model) == first + c);
        FUZZ_REQUIRE(centroid.size > 0 && centroid.size == sizes[first + c]);
    }
}

void requireRanking(const MaxSubFile& file, double threshold) {
    const std::vector<JuryScore> ranking = rankByJury(file.scores, file.pairs, threshold, 1);
    std::set<std::size_t> ranked;
    for (std::size_t i = 0; i < ranking.size(); ++i) {
        FUZZ_REQUIRE(i == 0 || ranking[i].score <= ranking[i - 1].score);
        ranked.insert(ranking[i].model);
    }
    FUZZ_REQUIRE(ranking.size() == file.ids.size() && ranked.size() == file.ids.size());
}

MemoryFile& copy() {
    static MemoryFile file;
    return file;
}

void requireSameNames(const ChainList& a, const ChainList& b) {
    FUZZ_REQUIRE(std::ranges::equal(a.chains, b.chains, [](const Chain& x, const Chain& y) {
        return x.number == y.number && x.fileName == y.fileName;
    }));
}

// Four decimals are written.
void requireReadBack(const DistanceFile& file, const ChainList& chains, Log& log) {
    FUZZ_REQUIRE(writeDistanceFile(copy().path(), chains, file.matrix, file.ids, log) ==
                 FileOutcome::Written);
    const std::string text = copy().text();
    ChainList chainsRead;
    const auto parsed = parseDistanceFile(openText(text).get(), &chainsRead);
    const auto* read = std::get_if<DistanceFile>(&parsed);
    FUZZ_REQUIRE(read != nullptr && read->matrix.rows() == file.ids.size());
    requireSameNames(chains, chainsRead);
    // The rows of the copy stand in another order where distances came before chain records.
    std::map<std::uint32_t, std::size_t> row;
    for (std::size_t i = 0; i < read->ids.size(); ++i)
        row[read->ids[i]] = i;
    for (std::size_t i = 1; i < file.ids.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            const auto written = static_cast<double>(file.matrix.at(i, j));
            const float again = read->matrix.at(row.at(file.ids[i]), row.at(file.ids[j]));
            FUZZ_REQUIRE(written >= 0.0);
            FUZZ_REQUIRE(std::fabs(written - static_cast<double>(again)) <=
                         5.1e-5 + 1e-6 * written);
        }
    }
}

// Three decimals are written, and 1 on the diagonal.
void requireReadBack(const MaxSubFile& file, Log& log) {
    FUZZ_REQUIRE(writeLiteMaxSubFile(copy().path(),
                                     {file.chains, file.scores, file.pairs, file.ids},
                                     log) == FileOutcome::Written);
    const std::string text = copy().text();
    const auto parsed = parseMaxSubFile(openText(text).get());
    const auto* read = std::get_if<ParsedMaxSubFile>(&parsed);
    FUZZ_REQUIRE(read != nullptr && reportMissingMaxSubRecords(*read, log));
    FUZZ_REQUIRE(read->file.ids == file.ids);
    requireSameNames(file.chains, read->file.chains);
    for (std::size_t i = 0; i < file.ids.size(); ++i) {
        for (std::size_t j = 0; j < file.ids.size(); ++j) {
            const float score = i == j ? 1.0F : file.scores.at(i, j);
            FUZZ_REQUIRE(std::fabs(score - read->file.scores.at(i, j)) <= 0.00051F);
            FUZZ_REQUIRE(read->file.pairs.at(i, j) == file.pairs.at(i, j));
        }
    }
}

void readDistances(const std::string& text, unsigned int control) {
    test::CapturedLog quiet;
    ChainList chains;
    const auto parsed =
        parseDistanceFile(openText(text).get(), (control & 1) != 0 ? &chains : nullptr);
    if (const auto* error = std::get_if<FormatError>(&parsed)) {
        FUZZ_REQUIRE(!error->message.empty());
        return;
    }
    const auto& file = std::get<DistanceFile>(parsed);
    const std::size_t size = file.ids.size();
    FUZZ_REQUIRE(size > 0 && file.matrix.rows() == size && file.matrix.columns() == size);
    for (std::size_t i = 0; i < size; ++i) {
        for (std::size_t j = 0; j < size; ++j) {
            const float value = file.matrix.at(i, j);
            FUZZ_REQUIRE(std::isfinite(value) && value == file.matrix.at(j, i));
        }
    }
    if (!reportMissingDistances(file, quiet.log)) {
        FUZZ_REQUIRE(!quiet.error().empty());
        return;
    }
    requireReadBack(file, chains, quiet.log);
    requireClusters(file.matrix, {file.ids},
                    makeClusterSettings(control >> 1, MatrixValues::Distances), quiet.log);
}

void readScores(const std::string& text, unsigned int control) {
    test::CapturedLog quiet;
    const auto parsed = parseMaxSubFile(openText(text).get());
    if (const auto* error = std::get_if<FormatError>(&parsed)) {
        FUZZ_REQUIRE(!error->message.empty());
        return;
    }
    const auto& whole = std::get<ParsedMaxSubFile>(parsed);
    const MaxSubFile& file = whole.file;
    const auto& chains = file.chains.chains;
    const std::size_t size = file.ids.size();
    FUZZ_REQUIRE(size > 0 && file.scores.rows() == size && file.pairs.rows() == size);
    FUZZ_REQUIRE(chains.size() == size);
    for (std::size_t i = 0; i < size; ++i) {
        FUZZ_REQUIRE(chains[i].number == file.ids[i]);
        for (std::size_t j = 0; j < size; ++j) {
            FUZZ_REQUIRE(file.scores.at(i, j) >= 0.0F && file.scores.at(i, j) <= 1.0F);
            FUZZ_REQUIRE(file.pairs.at(i, j) == file.pairs.at(j, i));
            FUZZ_REQUIRE(file.pairs.at(i, j) <= INT32_MAX);
        }
    }
    if (!reportMissingMaxSubRecords(whole, quiet.log)) {
        FUZZ_REQUIRE(!quiet.error().empty());
        return;
    }
    requireRanking(file, control / 255.0);
    requireClusters(file.scores, {file.ids, &file.chains},
                    makeClusterSettings(control, MatrixValues::Similarities), quiet.log);
    // A row that no chain record names cannot be written.
    const bool isNamed = std::none_of(chains.begin(), chains.end(),
                                      [](const Chain& chain) { return chain.fileName.empty(); });
    if (isNamed) requireReadBack(file, quiet.log);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const auto control = input.ConsumeIntegral<std::uint8_t>();
    const std::string text = input.ConsumeRemainingBytesAsString();
    if (declaresUnhandySize(text)) return 0;
    readDistances(text, control);
    readScores(text, control);
    return 0;
}
