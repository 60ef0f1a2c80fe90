// The pairing by shape compares residues by seven neighbours each, which is enough for chains of
// one family.  Where it is not (helices are all alike, and two of them fit in many ways) other
// starts are looked for.  Shifting one chain along the other finds what matches without gaps;
// fragments superposed in turn find what one rigid motion explains.
//
// What they promise is judged roughly, by some rounds of fitting and aligning; what comes of the
// best of them, only a search can tell.  Every candidate is judged by the same yardstick, the
// TM-score by the length of the shorter chain, so that those of both kinds can be sorted together.
#include "compare/pairing/starting_pairings.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "compare/fit/tm_scale.h"
#include "compare/pairing/residue_similarity.h"

namespace tervolanda {

namespace {

constexpr std::size_t kFewestPairs = 5;
constexpr double kGoodStart = 0.75;       // TM-score from which no other start is looked at
constexpr std::size_t kMostOthers = 3;    // other starts that a search is worth
constexpr int kTrimmings = 8;             // fits to the pairs that lie near after the fit before
constexpr int kRefinements = 4;           // rounds of aligning by distance
constexpr double kEasierGaps = 0.1;       // similarities of starts are out of 10, as of fragments
constexpr std::size_t kBestShifts = 3;    // shifts that are followed up
constexpr std::ptrdiff_t kFragment = 20;  // residues of a superposed fragment
constexpr std::ptrdiff_t kMostFragments = 50;  // about as many of each chain
constexpr std::size_t kBestFragments = 6;      // superpositions that are followed up
constexpr std::ptrdiff_t kMostProbes = 75;     // residues that tell how well chains agree
constexpr std::ptrdiff_t kWindow = 30;         // residues either side that a probe may match

std::ptrdiff_t signedSize(const CoordinateSet& set) {
    return static_cast<std::ptrdiff_t>(set.size());
}

// `count` pairs from prediction residue i and experiment residue j on.
void fillDiagonal(std::ptrdiff_t i, std::ptrdiff_t j, std::ptrdiff_t count, Pairing& pairing) {
    pairing.clear();
    for (std::ptrdiff_t k = 0; k < count; ++k) {
        pairing.push_back({static_cast<std::uint32_t>(i + k), static_cast<std::uint32_t>(j + k)});
    }
}

}  // namespace

// Scores of candidates are by the shorter chain: which chain is called the experiment must not
// decide.
StartingPairings::StartingPairings(const CoordinateSet& experiment, const CoordinateSet& prediction,
                                   const GapPenalties& penalties, StartScratch& scratch)
    : experiment_(experiment),
      prediction_(prediction),
      penalties_{kEasierGaps * penalties.open, kEasierGaps * penalties.affine},
      scratch_(scratch),
      length_(static_cast<double>(std::min(experiment.size(), prediction.size()))),
      scale_(distanceScale(length_, 1.0)) {}

std::vector<Pairing> StartingPairings::find(const Pairing& byShape) {
    std::vector<Pairing> starts = {byShape};
    scratch_.candidate = byShape;
    if (considerCandidate() >= kGoodStart) return starts;
    considerShifts();
    considerFragments();
    std::stable_sort(candidates_.begin(), candidates_.end(),
                     [](const auto& a, const auto& b) { return a.tm > b.tm; });
    for (Candidate& candidate : candidates_) {
        if (starts.size() > kMostOthers) break;
        if (std::find(starts.begin(), starts.end(), candidate.pairing) == starts.end())
            starts.push_back(std::move(candidate.pairing));
    }
    return starts;
}

void StartingPairings::place(const Pairing& pairing) {
    throwIfStopped(scratch_.stop);
    scratch_.pairs.place(experiment_.points, prediction_.points, pairing.size(),
                         [&pairing](std::size_t k) {
                             const auto [i, j] = pairing[k];
                             return std::pair(j, i);
                         });
    scratch_.squared.resize(pairing.size());
}

// The best TM-score of a pairing among the fit to all its pairs and some fits to near ones.
StartingPairings::Judged StartingPairings::judge(const Pairing& pairing) {
    Judged best;
    if (pairing.size() < kFewestPairs) return best;
    place(pairing);
    const double nearby = clampedDistanceScale(length_, 1.0);
    auto fit = fitPairs(scratch_.pairs, scratch_.kernels);
    for (int trimming = 0; fit; ++trimming) {
        squaredDeviations(scratch_.pairs, *fit, scratch_.kernels, scratch_.squared);
        double sum = 0.0;
        for (const double squared : scratch_.squared)
            sum += tmTerm(squared, scale_ * scale_);
        if (sum / length_ > best.tm) best = {sum / length_, asSuperposition(scratch_.pairs, *fit)};
        if (trimming == kTrimmings) break;
        scratch_.subset.clear();
        for (std::uint32_t k = 0; k < scratch_.squared.size(); ++k) {
            if (scratch_.squared[k] <= nearby * nearby) scratch_.subset.push_back(k);
        }
        if (scratch_.subset.size() < kFewestPairs) break;
        fit = fitPairs(scratch_.pairs, scratch_.subset, scratch_.kernels, scratch_.gathered);
    }
    return best;
}

// Aligns anew by distance while that raises the TM-score.
StartingPairings::Judged StartingPairings::refine(Pairing& pairing) {
    Judged best = judge(pairing);
    for (int round = 0; round < kRefinements && best.tm > 0.0; ++round) {
        align(best.superposition, scratch_.next);
        const Judged judged = judge(scratch_.next);
        if (!(judged.tm > best.tm)) break;
        best = judged;
        std::swap(pairing, scratch_.next);
    }
    return best;
}

void StartingPairings::align(const Superposition& superposition, Pairing& pairing) {
    const DistanceScores similarity(experiment_, prediction_, superposition,
                                    scratch_.pairingKernels, {scale_, similarityReach(length_)});
    scratch_.aligner.align(similarity, penalties_, pairing, scratch_.stop);
}

// Refines the pairing in scratch_.candidate and notes it; returns its TM-score.
double StartingPairings::considerCandidate() {
    const double tm = refine(scratch_.candidate).tm;
    if (tm > 0.0) candidates_.push_back({tm, scratch_.candidate});
    return tm;
}

// Of all shifts that leave half of the shorter chain paired the best few are candidates.
void StartingPairings::considerShifts() {
    const std::ptrdiff_t rows = signedSize(prediction_);
    const std::ptrdiff_t columns = signedSize(experiment_);
    const std::ptrdiff_t least =
        std::max(static_cast<std::ptrdiff_t>(kFewestPairs), std::min(rows, columns) / 2);
    const auto pairShifted = [&](std::ptrdiff_t shift, Pairing& pairing) {
        const std::ptrdiff_t first = std::max<std::ptrdiff_t>(0, -shift);
        fillDiagonal(first, first + shift, std::min(rows, columns - shift) - first, pairing);
    };
    std::vector<std::pair<double, std::ptrdiff_t>> shifts;  // TM-score, shift
    for (std::ptrdiff_t shift = least - rows; shift <= columns - least; ++shift) {
        pairShifted(shift, scratch_.next);
        shifts.emplace_back(judge(scratch_.next).tm, shift);
    }
    std::stable_sort(shifts.begin(), shifts.end(),
                     [](const auto& a, const auto& b) { return a.first > b.first; });
    if (shifts.size() > kBestShifts) shifts.resize(kBestShifts);
    for (const auto& [tm, shift] : shifts) {
        pairShifted(shift, scratch_.candidate);
        considerCandidate();
    }
}

// Of all superpositions of fragments the best few, by how well the chains agree around them, are
// candidates.
void StartingPairings::considerFragments() {
    std::vector<FragmentStart> starts = superposeFragments();
    std::stable_sort(starts.begin(), starts.end(),
                     [](const auto& a, const auto& b) { return a.agreement > b.agreement; });
    if (starts.size() > kBestFragments) starts.resize(kBestFragments);
    for (const FragmentStart& start : starts) {
        align(start.superposition, scratch_.candidate);
        considerCandidate();
    }
}

// Fragments of 20 residues, in steps of a third of that or more, each of one chain on each of the
// other: at most about 50 x 50 fits, whatever the lengths.
std::vector<StartingPairings::FragmentStart> StartingPairings::superposeFragments() {
    const std::ptrdiff_t rows = signedSize(prediction_);
    const std::ptrdiff_t columns = signedSize(experiment_);
    const std::ptrdiff_t length = std::min(kFragment, std::min(rows, columns));
    const std::ptrdiff_t rowStep = std::max(kFragment / 3, rows / kMostFragments);
    const std::ptrdiff_t columnStep = std::max(kFragment / 3, columns / kMostFragments);
    std::vector<FragmentStart> starts;
    for (std::ptrdiff_t i = 0; i + length <= rows; i += rowStep) {
        for (std::ptrdiff_t j = 0; j + length <= columns; j += columnStep) {
            fillDiagonal(i, j, length, scratch_.candidate);
            place(scratch_.candidate);
            const auto fit = fitPairs(scratch_.pairs, scratch_.kernels);
            if (!fit) continue;
            const Superposition superposition = asSuperposition(scratch_.pairs, *fit);
            starts.push_back({agreement(superposition, j - i), superposition});
        }
    }
    return starts;
}

// Sum of the TM-score's terms of some prediction residues, each with the nearest of the experiment
// residues that are about `shift` further along.
double StartingPairings::agreement(const Superposition& superposition, std::ptrdiff_t shift) const {
    const Points& from = prediction_.points;
    const Points& to = experiment_.points;
    const std::ptrdiff_t rows = signedSize(prediction_);
    const std::ptrdiff_t columns = signedSize(experiment_);
    double sum = 0.0;
    for (std::ptrdiff_t i = 0; i < rows; i += std::max<std::ptrdiff_t>(4, rows / kMostProbes)) {
        const auto k = static_cast<std::size_t>(i);
        const auto [x, y, z] = superposition.apply(from.x[k], from.y[k], from.z[k]);
        const auto first = std::clamp<std::ptrdiff_t>(i + shift - kWindow, 0, columns);
        const auto end = std::clamp<std::ptrdiff_t>(i + shift + kWindow, 0, columns);
        // Å², no pair at all: its term is 0 to all digits that are shown.
        double nearest = 1e9;
        for (auto j = static_cast<std::size_t>(first); j < static_cast<std::size_t>(end); ++j) {
            const double dx = x - to.x[j];
            const double dy = y - to.y[j];
            const double dz = z - to.z[j];
            nearest = std::min(nearest, (dx * dx + dy * dy) + dz * dz);
        }
        sum += tmTerm(nearest, scale_ * scale_);
    }
    return sum;
}

}  // namespace tervolanda
