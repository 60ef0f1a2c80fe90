// A structure file as plain text, read with every combination of read options.  Beyond surviving, a
// read that succeeds returns what its options promise (chains.h: requireSound), one that fails says
// why, and each atom that is written comes back as it was.  Without checks the chains are those of
// a literal reader, field by field.
#include <fuzzer/FuzzedDataProvider.h>

#include <optional>
#include <string>

#include "chain/input/input.h"
#include "chains.h"
#include "support.h"

using namespace tervolanda;
using namespace tervolanda::fuzz;

namespace {

// The last bytes of an input say how it is read.
ReadRequest makeRequest(FuzzedDataProvider& input) {
    ReadRequest request;
    request.options = input.ConsumeIntegral<std::uint16_t>();
    request.minimumCalphas = input.ConsumeIntegralInRange<std::size_t>(0, 3);
    request.maximumGap = input.ConsumeIntegralInRange(-1, 3);
    request.maximumCompactness = input.ConsumeIntegralInRange(0, 3);
    if (input.ConsumeBool()) request.templateSequence = "ACDEFGHIKLMNPQRSTVWY";
    return request;
}

void requireLiteral(const ChainSet& set, const std::vector<Chain>& literal) {
    FUZZ_REQUIRE(set.chains.size() == literal.size());
    for (std::size_t i = 0; i < literal.size(); ++i)
        requireSameAtoms(set.chains[i], literal[i]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static MemoryFile file;
    FuzzedDataProvider input(data, size);
    ReadRequest request = makeRequest(input);
    const bool isUnchecked = input.ConsumeBool();
    if (isUnchecked) {
        request.options &= ReadCalphaOnly | ReadBackboneAndBeta | ReadAllAtoms | ReadNoHydrogen;
    }
    ResidueExclusions exclusions;
    if (input.ConsumeBool()) exclusions.add("   2 ");
    const std::string text = input.ConsumeRemainingBytesAsString();
    file.set(text);

    QuietLog quiet;
    const std::optional<ChainSet> set =
        readStructureFile(file.path(), request, exclusions, quiet.log);
    FUZZ_REQUIRE(set || quiet.error().ends_with("', skipped\n"));
    if (set) requireSound(*set, request);
    if (isUnchecked) {
        const std::vector<Chain> literal =
            takeRecords(plainRecords(text), request.options, exclusions);
        requireLiteral(set.value_or(ChainSet{}), literal);
    }
    if (!set) return 0;
    for (const Chain& chain : set->chains)
        requireWritable(chain);
    return 0;
}
