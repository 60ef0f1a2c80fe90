#include "compare/pairing/local_alignment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <random>
#include <span>
#include <sstream>

#include "base/format.h"
#include "base/matrix.h"
#include "support/support.h"

namespace tervolanda {
namespace {

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
    Matrix<float> matrix(1 + engine() % 9, 1 + engine() % 20);
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
    std::vector<LocalAligner> aligners;
    for (const Kernels* kernels : runnableKernels())
        aligners.emplace_back(pairingKernels(kernels->instructionSet));
    for (int trial = 0; trial < 600; ++trial) {
        const GapPenalties& penalties = kPenalties[static_cast<std::size_t>(trial) % 6];
        const Matrix<float> similarity = randomMatrix(engine);
        std::vector<AlignedPair> pairs;
        const double score =
            static_cast<double>(aligners[0].align(MatrixRows(similarity), penalties, pairs));
        for (LocalAligner& aligner : aligners) {
            std::vector<AlignedPair> sameTies;
            aligner.align(MatrixRows(similarity), penalties, sameTies);
            ASSERT_EQ(pairs, sameTies) << "trial " << trial;
        }
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

// The numbers in `text`, "/" between rows.
Matrix<float> matrixOf(const std::string& text) {
    const auto rows = static_cast<std::size_t>(std::count(text.begin(), text.end(), '/')) + 1;
    std::vector<float> values;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (word != "/") values.push_back(std::stof(word));
    }
    Matrix<float> matrix(values.empty() ? 0 : rows, values.size() / rows);
    std::copy(values.begin(), values.end(), matrix.values().begin());
    return matrix;
}

// One aligner for all: it forgets the matrix before.
TEST(LocalAligner, BreaksTiesByItsRulesAndTakesPenaltiesThatAreNoneAsTheNearestThatAre) {
    LocalAligner aligner(pairingKernels(bestKernels().instructionSet));
    std::vector<AlignedPair> pairs;
    aligner.align(MatrixRows(Matrix<float>(40, 30, 1.0F)), {-1.0, 0.0}, pairs);
    EXPECT_EQ(pairs.size(), 30U);
    for (const auto& row : test::tableRows("compare/pairing/alignments.txt")) {
        const std::size_t blank = row.at(2).find(' ');
        const GapPenalties penalties{std::stod(row[2]), std::stod(row[2].substr(blank))};
        const Matrix<float> similarity = matrixOf(row[1]);
        aligner.align(MatrixRows(similarity), penalties, pairs);
        std::string found;
        for (const AlignedPair& pair : pairs)
            found += format("%s%u-%u", found.empty() ? "" : " ", pair.row, pair.column);
        EXPECT_EQ(found, row.at(3)) << row[0];
    }
}

}  // namespace
}  // namespace tervolanda
