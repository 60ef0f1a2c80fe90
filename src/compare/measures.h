// Measures on demand: of pairs that a comparison has made.
#pragma once

#include <cstdint>
#include <span>

#include "compare/compare.h"
#include "compare/scratch.h"

namespace tervolanda {

// Computes the measures that are asked for; others have no value.  `partners` has an experiment
// record, or -1, for each record of the prediction.
void measurePairs(const CoordinateSet& experiment, const CoordinateSet& prediction,
                  std::span<const std::int32_t> partners, const MeasureRequest& request,
                  ComparisonScratch& scratch, MeasureValues& found);

}  // namespace tervolanda
