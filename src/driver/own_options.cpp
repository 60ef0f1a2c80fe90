// The older options are lenient, and a misspelt one is silently none.  These are strict: whoever
// writes "--name=value" means an option.
#include "driver/own_options.h"

#include <algorithm>
#include <array>

#include "base/text.h"
#include "driver/abend.h"
#include "driver/options.h"

namespace tervolanda {

namespace {

// clang-format off
constexpr auto kOwnOptions = std::to_array<OwnOption>({
    {"help", "more", "This page"},
    {"input", "auto", "Read every file by its content, plain or gzip: mmCIF, or PDB as entries are,\n"
                      "protein residues (modified ones, too) of one chain, model and conformer"},
    {"chain", "A|all", "Read this chain, by its author's name (label:A for mmCIF's own), or all chains\n"
                       "as one complex, paired by name; this and the next four read as\n"
                       "--input=auto does"},
    {"chain-e", "A|all", "The same for the experiment"},
    {"chain-p", "A|all", "The same for predictions"},
    {"model", "n|all", "Read this model of a file (default the first); all: in lists every model\n"
                       "is a structure of its own, shown as file:n"},
    {"altloc", "best|first|A", "Read the alternate locations of the highest mean occupancy (default), the\n"
                               "first ones, or those of a letter"},
    {"models", "PATH", "In place of -l: the structure files of a folder, of a pattern in quotes, or of\n"
                       "a list file, whose relative paths count from its own folder"},
    {"threads", "n|all", "Threads of list runs; 'all': one for each processor (default = 1)"},
    {"strict", "", "End the run at what is otherwise ignored in silence"},
    {"pair", "sequence", "Pair residues by aligning the sequences, not by number"},
    {"map-chains", "", "Pair the chains of complexes by sequence and place, not by name"},
    {"measure", "lddt|...", "Compare by lddt or lddt_all (of C-alpha atoms, of all), gdt_ts or gdt_ha in place\n"
                            "of MaxSub"},
    {"scores", "lddt,...", "Compute some of these four beside the run's own measure, for its lines and for\n"
                           "--tsv, --json and --jsonl; lddt for --residues, too"},
    {"progress", "none|lines", "No progress in list runs, or a line each 10 % on standard error"},
    {"tsv", "file", "A table of all pairs, with all that the run knows of each"},
    {"ranking", "file", "A table of all models, best first"},
    {"residues", "file", "A table of residue pairs and their distances"},
    {"json", "file", "The whole run as one JSON object"},
    {"jsonl", "file", "All pairs as JSON, one a line"},
    {"npy", "file", "The matrix that is clustered for NumPy; its names to file.names"},
    {"newick", "file", "The tree with heights, in Newick format"},
    {"linkage", "file", "The tree as SciPy's linkage table, for NumPy"},
    {"report", "file", "A page to look at: tables, pictures, superposition"},
    {"superposed", "folder", "The models as they lie on the experiment or, of all against each other, on\n"
                             "the medoids of their clusters, as PDB files"},
    {"pymol", "file", "The superposition as a script for PyMOL"},
    {"chimerax", "file", "The superposition as a script for ChimeraX"},
    {"molstar", "file", "The superposition as an archive (.mvsx) for Mol*"},
    {"rasmol", "file", "The superposition as a script for RasMol 2.7"},
    {"block", "k/n", "Compute the k-th of n blocks of the pairs of a list into --part"},
    {"part", "file", "Part file of a block; a name that ends in '.part'"},
    {"resume", "", "Leave a block alone whose part is whole"},
    {"missing", "dir", "Print the numbers of the blocks whose parts are not in 'dir', as 3,7-9"},
    {"merge", "dir", "Take the pairs from the parts in 'dir' instead of comparing"},
    {"plan", "minutes", "Print how many blocks take so long each, and their memory"},
    {"kernels", "portable|...", ""},
});
// clang-format on

std::string quoted(std::string_view name) {
    return "'--" + std::string(name) + "'";
}

// The option that an argument is or has to be; none for an argument of another kind.
// A word of two dashes without "=" that is no option of the table is left to the older options,
// which take "--rmsd" for "-rmsd".
const OwnOption* optionOf(std::string_view argument) {
    if (!argument.starts_with("--")) return nullptr;
    const std::size_t sign = argument.find('=');
    const std::string_view name =
        argument.substr(2, sign == std::string_view::npos ? sign : sign - 2);
    const auto* const found =
        std::find_if(kOwnOptions.begin(), kOwnOptions.end(),
                     [name](const OwnOption& option) { return option.name == name; });
    if (found != kOwnOptions.end()) {
        // "--help" has a meaning of its own, as "-help".
        return sign == std::string_view::npos && name == "help" ? nullptr : found;
    }
    if (sign == std::string_view::npos) return nullptr;
    std::vector<std::string_view> names;
    names.reserve(kOwnOptions.size());
    for (const OwnOption& option : kOwnOptions) {
        if (!option.help.empty()) names.push_back(option.name);
    }
    const std::string nearest = nearestText(name, names, "--");
    abend("Unknown option %s%s", quoted(name).c_str(),
          nearest.empty() ? ": --help=more lists all" : nearest.c_str());
}

// The position of a value among the words that an option may have; another one ends the run.
std::size_t positionOf(std::string_view value, std::string_view option,
                       std::span<const std::string_view> words) {
    const auto found = std::find(words.begin(), words.end(), value);
    if (found != words.end()) return static_cast<std::size_t>(found - words.begin());
    std::string known;
    for (const std::string_view word : words)
        known += (known.empty() ? "" : ", ") + std::string(word);
    abend("Option %s has no value '%s', but: %s", quoted(option).c_str(),
          std::string(value).c_str(), known.c_str());
}

}  // namespace

std::span<const OwnOption> ownOptions() {
    return kOwnOptions;
}

OwnOptions::OwnOptions(std::vector<std::string>& arguments) {
    std::vector<std::string> others;
    others.reserve(arguments.size());
    for (std::string& argument : arguments) {
        const OwnOption* const option = others.empty() ? nullptr : optionOf(argument);
        if (option == nullptr) {
            others.push_back(std::move(argument));
        } else {
            take(*option, argument);
        }
    }
    arguments = std::move(others);
}

// Checked at once, so that the first fault of the command line is the one that is named.
void OwnOptions::take(const OwnOption& option, std::string_view argument) {
    const std::string name = quoted(option.name);
    const std::size_t sign = argument.find('=');
    const std::string_view value = sign == std::string_view::npos ? "" : argument.substr(sign + 1);
    if (option.value.empty() && sign != std::string_view::npos) {
        abend("Option %s takes no value", name.c_str());
    }
    if (!option.value.empty() && value.empty()) {
        abend("Option %s needs a value: --%s=%s", name.c_str(), std::string(option.name).c_str(),
              std::string(option.value).c_str());
    }
    if (!values_.emplace(option.name, value).second) {
        abend("Option %s is given twice", name.c_str());
    }
}

bool OwnOptions::anyBeside(std::span<const std::string_view> names) const {
    return std::any_of(values_.begin(), values_.end(), [names](const auto& value) {
        return std::find(names.begin(), names.end(), value.first) == names.end();
    });
}

std::optional<std::string> OwnOptions::text(std::string_view name) const {
    const auto found = values_.find(name);
    if (found == values_.end()) return std::nullopt;
    return found->second;
}

std::optional<std::size_t> OwnOptions::choice(std::string_view name,
                                              std::span<const std::string_view> words) const {
    const std::optional<std::string> value = text(name);
    if (!value) return std::nullopt;
    return positionOf(*value, name, words);
}

std::vector<std::size_t> OwnOptions::choices(std::string_view name,
                                             std::span<const std::string_view> words) const {
    std::vector<std::size_t> chosen;
    const std::optional<std::string> value = text(name);
    if (!value) return chosen;
    std::string_view rest = *value;
    for (bool isLast = false; !isLast;) {
        const std::size_t comma = std::min(rest.find(','), rest.size());
        isLast = comma == rest.size();
        const std::size_t word = positionOf(rest.substr(0, comma), name, words);
        if (std::find(chosen.begin(), chosen.end(), word) != chosen.end()) {
            abend("Option %s has '%s' twice", quoted(name).c_str(),
                  std::string(words[word]).c_str());
        }
        chosen.push_back(word);
        if (!isLast) rest.remove_prefix(comma + 1);
    }
    return chosen;
}

std::optional<int> OwnOptions::integer(std::string_view name, int least, int most) const {
    const std::optional<std::string> value = text(name);
    if (!value) return std::nullopt;
    const std::optional<std::uint64_t> number = digitsOnly(*value);
    if (!number || *number < static_cast<std::uint64_t>(least) ||
        *number > static_cast<std::uint64_t>(most)) {
        abend("Option %s takes a number from %d to %d, not '%s'", quoted(name).c_str(), least, most,
              value->c_str());
    }
    return static_cast<int>(*number);
}

}  // namespace tervolanda
