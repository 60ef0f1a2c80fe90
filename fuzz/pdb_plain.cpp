// A structure file as plain text, read with every combination of read options.  Beyond surviving, a
// read that succeeds returns what its options promise, one that fails says why, and each atom that
// is written comes back as it was.  Without checks the chains are those of a literal reader, field
// by field.
#include <fuzzer/FuzzedDataProvider.h>

#include <string>

#include "chains.h"
#include "support.h"

using namespace tervolanda;
using namespace tervolanda::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static MemoryFile file;
    FuzzedDataProvider input(data, size);
    Reading reading;
    const bool isUnchecked = chooseReading(input, reading);
    ReadRequest& request = reading.request;
    request.minimumCalphas = input.ConsumeIntegralInRange<std::size_t>(0, 3);
    request.maximumGap = input.ConsumeIntegralInRange(-1, 3);
    request.maximumCompactness = input.ConsumeIntegralInRange(0, 3);
    if (input.ConsumeBool()) request.templateSequence = "ACDEFGHIKLMNPQRSTVWY";
    const std::string text = input.ConsumeRemainingBytesAsString();
    if (beginsAsMmcif(text)) return 0;
    file.set(text);
    const std::vector<Chain> chains = requireSoundReading(file.path(), reading);
    if (isUnchecked) {
        requireSameChains(chains,
                          takeRecords(plainRecords(text), request.options, reading.exclusions));
    }
    for (const Chain& chain : chains)
        requireWritable(chain);
    return 0;
}
