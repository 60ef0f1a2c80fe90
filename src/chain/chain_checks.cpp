// The checks run in stages over the atoms of a chain.  By default a stage stops at its first fault
// and later stages are skipped; ReadCheckAll makes every stage report every fault.
#include "chain/chain_checks.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "driver/log.h"

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

    // Stage 1: the template sequence, and residue by residue the backbone.
    void checkAtoms() {
        const bool checksBackbone = has(ReadStrictBackbone) || has(ReadCheckBackbone);
        std::size_t first = 0;
        while (first < chain_.atoms.size() && goesOn()) {
            std::size_t end = first + 1;
            const std::int32_t key = keyOf(chain_.atoms[first]);
            while (end < chain_.atoms.size() && keyOf(chain_.atoms[end]) == key)
                ++end;
            for (std::size_t i = first; i < end && goesOn(); ++i)
                checkTemplate(chain_.atoms[i]);
            const bool isLast = end == chain_.atoms.size();
            if (checksBackbone && goesOn()) end = checkBackbone(first, end, isLast);
            first = end;
        }
        for (const Atom& atom : chain_.atoms) {
            if (atom.matches(kMaskCA)) calphas_.push_back(atom);
        }
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
            if (atom.matches(kMaskN)) found.n = &atom;
            if (atom.matches(kMaskCA)) found.ca = &atom;
            if (atom.matches(kMaskC)) found.c = &atom;
            if (atom.matches(kMaskO)) found.o = &atom;
            if (atom.matches(kMaskCB)) found.cb = &atom;
            if (atom.residueType == kGlycine) found.glycine = true;
        }
        return found;
    }

    // The residue of atoms [first, end); returns where the next residue begins after the repairs.
    std::size_t checkBackbone(std::size_t first, std::size_t end, bool isLast) {
        const Backbone found = backboneOf(first, end);
        const Atom representative = chain_.atoms[first];
        const int number = representative.residueNumber;
        if (found.ca != nullptr && has(ReadCalphaOnly)) return end;
        if (found.ca != nullptr && found.n != nullptr && found.c != nullptr && found.o != nullptr) {
            return found.cb == nullptr && !found.glycine ? addBeta(found, number, end) : end;
        }
        if (found.ca == nullptr) {
            log_.error(0, "Chain '%c' missing CA @ position %d", chain_.id, number);
        } else {
            reportMissing(found, number, isLast);
        }
        if (has(ReadStrictBackbone)) fault();
        // Atoms of this residue may lie further up, too; what is left before it moves up with them.
        const auto before = std::count_if(
            chain_.atoms.begin(), chain_.atoms.begin() + static_cast<std::ptrdiff_t>(first),
            [&](const Atom& atom) { return keyOf(atom) == keyOf(representative); });
        removeResidue(chain_, number, representative.insertionCode, log_);
        return first - static_cast<std::size_t>(before);
    }

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

    std::size_t addBeta(const Backbone& found, int number, std::size_t end) {
        log_.error(0, "Chain '%c' missing CB @ position %d - adding", chain_.id, number);
        if (has(ReadStrictBackbone)) {
            fault();
            return end;
        }
        Atom beta = *found.ca;
        beta.name = FixedText<4>(" CB ");
        beta.classification = classifyAtomName(beta.name.view(), beta.residueType);
        beta.alternateLocation = ' ';
        beta.element = FixedText<2>();
        beta.charge = FixedText<2>();
        const auto place = placeBeta(*found.n, *found.ca, *found.c, beta.residueType);
        beta.x = place[0];
        beta.y = place[1];
        beta.z = place[2];
        chain_.atoms.insert(chain_.atoms.begin() + static_cast<std::ptrdiff_t>(end), beta);
        return end + 1;
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
            const Atom& a = calphas_[i - 1];
            const Atom& b = calphas_[i];
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

    // Stage 5: what comparing each atom with every later one would find, in that order.  Atoms are
    // sorted by what must agree, so that duplicates stand side by side; each atom is then followed
    // by the later ones of its group.
    void checkDuplicates() {
        const std::vector<Atom>& atoms = chain_.atoms;
        const auto identity = [&](std::uint32_t i) {
            return std::pair(keyOf(atoms[i]), atoms[i].name.view());
        };
        std::vector<std::uint32_t> order(atoms.size());
        std::iota(order.begin(), order.end(), 0U);
        std::stable_sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
            return identity(a) < identity(b);
        });
        std::vector<std::uint32_t> later(atoms.size(), 0);  // duplicates of an atom behind it
        for (std::size_t end = order.size(), i = order.size(); i-- > 0;) {
            if (identity(order[i]) != identity(order[end - 1])) end = i + 1;
            later[order[i]] = static_cast<std::uint32_t>(end - i - 1);
        }
        for (std::size_t i = 0; i < atoms.size(); ++i) {
            for (std::uint32_t k = 0; k < later[i] && goesOn(); ++k) {
                fault();
                log_.error(0, "Chain '%c' has duplicate atoms: %s%c @ %d", chain_.id,
                           atoms[i].name.text(), atoms[i].insertionCode, atoms[i].residueNumber);
            }
        }
    }

    // Stage 6.
    void checkBreaks() {
        buildResidues(chain_, log_);
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
        buildResidues(chain_, log_);
        const double value = compactness(chain_, kCompactnessParameter);
        if (!(value > request_.maximumCompactness)) return;
        fault();
        log_.error(0, "Chain '%c' exceeds RGE limit - %f > %f", chain_.id, value,
                   request_.maximumCompactness);
    }

    void fault() { valid_ = false; }

    Chain& chain_;
    const ReadRequest& request_;
    Log& log_;
    std::vector<Atom> calphas_;
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
    log.info(1, "Removing residue %4d%c from chain '%c'", residueNumber, insertionCode, chain.id);
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
