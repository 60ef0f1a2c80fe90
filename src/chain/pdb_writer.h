// Whole chains and sets as PDB files with a REMARK 99 header.  (Single ATOM lines: chain.h.)
#pragma once

#include <string>

#include "chain/chain.h"

namespace tervolanda {

class OutputFile;

// The chain's header, a full ATOM line for each atom with serial numbers from 1, and TER when there
// was an atom.
void writeChain(OutputFile& file, const Chain& chain);

// Write a file that replaces an older one when it is complete; false when it is not.  With
// `takeName` the chain or set then carries the last component of `path` as its file name.
bool writeChainFile(Chain& chain, const std::string& path, bool takeName);
bool writeChainSetFile(ChainSet& set, const std::string& path, bool takeName);

// Writes each chain to "<directory>/model.<number>.pdb".  Goes on after a failure; true when every
// file was written.
bool writeModels(ChainSet& set, const std::string& directory, bool takeName, Log& log);

}  // namespace tervolanda
