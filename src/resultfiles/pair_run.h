// Residue pairs as diagonal runs, which are nearly always few and long: how both kinds of file that
// keep the pairs of every comparison of a list hold them.
#pragma once

#include <cstdint>

namespace tervolanda {

// The pairs (experiment + k, prediction + k) for k = 0 .. length - 1.
struct PairRun {
    std::uint32_t experiment = 0;
    std::uint32_t prediction = 0;
    std::uint32_t length = 0;

    // Whether a pair goes on where the run ends.
    bool isContinuedBy(std::uint32_t nextExperiment, std::uint32_t nextPrediction) const {
        return nextExperiment == experiment + length && nextPrediction == prediction + length;
    }
};

}  // namespace tervolanda
