// The three-state dynamic programme over whole sequences: the best score of an alignment that ends
// with two residues paired, with a skipped experiment residue, or with a skipped prediction
// residue.  Rows are prediction residues, columns experiment residues.  Scores are whole numbers,
// so that a tie is a tie on every machine.
//
// Only a row of scores is kept and a byte a cell for the way back.  Equal sequences, most of what a
// list has, are paired without either.
#include "compare/pairing/sequence_alignment.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace tervolanda {

namespace {

constexpr unsigned kPair = 1;
constexpr unsigned kSkipColumn = 2;
constexpr unsigned kSkipRow = 3;
constexpr unsigned kStepMask = 3;
constexpr unsigned kColumnGapOn = 4;  // a gap of columns that ends here began further left
constexpr unsigned kRowGapOn = 8;     // a gap of rows that ends here began further up

// Costs in half bits, as the matrix; 11 and 1 are the usual ones beside BLOSUM62.  Where a chain is
// broken residues are missing anyhow, and a gap is cheaper.
constexpr std::int32_t kOpen = 11;
constexpr std::int32_t kOpenAtBreak = 4;
constexpr std::int32_t kExtend = 1;
// So far from any score that sums of it do not overflow.
constexpr std::int32_t kImpossible = -(1 << 29);

constexpr std::string_view kLetters = "ARNDCQEGHILKMFPSTWYV";
constexpr std::size_t kUnknown = kLetters.size();

// clang-format off
// Henikoff & Henikoff 1992, Proc. Natl Acad. Sci. USA 89:10915.
constexpr std::array<std::int32_t, 210> kBlosum62 = {  // below the diagonal, in that order
     4,
    -1, 5,
    -2, 0, 6,
    -2,-2, 1, 6,
     0,-3,-3,-3, 9,
    -1, 1, 0, 0,-3, 5,
    -1, 0, 0, 2,-4, 2, 5,
     0,-2, 0,-1,-3,-2,-2, 6,
    -2, 0, 1,-1,-3, 0, 0,-2, 8,
    -1,-3,-3,-3,-1,-3,-3,-4,-3, 4,
    -1,-2,-3,-4,-1,-2,-3,-4,-3, 2, 4,
    -1, 2, 0,-1,-3, 1, 1,-2,-1,-3,-2, 5,
    -1,-1,-2,-3,-1, 0,-2,-3,-2, 1, 2,-1, 5,
    -2,-3,-3,-3,-2,-3,-3,-3,-1, 0, 0,-3, 0, 6,
    -1,-2,-2,-1,-3,-1,-1,-2,-2,-3,-3,-1,-2,-4, 7,
     1,-1, 1, 0,-1, 0, 0, 0,-1,-2,-2, 0,-1,-2,-1, 4,
     0,-1, 0,-1,-1,-1,-1,-2,-2,-1,-1,-1,-1,-2,-1, 1, 5,
    -3,-3,-4,-4,-2,-2,-3,-2,-2,-3,-2,-3,-1, 1,-4,-3,-2,11,
    -2,-2,-2,-3,-2,-1,-2,-3, 2,-1,-1,-2,-1, 3,-3,-2,-2, 2, 7,
     0,-3,-3,-3,-1,-2,-2,-3,-3, 3, 1,-2, 1,-1,-2,-2, 0,-3,-1, 4,
};
// clang-format on

constexpr char upper(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

constexpr auto kRowOfLetter = [] {
    std::array<std::uint8_t, 256> rows{};
    for (std::size_t c = 0; c < rows.size(); ++c) {
        const std::size_t found = kLetters.find(upper(static_cast<char>(c)));
        rows[c] = static_cast<std::uint8_t>(found == std::string_view::npos ? kUnknown : found);
    }
    return rows;
}();

std::size_t rowOfLetter(char letter) {
    return kRowOfLetter[static_cast<unsigned char>(letter)];
}

// The similarities of one residue to all kinds.
using LetterScores = std::array<std::int32_t, kUnknown + 1>;

// The table holds one triangle; unknown letters score 0 with all.
LetterScores scoresOf(char letter) {
    LetterScores scores{};
    const std::size_t a = rowOfLetter(letter);
    for (std::size_t b = 0; a < kUnknown && b < kUnknown; ++b) {
        const std::size_t row = std::max(a, b);
        scores[b] = kBlosum62[row * (row + 1) / 2 + std::min(a, b)];
    }
    return scores;
}

// What a gap costs that opens in a sequence of which `done` residues are aligned, and each residue
// in it; nothing at either end.
struct GapCost {
    std::int32_t open;
    std::int32_t extend;
};
GapCost gapCost(std::string_view sequence, std::size_t done) {
    if (done == 0 || done == sequence.size()) return {0, 0};
    const char last = sequence[done - 1];
    return {last == upper(last) ? kOpen : kOpenAtBreak, kExtend};
}

bool areEqual(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return upper(x) == upper(y); });
}

}  // namespace

void SequenceAligner::fillRow(std::string_view experiment, std::string_view prediction,
                              std::size_t i) {
    const LetterScores similarity = scoresOf(prediction[i]);
    const GapCost columnCost = gapCost(prediction, i + 1);
    std::uint8_t* const steps = steps_.data() + i * experiment.size();
    std::int32_t diagonal = scores_[0];
    scores_[0] = 0;  // prediction residues before the first experiment residue
    std::int32_t columnGap = kImpossible;
    for (std::size_t j = 0; j < experiment.size(); ++j) {
        const GapCost rowCost = gapCost(experiment, j + 1);
        const std::int32_t columnOpened = scores_[j] - columnCost.open;
        const std::int32_t rowOpened = scores_[j + 1] - rowCost.open;
        unsigned step = kPair;
        if (columnGap > columnOpened) step |= kColumnGapOn;
        if (rowGap_[j + 1] > rowOpened) step |= kRowGapOn;
        columnGap = std::max(columnGap, columnOpened) - columnCost.extend;
        rowGap_[j + 1] = std::max(rowGap_[j + 1], rowOpened) - rowCost.extend;
        std::int32_t best = diagonal + similarity[rowOfLetter(experiment[j])];
        diagonal = scores_[j + 1];
        if (columnGap > best) {
            best = columnGap;
            step = (step & ~kStepMask) | kSkipColumn;
        }
        if (rowGap_[j + 1] > best) {
            best = rowGap_[j + 1];
            step = (step & ~kStepMask) | kSkipRow;
        }
        scores_[j + 1] = best;
        steps[j] = static_cast<std::uint8_t>(step);
    }
}

// From the ends of both sequences to their beginnings, numbering columns down from -1; at the end
// all are shifted, so that they count from 0.
void SequenceAligner::traceBack(std::size_t experimentLength, std::size_t predictionLength,
                                AlignedColumns& aligned) const {
    aligned.experiment.resize(experimentLength);
    aligned.prediction.resize(predictionLength);
    std::size_t i = predictionLength;
    std::size_t j = experimentLength;
    unsigned gap = 0;  // the gap that the way is in
    std::int32_t column = 0;
    while (i > 0 || j > 0) {
        const unsigned steps = i > 0 && j > 0 ? steps_[(i - 1) * experimentLength + (j - 1)] : 0U;
        unsigned step = gap != 0 ? gap : steps & kStepMask;
        if (j == 0) step = kSkipRow;
        if (i == 0) step = kSkipColumn;
        gap = 0;
        if (step == kSkipColumn && (steps & kColumnGapOn) != 0) gap = kSkipColumn;
        if (step == kSkipRow && (steps & kRowGapOn) != 0) gap = kSkipRow;
        --column;  // counted from the end
        if (step != kSkipRow) aligned.experiment[--j] = column;
        if (step != kSkipColumn) aligned.prediction[--i] = column;
    }
    for (std::int32_t& of : aligned.experiment)
        of -= column;
    for (std::int32_t& of : aligned.prediction)
        of -= column;
}

void SequenceAligner::align(std::string_view experiment, std::string_view prediction,
                            AlignedColumns& aligned) {
    if (areEqual(experiment, prediction)) {
        aligned.experiment.resize(experiment.size());
        std::iota(aligned.experiment.begin(), aligned.experiment.end(), 0);
        aligned.prediction = aligned.experiment;
        return;
    }
    steps_.resize(experiment.size() * prediction.size());
    // No prediction residue at all: the experiment's are skipped for nothing.
    scores_.assign(experiment.size() + 1, 0);
    rowGap_.assign(experiment.size() + 1, kImpossible);
    for (std::size_t i = 0; i < prediction.size(); ++i)
        fillRow(experiment, prediction, i);
    traceBack(experiment.size(), prediction.size(), aligned);
}

}  // namespace tervolanda
