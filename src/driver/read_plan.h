// What a run reads and looks at, by its settings: decided here and nowhere else.
#pragma once

#include "chain/input/input.h"
#include "compare/compare.h"
#include "driver/settings.h"

namespace tervolanda {

enum class ComparisonKind { MaxSub, Gdt, Rmsd };

ComparisonKind comparisonKind(const Settings& settings);

struct ReadPlan {
    ReadRequest request;                          // of every structure of the run
    AtomSelection atoms = AtomSelection::Calpha;  // what comparisons look at
};

ReadPlan readPlan(const Settings& settings);

}  // namespace tervolanda
