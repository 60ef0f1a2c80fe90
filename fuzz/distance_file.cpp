// A distance file, read with and without its chain records.  A matrix that is complete is
// symmetric, finite and not negative, its IDs are different, and it comes back from a file that is
// written from it; every clustering method puts each structure into one cluster.
#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <map>
#include <string>
#include <variant>

#include "result_checks.h"
#include "resultfiles/distance_file.h"
#include "support.h"
#include "support/support.h"

using namespace tervolanda;
using namespace tervolanda::fuzz;

namespace {

void requireSoundMatrix(const DistanceFile& file) {
    const std::size_t size = file.matrix.rows();
    FUZZ_REQUIRE(size > 0 && file.matrix.columns() == size && file.ids.size() == size);
    for (std::size_t i = 0; i < size; ++i) {
        for (std::size_t j = 0; j < size; ++j) {
            const float value = file.matrix.at(i, j);
            FUZZ_REQUIRE(std::isfinite(value) && value == file.matrix.at(j, i));
        }
    }
}

// Four decimals are written.
bool isClose(float written, float read) {
    const auto a = static_cast<double>(written);
    return std::fabs(a - static_cast<double>(read)) <= 5.1e-5 + 1e-6 * std::fabs(a);
}

void requireReadBack(const DistanceFile& file, const ChainList& chains, Log& log) {
    static MemoryFile copy;
    FUZZ_REQUIRE(writeDistanceFile(copy.path(), chains, file.matrix, file.ids, log) ==
                 FileOutcome::Written);
    const std::string text = copy.text();
    const FileHandle stream = openText(text);
    ChainList chainsRead;
    auto parsed = parseDistanceFile(stream.get(), &chainsRead);
    const auto* read = std::get_if<DistanceFile>(&parsed);
    FUZZ_REQUIRE(read != nullptr);
    FUZZ_REQUIRE(chainsRead.chains.size() == chains.chains.size());
    for (std::size_t i = 0; i < chains.chains.size(); ++i) {
        FUZZ_REQUIRE(chainsRead.chains[i].number == chains.chains[i].number);
        FUZZ_REQUIRE(chainsRead.chains[i].fileName == chains.chains[i].fileName);
    }
    FUZZ_REQUIRE(read->matrix.rows() == file.ids.size());
    // The rows of the copy stand in another order where distances came before chain records.
    std::map<std::uint32_t, std::size_t> row;
    for (std::size_t i = 0; i < read->ids.size(); ++i)
        row[read->ids[i]] = i;
    for (std::size_t i = 1; i < file.ids.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            FUZZ_REQUIRE(file.matrix.at(i, j) >= 0.0F);
            FUZZ_REQUIRE(isClose(file.matrix.at(i, j),
                                 read->matrix.at(row.at(file.ids[i]), row.at(file.ids[j]))));
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const auto control = input.ConsumeIntegral<std::uint8_t>();
    const std::string text = input.ConsumeRemainingBytesAsString();
    if (declaresUnhandySize(text)) return 0;

    test::CapturedLog quiet;
    ChainList chains;
    const FileHandle stream = openText(text);
    auto parsed = parseDistanceFile(stream.get(), (control & 1) != 0 ? &chains : nullptr);
    if (const auto* error = std::get_if<FormatError>(&parsed)) {
        FUZZ_REQUIRE(!error->message.empty());
        return 0;
    }
    auto& file = std::get<DistanceFile>(parsed);
    requireSoundMatrix(file);
    if (!reportMissingDistances(file, quiet.log)) {
        FUZZ_REQUIRE(!quiet.error().empty());
        return 0;
    }
    requireDifferentIds(file.ids);
    requireReadBack(file, chains, quiet.log);
    requireClusters(file.matrix, {file.ids},
                    makeClusterSettings(control >> 1, MatrixValues::Distances), quiet.log);
    return 0;
}
