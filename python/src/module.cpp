// The entry of the module.
#include "bindings.h"

PYBIND11_MODULE(_core, module) {
    using namespace tervolanda::python;
    module.doc() = "What the functions of tervolanda call.";
    module.attr("__version__") = TERVOLANDA_VERSION;
    addStructures(module);
    addComparisons(module);
    addLists(module);
    addClustering(module);
    addReports(module);
}
