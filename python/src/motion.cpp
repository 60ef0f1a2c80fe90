// A superposition turns about a centre; people expect x' = R x + t.
#include "motion.h"

namespace tervolanda::python {

py::object rotationOf(const std::optional<Superposition>& superposition) {
    if (!superposition) return py::none();
    return newTable<double>(3, 3, [&](std::size_t i, double* row) {
        for (std::size_t j = 0; j < 3; ++j)
            row[j] = superposition->rotation[3 * i + j];
    });
}

py::object translationOf(const std::optional<Superposition>& superposition) {
    if (!superposition) return py::none();
    const auto origin = superposition->apply(0.0, 0.0, 0.0);
    return newArray<double>(3, [&](std::size_t i) { return origin[i]; });
}

py::array_t<double> superpose(const std::optional<Superposition>& superposition,
                              const ArrayIn<double>& coordinates) {
    if (!superposition) throw py::value_error("there is no superposition");
    const std::span<const double> places = placesOf(coordinates);
    return newTable<double>(places.size() / 3, 3, [&](std::size_t i, double* row) {
        const auto moved =
            superposition->apply(places[3 * i], places[3 * i + 1], places[3 * i + 2]);
        std::copy(moved.begin(), moved.end(), row);
    });
}

}  // namespace tervolanda::python
