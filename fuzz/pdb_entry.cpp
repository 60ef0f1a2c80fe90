// The text of a PDB file, or any other, read as an entry by rules that the bytes choose.  Beyond
// surviving, what is read are sound chains of the rules' choice, and other ends of lines change
// nothing.
#include "entries.h"

using namespace tervolanda;
using namespace tervolanda::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const ReadRequest request = chooseEntryRequest(input);
    requireSoundEntry(input.ConsumeRemainingBytesAsString(), request);
    return 0;
}
