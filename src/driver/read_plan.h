// What a run reads, looks at and clusters by, by its settings: decided here and nowhere else.
//
// A new option that changes what is read belongs into readPlan() alone: readers, comparisons and
// the parts of blocks (blocks.cpp) all go by it.
#pragma once

#include <optional>

#include "chain/input/input.h"
#include "cluster/batch/batch.h"
#include "cluster/cluster.h"
#include "compare/compare.h"
#include "driver/settings.h"

namespace tervolanda {

// What pairs are compared by; -rmsd wins over -gdt, and without either, or --measure, it is MaxSub.
enum class ComparisonKind { MaxSub, Gdt, Rmsd, Measure };

ComparisonKind comparisonKind(const Settings& settings);

// How models are clustered; none for not at all.
std::optional<ClusterMethod> clusterMethod(const Settings& settings);

// What a comparison by RMSD, or by a measure on demand, computes; for MaxSub and GDT
// settings.comparison says it.
RmsdOptions rmsdOptions(const Settings& settings);
// REQUIRES: the run is by a measure on demand.
MeasureOptions measureOptions(const Settings& settings);

struct ReadPlan {
    ReadRequest experiment;                       // what is read of it
    ReadRequest models;                           // and of every other structure of the run
    AtomSelection atoms = AtomSelection::Calpha;  // what comparisons look at
};

ReadPlan readPlan(const Settings& settings);

}  // namespace tervolanda
