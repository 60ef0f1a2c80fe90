// The matrix of a result file while the file is read.
//
// Both parsers of result files keep their matrices in one of these; nobody else needs it, since
// elsewhere the size of a matrix is that of a list whose models have been read.
#pragma once

#include <cstddef>
#include <map>
#include <utility>

#include "base/matrix.h"

namespace tervolanda {

// A square matrix that is filled only when many of its cells are set.  A file may have any number
// of size records, each of which starts over: when filling came with the size, 12 kB of them took
// 9 s.
//
// Invariant: until it is filled `cells_` has what was set and all other cells are `value_` or, on
// the diagonal, `diagonal_`; from then on `cells_` is empty and `matrix_` has everything.
template <typename T>
class GradualMatrix {
 public:
    GradualMatrix() = default;
    // Takes the memory, and so may throw std::bad_alloc, but leaves it untouched.
    GradualMatrix(std::size_t size, T value, T diagonal)
        : size_(size), value_(value), diagonal_(diagonal) {
        matrix_.reserve(size, size);
    }

    std::size_t size() const { return size_; }
    T get(std::size_t row, std::size_t column) const {
        if (isFilled_) return matrix_.at(row, column);
        const auto found = cells_.find({row, column});
        if (found != cells_.end()) return found->second;
        return row == column ? diagonal_ : value_;
    }
    // The cells so far go into the matrix when there are enough of them to be worth filling it.
    void set(std::size_t row, std::size_t column, T value) {
        if (isFilled_) {
            matrix_.at(row, column) = value;
            return;
        }
        cells_[{row, column}] = value;
        if (cells_.size() > size_ * size_ / kCellsToFillForOne) fill();
    }
    // The matrix; empty from then on.
    Matrix<T> take() {
        if (!isFilled_) fill();
        return std::exchange(*this, {}).matrix_;
    }

 private:
    void fill() {
        matrix_.assign(size_, size_, value_);
        for (std::size_t i = 0; i < size_; ++i)
            matrix_.at(i, i) = diagonal_;
        for (const auto& [place, value] : cells_)
            matrix_.at(place.first, place.second) = value;
        cells_.clear();
        isFilled_ = true;
    }

    // So the cells set so far take little memory beside the matrix, and filling little time beside
    // the reading of their records.
    static constexpr std::size_t kCellsToFillForOne = 1024;

    Matrix<T> matrix_;
    std::map<std::pair<std::size_t, std::size_t>, T> cells_;  // those set, until it is filled
    std::size_t size_ = 0;
    T value_{};
    T diagonal_{};
    bool isFilled_ = false;
};

}  // namespace tervolanda
