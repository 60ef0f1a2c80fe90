// The checks run in stages over the atoms of a chain.  By default a stage stops at its first fault
// and later stages are skipped; ReadCheckAll makes every stage report every fault.
#include "chain/chain_checks.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/log.h"

namespace tervolanda {

namespace {

// Without one of these bits nothing is checked: the gap, insertion-code and radius tests do not run
// on their own.
constexpr unsigned kCheckingOptions = ReadCheckDuplicates | ReadCheckAll | ReadCheckCalphaDistance |
                                      ReadStrictBackbone | ReadModelPrepare | ReadCheckBreaks |
                                      ReadCheckBackbone;
constexpr int kGlycine = 0;
constexpr double kShortestCalphaDistance = 2.0;  // Å, both included
constexpr double kLongestCalphaDistance = 4.2;
constexpr double kLongestPeptideBond = 2.0;
constexpr double kCompactnessParameter = 2.0;

std::int32_t keyOf(const Atom& atom) {
    return atom.residueNumber * 256 + static_cast<unsigned char>(atom.insertionCode);
}

double distance(const Atom& a, const Atom& b) {
    return std::sqrt((a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y) +
                     (a.z - b.z) * (a.z - b.z));
}

void logRemoval(const Chain& chain, int residueNumber, char insertionCode, Log& log) {
    log.info(1, "Removing residue %4d%c from chain '%c'", residueNumber, insertionCode, chain.id);
}

std::uint32_t packedName(const Atom& atom) {
    std::uint32_t packed = 0;
    for (const char c : atom.name.view())
        packed = packed << 8 | static_cast<unsigned char>(c);
    return packed;
}

// What duplicates have in common (residue number, insertion code and name), as one number.
struct Identity {
    std::uint64_t key;
    std::uint32_t position;
};

Identity identityOf(const Atom& atom, std::uint32_t position) {
    const auto residue = static_cast<std::uint64_t>(atom.residueNumber - INT16_MIN) << 8 |
                         static_cast<unsigned char>(atom.insertionCode);
    return {residue << 32 | packedName(atom), position};
}

// Whether there is no duplicate, where that can be seen at little cost: residues in ascending order
// and no name twice in any of them, as in nearly every chain.
bool isClearlyUnique(const std::vector<Atom>& atoms) {
    std::array<std::uint32_t, 32> names;  // of the residue so far: all pairs are compared
    std::size_t count = 0;
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        if (i > 0 && keyOf(atoms[i]) != keyOf(atoms[i - 1])) {
            if (keyOf(atoms[i]) < keyOf(atoms[i - 1])) return false;
            count = 0;
        }
        if (count == names.size()) return false;
        const std::uint32_t name = packedName(atoms[i]);
        bool isNew = true;
        for (std::size_t k = 0; k < count; ++k)
            isNew &= names[k] != name;
        if (!isNew) return false;
        names[count++] = name;
    }
    return true;
}

// All identities in ascending order, equal ones in file order.
std::vector<Identity> sortedIdentities(const std::vector<Atom>& atoms) {
    std::vector<Identity> sorted;
    sorted.reserve(atoms.size());
    for (std::uint32_t i = 0; i < atoms.size(); ++i)
        sorted.push_back(identityOf(atoms[i], i));
    std::sort(sorted.begin(), sorted.end(), [](const Identity& a, const Identity& b) {
        return a.key != b.key ? a.key < b.key : a.position < b.position;
    });
    return sorted;
}

class ChainChecker {
 public:
    ChainChecker(Chain& chain, const ReadRequest& request, Log& log)
        : chain_(chain), request_(request), log_(log) {}

    bool run() {
        checkAtoms();
        if (goesOn()) checkCalphaCount();
        if (goesOn()) checkCalphas();
        if (goesOn() && has(ReadCheckInsertionCodes)) checkInsertionCodes();
        if (goesOn() && has(ReadCheckDuplicates)) checkDuplicates();
        if (goesOn() && has(ReadCheckBreaks)) checkBreaks();
        if (goesOn() && has(ReadCheckRadius)) checkRadius();
        return valid_;
    }

 private:
    bool has(unsigned option) const { return (request_.options & option) != 0; }
    bool goesOn() const { return valid_ || has(ReadCheckAll); }

    // Stage 1: the template sequence, and residue by residue the backbone.  Repairs are noted and
    // made behind the walk, in one pass: made one by one they would take quadratic time.
    void checkAtoms() {
        const bool checksBackbone = has(ReadStrictBackbone) || has(ReadCheckBackbone);
        if (checksBackbone || !request_.templateSequence.empty()) {
            for (std::size_t first = 0; first < chain_.atoms.size() && goesOn();) {
                const std::size_t end = endOfRun(first);
                if (!isRemoved(chain_.atoms[first])) checkRun(first, end, checksBackbone);
                first = end;
            }
            makeRepairs();
        }
        for (std::uint32_t i = 0; i < chain_.atoms.size(); ++i) {
            if (chain_.atoms[i].matches(kMaskCA)) calphas_.push_back(i);
        }
    }

    bool isRemoved(const Atom& atom) const {
        return !removed_.empty() && removed_.contains(keyOf(atom));
    }

    // Behind the run of atoms of one residue; removed atoms do not interrupt it.
    std::size_t endOfRun(std::size_t first) const {
        const std::int32_t key = keyOf(chain_.atoms[first]);
        std::size_t end = first + 1;
        while (end < chain_.atoms.size() &&
               (keyOf(chain_.atoms[end]) == key || isRemoved(chain_.atoms[end])))
            ++end;
        return end;
    }

    void checkRun(std::size_t first, std::size_t end, bool checksBackbone) {
        for (std::size_t i = first; i < end && goesOn(); ++i) {
            if (!isRemoved(chain_.atoms[i])) checkTemplate(chain_.atoms[i]);
        }
        if (checksBackbone && goesOn()) checkBackbone(first, end);
    }

    void makeRepairs() {
        if (removed_.empty() && betas_.empty()) return;
        std::vector<Atom> repaired;
        repaired.reserve(chain_.atoms.size() + betas_.size());
        auto beta = betas_.begin();
        for (std::size_t i = 0; i <= chain_.atoms.size(); ++i) {
            for (; beta != betas_.end() && beta->place == i; ++beta) {
                if (!isRemoved(beta->atom)) repaired.push_back(beta->atom);
            }
            if (i < chain_.atoms.size() && !isRemoved(chain_.atoms[i])) {
                repaired.push_back(chain_.atoms[i]);
            }
        }
        chain_.atoms = std::move(repaired);
        chain_.residues.clear();
    }

    void checkTemplate(const Atom& atom) {
        const std::string& sequence = request_.templateSequence;
        if (sequence.empty()) return;
        const int number = atom.residueNumber;
        const auto length = static_cast<int>(sequence.size());
        if (number > length) {
            fault();
            log_.error(0, "Chain '%c' exceeds template sequence length (%d > %d)", chain_.id,
                       number, length);
        }
        if (!atom.matches(kMaskCA) || !goesOn()) return;
        if (number < 1 || number > length) {
            fault();
            log_.error(0, "Chain '%c' sequence error - position %d out of bounds", chain_.id,
                       number);
            return;
        }
        const char code = oneLetterCode(atom.residueName.view());
        const char expected = sequence[static_cast<std::size_t>(number - 1)];
        if (code == expected) return;
        fault();
        log_.error(0, "Chain '%c' sequence mismatch %c != %c @ position %d", chain_.id, code,
                   expected, number);
    }

    struct Backbone {
        const Atom* n = nullptr;
        const Atom* ca = nullptr;
        const Atom* c = nullptr;
        const Atom* o = nullptr;
        const Atom* cb = nullptr;
        bool glycine = false;
    };

    Backbone backboneOf(std::size_t first, std::size_t end) const {
        Backbone found;
        for (std::size_t i = first; i < end; ++i) {
            const Atom& atom = chain_.atoms[i];
            if (isRemoved(atom)) continue;
            if (atom.matches(kMaskN)) found.n = &atom;
            if (atom.matches(kMaskCA)) found.ca = &atom;
            if (atom.matches(kMaskC)) found.c = &atom;
            if (atom.matches(kMaskO)) found.o = &atom;
            if (atom.matches(kMaskCB)) found.cb = &atom;
            if (atom.residueType == kGlycine) found.glycine = true;
        }
        return found;
    }

    void checkBackbone(std::size_t first, std::size_t end) {
        const Backbone found = backboneOf(first, end);
        const int number = chain_.atoms[first].residueNumber;
        if (found.ca != nullptr && has(ReadCalphaOnly)) return;
        if (found.ca != nullptr && found.n != nullptr && found.c != nullptr && found.o != nullptr) {
            if (found.cb == nullptr && !found.glycine) addBeta(found, end);
            return;
        }
        if (found.ca == nullptr) {
            log_.error(0, "Chain '%c' missing CA @ position %d", chain_.id, number);
        } else {
            reportMissing(found, number, end == chain_.atoms.size());
        }
        if (has(ReadStrictBackbone)) fault();
        logRemoval(chain_, number, chain_.atoms[first].insertionCode, log_);
        removed_.insert(keyOf(chain_.atoms[first]));
    }

    // One line, or one for each missing atom; always one line for the chain's last residue.
    void reportMissing(const Backbone& found, int number, bool isLast) {
        if (log_.logLevel() < 2 || isLast) {
            log_.error(0, "Chain '%c' missing N, C or O @ position %d", chain_.id, number);
            return;
        }
        const auto report = [&](const Atom* atom, char name) {
            if (atom == nullptr) {
                log_.error(0, "Chain '%c' missing %c @ position %d", chain_.id, name, number);
            }
        };
        report(found.n, 'N');
        report(found.c, 'C');
        report(found.o, 'O');
    }

    // The atom goes behind the others of its residue, before the atom at `end`.
    void addBeta(const Backbone& found, std::size_t end) {
        const Atom& ca = *found.ca;
        log_.error(0, "Chain '%c' missing CB @ position %d - adding", chain_.id, ca.residueNumber);
        if (has(ReadStrictBackbone)) {
            fault();
            return;
        }
        Atom beta;
        beta.name = FixedText<4>(" CB ");
        beta.residueName = ca.residueName;
        beta.residueType = ca.residueType;
        beta.residueNumber = ca.residueNumber;
        beta.insertionCode = ca.insertionCode;
        beta.chainId = ca.chainId;
        beta.classification = classifyAtomName(beta.name.view(), beta.residueType);
        const auto place = placeBeta(*found.n, ca, *found.c, beta.residueType);
        beta.x = place[0];
        beta.y = place[1];
        beta.z = place[2];
        betas_.push_back({end, beta});
    }

    // Stage 2.
    void checkCalphaCount() {
        if (!valid_ || calphas_.size() >= request_.minimumCalphas) return;
        fault();
        log_.error(0, "Chain '%c' has too few C-alpha atoms: %d < %d", chain_.id,
                   static_cast<int>(calphas_.size()), static_cast<int>(request_.minimumCalphas));
    }

    // Stage 3.
    void checkCalphas() {
        for (std::size_t i = 1; i < calphas_.size() && goesOn(); ++i) {
            const Atom& a = chain_.atoms[calphas_[i - 1]];
            const Atom& b = chain_.atoms[calphas_[i]];
            if (a.insertionCode != b.insertionCode) continue;
            if (has(ReadCheckGap)) checkGap(a, b);
            if (has(ReadCheckCalphaDistance) && goesOn()) checkCalphaDistance(a, b);
        }
    }

    void checkGap(const Atom& a, const Atom& b) {
        // Unsigned on purpose: numbers that fall exceed every gap.
        const auto step = static_cast<unsigned>(b.residueNumber - a.residueNumber);
        if (step <= static_cast<unsigned>(request_.maximumGap)) return;
        fault();
        log_.error(0, "Chain '%c' has adjacent residues exceeding gap %d: %d - %d", chain_.id,
                   request_.maximumGap, a.residueNumber, b.residueNumber);
    }

    void checkCalphaDistance(const Atom& a, const Atom& b) {
        if (std::abs(b.residueNumber - a.residueNumber) != 1) return;
        const double d = distance(a, b);
        if (d >= kShortestCalphaDistance && d <= kLongestCalphaDistance) return;
        fault();
        log_.error(0,
                   "Chain '%c' C-alpha distance outside range between residues: %d - %d "
                   "(dist = %.3f)",
                   chain_.id, a.residueNumber, b.residueNumber, d);
    }

    // Stage 4.
    void checkInsertionCodes() {
        for (const Atom& atom : chain_.atoms) {
            const char first = chain_.atoms.front().insertionCode;
            if (atom.insertionCode == first || !goesOn()) continue;
            fault();
            log_.error(0, "Chain '%c' has multiple insertion codes: '%c' and '%c'", chain_.id,
                       first, atom.insertionCode);
        }
    }

    // Stage 5: what comparing each atom with every later one would find, in that order.  The line
    // of a pair names only what both have in common, so it is enough to count an atom's later
    // duplicates.
    void checkDuplicates() {
        if (isClearlyUnique(chain_.atoms)) return;
        const std::vector<Identity> sorted = sortedIdentities(chain_.atoms);
        std::vector<std::uint32_t> later(chain_.atoms.size(), 0);
        for (std::size_t end = sorted.size(), i = sorted.size(); i-- > 0;) {
            if (sorted[i].key != sorted[end - 1].key) end = i + 1;
            later[sorted[i].position] = static_cast<std::uint32_t>(end - i - 1);
        }
        FaultReport report(log_);
        for (std::size_t i = 0; i < later.size() && goesOn(); ++i) {
            if (later[i] == 0) continue;
            const Atom& atom = chain_.atoms[i];
            fault();
            report.error(goesOn() ? later[i] : 1, "Chain '%c' has duplicate atoms: %s%c @ %d",
                         chain_.id, atom.name.text(), atom.insertionCode, atom.residueNumber);
        }
        report.finish();
    }

    // Stage 6.
    void checkBreaks() {
        buildOnce();
        markBreaks(chain_);
        for (std::size_t i = 0; i + 1 < chain_.residues.size() && goesOn(); ++i) {
            if (!chain_.residues[i].breakAfter) continue;
            const Atom& a = chain_.atoms[chain_.residues[i].first];
            const Atom& b = chain_.atoms[chain_.residues[i + 1].first];
            fault();
            log_.error(0, "Chain '%c' has chain break @ %4d%c - %4d%c", chain_.id, a.residueNumber,
                       a.insertionCode, b.residueNumber, b.insertionCode);
        }
    }

    // Stage 7.
    void checkRadius() {
        buildOnce();
        const double value = compactness(chain_, kCompactnessParameter);
        if (!(value > request_.maximumCompactness)) return;
        fault();
        log_.error(0, "Chain '%c' exceeds RGE limit - %f > %f", chain_.id, value,
                   request_.maximumCompactness);
    }

    void buildOnce() {
        if (chain_.residues.empty()) buildResidues(chain_, log_);
    }

    void fault() { valid_ = false; }

    struct BuiltBeta {
        std::size_t place;  // goes before the atom of this position
        Atom atom;
    };

    Chain& chain_;
    const ReadRequest& request_;
    Log& log_;
    std::unordered_set<std::int32_t> removed_;  // keys of residues without a whole backbone
    std::vector<BuiltBeta> betas_;              // ascending places
    std::vector<std::uint32_t> calphas_;        // positions of C-alpha atoms
    bool valid_ = true;
};

using Vector = std::array<double, 3>;

Vector between(const Atom& from, const Atom& to) {
    return {to.x - from.x, to.y - from.y, to.z - from.z};
}

Vector cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

// A vector without direction stays as it is.
Vector unit(const Vector& a) {
    const double length = std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
    if (!(length > 0.0)) return a;
    return {a[0] / length, a[1] / length, a[2] / length};
}

// Bond length CA-CB in Å, angle in radians, correction in degrees.
struct BetaGeometry {
    double length, angle, correction;
};

// By row of the residue table; glycine and the rows behind tyrosine use the last entry.
// clang-format off
constexpr std::array<BetaGeometry, 21> kBetaGeometry = {{
    {1.535, 0.9553234193716161, 0.0},      // GLY
    {1.531, 0.9194394499506128, 0.389},    // CYS
    {1.531, 0.9127199323304347, 0.162},    // ASP
    {1.532, 0.913540237078872, 0.209},     // GLU
    {1.534, 0.9160535112017437, 0.289},    // PHE
    {1.525, 0.9151633932832267, 0.05},     // ALA
    {1.533, 0.9166992830249817, 0.259},    // HIS
    {1.545, 0.907047612261453, 0.5},       // ILE
    {1.532, 0.9139067562217907, 0.27},     // LYS
    {1.532, 0.9188809445899747, 0.274},    // LEU
    {1.531, 0.9144129017048692, 0.364},    // MET
    {1.532, 0.9065240134858548, 0.09},     // ASN
    {1.531, 1.0022029630801839, -5.371},   // PRO
    {1.532, 0.91416855560959, 0.306},      // GLN
    {1.531, 0.9145525280450286, 0.286},    // ARG
    {1.531, 0.9169610824127808, 0.402},    // SER
    {1.541, 0.9139242095143106, 1.051},    // THR
    {1.544, 0.9056688021523776, 0.75},     // VAL
    {1.534, 0.9143430885347893, 0.281},    // TRP
    {1.535, 0.916943629120261, 0.362},     // TYR
    {1.535, 0.9553234193716161, 0.0},      // any other
}};
// clang-format on
constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180.0;

}  // namespace

bool checkChain(Chain& chain, const ReadRequest& request, Log& log) {
    if (chain.atoms.empty() || (request.options & kCheckingOptions) == 0) return true;
    return ChainChecker(chain, request, log).run();
}

void removeResidue(Chain& chain, int residueNumber, char insertionCode, Log& log) {
    logRemoval(chain, residueNumber, insertionCode, log);
    chain.residues.clear();
    std::erase_if(chain.atoms, [&](const Atom& atom) {
        return atom.residueNumber == residueNumber && atom.insertionCode == insertionCode;
    });
}

void markBreaks(Chain& chain) {
    for (std::size_t i = 0; i + 1 < chain.residues.size(); ++i) {
        Residue& residue = chain.residues[i];
        const Residue& next = chain.residues[i + 1];
        if (residue.c != kNoAtom && next.n != kNoAtom) {
            residue.breakAfter =
                distance(chain.atoms[residue.c], chain.atoms[next.n]) > kLongestPeptideBond;
        } else if (residue.ca != kNoAtom && next.ca != kNoAtom) {
            residue.breakAfter =
                distance(chain.atoms[residue.ca], chain.atoms[next.ca]) > kLongestCalphaDistance;
        } else {
            residue.breakAfter = false;
        }
    }
}

double compactness(const Chain& chain, double parameter) {
    if (chain.residues.empty()) return 0.0;
    const auto residues = static_cast<double>(chain.residues.size());
    return radiusOfGyration(chain) / (parameter * std::pow(residues, 0.38));
}

// u points outward along the bisector of N-CA-C, w along the normal of their plane, v within the
// plane from N to C.  The correction turns w towards v; its sign is the one that fits real
// structures better.
std::array<double, 3> placeBeta(const Atom& n, const Atom& ca, const Atom& c, int residueType) {
    const std::size_t row =
        residueType < 0 ? kBetaGeometry.size() - 1
                        : std::min(static_cast<std::size_t>(residueType), kBetaGeometry.size() - 1);
    const BetaGeometry& geometry = kBetaGeometry[row];
    const Vector toN = between(ca, n);
    const Vector toC = between(ca, c);
    const Vector a = unit(toN);
    const Vector b = unit(toC);
    const Vector u = unit({-a[0] - b[0], -a[1] - b[1], -a[2] - b[2]});
    const Vector w = unit(cross(toN, toC));
    const Vector v = unit({b[0] - a[0], b[1] - a[1], b[2] - a[2]});
    const double k = geometry.correction * kRadiansPerDegree;
    const double along = geometry.length * std::cos(geometry.angle);
    const double aside = geometry.length * std::sin(geometry.angle);
    Vector place = {ca.x, ca.y, ca.z};
    for (std::size_t i = 0; i < 3; ++i) {
        place[i] += along * u[i] + aside * (std::cos(k) * w[i] + std::sin(k) * v[i]);
    }
    return place;
}

}  // namespace tervolanda
