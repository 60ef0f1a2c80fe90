// Two assignments.  With full backbones, the hydrogen bonds between peptide groups decide (Kabsch &
// Sander 1983): a helix is two consecutive turns, bonds from the CO of residue i to the NH of
// residue i + n; a strand is a run of bridges, pairs of residues held together by bonds in one of
// four patterns.  Hydrogens are placed, since most files have none.
//
// With C-alpha atoms alone, a helix shows in the distances along the chain, and a strand in the
// distances along the chain and to a neighbouring strand.  A chain of which some residues are
// complete has both: each residue gets its letter by what it has.
//
// The letters are shown beside an alignment by structure; nothing is computed from them.
#include "compare/pairing/secondary_structure.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string_view>
#include <tuple>
#include <vector>

#include "base/vec3.h"

namespace tervolanda {

namespace {

// Letters during the assignment; the last two become H.
constexpr char kCoil = 'C';
constexpr char kStrand = 'E';
constexpr char kAlphaHelix = 'H';
constexpr char kThreeTenHelix = 'G';
constexpr char kPiHelix = 'I';

constexpr double kNearCalphas = 9.0;       // Å; residues further apart have no hydrogen bond
constexpr double kPeptideBond = 2.5;       // Å; a longer C-N distance is a break
constexpr double kBondEnergy = -0.5;       // kcal/mol; a hydrogen bond has less
constexpr double kLowestEnergy = -9.9;     // kcal/mol; of atoms that nearly coincide
constexpr double kSmallestDistance = 0.5;  // Å; atoms nearer than this nearly coincide

// Visits all pairs a < b of `residues` whose places are nearer than `cutoff`, by a sweep along x,
// in which only those are looked at that are near in x.  The order of the visits is that of x; who
// visits must not depend on it.
template <typename Visitor>
void forNearPairs(const std::vector<Vec3>& places, std::vector<std::uint32_t> residues,
                  double cutoff, const Visitor& visit) {
    std::sort(residues.begin(), residues.end(), [&](std::uint32_t a, std::uint32_t b) {
        return std::tie(places[a].x, a) < std::tie(places[b].x, b);
    });
    for (std::size_t i = 0; i < residues.size(); ++i) {
        const Vec3& from = places[residues[i]];
        for (std::size_t j = i + 1; j < residues.size(); ++j) {
            const Vec3& to = places[residues[j]];
            if (!(to.x - from.x < cutoff)) break;
            if (!(distance(from, to) < cutoff)) continue;
            visit(std::min(residues[i], residues[j]), std::max(residues[i], residues[j]));
        }
    }
}

// The peptide groups of a chain.
struct Backbone {
    std::vector<Vec3> n, ca, c, o, h;  // Å, one entry a residue
    std::vector<std::uint8_t> isComplete;
    std::vector<std::uint8_t> isDonor;       // has a hydrogen on its N
    std::vector<std::uint32_t> breaksSoFar;  // chain breaks before each residue

    std::size_t size() const { return n.size(); }
    bool areJoined(std::size_t first, std::size_t last) const {
        return breaksSoFar[first] == breaksSoFar[last];
    }
};

// Hydrogens are placed where the peptide before is whole; the first residue of a piece has none,
// and proline never has one.
Backbone backboneOf(const Chain& chain) {
    const std::size_t size = chain.residues.size();
    Backbone backbone;
    for (auto* places : {&backbone.n, &backbone.ca, &backbone.c, &backbone.o, &backbone.h}) {
        places->resize(size);
    }
    backbone.isComplete.assign(size, 0);
    backbone.isDonor.assign(size, 0);
    backbone.breaksSoFar.assign(size, 0);
    const auto take = [&](std::uint32_t atom, Vec3& place) {
        if (atom == kNoAtom) return false;
        place = chain.atoms[atom].place();
        return true;
    };
    for (std::size_t i = 0; i < size; ++i) {
        const Residue& residue = chain.residues[i];
        const bool hasN = take(residue.n, backbone.n[i]);
        const bool hasCa = take(residue.ca, backbone.ca[i]);
        const bool hasC = take(residue.c, backbone.c[i]);
        const bool hasO = take(residue.o, backbone.o[i]);
        backbone.isComplete[i] = hasN && hasCa && hasC && hasO ? 1 : 0;
        if (i == 0) continue;
        const bool joined = backbone.isComplete[i] != 0 && backbone.isComplete[i - 1] != 0 &&
                            distance(backbone.c[i - 1], backbone.n[i]) <= kPeptideBond;
        backbone.breaksSoFar[i] = backbone.breaksSoFar[i - 1] + (joined ? 0U : 1U);
        if (!joined || chain.atoms[residue.n].residueName.view() == "PRO") continue;
        // 1 Å from N, against the direction of the C=O bond before.
        const double length = distance(backbone.c[i - 1], backbone.o[i - 1]);
        if (!(length > 0.0)) continue;
        backbone.h[i] = backbone.n[i] + (backbone.c[i - 1] - backbone.o[i - 1]) / length;
        backbone.isDonor[i] = 1;
    }
    return backbone;
}

// The two strongest hydrogen bonds of every NH group, as many as Kabsch and Sander keep.
//
// Invariant: of each NH group the two bonds of lowest energy are kept, the strongest first, of
// equal ones that with the earlier acceptor; an energy of 0 stands for none.
class HydrogenBonds {
 public:
    explicit HydrogenBonds(const Backbone& backbone) : bonds_(backbone.size()) {
        std::vector<std::uint32_t> complete;
        for (std::uint32_t i = 0; i < backbone.size(); ++i) {
            if (backbone.isComplete[i] != 0) complete.push_back(i);
        }
        forNearPairs(backbone.ca, complete, kNearCalphas, [&](std::uint32_t a, std::uint32_t b) {
            consider(backbone, a, b);
            // The CO group before an NH group is part of its own peptide.
            if (b != a + 1) consider(backbone, b, a);
        });
    }

    // True when the NH of `donor` is bonded to the CO of `acceptor`.
    bool has(std::size_t donor, std::size_t acceptor) const {
        for (const Bond& bond : bonds_[donor]) {
            if (bond.energy < kBondEnergy && bond.acceptor == acceptor) return true;
        }
        return false;
    }

    // Calls visit(donor, acceptor) for every bond.
    template <typename Visitor>
    void forEach(const Visitor& visit) const {
        for (std::size_t donor = 0; donor < bonds_.size(); ++donor) {
            for (const Bond& bond : bonds_[donor]) {
                if (bond.energy < kBondEnergy) visit(donor, std::size_t{bond.acceptor});
            }
        }
    }

 private:
    struct Bond {
        double energy = 0.0;  // kcal/mol
        std::uint32_t acceptor = 0;
    };

    // A hydrogen bond may be one of the two strongest of its NH group only, whatever the limit of
    // the energy.
    void consider(const Backbone& backbone, std::uint32_t donor, std::uint32_t acceptor) {
        if (backbone.isDonor[donor] == 0) return;
        const Bond bond{energy(backbone, donor, acceptor), acceptor};
        auto& [strongest, second] = bonds_[donor];
        const auto isStronger = [](const Bond& a, const Bond& b) {
            return std::tie(a.energy, a.acceptor) < std::tie(b.energy, b.acceptor);
        };
        if (isStronger(bond, strongest)) {
            second = strongest;
            strongest = bond;
        } else if (isStronger(bond, second)) {
            second = bond;
        }
    }

    // Electrostatic energy of two dipoles with charges of 0.42 and 0.20 e, kcal/mol.
    static double energy(const Backbone& backbone, std::uint32_t donor, std::uint32_t acceptor) {
        constexpr double kCoupling = 332.0 * 0.42 * 0.20;
        const double on = distance(backbone.o[acceptor], backbone.n[donor]);
        const double ch = distance(backbone.c[acceptor], backbone.h[donor]);
        const double oh = distance(backbone.o[acceptor], backbone.h[donor]);
        const double cn = distance(backbone.c[acceptor], backbone.n[donor]);
        if (!(std::min(std::min(on, ch), std::min(oh, cn)) >= kSmallestDistance)) {
            return kLowestEnergy;
        }
        const double sum = kCoupling * (1.0 / on + 1.0 / ch - 1.0 / oh - 1.0 / cn);
        return std::max(sum, kLowestEnergy);
    }

    std::vector<std::array<Bond, 2>> bonds_;  // per residue
};

// Two residues that hydrogen bonds hold side by side.
struct Bridge {
    enum class Kind : std::uint8_t { Antiparallel, Parallel };
    Kind kind;
    std::size_t first, second;  // first < second
    auto key() const { return std::tie(kind, first, second); }
};

// The bridges, ordered by kind, first and second residue.  Each is found from its bonds: the NH of
// d bonded to the CO of a is half of three possible patterns.  With i and j for the residues of the
// bridge and x -> y for the NH of x bonded to the CO of y:
//   parallel      i -> j - 1 and j + 1 -> i     (here a + 1 is j and d is i)
//   antiparallel  i -> j and j -> i             (a and d themselves)
//   antiparallel  i + 1 -> j - 1 and j + 1 -> i - 1
// A fourth pattern is the parallel one with i and j exchanged, and is found from its own bond.  An
// antiparallel bridge is found from each of its two bonds; duplicates are dropped.
std::vector<Bridge> findBridges(const Backbone& backbone, const HydrogenBonds& bonds) {
    std::vector<Bridge> bridges;
    const auto isInside = [&](std::size_t i) {
        return i > 0 && i + 1 < backbone.size() && backbone.areJoined(i - 1, i + 1);
    };
    const auto add = [&](Bridge::Kind kind, std::size_t x, std::size_t y) {
        const std::size_t first = std::min(x, y);
        const std::size_t second = std::max(x, y);
        if (second - first >= 3) bridges.push_back({kind, first, second});
    };
    bonds.forEach([&](std::size_t d, std::size_t a) {
        if (isInside(a + 1) && isInside(d) && bonds.has(a + 2, d))
            add(Bridge::Kind::Parallel, a + 1, d);
        if (isInside(a) && isInside(d) && bonds.has(a, d)) add(Bridge::Kind::Antiparallel, a, d);
        if (d > 0 && isInside(a + 1) && isInside(d - 1) && bonds.has(a + 2, d - 2)) {
            add(Bridge::Kind::Antiparallel, a + 1, d - 1);
        }
    });
    std::sort(bridges.begin(), bridges.end(),
              [](const Bridge& x, const Bridge& y) { return x.key() < y.key(); });
    bridges.erase(std::unique(bridges.begin(), bridges.end(),
                              [](const Bridge& x, const Bridge& y) { return x.key() == y.key(); }),
                  bridges.end());
    return bridges;
}

// Marks the residues of bridges, and those between bridges of one ladder: neighbours, or with a
// bulge of at most one more residue on one side and four on the other.
void markStrands(const Backbone& backbone, const std::vector<Bridge>& bridges,
                 std::string& letters) {
    const auto mark = [&](std::size_t a, std::size_t b) {
        for (std::size_t i = std::min(a, b); i <= std::max(a, b); ++i)
            letters[i] = kStrand;
    };
    constexpr std::size_t kShortSide = 2;
    constexpr std::size_t kLongSide = 5;
    for (std::size_t x = 0; x < bridges.size(); ++x) {
        const Bridge& from = bridges[x];
        mark(from.first, from.first);
        mark(from.second, from.second);
        for (std::size_t y = x + 1; y < bridges.size(); ++y) {
            const Bridge& to = bridges[y];
            const std::size_t onFirst = to.first - from.first;
            if (to.kind != from.kind || onFirst > kLongSide) break;
            const bool isParallel = from.kind == Bridge::Kind::Parallel;
            const bool forward = isParallel ? to.second > from.second : to.second < from.second;
            if (onFirst == 0 || !forward) continue;
            const std::size_t onSecond =
                isParallel ? to.second - from.second : from.second - to.second;
            if (std::min(onFirst, onSecond) > kShortSide || onSecond > kLongSide) continue;
            if (!backbone.areJoined(from.first, to.first)) continue;
            if (!backbone.areJoined(std::min(from.second, to.second),
                                    std::max(from.second, to.second))) {
                continue;
            }
            mark(from.first, to.first);
            mark(from.second, to.second);
        }
    }
}

// Marks the residues inside two consecutive turns of `turn` residues as `letter`, where all of
// them have one of the letters `over` so far: that is how one kind of structure outranks another.
void markHelices(const Backbone& backbone, const HydrogenBonds& bonds, std::size_t turn,
                 char letter, std::string_view over, std::string& letters) {
    const auto startsTurn = [&](std::size_t i) {
        return i + turn < backbone.size() && backbone.areJoined(i, i + turn) &&
               bonds.has(i + turn, i);
    };
    for (std::size_t i = 1; i + turn < backbone.size(); ++i) {
        if (!startsTurn(i) || !startsTurn(i - 1)) continue;
        const auto begin = letters.begin() + static_cast<std::ptrdiff_t>(i);
        const auto end = begin + static_cast<std::ptrdiff_t>(turn);
        const bool isFree = std::all_of(
            begin, end, [&](char was) { return over.find(was) != std::string_view::npos; });
        if (isFree) std::fill(begin, end, letter);
    }
}

// The alpha helix is placed first in rank, over strands; 3-10 only where nothing else is; pi also
// in place of alpha.
std::string byHydrogenBonds(const Backbone& backbone) {
    std::string letters(backbone.size(), kCoil);
    const HydrogenBonds bonds(backbone);
    markStrands(backbone, findBridges(backbone, bonds), letters);
    markHelices(backbone, bonds, 4, kAlphaHelix, "CEH", letters);
    markHelices(backbone, bonds, 3, kThreeTenHelix, "CG", letters);
    markHelices(backbone, bonds, 5, kPiHelix, "CIH", letters);
    for (char& letter : letters) {
        if (letter == kThreeTenHelix || letter == kPiHelix) letter = kAlphaHelix;
    }
    return letters;
}

// Distances that tell a helix or a strand by C-alpha atoms, Å: chosen to agree best with the
// assignment by hydrogen bonds in known structures.
constexpr double kShortestStep = 3.4;
constexpr double kLongestStep = 4.2;                       // of joined residues
constexpr std::array<double, 2> kHelixTwo = {4.9, 6.1};    // residues i and i + 2 of a helix
constexpr std::array<double, 2> kHelixThree = {4.4, 6.0};  // i and i + 3
constexpr std::array<double, 2> kHelixFour = {5.2, 8.2};   // i and i + 4
constexpr double kExtended = 5.9;       // neighbours of a strand residue are further apart
constexpr double kNearStrand = 5.7;     // a residue of the next strand is nearer
constexpr double kNearNeighbour = 6.0;  // and so are the two residues on either side

// The assignment by C-alpha atoms.  Missing residues end a helix or a strand: only joined ones,
// whose numbers follow each other and whose distance is that of neighbours, are looked at together.
class CalphaStructure {
 public:
    explicit CalphaStructure(const Chain& chain) : letters_(chain.residues.size(), kCoil) {
        places_.resize(chain.residues.size());
        for (std::uint32_t i = 0; i < chain.residues.size(); ++i) {
            const std::uint32_t ca = chain.residues[i].ca;
            if (ca == kNoAtom) continue;
            places_[i] = chain.atoms[ca].place();
            present_.push_back(i);
        }
        joined_.assign(chain.residues.size(), 0);
        for (std::size_t k = 1; k < present_.size(); ++k) {
            const std::uint32_t i = present_[k];
            if (present_[k - 1] + 1 != i) continue;
            const double step = distance(places_[i - 1], places_[i]);
            joined_[i] = step > kShortestStep && step < kLongestStep ? 1 : 0;
        }
    }

    std::string assign() {
        for (std::size_t i = 0; i + 4 < places_.size(); ++i) {
            if (isHelical(i))
                std::fill_n(letters_.begin() + static_cast<std::ptrdiff_t>(i) + 1, 3, kAlphaHelix);
        }
        forNearPairs(places_, present_, kNearStrand, [&](std::uint32_t a, std::uint32_t b) {
            if (b - a < 3 || !isExtended(a) || !isExtended(b)) return;
            const bool parallel = areNear(a - 1, b - 1) && areNear(a + 1, b + 1);
            const bool antiparallel = areNear(a - 1, b + 1) && areNear(a + 1, b - 1);
            if (parallel || antiparallel) letters_[a] = letters_[b] = kStrand;
        });
        closeGaps();
        return letters_;
    }

 private:
    bool areJoined(std::size_t first, std::size_t last) const {
        for (std::size_t i = first + 1; i <= last; ++i) {
            if (joined_[i] == 0) return false;
        }
        return true;
    }
    bool isWithin(std::size_t a, std::size_t b, const std::array<double, 2>& limits) const {
        const double d = distance(places_[a], places_[b]);
        return d > limits[0] && d < limits[1];
    }
    bool areNear(std::size_t a, std::size_t b) const {
        return distance(places_[a], places_[b]) < kNearNeighbour;
    }

    // A turn of five residues.
    bool isHelical(std::size_t i) const {
        return areJoined(i, i + 4) && isWithin(i, i + 4, kHelixFour) &&
               isWithin(i, i + 3, kHelixThree) && isWithin(i + 1, i + 4, kHelixThree) &&
               isWithin(i, i + 2, kHelixTwo) && isWithin(i + 1, i + 3, kHelixTwo) &&
               isWithin(i + 2, i + 4, kHelixTwo);
    }
    bool isExtended(std::size_t i) const {
        return letters_[i] != kAlphaHelix && i > 0 && i + 1 < places_.size() &&
               areJoined(i - 1, i + 1) && distance(places_[i - 1], places_[i + 1]) > kExtended;
    }
    // A single residue between two of a strand is one of them.
    void closeGaps() {
        for (std::size_t i = 1; i + 1 < letters_.size(); ++i) {
            if (letters_[i] == kCoil && letters_[i - 1] == kStrand && letters_[i + 1] == kStrand) {
                letters_[i] = kStrand;
            }
        }
    }

    std::vector<Vec3> places_;
    std::vector<std::uint32_t> present_;  // residues with a C-alpha
    std::vector<std::uint8_t> joined_;    // to the residue before
    std::string letters_;
};

}  // namespace

std::string secondaryStructure(const Chain& chain) {
    const Backbone backbone = backboneOf(chain);
    std::string letters = byHydrogenBonds(backbone);
    const auto& complete = backbone.isComplete;
    if (std::find(complete.begin(), complete.end(), 0) == complete.end()) return letters;
    const std::string byCalphas = CalphaStructure(chain).assign();
    for (std::size_t i = 0; i < letters.size(); ++i) {
        if (complete[i] == 0) letters[i] = byCalphas[i];
    }
    return letters;
}

}  // namespace tervolanda
