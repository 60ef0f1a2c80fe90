// Residues are runs of atoms.  They are counted by their keys first, so that a residue whose atoms
// are scattered over the file shows itself as one run more than there are keys.
#include "chain/chain.h"

#include <algorithm>
#include <cmath>

#include "base/log.h"

namespace tervolanda {

namespace {

std::int32_t keyOf(const Atom& atom) {
    return atom.residueNumber * 256 + static_cast<unsigned char>(atom.insertionCode);
}

std::size_t countResidueKeys(const Chain& chain) {
    std::vector<std::int32_t> keys;
    for (const Atom& atom : chain.atoms) {
        if (keys.empty() || keys.back() != keyOf(atom)) keys.push_back(keyOf(atom));
    }
    std::sort(keys.begin(), keys.end());
    return static_cast<std::size_t>(std::unique(keys.begin(), keys.end()) - keys.begin());
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
    const std::size_t count = countResidueKeys(chain);
    chain.residues.reserve(count);
    for (std::uint32_t i = 0; i < chain.atoms.size(); ++i) {
        const Atom& atom = chain.atoms[i];
        if (i == 0 || keyOf(atom) != keyOf(chain.atoms[i - 1])) {
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

double radiusOfGyration(const Chain& chain) {
    double n = 0.0;
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    for (const Atom& atom : chain.atoms) {
        if (!atom.matches(kMaskCA)) continue;
        n += 1.0;
        x += atom.x;
        y += atom.y;
        z += atom.z;
    }
    if (n == 0.0) return 0.0;
    double sum = 0.0;
    for (const Atom& atom : chain.atoms) {
        if (!atom.matches(kMaskCA)) continue;
        const double dx = atom.x - x / n;
        const double dy = atom.y - y / n;
        const double dz = atom.z - z / n;
        sum += dx * dx + dy * dy + dz * dz;
    }
    return std::sqrt(sum / n);
}

std::string oneLetterSequence(const Chain& chain) {
    std::string sequence;
    sequence.reserve(chain.residues.size());
    for (const Residue& residue : chain.residues) {
        sequence += oneLetterCode(chain.atoms[residue.first].residueName.view());
    }
    return sequence;
}

}  // namespace tervolanda
