// The classical three-state dynamic programme: the best score of an alignment that ends in a cell
// with its two residues paired, with a skipped column, or with a skipped row (Smith & Waterman
// 1981, with the gaps of Gotoh 1982).  Rows are residues of the prediction, columns those of the
// experiment.  Only two rows of scores are kept; the way back needs one byte a cell.
//
// A row is filled by a kernel (pairing_kernels.h), with the same bits on every processor.  The
// scores are single precision: similarities come from geometry, and ties are decided by the order
// of the comparisons, which is fixed.
#include "compare/pairing/local_alignment.h"

#include <algorithm>
#include <limits>

namespace tervolanda {

namespace {

constexpr float kNever = -std::numeric_limits<float>::infinity();

// A penalty as the recurrences want it: not positive, and small enough that sums stay finite.
float bounded(double penalty) {
    constexpr double kLargest = 1e9;
    return static_cast<float>(std::clamp(penalty, -kLargest, 0.0));
}

}  // namespace

// Sizes of one alignment; the padding is that of the kernels, and nothing in it is ever the best.
void LocalAligner::prepare(std::size_t rows, std::size_t columns) {
    columns_ = columns;
    const std::size_t padded = columns + kPadding;
    similarity_.assign(padded, kNever);
    scores_.assign(padded + 1, 0.0F);
    unskipped_.assign(padded + 1, 0.0F);
    paired_.resize(padded);
    rowGap_.assign(padded, kNever);
    columnGap_.assign(padded, kNever);
    steps_.resize(rows * columns + kPadding);
}

AlignmentRow LocalAligner::rowOf(std::size_t i, float open, float affine) {
    return {.columns = columns_,
            .similarity = similarity_.data(),
            .scores = scores_.data(),
            .unskipped = unskipped_.data(),
            .paired = paired_.data(),
            .rowGap = rowGap_.data(),
            .columnGap = columnGap_.data(),
            .steps = steps_.data() + i * columns_,
            .open = open,
            .affine = affine};
}

// From the end of the best alignment up and to the left, until a cell in which none ends with a
// positive score.  Pairs come in reverse; a pair of similarity 0 joins two stretches and is no
// pair.
void LocalAligner::traceBack(Cell end, std::vector<AlignedPair>& pairs) const {
    using namespace steps;
    // Counted from 1: the border of the matrix is 0.
    std::size_t i = end.row + 1;
    std::size_t j = end.column + 1;
    int gap = kStop;  // the gap that the way is in
    while (i > 0 && j > 0) {
        const int cell = steps_[(i - 1) * columns_ + (j - 1)];
        const int step = gap != kStop ? gap : cell & kMask;
        if (step == kStop) break;
        if (step == kPair) {
            --i;
            --j;
            if ((cell & kAlike) != 0) {
                pairs.push_back({static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(j)});
            }
        } else if (step == kSkipColumn) {
            gap = (cell & kColumnGapOn) != 0 ? kSkipColumn : kStop;
            --j;
        } else {
            gap = (cell & kRowGapOn) != 0 ? kSkipRow : kStop;
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
        similarity.fillRow(i, std::span(similarity_).first(columns_));
        const float ofRow = kernels_.alignRow(rowOf(i, open, affine));
        if (!(ofRow > highest)) continue;
        highest = ofRow;
        const auto first = std::find(scores_.begin() + 1, scores_.end(), highest);
        end = {i, static_cast<std::size_t>(first - scores_.begin()) - 1};
    }
    if (highest > 0.0F) traceBack(end, pairs);
    return highest;
}

}  // namespace tervolanda
