// The scratch of comparisons, kept between calls.
#pragma once

#include <memory>
#include <vector>

#include "bindings.h"
#include "compare/compare.h"

namespace tervolanda::python {

// A workspace for one call, taken from those that are kept: to make one takes longer than a short
// comparison.  Made and given back under the interpreter's lock; in between nobody else has it.
class Scratch {
 public:
    Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    ~Scratch();

    ComparisonWorkspace& workspace() { return *workspace_; }

 private:
    std::unique_ptr<ComparisonWorkspace> workspace_;
};

}  // namespace tervolanda::python
