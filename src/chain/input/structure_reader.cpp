// One structure file, from its bytes to chains that can be compared: which reader makes atoms of
// it, and which sets of chains are refused.  Of PDB text that is not read as an entry only lines
// that begin with "ATOM" count; compressed text is searched for them as it comes.
//
// Three ways lead to a reader: plain text by lines, gzip text by blocks, and, where entries are
// asked for, whatever the bytes turn out to be.  The first two keep to the rules for ATOM records
// that lists of models are written for, and take mmCIF only for what begins like it.
#include <algorithm>
#include <cstdlib>
#include <functional>
#include <set>
#include <utility>
#include <vector>

#include "base/log.h"
#include "chain/input/all_models.h"
#include "chain/input/chain_builder.h"
#include "chain/input/checks.h"
#include "chain/input/entry.h"
#include "chain/input/input.h"
#include "chain/input/mmcif_atoms.h"
#include "chain/input/pdb_columns.h"
#include "chain/input/pdb_entry.h"
#include "chain/input/record_scanner.h"
#include "chain/input/request.h"
#include "chain/input/structure_text.h"
#include "chain/input/text_lines.h"

namespace tervolanda {

namespace {

// False, after an ERROR line, when the fields of an atom are not in their columns.
bool isInPlace(const AtomRecordReader& reader, const std::string& path, Log& log) {
    if (reader.misplacement().empty()) return true;
    log.error(0, "Input file '%s': %s", path.c_str(), reader.misplacement().c_str());
    return false;
}

// A file on its way: what is read of it, and what it is read for.
struct Reading {
    const std::string& path;
    const ReadRequest& request;
    bool allModels;  // of an entry
    const ResidueExclusions& exclusions;
    Log& log;
};

// What a file holds: an entry's models, or the chains of a PDB file as one.
struct Contents {
    std::vector<EntryModel> models{};
    bool isEntry = false;
    bool isFaulty = false;                             // after an ERROR line
    std::set<std::string, std::less<>> otherChains{};  // that the rules leave out
};

// The next functions make atoms of all that a file holds; none, after an ERROR line, when it cannot
// be used.  They end early when the builder takes no more.

bool beginsMmcif(std::string_view text) {
    return text.starts_with("data_");
}

// The same with blank lines and comments before it, in any case of letters.
bool isMmcif(std::string_view text) {
    for (text = trimBlanks(text); text.starts_with('#'); text = trimBlanks(text))
        text.remove_prefix(std::min(text.find_first_of("\r\n"), text.size()));
    std::string start(text.substr(0, 5));
    for (char& c : start)
        c = lowerCase(c);
    return beginsMmcif(start);
}

void sayDamaged(const Reading& reading) {
    reading.log.error(0, "Input file '%s' is damaged or cut short", reading.path.c_str());
}

// Of PDB text that is no entry what was read counts, but for strict readings.
template <typename Text>
bool isRefusedAsDamaged(const Text& text, const Reading& reading) {
    const bool isRefused = reading.request.strict && !text.isWhole();
    if (isRefused) sayDamaged(reading);
    return isRefused;
}

// `piece` is the first of the text, next() gives the others.  Damage of the text, faults of the
// reader and too many atoms are told apart, since each has its own line; any of them makes the file
// unusable: half an entry would be compared as if it were whole.
template <typename Reader, typename Text, typename Next>
std::optional<Contents> readEntry(const Reading& reading, Text& text,
                                  std::optional<std::string_view> piece, const Next& next) {
    const ReadRequest& request = reading.request;
    EntryBuilder builder(request.entry, reading.allModels, selectionOf(request.options),
                         reading.exclusions);
    Reader reader(builder);
    while (piece && reader.append(*piece))
        piece = next();
    if (!text.finish()) return std::nullopt;
    reader.finish();
    const char* const path = reading.path.c_str();
    Log& log = reading.log;
    if (builder.exceeds()) {
        log.error(0, "Input file '%s' has more than %zu atoms, or %zu chains and models", path,
                  kMostAtoms, kMostParts);
        return std::nullopt;
    }
    if (!text.isWhole()) sayDamaged(reading);
    const TextFault& fault = reader.fault();
    if (fault.line != 0) {
        log.error(0, "Input file '%s', line %zu: %s", path, fault.line, fault.text.c_str());
    }
    return Contents{.models = builder.finish(),
                    .isEntry = true,
                    .isFaulty = !text.isWhole() || fault.line != 0,
                    .otherChains = builder.otherChains()};
}

std::optional<Contents> chainsOf(ChainBuilder& builder, const Reading& reading) {
    if (builder.exceeds()) {
        reading.log.error(0, "Input file '%s' has more than %zu atoms", reading.path.c_str(),
                          kMostAtoms);
        return std::nullopt;
    }
    Contents contents;
    contents.models.push_back({1, std::move(builder.chains())});
    return contents;
}

// By lines. mmCIF is taken for what it is only where the first line says so.
std::optional<Contents> readPlain(const Reading& reading) {
    PlainText text(reading.path, reading.log);
    if (!text.isOpen()) return std::nullopt;
    auto piece = text.next(kPdbRecordWidth);
    if (piece && beginsMmcif(*piece)) {
        return readEntry<MmcifReader>(reading, text, piece, [&] { return text.next(); });
    }
    ChainBuilder builder(selectionOf(reading.request.options), reading.exclusions);
    AtomRecordReader reader(builder, reading.request.strict);
    for (; piece && !builder.exceeds(); piece = text.next(kPdbRecordWidth))
        if (piece->starts_with("ATOM")) reader.take(*piece);
    if (!text.finish() || !isInPlace(reader, reading.path, reading.log)) return std::nullopt;
    if (isRefusedAsDamaged(text, reading)) return std::nullopt;
    return chainsOf(builder, reading);
}

// By blocks, in which records are searched for (record_scanner.h).
std::optional<Contents> readCompressed(const Reading& reading) {
    GzipText text(reading.path, reading.log);
    if (!text.isOpen()) return std::nullopt;
    auto piece = text.next();
    if (piece && beginsMmcif(*piece)) {
        return readEntry<MmcifReader>(reading, text, piece, [&] { return text.next(); });
    }
    ChainBuilder builder(selectionOf(reading.request.options), reading.exclusions);
    AtomRecordReader reader(builder, reading.request.strict);
    RecordScanner scanner(reader);
    for (; piece && !builder.exceeds(); piece = text.next())
        scanner.append(*piece);
    if (!text.finish()) return std::nullopt;
    scanner.finish();
    if (!isInPlace(reader, reading.path, reading.log)) return std::nullopt;
    if (isRefusedAsDamaged(text, reading)) return std::nullopt;
    return chainsOf(builder, reading);
}

// As an entry, by its content: packed or not, mmCIF or PDB, whatever the name of the file.
std::optional<Contents> readAny(const Reading& reading) {
    AnyText text(reading.path, reading.log);
    if (!text.isOpen()) return std::nullopt;
    auto piece = text.next();
    const auto next = [&] { return text.next(); };
    // Some editors put it in front of UTF-8 text.
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (piece && piece->starts_with(kByteOrderMark)) piece->remove_prefix(kByteOrderMark.size());
    if (piece && isMmcif(*piece)) return readEntry<MmcifReader>(reading, text, piece, next);
    return readEntry<PdbEntryReader>(reading, text, piece, next);
}

std::optional<Contents> readContents(const Reading& reading) {
    if (reading.request.entry.readsPdb) return readAny(reading);
    switch (fileKind(reading.path)) {
        case FileKind::Plain:
            return readPlain(reading);
        case FileKind::Gzip:
            return readCompressed(reading);
        case FileKind::Binary:
            reading.log.error(0, "Failed to read loop DB binary file '%s'", reading.path.c_str());
            return Contents{.isFaulty = true};
    }
    std::abort();
}

// The first residue that the chain comes back to.  REQUIRES: there is one.
ResidueId scatteredResidue(const Chain& chain) {
    std::set<ResidueId> known;
    for (std::size_t i = 0; i < chain.atoms.size(); ++i) {
        const ResidueId id = chain.atoms[i].residueId();
        const bool begins = i == 0 || id != chain.atoms[i - 1].residueId();
        if (begins && !known.insert(id).second) return id;
    }
    std::abort();
}

// False, after an ERROR line, when buildResidues() has left atoms without a residue.
bool isBuilt(const Chain& chain, const Reading& reading) {
    if (chain.residues.back().end == chain.atoms.size()) return true;
    const std::string residue = residueColumns(scatteredResidue(chain));
    reading.log.error(0, "Input file '%s': the atoms of residue '%s' do not follow each other",
                      reading.path.c_str(), residue.c_str());
    return false;
}

// Of the chains of a file those that the request can use, residues built; none, after ERROR lines,
// when it cannot use the file.  Every chain is checked even after one has failed, so that the lines
// name all of them.
std::vector<Chain> usableChains(std::vector<Chain>& chains, const Reading& reading, bool isEntry) {
    const ReadRequest& request = reading.request;
    Log& log = reading.log;
    if (chains.empty()) log.error(0, "PDB contains no chains");
    if ((request.options & ReadSingleChain) != 0 && chains.size() > 1) {
        log.error(0, "Multiple chains in PDB: %zu", chains.size());
        return {};
    }
    const Checks checks = checksOf(request);
    std::vector<Chain> valid;
    for (Chain& chain : chains) {
        bool isUsable = checkChain(chain, checks, log);
        if (isUsable && chain.residues.empty()) buildResidues(chain, log);
        if (isUsable && (isEntry || request.strict)) isUsable = isBuilt(chain, reading);
        if (!isUsable) {
            log.error(0, "Invalid chain '%c'", chain.letter());
            continue;
        }
        valid.push_back(std::move(chain));
    }
    return valid;
}

// The same for a complex: its chains as one, where all of them can be used, and none has atoms that
// belong to no residue, which would lie between those of two chains.
std::vector<Chain> usableComplex(std::vector<Chain>& chains, const Reading& reading) {
    ReadRequest each = reading.request;
    each.options &= static_cast<std::uint16_t>(~ReadSingleChain);
    const std::size_t wanted = chains.size();
    std::vector<Chain> usable = usableChains(
        chains, {reading.path, each, reading.allModels, reading.exclusions, reading.log},
        /*isEntry=*/true);
    if (usable.empty() || usable.size() != wanted) return {};
    usable = {joinChains(std::move(usable))};
    return usable;
}

// The set of a file's usable chains; none, after an ERROR line, when there are none.
std::optional<ChainSet> setOf(const std::string& path, std::vector<Chain> chains, Log& log) {
    if (chains.empty()) {
        log.error(0, "Invalid PDB file '%s', skipped", path.c_str());
        return std::nullopt;
    }
    return ChainSet{.chains = std::move(chains), .fileName = path, .number = 0};
}

// The names, for a message.
std::string listed(const std::vector<std::string>& names) {
    // A ribosome has eighty chains.
    constexpr std::size_t kMost = 20;
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), kMost); ++i)
        text += (i > 0 ? ", " : "") + (names[i] == " " ? "a blank" : names[i]);
    return names.size() > kMost ? text + " ..." : text;
}

// Says what to choose in an entry whose chains are not the one that is wanted.  It comes after the
// ordinary lines of a refused file, which do not know of chains to choose from.
void explainChoice(const Reading& reading, const std::vector<Chain>& chains,
                   const std::set<std::string, std::less<>>& others) {
    const EntryRules& rules = reading.request.entry;
    const char* const path = reading.path.c_str();
    std::vector<std::string> names(others.begin(), others.end());
    for (const Chain& chain : chains)
        names.push_back(chain.name);
    if (chains.size() > 1) {
        reading.log.error(
            0, "Input file '%s' has the protein chains %s: choose one with --chain, or all", path,
            listed(names).c_str());
    } else if (!names.empty()) {
        reading.log.error(0, "Input file '%s' has no protein chain '%s', but %s", path,
                          rules.chain.c_str(), listed(names).c_str());
    } else if (rules.model) {
        reading.log.error(0, "Input file '%s' has no protein in a model %d", path, *rules.model);
    } else {
        reading.log.error(0, "Input file '%s' has no protein", path);
    }
}

// The usable chains of the contents' first model.
std::vector<Chain> usableChains(Contents& contents, const Reading& reading) {
    if (contents.isFaulty) return {};
    std::vector<Chain> chains;
    if (!contents.models.empty()) chains = std::move(contents.models.front().chains);
    const bool isSingle = (reading.request.options & ReadSingleChain) != 0;
    if (isSingle && reading.request.entry.takesComplex() && !chains.empty())
        return usableComplex(chains, reading);
    const bool needsChoice = chains.empty() || (isSingle && chains.size() > 1);
    std::vector<Chain> usable = usableChains(chains, reading, contents.isEntry);
    if (contents.isEntry && needsChoice) explainChoice(reading, chains, contents.otherChains);
    return usable;
}

}  // namespace

std::optional<ChainSet> readStructureFile(const std::string& path, const ReadRequest& request,
                                          const ResidueExclusions& exclusions, Log& log) {
    const Reading reading{
        .path = path, .request = request, .allModels = false, .exclusions = exclusions, .log = log};
    auto contents = readContents(reading);
    if (!contents) return std::nullopt;
    return setOf(path, usableChains(*contents, reading), log);
}

std::optional<Chain> readChain(const std::string& path, const ReadRequest& request,
                               const ResidueExclusions& exclusions, Log& log) {
    ReadRequest single = request;
    single.options |= ReadSingleChain;
    auto set = readStructureFile(path, single, exclusions, log);
    if (!set) return std::nullopt;
    Chain chain = std::move(set->chains.front());
    chain.fileName = set->fileName;
    return chain;
}

std::vector<Chain> readAllModels(const std::string& path, const ReadRequest& request,
                                 const ResidueExclusions& exclusions, Log& log) {
    ReadRequest single = request;
    single.options |= ReadSingleChain;
    const Reading reading{
        .path = path, .request = single, .allModels = true, .exclusions = exclusions, .log = log};
    std::vector<Chain> chains;
    auto contents = readContents(reading);
    if (!contents) return chains;
    if (contents->isFaulty || contents->models.empty()) {
        setOf(path, usableChains(*contents, reading), log);
        return chains;
    }
    for (EntryModel& model : contents->models) {
        Contents one{
            {std::move(model)}, contents->isEntry, contents->isFaulty, contents->otherChains};
        const std::string name = path + ":" + std::to_string(one.models.front().number);
        auto set = setOf(name, usableChains(one, reading), log);
        if (!set) continue;
        chains.push_back(std::move(set->chains.front()));
        chains.back().fileName = name;
        chains.back().namesModel = true;
    }
    return chains;
}

}  // namespace tervolanda
