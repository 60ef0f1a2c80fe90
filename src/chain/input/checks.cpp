// The checks run in stages over the atoms of a chain.  By default a stage stops at its first fault
// and later stages are skipped; Checks::reportsAll makes every stage report every fault.
//
// The first stage also repairs, so that later ones judge the chain as a comparison would see it.
// The order of the stages is that of the lines that users know.
#include "chain/input/checks.h"

#include <cmath>
#include <string>
#include <vector>

#include "base/log.h"
#include "chain/input/chain_geometry.h"
#include "chain/input/duplicates.h"
#include "chain/input/repairs.h"

namespace tervolanda {

namespace {

// Å, with which compactness() of a compact chain is about 1, and 2 that of one twice as wide.
constexpr double kCompactnessParameter = 2.0;

// One chain on its way through the stages.
//
// Invariant: `valid_` is whether no stage so far has found a fault, and after the first stage
// `calphas_` has the C-alpha atoms of what is left of the chain, in file order.
class ChainChecker {
 public:
    ChainChecker(Chain& chain, const Checks& checks, Log& log)
        : chain_(chain), checks_(checks), log_(log) {}

    bool run() {
        checkAtoms();
        if (goesOn()) checkCalphaCount();
        if (goesOn()) checkCalphas();
        if (goesOn() && checks_.insertionCodes) checkInsertionCodes();
        if (goesOn() && checks_.duplicates) checkDuplicates();
        if (goesOn() && checks_.breaks) checkBreaks();
        if (goesOn() && checks_.radius) checkRadius();
        return valid_;
    }

 private:
    bool goesOn() const { return valid_ || checks_.reportsAll; }

    // Stage 1: the template sequence, and residue by residue the backbone.
    void checkAtoms() {
        if (checks_.backbone || !checks_.templateSequence.empty()) {
            BackboneRepairs repairs(chain_, checks_, log_);
            for (std::size_t first = 0; first < chain_.atoms.size() && goesOn();) {
                const std::size_t end = repairs.endOfResidue(first);
                if (!repairs.isRemoved(first)) checkResidue(first, end, repairs);
                first = end;
            }
            repairs.apply();
        }
        for (std::uint32_t i = 0; i < chain_.atoms.size(); ++i) {
            if (chain_.atoms[i].matches(kMaskCA)) calphas_.push_back(i);
        }
    }

    void checkResidue(std::size_t first, std::size_t end, BackboneRepairs& repairs) {
        for (std::size_t i = first; i < end && goesOn(); ++i) {
            if (!repairs.isRemoved(i)) checkTemplate(chain_.atoms[i]);
        }
        if (checks_.backbone && goesOn() && !repairs.repair(first, end)) fault();
    }

    void checkTemplate(const Atom& atom) {
        const std::string& sequence = checks_.templateSequence;
        if (sequence.empty()) return;
        const int number = atom.residueNumber;
        const auto length = static_cast<int>(sequence.size());
        if (number > length) {
            fault();
            log_.error(0, "Chain '%c' exceeds template sequence length (%d > %d)", chain_.letter(),
                       number, length);
        }
        if (!atom.matches(kMaskCA) || !goesOn()) return;
        if (number < 1 || number > length) {
            fault();
            log_.error(0, "Chain '%c' sequence error - position %d out of bounds", chain_.letter(),
                       number);
            return;
        }
        const char code = oneLetterCode(atom.residueName.view());
        const char expected = sequence[static_cast<std::size_t>(number - 1)];
        if (code == expected) return;
        fault();
        log_.error(0, "Chain '%c' sequence mismatch %c != %c @ position %d", chain_.letter(), code,
                   expected, number);
    }

    // Stage 2: enough C-alpha atoms to compare.
    void checkCalphaCount() {
        if (!valid_ || calphas_.size() >= checks_.minimumCalphas) return;
        fault();
        log_.error(0, "Chain '%c' has too few C-alpha atoms: %zu < %zu", chain_.letter(),
                   calphas_.size(), checks_.minimumCalphas);
    }

    // Stage 3: neighbours among the C-alpha atoms, by number and by distance.
    void checkCalphas() {
        for (std::size_t i = 1; i < calphas_.size() && goesOn(); ++i) {
            const Atom& a = chain_.atoms[calphas_[i - 1]];
            const Atom& b = chain_.atoms[calphas_[i]];
            // Numbers of inserted residues say nothing about gaps: 52 and 52A are neighbours.
            if (a.insertionCode != b.insertionCode) continue;
            if (checks_.gaps) checkGap(a, b);
            if (checks_.calphaDistances && goesOn()) checkCalphaDistance(a, b);
        }
    }

    void checkGap(const Atom& a, const Atom& b) {
        // Unsigned on purpose: numbers that fall exceed every gap.
        const auto step = static_cast<unsigned>(b.residueNumber - a.residueNumber);
        if (step <= static_cast<unsigned>(checks_.maximumGap)) return;
        fault();
        log_.error(0, "Chain '%c' has adjacent residues exceeding gap %d: %d - %d", chain_.letter(),
                   checks_.maximumGap, a.residueNumber, b.residueNumber);
    }

    void checkCalphaDistance(const Atom& a, const Atom& b) {
        if (std::abs(b.residueNumber - a.residueNumber) != 1) return;
        const double d = distance(a.place(), b.place());
        if (d >= kShortestCalphaDistance && d <= kLongestCalphaDistance) return;
        fault();
        log_.error(0,
                   "Chain '%c' C-alpha distance outside range between residues: %d - %d "
                   "(dist = %.3f)",
                   chain_.letter(), a.residueNumber, b.residueNumber, d);
    }

    // Stage 4: one insertion code for all, as files of models have it.
    void checkInsertionCodes() {
        for (const Atom& atom : chain_.atoms) {
            const char first = chain_.atoms.front().insertionCode;
            if (atom.insertionCode == first || !goesOn()) continue;
            fault();
            log_.error(0, "Chain '%c' has multiple insertion codes: '%c' and '%c'", chain_.letter(),
                       first, atom.insertionCode);
        }
    }

    // Stage 5: what comparing each atom with every later one would find, in that order.  The line
    // of a pair names only what both have in common, so it is enough to count them.
    void checkDuplicates() {
        const std::vector<std::uint32_t> later = laterDuplicates(chain_.atoms);
        FaultReport report(log_);
        for (std::size_t i = 0; i < later.size() && goesOn(); ++i) {
            if (later[i] == 0) continue;
            const Atom& atom = chain_.atoms[i];
            fault();
            report.error(goesOn() ? later[i] : 1, "Chain '%c' has duplicate atoms: %s%c @ %d",
                         chain_.letter(), atom.name.text(), atom.insertionCode, atom.residueNumber);
        }
        report.finish();
    }

    // Stage 6: breaks between residues (markBreaks()).
    void checkBreaks() {
        buildOnce();
        markBreaks(chain_);
        for (std::size_t i = 0; i + 1 < chain_.residues.size() && goesOn(); ++i) {
            if (!chain_.residues[i].breakAfter) continue;
            const Atom& a = chain_.atoms[chain_.residues[i].first];
            const Atom& b = chain_.atoms[chain_.residues[i + 1].first];
            fault();
            log_.error(0, "Chain '%c' has chain break @ %4d%c - %4d%c", chain_.letter(),
                       a.residueNumber, a.insertionCode, b.residueNumber, b.insertionCode);
        }
    }

    // Stage 7: unfolded, or blown up (compactness()).
    void checkRadius() {
        buildOnce();
        const double value = compactness(chain_, kCompactnessParameter);
        if (!(value > checks_.maximumCompactness)) return;
        fault();
        log_.error(0, "Chain '%c' exceeds RGE limit - %f > %f", chain_.letter(), value,
                   checks_.maximumCompactness);
    }

    void buildOnce() {
        if (chain_.residues.empty()) buildResidues(chain_, log_);
    }

    void fault() { valid_ = false; }

    Chain& chain_;
    const Checks& checks_;
    Log& log_;
    std::vector<std::uint32_t> calphas_;  // positions of C-alpha atoms
    bool valid_ = true;
};

}  // namespace

bool checkChain(Chain& chain, const Checks& checks, Log& log) {
    if (chain.atoms.empty() || !checks.any) return true;
    return ChainChecker(chain, checks, log).run();
}

}  // namespace tervolanda
