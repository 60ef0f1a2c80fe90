// All transformation records of the full MaxSub file stand before all its position records, while a
// batch finds both together and in another order.  So each pair is appended to a file on disk as it
// comes, and read back where its record is due.  Residue pairs nearly always form long diagonal
// runs and are kept as such.
//
// A pair takes 128 bytes of the file and 12 for each run.
#include "resultfiles/transformation_spool.h"

#include <cassert>
#include <span>
#include <string_view>
#include <type_traits>

namespace tervolanda {

namespace {

// What the spool holds of a pair of models; its runs follow.  Written as it lies in memory: only
// this process reads it back.
struct SpoolRecord {
    Superposition superposition;
    std::uint64_t runs = 0;
};

// The bytes of values as they lie in memory.
template <typename Value>
std::string_view bytesOf(std::span<const Value> values) {
    static_assert(std::is_trivially_copyable_v<Value>);
    return {reinterpret_cast<const char*>(values.data()), values.size_bytes()};
}

}  // namespace

TransformationSpool::Storage::Storage(const std::string& path,
                                      std::span<const CoordinateSet> models)
    : file_(path), models_(models) {
    const std::size_t size = models.size();
    if (size > 1) pairs_.resize(size * (size - 1) / 2);
}

void TransformationSpool::Storage::collectRuns(BatchPair pair,
                                               const std::vector<MatchedPair>& matched) {
    // Matched pairs are records of the coordinate sets; the file counts residues of the chain,
    // which may have some without a C-alpha atom, from 1.
    const std::vector<std::uint32_t>& experiments = models_[pair.experiment].residueIndex;
    const std::vector<std::uint32_t>& predictions = models_[pair.prediction].residueIndex;
    runs_.clear();
    for (const MatchedPair& match : matched) {
        const std::uint32_t experiment = experiments[match.experiment] + 1;
        const std::uint32_t prediction = predictions[match.prediction] + 1;
        if (!runs_.empty() && runs_.back().isContinuedBy(experiment, prediction)) {
            ++runs_.back().length;
        } else {
            runs_.push_back({experiment, prediction, 1});
        }
    }
}

void TransformationSpool::Storage::record(BatchPair at, const ComparisonResult& result) {
    assert(at.experiment > at.prediction && at.experiment < models_.size());
    Pair& pair = pairs_[index(at.experiment, at.prediction)];
    pair.offset = file_.size();
    pair.matched = static_cast<std::uint32_t>(result.matched.size());
    collectRuns(at, result.matched);
    SpoolRecord record;
    // The file has one superposition a pair, that of the first domain, but the residue pairs of
    // all.
    if (!result.iterations.empty()) record.superposition = result.iterations[0].superposition;
    record.runs = runs_.size();
    file_.append(bytesOf(std::span<const SpoolRecord>(&record, 1)));
    file_.append(bytesOf(std::span<const PairRun>(runs_)));
}

bool TransformationSpool::Storage::readSuperposition(std::size_t i, std::size_t j,
                                                     Superposition& superposition) const {
    SpoolRecord record;
    if (!file_.read(pair(i, j).offset, &record, sizeof record)) return false;
    superposition = record.superposition;
    return true;
}

// Two reads: the number of runs stands before them.
bool TransformationSpool::Storage::readRuns(std::size_t i, std::size_t j,
                                            std::vector<PairRun>& runs) const {
    const std::uint64_t offset = pair(i, j).offset;
    SpoolRecord record;
    if (!file_.read(offset, &record, sizeof record)) return false;
    runs.resize(static_cast<std::size_t>(record.runs));
    return file_.read(offset + sizeof record, runs.data(), runs.size() * sizeof(PairRun));
}

TransformationSpool::TransformationSpool(const std::string& path,
                                         std::span<const CoordinateSet> models)
    : storage_(std::make_unique<Storage>(path, models)) {}

TransformationSpool::~TransformationSpool() = default;

void TransformationSpool::record(BatchPair pair, const ComparisonResult& result) {
    storage_->record(pair, result);
}

}  // namespace tervolanda
