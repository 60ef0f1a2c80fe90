// A rectangular array of values, row by row in one piece of memory.
//
// Scores and distances of models, N x N, and pair counts; matrices of residues are made a row at a
// time instead (compare/pairing/similarity.h).
#pragma once

#include <cstddef>
#include <span>
#include <stdexcept>
#include <vector>

namespace tervolanda {

// Positions are not checked.  Invariant: values_ has rows_ x columns_ entries.
template <typename T>
class Matrix {
 public:
    Matrix() = default;
    Matrix(std::size_t rows, std::size_t columns, T value = T{}) { assign(rows, columns, value); }

    // Row by row, by fill(i, row): for callers that have to look for a stop between rows, which
    // zeroing all of a large matrix first would delay.
    template <typename Fill>
    static Matrix ofRows(std::size_t rows, std::size_t columns, Fill fill) {
        Matrix matrix;
        matrix.reserve(rows, columns);
        matrix.columns_ = columns;
        for (; matrix.rows_ < rows; ++matrix.rows_) {
            matrix.values_.resize(matrix.values_.size() + columns);
            fill(matrix.rows_, matrix.row(matrix.rows_));
        }
        return matrix;
    }

    void assign(std::size_t rows, std::size_t columns, T value) {
        if (columns != 0 && rows > values_.max_size() / columns) {
            throw std::length_error("Matrix");  // their product may be a small number again
        }
        values_.assign(rows * columns, value);
        rows_ = rows;
        columns_ = columns;
    }
    // Takes the memory that an assign() of this shape needs, without touching it.
    void reserve(std::size_t rows, std::size_t columns) { values_.reserve(rows * columns); }
    std::size_t rows() const { return rows_; }
    std::size_t columns() const { return columns_; }
    T& at(std::size_t row, std::size_t column) { return values_[row * columns_ + column]; }
    const T& at(std::size_t row, std::size_t column) const {
        return values_[row * columns_ + column];
    }
    std::span<T> row(std::size_t i) { return {values_.data() + i * columns_, columns_}; }
    std::span<const T> row(std::size_t i) const {
        return {values_.data() + i * columns_, columns_};
    }
    std::span<T> values() { return values_; }
    std::span<const T> values() const { return values_; }

 private:
    std::vector<T> values_;
    std::size_t rows_ = 0;
    std::size_t columns_ = 0;
};

}  // namespace tervolanda
