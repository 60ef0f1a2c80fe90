// The parts of the RasMol scripts that can be looked at on their own.  The writer and its tests
// include it; other rooms know the scripts by resultfiles.h.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "compare/compare.h"

namespace tervolanda {

// Residues first .. last of a chain, by residue number.
struct NumberRange {
    int first = 0;
    int last = 0;
    std::uint16_t subunit = 0;  // of a complex, the chain
};

// A run of pairs whose residue numbers rise by 1 in both chains, and end with them.
struct ResidueRun {
    NumberRange experiment;
    NumberRange prediction;
};

// Splits pairs, in mapped order, into runs.  A residue with an insertion code begins a new run: the
// viewer knows residues by number only.
std::vector<ResidueRun> residueRuns(const CoordinateSet& experiment,
                                    const CoordinateSet& prediction,
                                    std::span<const MatchedPair> pairs);

// A file name as text of an "echo" command.  What would end the command, and so make the rest of
// the name a command of its own, becomes "?": control characters and ";".
std::string echoedName(std::string_view name);

}  // namespace tervolanda
