#include "compare/pairing/local_alignment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <random>
#include <span>

#include "base/matrix.h"

namespace tervolanda {
namespace {

using testing::ElementsAre;

Matrix<float> matrixOf(const std::vector<std::vector<float>>& rows) {
    Matrix<float> matrix(rows.size(), rows.empty() ? 0 : rows[0].size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        std::copy(rows[i].begin(), rows[i].end(), matrix.row(i).begin());
    }
    return matrix;
}

class MatrixRows final : public SimilarityRows {
 public:
    explicit MatrixRows(const Matrix<float>& matrix) : matrix_(matrix) {}
    std::size_t rows() const override { return matrix_.rows(); }
    std::size_t columns() const override { return matrix_.columns(); }
    void fillRow(std::size_t row, std::span<float> similarities) const override {
        std::copy(matrix_.row(row).begin(), matrix_.row(row).end(), similarities.begin());
    }

 private:
    const Matrix<float>& matrix_;
};

std::vector<AlignedPair> aligned(const Matrix<float>& similarity, GapPenalties penalties) {
    LocalAligner aligner;
    std::vector<AlignedPair> pairs;
    aligner.align(MatrixRows(similarity), penalties, pairs);
    return pairs;
}

// The best score by the definition of an alignment: a chain of pairs, each costing the gaps to the
// pair before it.  It looks at all predecessors of a pair and so knows no states and no recurrence.
class ByDefinition {
 public:
    ByDefinition(const Matrix<float>& similarity, GapPenalties penalties)
        : similarity_(similarity), penalties_(penalties) {
        known_.assign(similarity.rows(), similarity.columns(), std::nullopt);
    }
    double best() {
        double best = 0.0;
        for (std::size_t i = 0; i < similarity_.rows(); ++i) {
            for (std::size_t j = 0; j < similarity_.columns(); ++j) {
                best = std::max(best, endingAt(i, j));
            }
        }
        return best;
    }

 private:
    double gap(std::size_t length) const {
        if (length == 0) return 0.0;
        return penalties_.open + static_cast<double>(length - 1) * penalties_.affine;
    }
    double endingAt(std::size_t i, std::size_t j) {
        if (known_.at(i, j)) return *known_.at(i, j);
        double before = 0.0;
        for (std::size_t k = 0; k < i; ++k) {
            for (std::size_t l = 0; l < j; ++l) {
                before = std::max(before, endingAt(k, l) + gap(i - k - 1) + gap(j - l - 1));
            }
        }
        const double score = before + static_cast<double>(similarity_.at(i, j));
        known_.at(i, j) = score;
        return score;
    }

    const Matrix<float>& similarity_;
    GapPenalties penalties_;
    Matrix<std::optional<double>> known_;
};

// Eighths, so that sums are exact and equal scores frequent; any share of the cells is empty.
Matrix<float> randomMatrix(std::mt19937& engine) {
    const auto zeros = engine() % 10;
    Matrix<float> matrix(1 + engine() % 9, 1 + engine() % 9);
    for (float& value : matrix.values()) {
        value = engine() % 10 < zeros ? 0.0F : static_cast<float>(1 + engine() % 8) / 8.0F;
    }
    return matrix;
}

TEST(LocalAligner, FindsTheBestScoreByDefinitionAndPairsThatHaveIt) {
    constexpr std::array<GapPenalties, 6> kPenalties = {
        GapPenalties{-0.625, 0.0}, GapPenalties{-1.0, -0.25}, GapPenalties{-0.5, -0.5},
        GapPenalties{0.0, 0.0},    GapPenalties{-0.125, 0.0}, GapPenalties{-8.0, -8.0}};
    std::mt19937 engine(20);
    LocalAligner aligner;
    for (int trial = 0; trial < 600; ++trial) {
        const GapPenalties& penalties = kPenalties[static_cast<std::size_t>(trial) % 6];
        const Matrix<float> similarity = randomMatrix(engine);
        std::vector<AlignedPair> pairs;
        const double score =
            static_cast<double>(aligner.align(MatrixRows(similarity), penalties, pairs));
        ASSERT_EQ(score, ByDefinition(similarity, penalties).best()) << "trial " << trial;
        // With all other similarities forbidden the pairs alone must still reach that score.
        Matrix<float> only(similarity.rows(), similarity.columns());
        for (std::size_t i = 0; i < similarity.values().size(); ++i) {
            only.values()[i] = similarity.values()[i] == 0.0F ? 0.0F : -1000.0F;
        }
        for (const AlignedPair& pair : pairs) {
            only.at(pair.row, pair.column) = similarity.at(pair.row, pair.column);
            ASSERT_NE(similarity.at(pair.row, pair.column), 0.0F);
        }
        ASSERT_EQ(score, ByDefinition(only, penalties).best()) << "trial " << trial;
        for (std::size_t k = 1; k < pairs.size(); ++k) {
            ASSERT_LT(pairs[k - 1].row, pairs[k].row);
            ASSERT_LT(pairs[k - 1].column, pairs[k].column);
        }
    }
}

TEST(LocalAligner, BreaksTiesByItsRules) {
    struct Case {
        const char* name;
        std::vector<std::vector<float>> similarity;
        GapPenalties penalties;
        std::vector<AlignedPair> expected;
    };
    for (const Case& c : std::vector<Case>{
             {"nothing similar", {{0, 0}, {0, 0}}, {-1, 0}, {}},
             {"no rows", {}, {-1, 0}, {}},
             {"an empty cell on the way is not paired",
              {{1, 0, 0}, {0, 0, 0}, {0, 0, 1}},
              {-1, -1},
              {{0, 0}, {2, 2}}},
             {"a gap as dear as its gain is not worth it",
              {{1, 0, 0}, {0, 0, 1}},
              {-1, 0},
              {{0, 0}}},
             {"of equal ends the first row by row",
              {{0, 2, 0}, {0, 0, 0}, {2, 0, 0}},
              {-9, 0},
              {{0, 1}}},
             // (0,0) or (0,1) before (1,2), with and without a gap: the diagonal wins.
             {"the diagonal before a gap", {{1, 1, 0}, {0, 0, 1}}, {0, 0}, {{0, 1}, {1, 2}}},
             // (0,1) or (1,0) before (2,2), each over one gap: the skipped column wins.
             {"of equal gaps a skipped column",
              {{0, 1, 0}, {1, 0, 0}, {0, 0, 2}},
              {-0.5, 0},
              {{1, 0}, {2, 2}}}}) {
        EXPECT_EQ(aligned(matrixOf(c.similarity), c.penalties), c.expected) << c.name;
    }
}

TEST(LocalAligner, TakesPenaltiesThatAreNoneAsTheNearestThatAre) {
    const auto similarity = matrixOf({{1, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 0}, {0, 0, 0, 1}});
    const auto free = aligned(similarity, {0.0, 0.0});
    EXPECT_THAT(free, ElementsAre(AlignedPair{0, 0}, AlignedPair{1, 2}, AlignedPair{3, 3}));
    EXPECT_EQ(aligned(similarity, {1e300, 1e300}), free);
    EXPECT_EQ(aligned(similarity, {-HUGE_VAL, -HUGE_VAL}), aligned(similarity, {-100.0, -100.0}));
    // A gap of two never costs more than two gaps.
    EXPECT_EQ(aligned(matrixOf({{2, 0, 0, 0}, {0, 0, 0, 2}}), {-0.5, -100.0}).size(), 2U);
}

TEST(LocalAligner, ForgetsTheMatrixBefore) {
    LocalAligner aligner;
    std::vector<AlignedPair> pairs;
    aligner.align(MatrixRows(Matrix<float>(40, 30, 1.0F)), {-1.0, 0.0}, pairs);
    EXPECT_EQ(pairs.size(), 30U);
    aligner.align(MatrixRows(matrixOf({{0, 0}, {0, 1}, {0, 0}})), {-1.0, 0.0}, pairs);
    EXPECT_THAT(pairs, ElementsAre(AlignedPair{1, 1}));
}

}  // namespace
}  // namespace tervolanda
