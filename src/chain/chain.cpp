// What follows from the atoms of a chain.
//
// Residues are runs of atoms.  They are counted by number and insertion code first, so that a
// residue whose atoms are scattered over the file shows itself as one run more than there are keys.
#include "chain/chain.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/log.h"

namespace tervolanda {

namespace {

std::size_t countResidues(const Chain& chain) {
    std::vector<ResidueId> ids;
    for (const Atom& atom : chain.atoms) {
        if (ids.empty() || ids.back() != atom.residueId()) ids.push_back(atom.residueId());
    }
    std::sort(ids.begin(), ids.end());
    return static_cast<std::size_t>(std::unique(ids.begin(), ids.end()) - ids.begin());
}

// Notes an atom that is the first of its kind in the residue.
void noteAtom(const Atom& atom, std::uint32_t position, Residue& residue) {
    if ((atom.classification & NameBackboneOrBeta) == 0) return;  // as half of all atoms
    const auto note = [&](std::uint32_t mask, std::uint32_t& place) {
        if (place == kNoAtom && atom.matches(mask)) place = position;
    };
    note(kMaskN, residue.n);
    note(kMaskCA, residue.ca);
    note(kMaskC, residue.c);
    note(kMaskO, residue.o);
    note(NameBeta, residue.beta);
}

}  // namespace

void buildResidues(Chain& chain, Log& log) {
    chain.residues.clear();
    const std::size_t count = countResidues(chain);
    chain.residues.reserve(count);
    for (std::uint32_t i = 0; i < chain.atoms.size(); ++i) {
        const Atom& atom = chain.atoms[i];
        if (i == 0 || atom.residueId() != chain.atoms[i - 1].residueId()) {
            if (chain.residues.size() == count) {
                log.error(0, "Residue assignment error");
                return;
            }
            chain.residues.push_back({});
            chain.residues.back().first = i;
        }
        noteAtom(atom, i, chain.residues.back());
        chain.residues.back().end = i + 1;
    }
}

// Residues are moved along with their atoms and not built anew, which would take a number that two
// chains share for one residue in two pieces.
Chain joinChains(std::vector<Chain> chains) {
    Chain joined;
    joined.number = chains.front().number;
    joined.fileName = chains.front().fileName;
    joined.name.clear();
    joined.isSegment = std::all_of(chains.begin(), chains.end(),
                                   [](const Chain& chain) { return chain.isSegment; });
    for (std::size_t i = 0; i < chains.size(); ++i) {
        Chain& chain = chains[i];
        const auto offset = static_cast<std::uint32_t>(joined.atoms.size());
        for (Atom& atom : chain.atoms)
            atom.subunit = static_cast<std::uint16_t>(i);
        for (Residue& residue : chain.residues) {
            for (std::uint32_t* const place : {&residue.first, &residue.end, &residue.n,
                                               &residue.ca, &residue.c, &residue.o, &residue.beta})
                if (*place != kNoAtom) *place += offset;
        }
        if (!chain.residues.empty() && i + 1 < chains.size())
            chain.residues.back().breakAfter = true;
        joined.atoms.insert(joined.atoms.end(), chain.atoms.begin(), chain.atoms.end());
        joined.residues.insert(joined.residues.end(), chain.residues.begin(), chain.residues.end());
        joined.name += (i > 0 ? "," : "") + chain.name;
        joined.subunits.push_back(std::move(chain.name));
    }
    return joined;
}

double radiusOfGyration(const Chain& chain) {
    double n = 0.0;
    Vec3 sum;
    for (const Atom& atom : chain.atoms) {
        if (!atom.matches(kMaskCA)) continue;
        n += 1.0;
        sum = sum + atom.place();
    }
    if (n == 0.0) return 0.0;
    const Vec3 centre = sum / n;
    double squares = 0.0;
    for (const Atom& atom : chain.atoms) {
        if (!atom.matches(kMaskCA)) continue;
        const Vec3 d = atom.place() - centre;
        squares += dot(d, d);
    }
    return std::sqrt(squares / n);
}

std::string oneLetterSequence(const Chain& chain) {
    std::string sequence;
    sequence.reserve(chain.residues.size());
    for (const Residue& residue : chain.residues) {
        sequence += oneLetterCode(chain.atoms[residue.first]);
    }
    return sequence;
}

}  // namespace tervolanda
