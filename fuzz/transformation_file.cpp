// A MaxSub file, lite or full.  What is read has scores from 0 to 1, the same pair count in both
// cells of a pair, and different IDs; it can be ranked and clustered, and its scores come back from
// a lite file that is written from it.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <variant>

#include "result_checks.h"
#include "resultfiles/transformation_file.h"
#include "support.h"
#include "support/support.h"

using namespace tervolanda;
using namespace tervolanda::fuzz;

namespace {

void requireSoundMatrices(const MaxSubFile& file) {
    const std::size_t size = file.ids.size();
    FUZZ_REQUIRE(size > 0 && file.scores.rows() == size && file.pairs.rows() == size);
    FUZZ_REQUIRE(file.chains.chains.size() == size);
    for (std::size_t i = 0; i < size; ++i) {
        FUZZ_REQUIRE(file.chains.chains[i].number == file.ids[i]);
        for (std::size_t j = 0; j < size; ++j) {
            FUZZ_REQUIRE(file.scores.at(i, j) >= 0.0F && file.scores.at(i, j) <= 1.0F);
            FUZZ_REQUIRE(file.pairs.at(i, j) == file.pairs.at(j, i));
            FUZZ_REQUIRE(file.pairs.at(i, j) <= INT32_MAX);
        }
    }
}

// Three decimals are written, and 1 on the diagonal.
void requireReadBack(const MaxSubFile& file, Log& log) {
    static MemoryFile copy;
    FUZZ_REQUIRE(writeMaxSubFile(copy.path(), file.chains, file.scores, file.pairs, file.ids,
                                 log) == FileOutcome::Written);
    const std::string text = copy.text();
    const FileHandle stream = openText(text);
    auto parsed = parseMaxSubFile(stream.get());
    const auto* read = std::get_if<ParsedMaxSubFile>(&parsed);
    FUZZ_REQUIRE(read != nullptr && reportMissingMaxSubRecords(*read, log));
    FUZZ_REQUIRE(read->file.ids == file.ids);
    for (std::size_t i = 0; i < file.ids.size(); ++i) {
        FUZZ_REQUIRE(read->file.chains.chains[i].fileName == file.chains.chains[i].fileName);
        for (std::size_t j = 0; j < file.ids.size(); ++j) {
            const float score = i == j ? 1.0F : file.scores.at(i, j);
            FUZZ_REQUIRE(std::fabs(score - read->file.scores.at(i, j)) <= 0.00051F);
            FUZZ_REQUIRE(read->file.pairs.at(i, j) == file.pairs.at(i, j));
        }
    }
}

void requireRanking(const MaxSubFile& file, double threshold) {
    const std::vector<JuryScore> ranking = rankByJury(file.scores, file.pairs, threshold, 1);
    FUZZ_REQUIRE(ranking.size() == file.ids.size());
    std::vector<bool> ranked(ranking.size(), false);
    for (std::size_t i = 0; i < ranking.size(); ++i) {
        FUZZ_REQUIRE(i == 0 || ranking[i].score <= ranking[i - 1].score);
        FUZZ_REQUIRE(!ranked.at(ranking[i].model));
        ranked[ranking[i].model] = true;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const auto control = input.ConsumeIntegral<std::uint8_t>();
    const std::string text = input.ConsumeRemainingBytesAsString();
    if (declaresUnhandySize(text)) return 0;

    test::CapturedLog quiet;
    const FileHandle stream = openText(text);
    auto parsed = parseMaxSubFile(stream.get());
    if (const auto* error = std::get_if<FormatError>(&parsed)) {
        FUZZ_REQUIRE(!error->message.empty());
        return 0;
    }
    const auto& whole = std::get<ParsedMaxSubFile>(parsed);
    const MaxSubFile& file = whole.file;
    requireSoundMatrices(file);
    if (!reportMissingMaxSubRecords(whole, quiet.log)) {
        FUZZ_REQUIRE(!quiet.error().empty());
        return 0;
    }
    requireDifferentIds(file.ids);
    requireRanking(file, control / 255.0);
    requireClusters(file.scores, {file.ids, &file.chains},
                    makeClusterSettings(control, MatrixValues::Similarities), quiet.log);
    // A row that no chain record names cannot be written.
    const auto& chains = file.chains.chains;
    const bool isNamed = std::none_of(chains.begin(), chains.end(),
                                      [](const Chain& chain) { return chain.fileName.empty(); });
    if (isNamed) requireReadBack(file, quiet.log);
    return 0;
}
