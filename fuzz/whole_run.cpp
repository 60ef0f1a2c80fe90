// Whole runs of the program, from its arguments to its exit status, over structure files that are
// written for them.  The bytes choose the run mode, the options with their values, and the chains;
// after a run over a list a second one reads a result file of the first.  A run that fails says
// why; one that ends with status 0 has printed no number that is none, left nothing unfinished in
// the folder, and written result files and scripts that can be read.
#include <dirent.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/file.h"
#include "chains.h"
#include "driver/run.h"
#include "resultfiles/distance_file.h"
#include "resultfiles/maxsub_reader.h"
#include "support.h"
#include "support/support.h"

using namespace tervolanda;
using namespace tervolanda::fuzz;

namespace {

constexpr std::size_t kMostModels = 3;

// The input files of all runs.
struct Files {
    MemoryFile experiment;
    MemoryFile list;
    MemoryFile exclusions;
    std::array<MemoryFile, kMostModels> models;
};

Files& files() {
    static Files all;
    return all;
}

// Options, those with a value with a choice of them; "any" is any integer.  Numbers that no search
// could finish with are left out.
constexpr std::string_view kSearchOptions =
    "-TM;-maxRMSD;-in;-matrix;-noscore;-rankMS;-bb;-all;-contact;-urmsd;-nourmsd;-noalign;-i any;"
    "-mP 0 9 -2147483648;-mS 0.3 -1 1e308;-d 4 0.001 -3 1e300;-opt any;-open 0 -3 5 -1e300;"
    "-aff -0.5 1 1e300;-N 1 10 2147483647 -1;-seed 0 1 9 2147483647 -1;-lws 1 9 2147483647 0;"
    "-L 0 2 3 9;-O 0 1 2 -1;-TSF 0 2 -1 1e300;-dist 0 4 1e300;-gap 0 1 -2147483648 2147483647";
constexpr std::string_view kListOptions =
    "-av;-nosort;-super 1 3 2147483647 -1;-C 0 1 2 3 4 9 -1;-P 0 5 -1 2147483647;-s 0 1 -1 1e300;"
    "-T 0 0.01 100 1e300;-Tm 0 1 20;-a 0 1e-300 0.3 1e300;-is 0 1 2 2147483647;-ms 0 1 3;"
    "-R full.txt;-Rl lite.txt;-Ru urmsd.txt";

// Options of two dashes may be given once: of each row one, the first of them none.
constexpr std::array<std::string_view, 3> kOwnOptions = {
    ";--measure=lddt;--measure=lddt_all;--measure=gdt_ts;--measure=gdt_ha",
    ";--scores=lddt,gdt_ha;--scores=lddt_all,gdt_ts;--jsonl=/dev/null;--report=/dev/null",
    ";--pair=sequence;--threads=2;--tsv=/dev/null;--json=/dev/null"};

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (std::size_t at = 0, end = 0; end != std::string_view::npos; at = end + 1) {
        end = text.find(separator, at);
        parts.push_back(text.substr(at, end - at));
    }
    return parts;
}

void addOptions(std::string_view options, int most, FuzzedDataProvider& input,
                std::vector<std::string>& arguments) {
    const auto oneOf = [&](std::span<const std::string_view> choices) {
        return choices[input.ConsumeIntegralInRange<std::size_t>(0, choices.size() - 1)];
    };
    for (int count = input.ConsumeIntegralInRange(0, most); count > 0; --count) {
        const std::vector<std::string_view> words = split(oneOf(split(options, ';')), ' ');
        arguments.emplace_back(words[0]);
        if (words.size() == 1) continue;
        const std::string_view value = oneOf(std::span(words).subspan(1));
        arguments.push_back(value == "any" ? std::to_string(input.ConsumeIntegral<int>())
                                           : std::string(value));
    }
}

// Cuts a chain into chains of so many residues, which are called in some order; as copies they are
// numbered alike.
void cutIntoChains(Chain& chain, FuzzedDataProvider& input) {
    constexpr int kLetters = 26;
    const int length = input.PickValueInArray({7, 4, 10, 100});
    const int stride = input.PickValueInArray({1, 25, 5});
    const bool areNumberedAlike = input.ConsumeBool();
    const int first = chain.atoms.empty() ? 0 : chain.atoms.front().residueNumber;
    for (Atom& atom : chain.atoms) {
        const int piece = (atom.residueNumber - first) / length;
        atom.chainId = static_cast<char>('A' + piece * stride % kLetters);
        if (areNumberedAlike)
            atom.residueNumber = static_cast<std::int16_t>(atom.residueNumber - piece * length);
    }
}

// Complexes of the structures, if the bytes say so, and options of two dashes.
void addOwnOptions(std::vector<Chain>& chains, FuzzedDataProvider& input,
                   std::vector<std::string>& arguments) {
    for (const std::string_view row : kOwnOptions) {
        const std::vector<std::string_view> words = split(row, ';');
        const std::size_t word = input.ConsumeIntegralInRange<std::size_t>(0, words.size() - 1);
        if (word > 0) arguments.emplace_back(words[word]);
    }
    const int kind = input.ConsumeIntegralInRange(0, 5);
    if (kind < 3) return;
    for (Chain& chain : chains)
        cutIntoChains(chain, input);
    arguments.emplace_back("--chain=all");
    if (kind > 3) arguments.emplace_back("--map-chains");
}

// The structures, and the arguments of a run over them; the first argument of a mode is its name.
std::vector<std::string> prepareRun(FuzzedDataProvider& input) {
    enum Mode { Pair, Positional, OneList, AllList };
    const auto mode = static_cast<Mode>(input.ConsumeIntegralInRange(0, 3));
    std::vector<std::string> arguments = {"tervolanda"};
    addOptions(kSearchOptions, 5, input, arguments);
    if (mode == OneList || mode == AllList) addOptions(kListOptions, 5, input, arguments);
    const int kind = input.ConsumeIntegralInRange(0, 3);
    if (kind == 1) arguments.emplace_back("-rmsd");
    if (kind == 2) arguments.insert(arguments.end(), {"-gdt", "4"});
    if (input.ConsumeIntegralInRange(0, 15) == 1) {
        files().exclusions.set("   2 \n   3 \n");
        arguments.insert(arguments.end(), {"-exclude", files().exclusions.path()});
    }
    std::vector<Chain> chains = {makeChain(input)};
    const std::size_t models = mode == OneList || mode == AllList
                                   ? input.ConsumeIntegralInRange<std::size_t>(1, kMostModels)
                                   : 1;
    for (std::size_t i = 0; i < models; ++i) {
        const bool isVariant = input.ConsumeIntegralInRange(0, 3) > 0;
        chains.push_back(isVariant ? makeVariant(chains.front(), input) : makeChain(input));
    }
    addOwnOptions(chains, input, arguments);
    files().experiment.set(chainText(chains.front()));
    std::string list;
    for (std::size_t i = 0; i < models; ++i) {
        files().models.at(i).set(chainText(chains[i + 1]));
        list += files().models.at(i).path() + '\n';
    }
    files().list.set(list);
    const std::string& experiment = files().experiment.path();
    const std::string& prediction = files().models[0].path();
    if (mode == Pair) arguments.insert(arguments.end(), {"-e", experiment, "-p", prediction});
    if (mode == Positional) arguments.insert(arguments.end(), {prediction, experiment, "3.5"});
    if (mode == OneList) arguments.insert(arguments.end(), {"-e", experiment});
    if (mode == OneList || mode == AllList)
        arguments.insert(arguments.end(), {"-l", files().list.path()});
    return arguments;
}

// What a run said on all streams, and how it ended.
struct Outcome {
    int status = EXIT_FAILURE;
    std::string output;
    std::string errors;
};

Outcome runProgram(const std::vector<std::string>& arguments) {
    test::CapturedLog quiet;
    Outcome outcome;
    outcome.status = run(arguments, quiet.streams);
    outcome.output = quiet.reported() + quiet.output();
    outcome.errors = quiet.error();
    const bool isFatal = outcome.errors.find("ABEND : ") != std::string::npos;
    FUZZ_REQUIRE(isFatal == (outcome.status != EXIT_SUCCESS));
    return outcome;
}

// A word such as "nan" or "-inf" where a number should be.
bool holdsNoNumber(const std::string& text,
                   std::initializer_list<const char*> words = {"nan", "inf"}) {
    for (const char* const word : words) {
        for (std::size_t at = text.find(word); at != std::string::npos;
             at = text.find(word, at + 1)) {
            const auto isLetter = [&](std::size_t i) {
                return i < text.size() && std::isalpha(static_cast<unsigned char>(text[i])) != 0;
            };
            if (!isLetter(at - 1) && !isLetter(at + 3)) return true;
        }
    }
    return false;
}

// The same for what a run prints.  A tree shows that models cannot be fitted as an infinite
// distance.
bool printsNoNumber(const std::string& output) {
    const bool hasTree = output.find("Hierarchical Tree") != std::string::npos;
    return holdsNoNumber(output, {"nan"}) || (!hasTree && holdsNoNumber(output, {"inf"}));
}

std::string contents(const std::string& name) {
    const FileHandle file = openForReading(name);
    FUZZ_REQUIRE(file != nullptr);
    std::string text;
    LineReader lines(file.get());
    while (const auto line = lines.next())
        text += *line;
    return text;
}

// A script is executable and ends with whole records.
void requireScript(const std::string& name) {
    const std::string text = contents(name);
    FUZZ_REQUIRE(text.starts_with("#!/usr/bin/rasmol -script\nload inline\n"));
    const std::size_t exit = text.find("\nexit\n");
    FUZZ_REQUIRE(exit != std::string::npos && !holdsNoNumber(text));
    std::string_view records = std::string_view(text).substr(exit + 6);
    while (!records.empty()) {
        const std::size_t length = records.find('\n');
        FUZZ_REQUIRE(length != std::string_view::npos);
        const std::string_view record = records.substr(0, length);
        FUZZ_REQUIRE(record == "TER" || (record.starts_with("ATOM  ") && length == 80));
        records.remove_prefix(length + 1);
    }
    struct stat status {};
    FUZZ_REQUIRE(stat(name.c_str(), &status) == 0 && (status.st_mode & 0777) == 0755);
}

void requireResultFile(const std::string& name) {
    FUZZ_REQUIRE(!holdsNoNumber(contents(name)));
    const FileHandle file = openForReading(name);
    const FileHandle second = openForReading(name);
    const auto distances = parseDistanceFile(file.get(), nullptr);
    const auto scores = parseMaxSubFile(second.get());
    FUZZ_REQUIRE(std::holds_alternative<DistanceFile>(distances));
    FUZZ_REQUIRE(std::holds_alternative<ParsedMaxSubFile>(scores));
}

// Looks at every file that a run left, and removes it; returns the names of result files.
std::vector<std::string> collectFiles() {
    struct DirectoryCloser {
        void operator()(DIR* directory) const { closedir(directory); }
    };
    const std::unique_ptr<DIR, DirectoryCloser> folder(opendir("."));
    FUZZ_REQUIRE(folder != nullptr);
    std::vector<std::string> results;
    while (const dirent* entry = readdir(folder.get())) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        if (name.ends_with(".rsm")) {
            requireScript(name);
            std::remove(name.c_str());
        } else if (name.starts_with("align.matrix.")) {
            FUZZ_REQUIRE(!holdsNoNumber(contents(name)));
            std::remove(name.c_str());
        } else {
            FUZZ_REQUIRE(name == "full.txt" || name == "lite.txt" || name == "urmsd.txt");
            requireResultFile(name);
            results.push_back(name);
        }
    }
    return results;
}

// Ranks or clusters the result files of a run: as what they are, and as the other kind.
void readBack(const std::vector<std::string>& results, FuzzedDataProvider& input) {
    for (const std::string& name : results) {
        const bool isMaxSub = contents(name).find("MaxSub File") != std::string::npos;
        std::vector<std::string> arguments = {"tervolanda", isMaxSub ? "-M" : "-F", name};
        addOptions(kListOptions, 3, input, arguments);
        const Outcome outcome = runProgram(arguments);
        FUZZ_REQUIRE(outcome.status == EXIT_SUCCESS && !printsNoNumber(outcome.output));
        std::remove(name.c_str());
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/) {
    emptyStandardInput();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const ScratchFolder folder;
    const std::vector<std::string> arguments = prepareRun(input);
    const Outcome outcome = runProgram(arguments);
    FUZZ_REQUIRE(!printsNoNumber(outcome.output));
    readBack(collectFiles(), input);
    return 0;
}
