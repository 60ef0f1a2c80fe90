// An alignment says which residues stand in one column, and columns are as good as residue numbers:
// both sets get them for keys.  Chains that are aligned in another way, several at a time, would
// have columns as well.
#include "compare/pairing/sequence_pairing.h"

#include <algorithm>

#include "base/log.h"
#include "base/vec3.h"
#include "compare/pairing/mapping.h"

namespace tervolanda {

namespace {

// One after the last record of the residue whose records begin at `first`.  Records of a residue
// follow each other, one by C-alpha atoms and up to four by backbone.
std::size_t endOfResidue(const CoordinateSet& set, std::size_t first) {
    std::size_t end = first + 1;
    while (end < set.size() && set.residueKey[end] == set.residueKey[first])
        ++end;
    return end;
}

// The C-alpha atom among the records [first, end); `end` for none.
std::size_t calphaOf(const CoordinateSet& set, std::size_t first, std::size_t end) {
    while (first < end && set.atomKey[first] != kCalphaKey)
        ++first;
    return first;
}

// The limit of chain_geometry.h in the room of readers, which this room does not know.
bool areApart(const Points& points, std::size_t a, std::size_t b) {
    constexpr double kLongestCalphaDistance = 4.2;  // of neighbours, Å
    const Vec3 between =
        Vec3{points.x[a], points.y[a], points.z[a]} - Vec3{points.x[b], points.y[b], points.z[b]};
    return dot(between, between) > kLongestCalphaDistance * kLongestCalphaDistance;
}

void setKeys(const CoordinateSet& from, const std::vector<std::int32_t>& columns,
             CoordinateSet& keyed) {
    keyed = from;
    setColumnKeys(from.subunits.front(), columns, 0, keyed);
    sortByKey(keyed);
}

double percentage(std::size_t part, std::size_t whole) {
    return whole == 0 ? 0.0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}

// One letter a residue of the records [from, to), lower case where the chain is broken after it.
std::string lettersOf(const CoordinateSet& set, std::size_t from, std::size_t to) {
    std::string letters;
    std::size_t before = set.size();  // the C-alpha atom of the residue before
    for (std::size_t first = from; first < to;) {
        const std::size_t end = endOfResidue(set, first);
        const std::size_t calpha = calphaOf(set, first, end);
        if (before < first && calpha < end && areApart(set.points, before, calpha)) {
            letters.back() = static_cast<char>(letters.back() | 0x20);
        }
        const char letter = set.sequence[first];
        letters += letter >= 'A' && letter <= 'Z' ? letter : 'X';
        before = calpha < end ? calpha : set.size();
        first = end;
    }
    return letters;
}

}  // namespace

std::optional<double> SequenceAgreement::identity() const {
    if (pairs == 0) return std::nullopt;
    return percentage(identical, pairs);
}

double SequenceAgreement::experimentCoverage() const {
    return percentage(pairs, experimentResidues);
}

double SequenceAgreement::predictionCoverage() const {
    return percentage(pairs, predictionResidues);
}

void SequenceAgreement::add(const SequenceAgreement& other) {
    pairs += other.pairs;
    identical += other.identical;
    experimentResidues += other.experimentResidues;
    predictionResidues += other.predictionResidues;
}

void SequenceAgreement::report(Report& report) const {
    report.report(ReportLevel::Numbers,
                  "Sequences: Pairs=%4u, Identity=%6.2f%%, Coverage=%6.2f%% of prediction, "
                  "%6.2f%% of experiment\n",
                  pairs, identity().value_or(0.0), predictionCoverage(), experimentCoverage());
}

// Both lists of columns ascend, so one walk finds those that they share.
SequenceAgreement agreementOf(std::string_view experiment, std::string_view prediction,
                              const AlignedColumns& aligned) {
    SequenceAgreement found{0, 0, experiment.size(), prediction.size()};
    std::size_t j = 0;
    for (std::size_t i = 0; i < aligned.prediction.size(); ++i) {
        while (j < aligned.experiment.size() && aligned.experiment[j] < aligned.prediction[i])
            ++j;
        if (j == aligned.experiment.size()) break;
        if (aligned.experiment[j] != aligned.prediction[i]) continue;
        ++found.pairs;
        // Lower case is another thing than another residue, and X is none that is known.
        const char letter = static_cast<char>(prediction[i] & ~0x20);
        if (letter == (experiment[j] & ~0x20) && letter != 'X') ++found.identical;
    }
    return found;
}

void addSequence(CoordinateSet& set) {
    set.residueLetters = lettersOf(set, 0, set.size());
    for (Subunit& subunit : set.subunits)
        if (set.isComplex) subunit.residueLetters = lettersOf(set, subunit.first, subunit.end);
}

// A set that was prepared for another pairing has no letters yet.
std::string lettersOf(const CoordinateSet& set, const Subunit& subunit) {
    if (!set.isComplex && !set.residueLetters.empty()) return set.residueLetters;
    if (!subunit.residueLetters.empty()) return subunit.residueLetters;
    return lettersOf(set, subunit.first, subunit.end);
}

// A column is a key like a residue number; atoms of a residue keep their atom keys.
void setColumnKeys(const Subunit& subunit, const std::vector<std::int32_t>& columns,
                   std::int64_t base, CoordinateSet& set) {
    std::size_t at = subunit.first;
    for (std::size_t residue = 0; at < subunit.end; ++residue) {
        // The keys from `at` on are still those of the chain.
        const std::size_t end = std::min<std::size_t>(endOfResidue(set, at), subunit.end);
        for (; at < end; ++at)
            set.residueKey[at] = base + columns[residue];
    }
}

// Chains of a list have few different sequences, and an alignment takes longer than many a
// comparison: those made are kept, up to a limit.  What does not fit any more is made anew each
// time.
const AlignedColumns& SequencePairing::columnsOf(const CoordinateSet& experiment,
                                                 const CoordinateSet& prediction) {
    return columnsOf(lettersOf(experiment, experiment.subunits.front()),
                     lettersOf(prediction, prediction.subunits.front()));
}

const AlignedColumns& SequencePairing::columnsOf(std::string_view experiment,
                                                 std::string_view prediction) {
    asked_ = {std::string(experiment), std::string(prediction)};
    const auto found = kept_.find(asked_);
    if (found != kept_.end()) return found->second;
    aligner_.align(asked_.first, asked_.second, latest_);
    const std::size_t columns = latest_.experiment.size() + latest_.prediction.size();
    if (keptColumns_ + columns > kMostKept) return latest_;
    keptColumns_ += columns;
    return kept_.emplace(asked_, latest_).first->second;
}

SequencePairing::Keyed SequencePairing::align(const CoordinateSet& experiment,
                                              const CoordinateSet& prediction, Report& report) {
    const AlignedColumns& aligned = columnsOf(experiment, prediction);
    setKeys(experiment, aligned.experiment, experiment_);
    setKeys(prediction, aligned.prediction, prediction_);
    if (report.reports(ReportLevel::Numbers))
        agreementOf(asked_.first, asked_.second, aligned).report(report);
    return {experiment_, prediction_};
}

SequenceAgreement SequencePairing::agreement(const CoordinateSet& experiment,
                                             const CoordinateSet& prediction) {
    const AlignedColumns& aligned = columnsOf(experiment, prediction);
    return agreementOf(asked_.first, asked_.second, aligned);
}

}  // namespace tervolanda
