// A model list and a residue exclusion file, of which the bytes say both.  Some of the structures
// that a list can name are there, good and bad ones.  IDs, names and counts are those of a literal
// reading of the list, and no excluded residue is left in a model.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "chain/input/input.h"
#include "chains.h"
#include "support.h"
#include "support/support.h"

using namespace tervolanda;
using namespace tervolanda::fuzz;

namespace {

constexpr std::size_t kPieceLength = 258;  // of longer lines
constexpr int kMostLines = 8;              // more are only slow: each may open a file

// Structures "a" and "b.pdb" are good, "c" has two chains, "d.pdb" no atom; "e.bin" cannot be read.
void writeStructures() {
    const std::string first =
        "ATOM      2  CA  MET A   1       1.000   2.000   3.000  1.00 20.00           C  \n"
        "ATOM      6  CA  ALA A   2       4.000   4.000   4.000  1.00 20.00           C  \n"
        "ATOM      9  CA  GLY A   2A      7.000   6.000   4.000\n";
    const std::string other = "ATOM     12  CA  TRP B   1       1.000   2.000   3.000\n";
    const std::string& folder = ScratchFolder::path();
    std::ofstream(folder + "/a") << first;
    std::ofstream(folder + "/b.pdb") << other;
    std::ofstream(folder + "/c") << first + other;
    std::ofstream(folder + "/d.pdb") << "HEADER\n";
    std::ofstream(folder + "/e.bin") << first;
}

// Pieces of lines, each with its line end if it has one.
std::vector<std::string> pieces(std::string_view text) {
    std::vector<std::string> found;
    while (!text.empty()) {
        const std::size_t line = std::min(text.find('\n'), text.size() - 1) + 1;
        found.emplace_back(text.substr(0, std::min(line, kPieceLength)));
        text.remove_prefix(found.back().size());
    }
    return found;
}

// What names a structure in each piece that names one.
std::vector<std::string> names(std::string_view list) {
    std::vector<std::string> found;
    const auto isEdge = [](char c) { return static_cast<signed char>(c) <= ' '; };
    for (std::string piece : pieces(list)) {
        piece = piece.substr(0, piece.find('#'));
        const auto first = std::find_if_not(piece.begin(), piece.end(), isEdge);
        const auto last = std::find_if_not(piece.rbegin(), piece.rend(), isEdge).base();
        if (first < last) found.emplace_back(first, last);
    }
    return found;
}

// Columns 23 to 27 of an atom's record.
std::string keyOf(const Atom& atom) {
    return formatFullAtomLine(atom, 1).substr(22, 5);
}

void requireModel(const Chain& model, const std::vector<std::string>& named,
                  const std::set<std::string>& excluded) {
    FUZZ_REQUIRE(model.number >= 1 && model.number <= named.size());
    FUZZ_REQUIRE(model.fileName == named[model.number - 1]);
    FUZZ_REQUIRE(!model.atoms.empty());
    for (std::size_t i = 0; i < model.atoms.size() && !excluded.empty(); ++i)
        FUZZ_REQUIRE(!excluded.contains(keyOf(model.atoms[i])));
    const auto isLeft = [&](const char* key) { return excluded.contains(key) ? 0U : 1U; };
    const std::size_t expected =
        model.name == "B" ? 1 : isLeft("   1 ") + isLeft("   2 ") + isLeft("   2A");
    FUZZ_REQUIRE(model.atoms.size() == expected);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/) {
    emptyStandardInput();
    writeStructures();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static MemoryFile listFile;
    static MemoryFile exclusionFile;
    FuzzedDataProvider input(data, size);
    // The exclusion file stands at the end: its length is the last byte.
    const std::size_t length = input.ConsumeIntegral<std::uint8_t>();
    const std::size_t rest = input.remaining_bytes();
    std::string list = input.ConsumeBytesAsString(rest - std::min(rest, length));
    const std::string keys = input.ConsumeRemainingBytesAsString();
    // No name leads out of the scratch folder.
    std::replace(list.begin(), list.end(), '/', '|');
    if (std::count(list.begin(), list.end(), '\n') > kMostLines) return 0;
    listFile.set(list);
    exclusionFile.set(keys);

    const ScratchFolder folder;
    test::CapturedLog quiet;
    ResidueExclusions exclusions;
    FUZZ_REQUIRE(readResidueExclusionFile(exclusionFile.path(), exclusions, quiet.log));
    std::set<std::string> excluded;
    for (const std::string& piece : pieces(keys))
        excluded.insert(piece.substr(0, ResidueExclusions::kKeyWidth));
    FUZZ_REQUIRE(exclusions.size() == excluded.size());

    ChainList models;
    std::uint32_t counter = 0;
    const std::size_t read =
        readModelList(listFile.path(), counter, {{}, exclusions}, models, quiet.log);
    const std::vector<std::string> named = names(list);
    FUZZ_REQUIRE(counter == named.size());
    FUZZ_REQUIRE(read == models.chains.size());
    std::uint32_t last = 0;
    for (const Chain& model : models.chains) {
        FUZZ_REQUIRE(model.number > last);
        last = model.number;
        requireModel(model, named, excluded);
    }
    const auto good = std::count_if(named.begin(), named.end(), [](const std::string& name) {
        return name == "a" || name == "b.pdb";
    });
    if (excluded.empty()) FUZZ_REQUIRE(read == static_cast<std::size_t>(good));
    return 0;
}
