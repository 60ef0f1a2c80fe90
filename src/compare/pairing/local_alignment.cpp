// The classical three-state dynamic programme: the best score of an alignment that ends in a cell
// with its two residues paired, with a skipped column, or with a skipped row.  Only two rows of
// scores are kept; the way back needs one byte a cell.  A row is filled in several loops so that
// the compiler can use vector instructions for all but one: only skipped columns depend on the cell
// to their left.
//
// Smith & Waterman 1981 with the gaps of Gotoh 1982.  The scores are single precision: similarities
// come from geometry, and ties are decided by the order of the comparisons, which is fixed.
#include "compare/pairing/local_alignment.h"

#include <algorithm>
#include <array>
#include <limits>

namespace tervolanda {

namespace {

// The steps of a cell: its best state, and for either kind of gap whether it goes on in the cell
// that it comes from.
constexpr unsigned kStop = 0;  // no alignment with a positive score ends here
constexpr unsigned kPair = 1;
constexpr unsigned kSkipColumn = 2;
constexpr unsigned kSkipRow = 3;
constexpr unsigned kStepMask = 3;
constexpr unsigned kColumnGapOn = 4;  // a gap of columns that ends here began further left
constexpr unsigned kRowGapOn = 8;     // a gap of rows that ends here began further up
constexpr unsigned kAlike = 16;       // the similarity is not 0

constexpr float kNever = -std::numeric_limits<float>::infinity();

// A penalty as the recurrences want it: not positive, and small enough that sums stay finite.
float bounded(double penalty) {
    constexpr double kLargest = 1e9;
    return static_cast<float>(std::clamp(penalty, -kLargest, 0.0));
}

// By value: a choice between references would keep the loops from being vectorised.
float higher(float a, float b) {
    return a > b ? a : b;
}

// The highest of some values and 0, in independent lanes.
float highestOf(std::span<const float> values) {
    std::array<float, 8> lanes{};
    std::size_t i = 0;
    for (; i + lanes.size() <= values.size(); i += lanes.size()) {
        for (std::size_t k = 0; k < lanes.size(); ++k)
            lanes[k] = higher(lanes[k], values[i + k]);
    }
    for (; i < values.size(); ++i)
        lanes[0] = higher(lanes[0], values[i]);
    return *std::max_element(lanes.begin(), lanes.end());
}

}  // namespace

void LocalAligner::prepare(std::size_t rows, std::size_t columns) {
    columns_ = columns;
    similarity_.resize(columns);
    scores_.assign(columns + 1, 0.0F);
    unskipped_.assign(columns + 1, 0.0F);
    paired_.resize(columns);
    rowGap_.assign(columns, kNever);
    columnGap_.resize(columns);
    steps_.resize(rows * columns);
}

float LocalAligner::fillRow(std::uint8_t* __restrict steps, float open, float affine) {
    // Bytes may alias anything: without the promise that these do not, no loop would be vectorised.
    const std::size_t n = columns_;
    const float* __restrict const similarity = similarity_.data();
    float* __restrict const scores = scores_.data();
    float* __restrict const unskipped = unskipped_.data();
    float* __restrict const paired = paired_.data();
    float* __restrict const rowGap = rowGap_.data();
    float* __restrict const columnGap = columnGap_.data();
    for (std::size_t j = 0; j < n; ++j) {
        const float opened = scores[j + 1] + open;
        const float extended = rowGap[j] + affine;
        const unsigned gapOn = extended > opened ? kRowGapOn : kStop;
        const unsigned alike = similarity[j] != 0.0F ? kAlike : kStop;
        steps[j] = static_cast<std::uint8_t>(gapOn | alike);
        rowGap[j] = extended > opened ? extended : opened;
        paired[j] = scores[j] + similarity[j];
        unskipped[j + 1] = higher(higher(paired[j], rowGap[j]), 0.0F);
    }
    // A gap need not open after another one of its kind: going on is at least as good.
    // Each step waits for the one before; without a penalty to add it takes half the time.
    float gap = kNever;
    if (affine == 0.0F) {
        for (std::size_t j = 0; j < n; ++j) {
            gap = higher(gap, unskipped[j] + open);
            columnGap[j] = gap;
        }
    } else {
        for (std::size_t j = 0; j < n; ++j) {
            gap = higher(gap + affine, unskipped[j] + open);
            columnGap[j] = gap;
        }
    }
    for (std::size_t j = 0; j < n; ++j) {
        const unsigned gapOn = columnGap[j] > unskipped[j] + open ? kColumnGapOn : kStop;
        const unsigned skip = columnGap[j] >= rowGap[j] ? kSkipColumn : kSkipRow;
        const float skipped = higher(columnGap[j], rowGap[j]);
        const unsigned state = paired[j] >= skipped ? kPair : skip;
        const float score = higher(higher(paired[j], skipped), 0.0F);
        const unsigned step = score > 0.0F ? state : kStop;
        steps[j] = static_cast<std::uint8_t>(steps[j] | gapOn | step);
        scores[j + 1] = score;
    }
    return highestOf({scores + 1, n});
}

void LocalAligner::traceBack(Cell end, std::vector<AlignedPair>& pairs) const {
    // Counted from 1: the border of the matrix is 0.
    std::size_t i = end.row + 1;
    std::size_t j = end.column + 1;
    unsigned gap = kStop;  // the gap that the way is in
    while (i > 0 && j > 0) {
        const unsigned steps = steps_[(i - 1) * columns_ + (j - 1)];
        const unsigned step = gap != kStop ? gap : steps & kStepMask;
        if (step == kStop) break;
        if (step == kPair) {
            --i;
            --j;
            if ((steps & kAlike) != 0) {
                pairs.push_back({static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(j)});
            }
        } else if (step == kSkipColumn) {
            gap = (steps & kColumnGapOn) != 0 ? kSkipColumn : kStop;
            --j;
        } else {
            gap = (steps & kRowGapOn) != 0 ? kSkipRow : kStop;
            --i;
        }
    }
    std::reverse(pairs.begin(), pairs.end());
}

float LocalAligner::align(const SimilarityRows& similarity, const GapPenalties& penalties,
                          std::vector<AlignedPair>& pairs, const StopFlag* stop) {
    pairs.clear();
    prepare(similarity.rows(), similarity.columns());
    const float open = bounded(penalties.open);
    const float affine = std::max(bounded(penalties.affine), open);
    float highest = 0.0F;
    Cell end;
    for (std::size_t i = 0; i < similarity.rows(); ++i) {
        throwIfStopped(stop);
        similarity.fillRow(i, similarity_);
        const float ofRow = fillRow(steps_.data() + i * columns_, open, affine);
        if (!(ofRow > highest)) continue;
        highest = ofRow;
        const auto first = std::find(scores_.begin() + 1, scores_.end(), highest);
        end = {i, static_cast<std::size_t>(first - scores_.begin()) - 1};
    }
    if (highest > 0.0F) traceBack(end, pairs);
    return highest;
}

}  // namespace tervolanda
