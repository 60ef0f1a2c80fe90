// A structure file with the suffix ".gz": whole gzip streams whose text the mutator changes, and
// damaged ones, several in a row, cut ones, or no gzip at all.  Without checks the chains are those
// of a literal search of the same text; however a scanner gets the text in blocks, it finds the
// same.
#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "chain/input/chain_builder.h"
#include "chain/input/input.h"
#include "chain/input/pdb_columns.h"
#include "chain/input/record_scanner.h"
#include "chains.h"
#include "support.h"

using namespace tervolanda;
using namespace tervolanda::fuzz;

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t mostSize);

namespace {

constexpr std::size_t kControlBytes = 4;    // after the file: how to read it
constexpr std::size_t kReadStep = 81;       // a step in which a stream breaks off is lost
constexpr std::size_t kLongestText = 2048;  // inflated; what is longer is only slow

// All text that a stream gives before it ends or breaks off.
std::string inflated(const std::string& path) {
    gzFile_s* const file = gzopen(path.c_str(), "rb");
    FUZZ_REQUIRE(file != nullptr);
    std::string text;
    std::array<char, kReadStep> block{};
    for (int got = 0; (got = gzread(file, block.data(), kReadStep)) > 0;)
        text.append(block.data(), static_cast<std::size_t>(got));
    gzclose(file);
    return text;
}

// One gzip stream, with small tables: it is made for every mutation.
std::string deflated(std::string_view text, int level) {
    z_stream stream{};
    constexpr int kSmallWindow = 9 + 16;  // and a gzip header
    FUZZ_REQUIRE(deflateInit2(&stream, level, Z_DEFLATED, kSmallWindow, 1, Z_DEFAULT_STRATEGY) ==
                 Z_OK);
    std::string packed(deflateBound(&stream, text.size()) + 32, '\0');
    // Lent without being changed; the interface is older than const.
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    FUZZ_REQUIRE(deflate(&stream, Z_FINISH) == Z_STREAM_END);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

// The file to read, by its path: the suffix decides how.
struct CompressedFile {
    MemoryFile bytes;
    std::string path = ScratchFolder::path() + "/structure.gz";
    CompressedFile() { FUZZ_REQUIRE(symlink(bytes.path().c_str(), path.c_str()) == 0); }
};

CompressedFile& theFile() {
    static CompressedFile file;
    return file;
}

// The chains of `text`, given to a scanner in blocks of sizes that the bytes say.
std::vector<Chain> scannedInBlocks(std::string_view text, std::uint16_t options,
                                   const ResidueExclusions& exclusions, FuzzedDataProvider& input) {
    ChainBuilder builder(selectionOf(options), exclusions);
    AtomRecordReader reader(builder);
    RecordScanner scanner(reader);
    const auto most = input.ConsumeIntegralInRange<std::size_t>(1, 200);
    for (std::size_t length = 1; !text.empty(); length = length % most + 1) {
        scanner.append(text.substr(0, length));
        text.remove_prefix(std::min(length, text.size()));
    }
    scanner.finish();
    return std::move(builder.chains());
}

}  // namespace

// Mostly the text inside the stream is mutated, and sometimes the stream.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t mostSize, unsigned seed) {
    if (size <= kControlBytes || seed % 4 == 0) return LLVMFuzzerMutate(data, size, mostSize);
    const std::string control(data + size - kControlBytes, data + size);
    theFile().bytes.set({reinterpret_cast<const char*>(data), size - kControlBytes});
    std::string text = inflated(theFile().path);
    const std::size_t before = std::min(text.size(), kLongestText - 256);
    text.resize(before + 256);
    text.resize(
        LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(text.data()), before, text.size()));
    const std::size_t firstPart = seed % 16 == 1 ? text.size() / 2 : 0;
    std::string packed;
    if (firstPart > 0) packed = deflated(std::string_view(text).substr(0, firstPart), 1);
    packed += deflated(std::string_view(text).substr(firstPart), static_cast<int>(seed / 16 % 3));
    packed += control;
    if (packed.size() > mostSize) return LLVMFuzzerMutate(data, size, mostSize);
    std::copy(packed.begin(), packed.end(), data);
    return packed.size();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    Reading reading;
    const bool isUnchecked = chooseReading(input, reading);
    // A stream that is whole and alone is read in another way than all others.
    const std::size_t length = size - std::min(size, kControlBytes);
    theFile().bytes.set({reinterpret_cast<const char*>(data), length});
    const std::string text = inflated(theFile().path);
    if (text.size() > kLongestText) return 0;
    // What is whole by either way is the same text, whoever takes it apart.
    const auto whole = readStructureText(theFile().path);
    FUZZ_REQUIRE(!whole || *whole == text);
    if (beginsAsMmcif(text)) return 0;
    const std::vector<Chain> chains = requireSoundReading(theFile().path, reading);
    if (!isUnchecked) return 0;
    const auto& [request, exclusions] = reading;
    requireSameChains(chains, takeRecords(scannedRecords(text), request.options, exclusions));
    requireSameChains(chains, scannedInBlocks(text, request.options, exclusions, input));
    return 0;
}
