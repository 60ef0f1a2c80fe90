// Removals and built atoms are noted first and made at the end (apply()): positions of atoms stay
// what they are while the residues are gone through.
#include "chain/input/repairs.h"

#include <utility>

#include "base/log.h"
#include "chain/input/chain_geometry.h"

namespace tervolanda {

namespace {

void logRemoval(const Chain& chain, ResidueId residue, Log& log) {
    log.info(1, "Removing residue %4d%c from chain '%c'", residue.number, residue.insertionCode,
             chain.letter());
}

}  // namespace

void removeResidue(Chain& chain, ResidueId residue, Log& log) {
    logRemoval(chain, residue, log);
    chain.residues.clear();
    std::erase_if(chain.atoms, [&](const Atom& atom) { return atom.residueId() == residue; });
}

std::size_t BackboneRepairs::endOfResidue(std::size_t first) const {
    const ResidueId residue = chain_.atoms[first].residueId();
    std::size_t end = first + 1;
    while (end < chain_.atoms.size() &&
           (chain_.atoms[end].residueId() == residue || isRemoved(end)))
        ++end;
    return end;
}

// Of an atom that is there twice the later one counts.
BackboneRepairs::Backbone BackboneRepairs::backboneOf(std::size_t first, std::size_t end) const {
    Backbone found;
    for (std::size_t i = first; i < end; ++i) {
        const Atom& atom = chain_.atoms[i];
        if (isRemoved(i)) continue;
        if (atom.matches(kMaskN)) found.n = &atom;
        if (atom.matches(kMaskCA)) found.ca = &atom;
        if (atom.matches(kMaskC)) found.c = &atom;
        if (atom.matches(kMaskO)) found.o = &atom;
        if (atom.matches(kMaskCB)) found.cb = &atom;
        if (atom.residueType == kGlycine) found.isGlycine = true;
    }
    return found;
}

bool BackboneRepairs::repair(std::size_t first, std::size_t end) {
    const Backbone found = backboneOf(first, end);
    const ResidueId residue = chain_.atoms[first].residueId();
    if (found.ca != nullptr && checks_.calphasSuffice) return true;
    if (found.ca != nullptr && found.n != nullptr && found.c != nullptr && found.o != nullptr) {
        return found.cb != nullptr || found.isGlycine || addBeta(found, end);
    }
    if (found.ca == nullptr) {
        log_.error(0, "Chain '%c' missing CA @ position %d", chain_.letter(), residue.number);
    } else {
        reportMissing(found, residue.number, end == chain_.atoms.size());
    }
    logRemoval(chain_, residue, log_);
    removed_.insert(residue);
    return !checks_.strictBackbone;
}

// One line, or one for each missing atom; always one line for the chain's last residue.
void BackboneRepairs::reportMissing(const Backbone& found, int number, bool isLast) {
    if (log_.logLevel() < 2 || isLast) {
        log_.error(0, "Chain '%c' missing N, C or O @ position %d", chain_.letter(), number);
        return;
    }
    const auto report = [&](const Atom* atom, char name) {
        if (atom != nullptr) return;
        log_.error(0, "Chain '%c' missing %c @ position %d", chain_.letter(), name, number);
    };
    report(found.n, 'N');
    report(found.c, 'C');
    report(found.o, 'O');
}

// The atom goes after the others of its residue, before the atom at `end`.
bool BackboneRepairs::addBeta(const Backbone& found, std::size_t end) {
    const Atom& ca = *found.ca;
    log_.error(0, "Chain '%c' missing CB @ position %d - adding", chain_.letter(),
               ca.residueNumber);
    if (checks_.strictBackbone) return false;
    Atom beta;
    beta.name = FixedText<4>(" CB ");
    beta.residueName = ca.residueName;
    beta.residueType = ca.residueType;
    beta.residueNumber = ca.residueNumber;
    beta.insertionCode = ca.insertionCode;
    beta.chainId = ca.chainId;
    beta.classification = classifyAtomName(beta.name.view(), beta.residueType);
    const Vec3 place = placeBeta(found.n->place(), ca.place(), found.c->place(), beta.residueType);
    beta.x = place.x;
    beta.y = place.y;
    beta.z = place.z;
    betas_.push_back({end, beta});
    return true;
}

void BackboneRepairs::apply() {
    if (removed_.empty() && betas_.empty()) return;
    std::vector<Atom> repaired;
    repaired.reserve(chain_.atoms.size() + betas_.size());
    auto beta = betas_.begin();
    for (std::size_t i = 0; i <= chain_.atoms.size(); ++i) {
        for (; beta != betas_.end() && beta->place == i; ++beta) {
            if (!removed_.contains(beta->atom.residueId())) repaired.push_back(beta->atom);
        }
        if (i < chain_.atoms.size() && !isRemoved(i)) repaired.push_back(chain_.atoms[i]);
    }
    chain_.atoms = std::move(repaired);
    chain_.residues.clear();
}

}  // namespace tervolanda
