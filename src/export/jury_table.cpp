// The 3D-Jury ranking as a table, one line a model, best first.
//
// A model's figure is the sum of the residue pairs that it shares with the models similar to it
// (Ginalski et al. 2003), so that it grows with the list and says nothing across lists.  The
// heading says ">" although both limits are inclusive: scripts that look for the heading rely on
// it.
#include "base/log.h"
#include "export/export.h"

namespace tervolanda {

void printJuryTable(std::span<const JuryScore> ranking, const JuryThresholds& thresholds,
                    const ChainList& chains, Log& log) {
    constexpr const char* kRule = "======================================";
    log.info(0, "%s", kRule);
    log.info(0, "3Djury (Threshold: >%6d pairs @ >%6.3f)", thresholds.pairs, thresholds.score);
    log.info(0, "%s", kRule);
    log.info(0, "%-7s  %-7s  %-7s     %s", "Rank", "Model", "Pairs", "File");
    std::size_t rank = 0;
    for (const JuryScore& entry : ranking) {
        const Chain& model = chains.chains[entry.model];
        log.info(0, "%5zu :  %7u  %7u       %s", ++rank, model.number, entry.score,
                 model.fileName.c_str());
    }
}

}  // namespace tervolanda
