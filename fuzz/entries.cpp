#include "entries.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <vector>

#include "chains.h"
#include "support.h"
#include "support/support.h"

namespace tervolanda::fuzz {

namespace {

// Records of texts with NUL bytes are shorter.
void requireSoundAtoms(const Chain& chain, bool hasNul) {
    FUZZ_REQUIRE(!chain.atoms.empty() && !chain.residues.empty());
    std::map<ResidueId, char> conformers;
    for (const Atom& atom : chain.atoms) {
        const char conformer = atom.alternateLocation;
        if (conformer != ' ')
            FUZZ_REQUIRE(conformers.try_emplace(atom.residueId(), conformer).first->second ==
                         conformer);
        FUZZ_REQUIRE(atom.residueType < 24);  // no nucleotide
        FUZZ_REQUIRE(std::isfinite(atom.occupancy) && std::isfinite(atom.bFactor));
        for (const double value : {atom.x, atom.y, atom.z})
            FUZZ_REQUIRE(std::fabs(value) <= 99999999.0);
        FUZZ_REQUIRE(atom.classification == classifyAtomName(atom.name.view(), atom.residueType));
        FUZZ_REQUIRE(residueColumns(atom.residueId()).size() == 5);
        if (!hasNul) FUZZ_REQUIRE(formatFullAtomLine(atom, 1).size() == 81);
    }
}

std::vector<Chain> readingOf(const std::string& text, const ReadRequest& request,
                             std::string& said) {
    static const MemoryFile file;
    file.set(text);
    test::CapturedLog captured;
    const auto set = readStructureFile(file.path(), request, {}, captured.log);
    said = captured.error();
    FUZZ_REQUIRE(set || !said.empty());
    return set ? set->chains : std::vector<Chain>();
}

// The same text with other ends of lines.
std::string withReturns(const std::string& text) {
    std::string changed;
    for (const char c : text) {
        if (c == '\n') changed += '\r';
        changed += c;
    }
    return changed;
}

}  // namespace

ReadRequest chooseEntryRequest(FuzzedDataProvider& input) {
    ReadRequest request;
    request.options = input.PickValueInArray<std::uint16_t>(
        {ReadAllAtoms, ReadAllAtoms | ReadCheckDuplicates, ReadCalphaOnly, ReadBackboneAndBeta});
    if (input.ConsumeBool()) request.options |= ReadSingleChain;
    request.entry.readsPdb = true;
    request.entry.chain = input.PickValueInArray<std::string>({"", "", "A", "label:A", " "});
    if (input.ConsumeBool()) request.entry.model = input.ConsumeIntegralInRange(0, 3);
    request.entry.conformers =
        input.PickValueInArray({Conformers::Best, Conformers::First, Conformers::Lettered});
    return request;
}

void requireSoundEntry(const std::string& text, const ReadRequest& request) {
    std::string said, again;
    const std::vector<Chain> chains = readingOf(text, request, said);
    for (const Chain& chain : chains)
        requireSoundAtoms(chain, text.find('\0') != text.npos);
    const std::string& rule = request.entry.chain;
    const bool isNamed = !rule.empty() && !rule.starts_with("label:");
    const auto isOfRule = [&](const Chain& chain) {
        return chain.name == rule || (rule == " " && chain.isSegment);
    };
    if (isNamed) FUZZ_REQUIRE(std::all_of(chains.begin(), chains.end(), isOfRule));
    if (isNamed && rule != " ") FUZZ_REQUIRE(chains.size() <= 1);
    // A return of its own would make one line end of two.
    if (text.find('\r') == text.npos) {
        const std::vector<Chain> same = readingOf(withReturns(text), request, again);
        FUZZ_REQUIRE(said == again);
        requireSameChains(chains, same);
    }
}

}  // namespace tervolanda::fuzz
