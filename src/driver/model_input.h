// What the run modes have in common on the way in: the structures.
//
// Both end the run by an Abend, so that a mode has its structures or is over.  A list is different
// from a pair: models that cannot be read are left out with an ERROR line, and only a list of which
// nothing is left, or a strict run, ends there.
#pragma once

#include <string>
#include <vector>

#include "chain/input/input.h"
#include "driver/settings.h"

namespace tervolanda {

class Log;

// One structure; a file that cannot be read is fatal.
Chain readStructure(const std::string& path, const ReadRequest& request,
                    const ResidueExclusions& exclusions, Log& log);

// The models of the list, which the settings name; a list without a readable model is fatal.
// Files that are no models are noted in `unread`, where there is one.
ChainList readModels(const Settings& settings, const ResidueExclusions& exclusions, Log& log,
                     std::vector<UnreadModel>* unread);

}  // namespace tervolanda
