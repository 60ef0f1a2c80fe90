#include "resultfiles/gradual_matrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace tervolanda {
namespace {

TEST(GradualMatrix, HoldsWhatAMatrixHoldsBeforeAndAfterItIsFilled) {
    constexpr std::size_t kSize = 100;  // filled with the tenth cell
    std::mt19937 random(5);
    Matrix<int> plain(kSize, kSize, -1);
    for (std::size_t i = 0; i < kSize; ++i)
        plain.at(i, i) = 7;
    GradualMatrix<int> gradual(kSize, -1, 7);
    for (int count = 0; count < 30; ++count) {
        const std::size_t row = random() % kSize;
        const std::size_t column = count % 3 == 0 ? row : random() % kSize;
        for (const int value : {count, count + 1}) {  // the later one counts
            plain.at(row, column) = value;
            gradual.set(row, column, value);
        }
        for (std::size_t i = 0; i < kSize; ++i) {
            for (std::size_t j = 0; j < kSize; ++j)
                ASSERT_EQ(gradual.get(i, j), plain.at(i, j)) << count;
        }
    }
    const Matrix<int> taken = gradual.take();
    EXPECT_TRUE(std::equal(taken.values().begin(), taken.values().end(), plain.values().begin(),
                           plain.values().end()));
    EXPECT_EQ(gradual.size(), 0U);
    EXPECT_EQ(GradualMatrix<int>(2, -1, 7).take().at(1, 1), 7);
}

}  // namespace
}  // namespace tervolanda
