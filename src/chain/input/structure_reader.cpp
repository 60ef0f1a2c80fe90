// One structure file, from its bytes to chains that can be compared: which reader makes atoms of
// it, and which sets of chains are refused.  Only lines that begin with "ATOM" count; compressed
// text is searched for them as it comes.
#include <utility>
#include <vector>

#include "base/log.h"
#include "chain/input/chain_builder.h"
#include "chain/input/checks.h"
#include "chain/input/input.h"
#include "chain/input/pdb_columns.h"
#include "chain/input/record_scanner.h"
#include "chain/input/request.h"
#include "chain/input/structure_text.h"

namespace tervolanda {

namespace {

// False, after an ERROR line, when the fields of an atom are not in their columns.
bool isInPlace(const AtomRecordReader& reader, const std::string& path, Log& log) {
    if (reader.misplacement().empty()) return true;
    log.error(0, "Input file '%s': %s", path.c_str(), reader.misplacement().c_str());
    return false;
}

// The next functions make atoms of all records of a file; false, after an ERROR line, when it
// cannot be opened or is too long.  They end early when the builder takes no more.

bool readPlainRecords(const std::string& path, bool isStrict, ChainBuilder& builder, Log& log) {
    PlainText text(path, log);
    if (!text.isOpen()) return false;
    AtomRecordReader reader(builder, isStrict);
    while (const auto piece = text.next(kPdbRecordWidth)) {
        if (piece->starts_with("ATOM")) reader.take(*piece);
        if (builder.exceeds()) break;
    }
    return text.finish() && isInPlace(reader, path, log);
}

bool readScannedRecords(const std::string& path, bool isStrict, ChainBuilder& builder, Log& log) {
    GzipText text(path, log);
    if (!text.isOpen()) return false;
    AtomRecordReader reader(builder, isStrict);
    RecordScanner scanner(reader);
    while (const auto piece = text.next()) {
        scanner.append(*piece);
        if (builder.exceeds()) break;
    }
    if (!text.finish()) return false;
    scanner.finish();
    return isInPlace(reader, path, log);
}

bool readAtoms(const std::string& path, FileKind kind, bool isStrict, ChainBuilder& builder,
               Log& log) {
    return kind == FileKind::Gzip ? readScannedRecords(path, isStrict, builder, log)
                                  : readPlainRecords(path, isStrict, builder, log);
}

// Of the chains of a file those that the request can use, residues built; none, after ERROR lines,
// when it cannot use the file.
std::vector<Chain> usableChains(std::vector<Chain> chains, const ReadRequest& request, Log& log) {
    if (chains.empty()) log.error(0, "PDB contains no chains");
    if ((request.options & ReadSingleChain) != 0 && chains.size() > 1) {
        log.error(0, "Multiple chains in PDB: %d", static_cast<int>(chains.size()));
        return {};
    }
    const Checks checks = checksOf(request);
    std::vector<Chain> valid;
    for (Chain& chain : chains) {
        if (!checkChain(chain, checks, log)) {
            log.error(0, "Invalid chain '%c'", chain.letter());
            continue;
        }
        if (chain.residues.empty()) buildResidues(chain, log);
        valid.push_back(std::move(chain));
    }
    return valid;
}

// The set of a file's usable chains; none, after an ERROR line, when there are none.
std::optional<ChainSet> setOf(const std::string& path, std::vector<Chain> chains, Log& log) {
    if (chains.empty()) {
        log.error(0, "Invalid PDB file '%s', skipped", path.c_str());
        return std::nullopt;
    }
    return ChainSet{.chains = std::move(chains), .fileName = path, .number = 0};
}

}  // namespace

std::optional<ChainSet> readStructureFile(const std::string& path, const ReadRequest& request,
                                          const ResidueExclusions& exclusions, Log& log) {
    const FileKind kind = fileKind(path);
    if (kind == FileKind::Binary) {
        log.error(0, "Failed to read loop DB binary file '%s'", path.c_str());
        return setOf(path, {}, log);
    }
    ChainBuilder builder(selectionOf(request.options), exclusions);
    if (!readAtoms(path, kind, request.strictColumns, builder, log)) return std::nullopt;
    if (builder.exceeds()) {
        log.error(0, "Input file '%s' has more than %zu atoms", path.c_str(), kMostAtoms);
        return std::nullopt;
    }
    return setOf(path, usableChains(std::move(builder.chains()), request, log), log);
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

}  // namespace tervolanda
