// Compares two structures with the library: a prediction and an experiment, one chain each.
#include <cstdio>
#include <cstdlib>

#include <tervolanda/base/line_streams.h>
#include <tervolanda/base/log.h>
#include <tervolanda/chain/input/input.h>
#include <tervolanda/compare/compare.h>

using namespace tervolanda;

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: compare prediction experiment\n", stderr);
        return EXIT_FAILURE;
    }
    LineStreams streams;  // says on standard error what is wrong with a file
    Log log(streams.sink());
    const std::optional<Chain> prediction = readChain(argv[1], {}, {}, log);
    const std::optional<Chain> experiment = readChain(argv[2], {}, {}, log);
    if (!prediction || !experiment) return EXIT_FAILURE;

    ComparisonParameters parameters;
    parameters.seedLevels = 2;  // these two make the search that of the program
    parameters.minIterationPairs = 4;
    Report silent(log, 0);
    ComparisonWorkspace workspace;  // one for each thread
    ComparisonResult result;
    compareMaxSub(prepareChain(*experiment, AtomSelection::Calpha, parameters, silent),
                  prepareChain(*prediction, AtomSelection::Calpha, parameters, silent), parameters,
                  workspace, silent, result);
    std::printf("MaxSub %.3f  TM-score %.3f  RMSD %.3f of %u pairs\n", result.maxsub, result.tm,
                result.rmsd, result.pairs);
}
