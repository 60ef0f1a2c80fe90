// The models of one entry as structures of their own: of an NMR ensemble, or of a predictor that
// writes its models into one file.  For lists read with --model=all; model_list.cpp calls it in
// place of readChain().
#pragma once

#include <string>
#include <vector>

#include "chain/input/input.h"

namespace tervolanda {

// The chain of every model of the file, "path:n" its file name for model n.  One that cannot be
// used is missing, after ERROR lines.
std::vector<Chain> readAllModels(const std::string& path, const ReadRequest& request,
                                 const ResidueExclusions& exclusions, Log& log);

}  // namespace tervolanda
