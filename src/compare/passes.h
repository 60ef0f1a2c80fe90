// The passes of one MaxSub search.
#pragma once

#include <cstddef>

#include "compare/pairing/sequence_independent.h"
#include "compare/scratch.h"
#include "compare/search.h"

namespace tervolanda {

inline constexpr std::size_t kFewestMapped = 5;  // a search needs as many mapped pairs

// How the chains of a search are paired by structure.
MappingTask mappingTask(const SearchTask& task);

// Searches the mapping in the scratch, kFewestMapped pairs or more; with re-mapping allowed, maps
// anew from the superposition found and goes on while that helps.
void runPasses(const SearchTask& task, ComparisonScratch& scratch, Report& report,
               SearchResult& found);

}  // namespace tervolanda
