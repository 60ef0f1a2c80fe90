// All transformation records of the full MaxSub file stand before all its position records, while a
// batch finds both together and in another order.  So each pair is appended to a file on disk as it
// comes, and read back where its record is due.  Residue pairs nearly always form long diagonal
// runs and are kept as such.
//
// The file has no name (it is gone with the process, however that ends) and is on the file system
// of the result, which has to have the room anyway.  A pair takes 128 bytes there and 12 for each
// run.
#include "resultfiles/transformation_spool.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cassert>
#include <cstdio>
#include <cstdlib>

#include "compare/compare.h"

namespace tervolanda {

namespace {

// What the spool holds of a pair of models; its runs follow.  Written as it lies in memory: only
// this process reads it back.
struct SpoolRecord {
    Superposition superposition;
    std::uint64_t runs = 0;
};

// Where the space for the result is; none beside a device.
FileHandle openSpoolBeside(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) return nullptr;
    return openUnnamedBeside(path);
}

// Reads at an offset, whatever the position of the stream; one call may give fewer bytes than asked
// for.
bool readAt(int descriptor, void* target, std::size_t size, std::uint64_t offset) {
    auto* bytes = static_cast<char*>(target);
    while (size > 0) {
        const ssize_t got = pread(descriptor, bytes, size, static_cast<off_t>(offset));
        if (got <= 0) return false;
        bytes += got;
        size -= static_cast<std::size_t>(got);
        offset += static_cast<std::size_t>(got);
    }
    return true;
}

}  // namespace

TransformationSpool::Storage::Storage(const std::string& path,
                                      std::span<const CoordinateSet> models)
    : file_(openSpoolBeside(path)), models_(models) {
    const std::size_t size = models.size();
    if (size > 1) pairs_.resize(size * (size - 1) / 2);
    if (!file_) file_.reset(std::tmpfile());
    failed_ = !file_;
}

bool TransformationSpool::Storage::flush() {
    if (!failed_ && std::fflush(file_.get()) != 0) failed_ = true;
    return !failed_;
}

void TransformationSpool::Storage::append(const void* bytes, std::size_t size) {
    if (failed_ || size == 0) return;
    if (std::fwrite(bytes, 1, size, file_.get()) != size) failed_ = true;
    end_ += size;
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
        if (!runs_.empty()) {
            PairRun& run = runs_.back();
            if (experiment == run.experiment + run.length &&
                prediction == run.prediction + run.length) {
                ++run.length;
                continue;
            }
        }
        runs_.push_back({experiment, prediction, 1});
    }
}

void TransformationSpool::Storage::record(BatchPair at, const ComparisonResult& result) {
    assert(at.experiment > at.prediction && at.experiment < models_.size());
    Pair& pair = pairs_[index(at.experiment, at.prediction)];
    pair.offset = end_;
    pair.matched = static_cast<std::uint32_t>(result.matched.size());
    collectRuns(at, result.matched);
    SpoolRecord record;
    // The file has one superposition a pair, that of the first domain, but the residue pairs of
    // all.
    if (!result.iterations.empty()) record.superposition = result.iterations[0].superposition;
    record.runs = runs_.size();
    append(&record, sizeof record);
    append(runs_.data(), runs_.size() * sizeof(PairRun));
}

bool TransformationSpool::Storage::readSuperposition(std::size_t i, std::size_t j,
                                                     Superposition& superposition) const {
    SpoolRecord record;
    if (!readAt(fileno(file_.get()), &record, sizeof record, pair(i, j).offset)) return false;
    superposition = record.superposition;
    return true;
}

// Two reads: the number of runs stands before them.
bool TransformationSpool::Storage::readRuns(std::size_t i, std::size_t j,
                                            std::vector<PairRun>& runs) const {
    const int descriptor = fileno(file_.get());
    const std::uint64_t offset = pair(i, j).offset;
    SpoolRecord record;
    if (!readAt(descriptor, &record, sizeof record, offset)) return false;
    runs.resize(static_cast<std::size_t>(record.runs));
    return readAt(descriptor, runs.data(), runs.size() * sizeof(PairRun), offset + sizeof record);
}

TransformationSpool::TransformationSpool(const std::string& path,
                                         std::span<const CoordinateSet> models)
    : storage_(std::make_unique<Storage>(path, models)) {}

TransformationSpool::~TransformationSpool() = default;

void TransformationSpool::record(BatchPair pair, const ComparisonResult& result) {
    storage_->record(pair, result);
}

}  // namespace tervolanda
