// The parameters of a search.  Python keeps an object of them where the defaults will do: to check
// a dozen of numbers again takes longer than to compare short chains.
#pragma once

#include "bindings.h"

namespace tervolanda::python {

void addParameters(py::module_& module);

}  // namespace tervolanda::python
