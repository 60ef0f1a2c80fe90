// Each part of a record has a function that puts it and one that takes it, one after the other, so
// that neither is changed without the other.
//
// A record is read in pieces: a length that it states is believed as far as the bytes are there,
// and nothing is allocated for it before.
#include "resultfiles/part_records.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

#include "resultfiles/pair_run.h"
#include "resultfiles/part_bytes.h"

namespace tervolanda {

namespace {

constexpr std::size_t kFlagBytes = sizeof(std::uint32_t);
constexpr std::size_t kScoreBytes = 3 * sizeof(double) + sizeof(std::uint32_t);
constexpr std::size_t kMotionBytes = 15 * sizeof(double);
constexpr std::size_t kDomainBytes = kMotionBytes + sizeof(double);
// Of a search beside its scores: two figures, and three counts of what follows.
constexpr std::size_t kSearchBytes = 2 * sizeof(double) + 3 * sizeof(std::uint32_t);
constexpr std::size_t kCountBytes = 2 * sizeof(std::uint32_t);  // of matched pairs and their runs
constexpr std::size_t kRunBytes = 3 * sizeof(std::uint32_t);
constexpr std::size_t kMeasuredBytes = sizeof(double) + kFlagBytes;
constexpr std::size_t kRmsdBytes = 2 * sizeof(float) + sizeof(std::uint32_t);

// The size of a record without its measures, domains and runs.
std::size_t leastBytes(PartKind kind) {
    switch (kind) {
        case PartKind::MaxSub:
            return kScoreBytes;
        case PartKind::MaxSubWithSuperpositions:
            return kScoreBytes + kFlagBytes + kMotionBytes + kCountBytes;
        case PartKind::Gdt:
            return sizeof(double);
        case PartKind::Measure:
            return kMeasuredBytes;
        case PartKind::Rmsd:
            return kRmsdBytes;
        case PartKind::MaxSubWithSearches:
            return kScoreBytes + kSearchBytes + kCountBytes;
        case PartKind::GdtWithSearches:
            return sizeof(double) + kFlagBytes + kMotionBytes + kScoreBytes + kSearchBytes +
                   kCountBytes;
    }
    return 0;
}

bool hasRuns(PartKind kind) {
    return kind == PartKind::MaxSubWithSuperpositions || kind == PartKind::MaxSubWithSearches ||
           kind == PartKind::GdtWithSearches;
}

// Below what no measure of structures comes near.  It keeps infinities and what is no number out of
// all later arithmetic, since a part file may be hostile, and every value that passes fits the
// single precision of matrices.
bool isSound(double value) {
    constexpr double kLargest = 1e9;
    return std::abs(value) <= kLargest;  // false for not a number
}

// False when one of them is not sound; all are taken either way.
bool takeValues(Fields& fields, std::span<double> values) {
    bool areSound = true;
    for (double& value : values) {
        value = fields.take<double>();
        areSound = areSound && isSound(value);
    }
    return areSound;
}

// --- Scores --------------------------------------------------------------------------------------

void putScores(std::string& bytes, const Scores& scores) {
    put(bytes, scores.tm);
    put(bytes, scores.maxsub);
    put(bytes, scores.rmsd);
    put(bytes, scores.pairs);
}

bool takeScores(Fields& fields, Scores& scores) {
    scores.tm = fields.take<double>();
    scores.maxsub = fields.take<double>();
    scores.rmsd = fields.take<double>();
    scores.pairs = fields.take<std::uint32_t>();
    return isSound(scores.tm) && isSound(scores.maxsub) && isSound(scores.rmsd);
}

// --- Superpositions ------------------------------------------------------------------------------

// The centre of the experiment, that of the prediction, the rotation row by row.
void putSuperposition(std::string& bytes, const Superposition& superposition) {
    for (const double value : superposition.experimentCentre)
        put(bytes, value);
    for (const double value : superposition.predictionCentre)
        put(bytes, value);
    for (const double value : superposition.rotation)
        put(bytes, value);
}

bool takeSuperposition(Fields& fields, Superposition& superposition) {
    return takeValues(fields, superposition.experimentCentre) &&
           takeValues(fields, superposition.predictionCentre) &&
           takeValues(fields, superposition.rotation);
}

// --- Matched pairs -------------------------------------------------------------------------------

// A run whose pairs are of one iteration, where the record tells.
struct MatchedRun {
    PairRun pairs;
    std::uint32_t iteration = 0;
};

std::vector<MatchedRun> runsOf(const std::vector<MatchedPair>& matched, bool tellsIterations) {
    std::vector<MatchedRun> runs;
    for (const MatchedPair& pair : matched) {
        const bool goesOn = !runs.empty() &&
                            runs.back().pairs.isContinuedBy(pair.experiment, pair.prediction) &&
                            (!tellsIterations || pair.iteration == runs.back().iteration);
        if (goesOn) {
            ++runs.back().pairs.length;
        } else {
            runs.push_back({{pair.experiment, pair.prediction, 1}, pair.iteration});
        }
    }
    return runs;
}

// The number of pairs and that of runs, and the runs.
void putMatched(std::string& bytes, const std::vector<MatchedPair>& matched, bool tellsIterations) {
    const std::vector<MatchedRun> runs = runsOf(matched, tellsIterations);
    put(bytes, static_cast<std::uint32_t>(matched.size()));
    put(bytes, static_cast<std::uint32_t>(runs.size()));
    for (const MatchedRun& run : runs) {
        put(bytes, run.pairs.experiment);
        put(bytes, run.pairs.prediction);
        put(bytes, run.pairs.length);
        if (tellsIterations) put(bytes, run.iteration);
    }
}

// Whether the positions of a run lie within a set.
bool isWithin(std::uint32_t first, std::uint32_t length, std::size_t size) {
    return length <= size && first <= size - length;
}

// The pairs are positions in arrays of coordinates: those that lie outside are refused here,
// whatever the checksum says.
bool readMatched(const TakeBytes& take, const SetSizes& sizes, bool tellsIterations,
                 ComparisonResult& result) {
    const std::string_view counts = take(kCountBytes);
    if (counts.empty()) return false;
    Fields fields(counts);
    const auto matched = fields.take<std::uint32_t>();
    const auto runs = fields.take<std::uint32_t>();
    if (matched > sizes.prediction) return false;
    for (std::uint32_t k = 0; k < runs; ++k) {
        const std::string_view bytes = take(kRunBytes + (tellsIterations ? kFlagBytes : 0));
        if (bytes.empty()) return false;
        Fields run(bytes);
        const auto experiment = run.take<std::uint32_t>();
        const auto prediction = run.take<std::uint32_t>();
        const auto length = run.take<std::uint32_t>();
        const auto iteration = tellsIterations ? run.take<std::uint32_t>() : 0;
        const bool fits = isWithin(experiment, length, sizes.experiment) &&
                          isWithin(prediction, length, sizes.prediction) &&
                          length <= matched - result.matched.size() &&
                          (!tellsIterations || iteration < result.iterations.size());
        if (!fits) return false;
        for (std::uint32_t i = 0; i < length; ++i)
            result.matched.push_back({experiment + i, prediction + i, iteration});
    }
    return result.matched.size() == matched;
}

// --- Searches ------------------------------------------------------------------------------------

// Which further measures have a value, as bits in their order.
std::uint32_t givenMeasures(const MeasureValues& measures) {
    std::uint32_t given = 0;
    for (std::size_t i = 0; i < kMeasures.size(); ++i)
        given |= (measures.values[i] ? 1U : 0U) << i;
    return given;
}

bool readMeasures(const TakeBytes& take, std::uint32_t given, MeasureValues& measures) {
    if (given >> kMeasures.size() != 0) return false;
    for (std::size_t i = 0; i < kMeasures.size(); ++i) {
        if ((given >> i & 1U) == 0) continue;
        const std::string_view bytes = take(sizeof(double));
        if (bytes.empty()) return false;
        measures.values[i] = Fields(bytes).take<double>();
        if (!isSound(*measures.values[i])) return false;
    }
    return true;
}

bool readDomain(const TakeBytes& take, DomainIteration& domain) {
    const std::string_view bytes = take(kDomainBytes);
    if (bytes.empty()) return false;
    Fields fields(bytes);
    if (!takeSuperposition(fields, domain.superposition)) return false;
    domain.distanceCutoff = fields.take<double>();
    return isSound(domain.distanceCutoff);
}

// What the files of pairs show of a search.
void putSearch(std::string& bytes, const ComparisonResult& search) {
    putScores(bytes, search);
    put(bytes, search.grmsd);
    put(bytes, search.msi);
    put(bytes, search.mapped);
    put(bytes, givenMeasures(search.measures));
    put(bytes, static_cast<std::uint32_t>(search.iterations.size()));
    for (const std::optional<double>& value : search.measures.values) {
        if (value) put(bytes, *value);
    }
    for (const DomainIteration& domain : search.iterations) {
        putSuperposition(bytes, domain.superposition);
        put(bytes, domain.distanceCutoff);
    }
    putMatched(bytes, search.matched, /*tellsIterations=*/true);
}

bool readSearch(const TakeBytes& take, const SetSizes& sizes, ComparisonResult& search) {
    search.clear();
    const std::string_view bytes = take(kScoreBytes + kSearchBytes);
    if (bytes.empty()) return false;
    Fields fields(bytes);
    const bool areSound = takeScores(fields, search);
    search.grmsd = fields.take<double>();
    search.msi = fields.take<double>();
    if (!areSound || !isSound(search.grmsd) || !isSound(search.msi)) return false;
    search.mapped = fields.take<std::uint32_t>();
    const auto measures = fields.take<std::uint32_t>();
    const auto domains = fields.take<std::uint32_t>();
    if (!readMeasures(take, measures, search.measures)) return false;
    for (std::uint32_t k = 0; k < domains; ++k) {
        if (!readDomain(take, search.iterations.emplace_back())) return false;
    }
    return readMatched(take, sizes, /*tellsIterations=*/true, search);
}

// Of kinds without searches: scores and, where the kind has it, the superposition of the first
// domain with the pairs of all.
void putOutline(std::string& bytes, PartKind kind, const ComparisonResult& result) {
    putScores(bytes, result);
    if (kind == PartKind::MaxSub) return;
    const bool has = !result.iterations.empty();
    putFlag(bytes, has);
    putSuperposition(bytes, has ? result.iterations.front().superposition : Superposition());
    putMatched(bytes, result.matched, /*tellsIterations=*/false);
}

bool readOutline(const TakeBytes& take, PartKind kind, const SetSizes& sizes,
                 ComparisonResult& result) {
    result.clear();
    const bool isPlain = kind == PartKind::MaxSub;
    const std::string_view bytes = take(kScoreBytes + (isPlain ? 0 : kFlagBytes + kMotionBytes));
    if (bytes.empty()) return false;
    Fields fields(bytes);
    if (!takeScores(fields, result)) return false;
    if (isPlain) return true;
    const std::optional<bool> has = fields.takeFlag();
    DomainIteration first;
    if (!has || !takeSuperposition(fields, first.superposition)) return false;
    if (*has) result.iterations.push_back(first);
    return readMatched(take, sizes, /*tellsIterations=*/false, result);
}

}  // namespace

// No kind has more than 2^8 bytes for certain and no header more than 2^51 records.
bool mayBeRecords(PartKind kind, std::uint64_t records, std::uint64_t bytes) {
    const std::uint64_t least = records * leastBytes(kind);
    return hasRuns(kind) ? bytes >= least : bytes == least;
}

// --- Records -------------------------------------------------------------------------------------

void appendRecord(std::string& bytes, PartKind kind, const ComparisonResult& result) {
    if (kind == PartKind::MaxSubWithSearches) return putSearch(bytes, result);
    putOutline(bytes, kind, result);
}

bool readRecord(const TakeBytes& take, PartKind kind, const SetSizes& sizes,
                ComparisonResult& result) {
    if (kind == PartKind::MaxSubWithSearches) return readSearch(take, sizes, result);
    return readOutline(take, kind, sizes, result);
}

void appendRecord(std::string& bytes, PartKind kind, const GdtOutcome& outcome) {
    put(bytes, outcome.hasFit ? outcome.found.gdt : kNoGdt);
    if (kind == PartKind::Gdt) return;
    const std::optional<Superposition>& motion = outcome.found.superposition;
    putFlag(bytes, motion.has_value());
    putSuperposition(bytes, motion.value_or(Superposition()));
    putSearch(bytes, outcome.search);
}

bool readRecord(const TakeBytes& take, PartKind kind, const SetSizes& sizes, GdtOutcome& outcome) {
    const bool isPlain = kind == PartKind::Gdt;
    const std::string_view bytes = take(sizeof(double) + (isPlain ? 0 : kFlagBytes + kMotionBytes));
    if (bytes.empty()) return false;
    Fields fields(bytes);
    const auto gdt = fields.take<double>();
    if (!isSound(gdt) || (gdt < 0.0 && gdt != kNoGdt)) return false;
    outcome.hasFit = gdt >= 0.0;
    outcome.found = {std::max(gdt, 0.0), std::nullopt};
    if (isPlain) return true;
    const std::optional<bool> has = fields.takeFlag();
    Superposition motion;
    if (!has || !takeSuperposition(fields, motion)) return false;
    if (*has) outcome.found.superposition = motion;
    return readSearch(take, sizes, outcome.search);
}

void appendRecord(std::string& bytes, [[maybe_unused]] PartKind kind,
                  const MeasuredOutcome& outcome) {
    put(bytes, outcome.value);
    putFlag(bytes, outcome.hasFit);
}

bool readRecord(const TakeBytes& take, MeasuredOutcome& outcome) {
    const std::string_view bytes = take(kMeasuredBytes);
    if (bytes.empty()) return false;
    Fields fields(bytes);
    outcome.value = fields.take<double>();
    const std::optional<bool> hasFit = fields.takeFlag();
    outcome.hasFit = hasFit.value_or(false);
    return hasFit && isSound(outcome.value) && outcome.value >= 0.0;
}

void appendRecord(std::string& bytes, [[maybe_unused]] PartKind kind, const RmsdCells& cells) {
    put(bytes, cells.rmsd);
    put(bytes, cells.urmsd);
    put(bytes, cells.pairs);
}

bool readRecord(const TakeBytes& take, RmsdCells& cells) {
    const std::string_view bytes = take(kRmsdBytes);
    if (bytes.empty()) return false;
    Fields fields(bytes);
    cells.rmsd = fields.take<float>();
    cells.urmsd = fields.take<float>();
    cells.pairs = fields.take<std::uint32_t>();
    return isSound(static_cast<double>(cells.rmsd)) && isSound(static_cast<double>(cells.urmsd));
}

}  // namespace tervolanda
