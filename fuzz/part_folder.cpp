// A folder of parts: parts of one run in one to four blocks, whole or changed in a byte or cut
// short, under names of all kinds, beside files that are none, and merged.  What has been merged is
// what one run would have found; what cannot be is refused for a reason that there is; and the
// numbers that are said to be missing are those of which no usable part is there.
#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "driver/abend.h"
#include "driver/blocks.h"
#include "support.h"
#include "support/support.h"

using namespace tervolanda;
using namespace tervolanda::fuzz;

namespace {

constexpr std::uint32_t kEntries = 5;  // of the list
constexpr std::uint64_t kMostBlocks = 4;

// The run that all parts are of.  Line 3 of its list names a model that cannot be read.
struct Run {
    Run() {
        settings.input.listFile = "list.txt";
        settings.measure.rmsdOnly = true;
        settings.blocks.mergeFolder = "parts";
        for (std::uint32_t id = 1; id <= kEntries; ++id) {
            if (id == 3) continue;
            models.chains.push_back(test::coil(8 + id, 3));
            models.chains.back().number = id;
        }
    }

    Settings settings;
    ChainList models;
};

// What a pair of readable models stands for: no two alike.
RmsdCells cellsOf(std::size_t pair) {
    return {static_cast<float>(pair) + 0.5F, 0.25F * static_cast<float>(pair),
            static_cast<std::uint32_t>(pair) + 3};
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The parts of the run in `blocks` blocks, as bytes.
std::vector<std::string> makeParts(const Run& run, std::uint64_t blocks) {
    test::CapturedLog quiet;
    const RunIdentity identity(run.settings, summariseList(run.settings, quiet.log), run.models);
    std::vector<std::string> parts;
    std::size_t pair = 0;
    for (std::uint64_t number = 1; number <= blocks; ++number) {
        const PartHeader header = identity.headerOf({number, blocks});
        PartWriter writer("new", header.kind);
        for (std::uint64_t k = 0; k < header.records; ++k)
            writer.add(cellsOf(pair++));
        FUZZ_REQUIRE(writer.commit(header));
        parts.push_back(readFile("new"));
    }
    FUZZ_REQUIRE(pair == pairsOf(run.models.chains.size()));
    return parts;
}

// What is known of a file that was put into the folder.
struct Placed {
    std::uint64_t number = 0;
    std::uint64_t blocks = 0;
    bool isWhole = false;
};

using AllParts = std::vector<std::vector<std::string>>;  // by number of blocks, less 1

// Puts a file into the folder, in place of one of that name; returns the name and the file.
std::pair<std::string, Placed> place(FuzzedDataProvider& choices, const AllParts& all) {
    constexpr std::array<const char*, 8> kNames = {
        "1.part", "2.part", "a b.part", ".part", "\xff\n.part", "part.1", "x.PART", "4.part.12-0"};
    Placed placed;
    const std::string name = kNames[choices.ConsumeIntegralInRange<std::size_t>(0, 7)];
    placed.blocks = choices.ConsumeIntegralInRange<std::uint64_t>(1, kMostBlocks);
    placed.number = choices.ConsumeIntegralInRange<std::uint64_t>(1, placed.blocks);
    const std::string& whole = all[placed.blocks - 1][placed.number - 1];
    std::string bytes = whole;
    if (choices.ConsumeBool()) {
        const auto at = choices.ConsumeIntegralInRange<std::size_t>(0, bytes.size() - 1);
        if (choices.ConsumeBool()) {
            bytes[at] = choices.ConsumeIntegral<char>();
        } else {
            bytes.resize(at);
        }
    }
    placed.isWhole = bytes == whole;
    writeFile("parts/" + name, bytes);
    return {name, placed};
}

// The folder as a reader of the documents would understand it.
struct Expected {
    explicit Expected(const std::map<std::string, Placed>& files) {
        for (const auto& [name, file] : files) {
            if (!name.ends_with(".part")) continue;
            const bool isUsable = file.isWhole && (blocks == 0 || file.blocks == blocks) &&
                                  !numbers.contains(file.number);
            hasFaults = hasFaults || !isUsable;
            if (!isUsable) continue;
            blocks = file.blocks;
            numbers.insert(file.number);
        }
    }
    bool isComplete() const { return !hasFaults && blocks > 0 && numbers.size() == blocks; }

    bool hasFaults = false;
    std::uint64_t blocks = 0;
    std::set<std::uint64_t> numbers;
};

// The numbers of "3,7-9".
std::set<std::uint64_t> numbersOf(const std::string& text) {
    std::set<std::uint64_t> numbers;
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    bool isRange = false;
    for (const char c : text + ",") {
        if (c == '-') {
            isRange = true;
        } else if (c != ',') {
            std::uint64_t& number = isRange ? last : first;
            number = 10 * number + static_cast<std::uint64_t>(c - '0');
        } else if (first > 0) {
            FUZZ_REQUIRE(!isRange || last > first);
            for (std::uint64_t k = first; k <= (isRange ? last : first); ++k)
                FUZZ_REQUIRE(numbers.insert(k).second);
            first = last = 0;
            isRange = false;
        }
    }
    return numbers;
}

void requireMissing(const PartFolder& folder, const Expected& expected) {
    const std::set<std::uint64_t> missing = numbersOf(folder.missing(kMostBlocks));
    for (std::uint64_t k = 1; k <= kMostBlocks; ++k)
        FUZZ_REQUIRE(missing.contains(k) != expected.numbers.contains(k));
}

// Whether the folder could be merged.
bool merges(const Run& run, Log& log) {
    try {
        MergedPairs merged(run.settings, run.models, log);
        for (std::size_t pair = 0; pair < pairsOf(run.models.chains.size()); ++pair) {
            RmsdCells cells;
            merged.next(cells);
            const RmsdCells wanted = cellsOf(pair);
            FUZZ_REQUIRE(cells.rmsd == wanted.rmsd && cells.urmsd == wanted.urmsd &&
                         cells.pairs == wanted.pairs);
        }
        merged.finish();
        return true;
    } catch (const Abend&) {
        return false;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ScratchFolder folder;
    static const Run run;
    static const AllParts all = [] {
        writeFile("list.txt", "a\nb\nabsent # none\n\nd\ne\n");
        AllParts made;
        for (std::uint64_t blocks = 1; blocks <= kMostBlocks; ++blocks)
            made.push_back(makeParts(run, blocks));
        return made;
    }();
    std::filesystem::remove_all("parts");
    std::filesystem::create_directory("parts");
    FuzzedDataProvider choices(data, size);
    std::map<std::string, Placed> files;
    while (choices.remaining_bytes() > 0) {
        const auto [name, placed] = place(choices, all);
        files[name] = placed;
    }
    test::CapturedLog captured;
    const Expected expected(files);
    const RunIdentity identity(run.settings, summariseList(run.settings, captured.log), run.models);
    const PartFolder found("parts", identity, captured.log);
    FUZZ_REQUIRE(found.hasFaults() == expected.hasFaults);
    FUZZ_REQUIRE(found.blocks() == expected.blocks);
    FUZZ_REQUIRE(found.hasFaults() == !captured.error().empty());
    requireMissing(found, expected);
    FUZZ_REQUIRE(merges(run, captured.log) == expected.isComplete());
    return 0;
}
