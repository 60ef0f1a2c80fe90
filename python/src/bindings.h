// The module tervolanda._core: the library behind Python's functions.  What users call, with names,
// defaults and documents, is in python/tervolanda; it hands down checked arguments by position.
// Whatever it hands down, nothing here may crash.
//
// Every function gives up the interpreter's lock while it computes.  What it reads are structures,
// which never change, and copies; its scratch is its own.
#pragma once

#include <pybind11/pybind11.h>

namespace tervolanda::python {

namespace py = pybind11;

// Each adds what its file defines, a subject each.
void addStructures(py::module_& module);
void addComparisons(py::module_& module);
void addLists(py::module_& module);
void addClustering(py::module_& module);
void addReports(py::module_& module);

}  // namespace tervolanda::python
