// NumPy arrays in and out.  Those that come in are checked here once more, whatever was checked in
// Python: shapes decide about memory.
#pragma once

#include <pybind11/numpy.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "base/matrix.h"
#include "base/stop.h"
#include "bindings.h"

namespace tervolanda::python {

// Contiguous, of this type; another array is converted, and a read-only one is only read.
template <typename T>
using ArrayIn = py::array_t<T, py::array::c_style | py::array::forcecast>;

// What arrays hold where there is no value.
inline constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

// No structure lies farther out, Å: what is beyond is a mistake in the units.
inline constexpr double kFarthest = 1e7;

// The places of n points; an exception for another shape than (n, 3) and for what is no place.
inline std::span<const double> placesOf(const ArrayIn<double>& array) {
    if (array.ndim() != 2 || array.shape(1) != 3) {
        throw py::value_error("coordinates have the shape (n, 3)");
    }
    const std::span<const double> values(array.data(), static_cast<std::size_t>(array.size()));
    for (const double value : values) {
        if (!(std::abs(value) <= kFarthest)) {
            throw py::value_error("coordinates are finite numbers of at most 1e7 in size");
        }
    }
    return values;
}

// The n values of an array; an exception for another shape.
template <typename T>
std::span<const T> valuesOf(const ArrayIn<T>& array, std::size_t n, const char* what) {
    if (array.ndim() != 1 || static_cast<std::size_t>(array.shape(0)) != n) {
        throw py::value_error(std::string(what) + " is an array of " + std::to_string(n));
    }
    return {array.data(), n};
}

// A copy of n x n values, which takes its time, so that every row is shown to check(row) and may be
// the last one; without the interpreter's lock.
template <typename T, typename Check>
Matrix<T> matrixOf(const T* values, std::size_t n, const StopFlag* stop, Check check) {
    return Matrix<T>::ofRows(n, n, [=](std::size_t i, std::span<T> row) {
        throwIfStopped(stop);
        std::copy_n(values + i * n, n, row.begin());
        check(std::span<const T>(row));
    });
}

// An array of n x ... values, each filled in by its position.
template <typename T, typename ValueAt>
py::array_t<T> newArray(std::size_t n, ValueAt valueAt) {
    py::array_t<T> array(static_cast<py::ssize_t>(n));
    T* const data = array.mutable_data();
    for (std::size_t i = 0; i < n; ++i)
        data[i] = valueAt(i);
    return array;
}

// The same with `columns` values in each of the rows: fill(row, values).
template <typename T, typename Fill>
py::array_t<T> newTable(std::size_t rows, std::size_t columns, Fill fill) {
    py::array_t<T> array({static_cast<py::ssize_t>(rows), static_cast<py::ssize_t>(columns)});
    T* const data = array.mutable_data();
    for (std::size_t i = 0; i < rows; ++i)
        fill(i, data + i * columns);
    return array;
}

// Text from files is in no certain encoding: bytes that are no UTF-8 are shown as "\xff".
inline py::str asText(std::string_view text) {
    return py::reinterpret_steal<py::str>(PyUnicode_DecodeUTF8(
        text.data(), static_cast<Py_ssize_t>(text.size()), "backslashreplace"));
}

}  // namespace tervolanda::python
