#include "messages.h"

#include "arrays.h"

namespace tervolanda::python {

py::list Messages::taken() const {
    py::list list;
    for (const std::string& line : lines_)
        list.append(asText(line));
    return list;
}

}  // namespace tervolanda::python
