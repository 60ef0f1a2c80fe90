// What the options for measures on demand can be had with.
#pragma once

#include "driver/settings.h"

namespace tervolanda {

// Ends the run by an Abend where --measure or --scores cannot be had.
void checkMeasures(const Settings& settings);

}  // namespace tervolanda
