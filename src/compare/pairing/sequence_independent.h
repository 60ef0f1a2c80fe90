// Pairing residues by structure instead of by number: for chains of other sequence, or numbered in
// another way.
//
// The search asks for starts, superposes each as it would any mapping, and lets mapByDistance()
// pair anew by what it has found, pass by pass (compare/passes.cpp).
#pragma once

#include <cstdint>
#include <vector>

#include "compare/fit/kernels.h"
#include "compare/pairing/local_alignment.h"
#include "compare/pairing/mapping.h"
#include "compare/pairing/similarity.h"
#include "compare/pairing/starting_pairings.h"

namespace tervolanda {

// What is to be mapped, and how; all that it refers to is lent for the call.
struct MappingTask {
    const CoordinateSet& experiment;
    const CoordinateSet& prediction;
    GapPenalties penalties;
    double thresholdScale = 1.0;         // factor on the length-dependent distance scale
    SimilaritySink* matrices = nullptr;  // takes the matrix of each alignment
    std::uint32_t iteration = 1;         // domain iteration, for report lines and the sink
    bool thorough = true;                // look for other starts than the pairing by shape
    const StopFlag* stop = nullptr;
};

// Makes a mapping of a pairing of the task's chains.
void setMapping(const Pairing& pairing, const MappingTask& task, ResidueMapping& mapping);

// Makes residue mappings from structure, with the scratch that takes.
class StructureMapper {
 public:
    explicit StructureMapper(const Kernels& kernels) : scratch_(kernels) {}

    // The pairings to begin with, without a superposition.  The first one pairs residues by the
    // shapes of the backbones around them: the scores of 7-vector fragments, aligned locally; it is
    // empty when either chain has fewer than 7 unit vectors.  Others may follow in a thorough
    // search (see StartingPairings).
    std::vector<Pairing> findStarts(const MappingTask& task, Report& report);

    // Pairs residues that lie near each other under the superposition that pass `pass` found: the
    // similarity of a pair at distance d is 1 / (1 + (d / d0)^2) within a reach, else 0, d0 and
    // reach by the length of the shorter chain; aligned locally.
    void mapByDistance(const MappingTask& task, const Superposition& superposition,
                       std::uint32_t pass, ResidueMapping& mapping, Report& report);

 private:
    // Nothing of a call is looked at by the next but the memory.
    StartScratch scratch_;
    Pairing fragments_, pairing_;
};

}  // namespace tervolanda
