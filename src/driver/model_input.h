// What the run modes have in common on the way in: the kind of comparison, and the structures.
#pragma once

#include <cstdint>
#include <string>

#include "chain/input/input.h"
#include "compare/compare.h"
#include "driver/settings.h"

namespace tervolanda {

class Log;

enum class ComparisonKind { MaxSub, Gdt, Rmsd };

ComparisonKind comparisonKind(const Settings& settings);

// The atoms that the comparison looks at: the backbone on demand in RMSD runs, else the C-alphas.
AtomSelection comparedAtoms(const Settings& settings);

RmsdOptions rmsdOptions(const Settings& settings);

// The read options of a list run, for its models and its experiment.
std::uint16_t listReadFlags(const Settings& settings);

// One structure; a file that cannot be read is fatal.
Chain readStructure(const std::string& path, std::uint16_t flags,
                    const ResidueExclusions& exclusions, Log& log);

// The models of the list, which the settings name; a list without a readable model is fatal.
ChainList readModels(const Settings& settings, const ResidueExclusions& exclusions, Log& log);

}  // namespace tervolanda
