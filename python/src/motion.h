// Superpositions as Python sees them.
#pragma once

#include <optional>

#include "arrays.h"
#include "bindings.h"
#include "compare/fit/fit.h"

namespace tervolanda::python {

// Row by row, (3, 3); None without a superposition.
py::object rotationOf(const std::optional<Superposition>& superposition);
// What is added to a turned place, (3,); None without a superposition.
py::object translationOf(const std::optional<Superposition>& superposition);
// The places (n, 3) of a prediction, moved; an exception without a superposition.
py::array_t<double> superpose(const std::optional<Superposition>& superposition,
                              const ArrayIn<double>& coordinates);

// Gives a class of results, which has a member `superposition`, the properties "rotation" and
// "translation" and the method "superpose".
template <typename Class>
void addSuperposition(py::class_<Class>& results) {
    results
        .def_property_readonly(
            "rotation", [](const Class& self) { return rotationOf(self.superposition); },
            "The rotation that moves the prediction, (3, 3); None without a superposition.")
        .def_property_readonly(
            "translation", [](const Class& self) { return translationOf(self.superposition); },
            "What is added after the rotation, (3,), Å; None without a superposition.")
        .def(
            "superpose",
            [](const Class& self, const ArrayIn<double>& coordinates) {
                return superpose(self.superposition, coordinates);
            },
            py::arg("coordinates"),
            "Places of the prediction, (n, 3) in Å, moved onto the experiment.  ValueError "
            "without a superposition.");
}

}  // namespace tervolanda::python
