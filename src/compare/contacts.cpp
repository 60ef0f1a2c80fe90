// Native contacts.  The experiment's contacts are found through a grid of cells as wide as a
// contact is long, so that only neighbouring cells are searched; whether the prediction has one of
// them is then a single distance.
#include <algorithm>
#include <array>
#include <cmath>
#include <compare>
#include <cstdlib>
#include <unordered_map>

#include "base/vec3.h"
#include "compare/compare.h"
#include "compare/fit/tolerance.h"

namespace tervolanda {

namespace {

struct Beta {
    ResidueId residue;
    Vec3 place;  // Å
};

constexpr std::size_t kNone = SIZE_MAX;

// The beta atoms of a chain, found by key or, for pairings that do not go by number, by residue of
// the chain.  A residue that occurs twice counts by its first piece.
struct BetaSet {
    std::vector<Beta> atoms;
    std::unordered_map<std::int64_t, std::size_t> byKey;
    std::vector<std::size_t> byResidue;  // kNone for a residue without, one for each of the chain

    std::size_t withKey(std::int64_t key) const {
        const auto found = byKey.find(key);
        return found == byKey.end() ? kNone : found->second;
    }
};

// The beta atom is the CB, or the CA of glycine (buildResidues()).
BetaSet betaAtoms(const Chain& chain) {
    BetaSet set;
    set.byResidue.reserve(chain.residues.size());
    for (const Residue& residue : chain.residues) {
        set.byResidue.push_back(kNone);
        if (residue.beta == kNoAtom) continue;
        const Atom& atom = chain.atoms[residue.beta];
        if (set.byKey.emplace(atom.residueId().key(), set.atoms.size()).second) {
            set.byResidue.back() = set.atoms.size();
            set.atoms.push_back({atom.residueId(), atom.place()});
        }
    }
    return set;
}

using Cell = std::array<std::int64_t, 3>;

// Atoms sorted by cell.
class Grid {
 public:
    // A cut-off of almost nothing would make cells without end; at least 1 Å.
    Grid(const std::vector<Beta>& atoms, double cellSize) : cellSize_(std::max(cellSize, 1.0)) {
        for (std::size_t i = 0; i < atoms.size(); ++i)
            entries_.push_back({cellOf(atoms[i]), i});
        std::sort(entries_.begin(), entries_.end());
    }

    // Calls visit(index) for every atom in the cell of `atom` and the 26 around it.
    template <typename Visit>
    void visitNear(const Beta& atom, Visit visit) const {
        const Cell centre = cellOf(atom);
        for (std::int64_t dx = -1; dx <= 1; ++dx) {
            for (std::int64_t dy = -1; dy <= 1; ++dy) {
                // The three cells along z follow each other in the sorted entries.
                const Cell first = {centre[0] + dx, centre[1] + dy, centre[2] - 1};
                const Cell last = {centre[0] + dx, centre[1] + dy, centre[2] + 1};
                auto entry = std::lower_bound(entries_.begin(), entries_.end(), Entry{first, 0});
                for (; entry != entries_.end() && entry->cell <= last; ++entry) {
                    visit(entry->index);
                }
            }
        }
    }

 private:
    struct Entry {
        Cell cell;
        std::size_t index;
        auto operator<=>(const Entry&) const = default;
    };

    // Coordinates from a file can be of any size; far cells are folded together, which costs time
    // and no correctness.
    std::int64_t along(double coordinate) const {
        // In cells; far below the limits of the integer, so that neighbours of a cell can be
        // counted.
        constexpr double kFar = 1e12;
        return static_cast<std::int64_t>(
            std::clamp(std::floor(coordinate / cellSize_), -kFar, kFar));
    }
    Cell cellOf(const Beta& atom) const {
        return {along(atom.place.x), along(atom.place.y), along(atom.place.z)};
    }

    double cellSize_;
    std::vector<Entry> entries_;
};

// `partners` are atoms of the prediction, one for each of the experiment, or kNone.
NativeContacts countContacts(const BetaSet& native, const BetaSet& predicted,
                             const std::vector<std::size_t>& partners, double distance, int gap) {
    NativeContacts contacts;
    if (!(distance >= 0.0)) return contacts;
    const double limit = inclusiveLimit(distance * distance);
    const auto areNear = [limit](const Beta& a, const Beta& b) {
        const Vec3 between = a.place - b.place;
        return dot(between, between) <= limit;
    };
    const Grid grid(native.atoms, inclusiveLimit(distance));  // longer than a contact
    // Each pair is seen from both sides and counted from the first.
    for (std::size_t i = 0; i < native.atoms.size(); ++i) {
        const Beta& a = native.atoms[i];
        grid.visitNear(a, [&](std::size_t j) {
            const Beta& b = native.atoms[j];
            const int separation = std::abs(a.residue.number - b.residue.number);
            const bool areNeighbours = a.residue.subunit == b.residue.subunit && separation < gap;
            if (j <= i || areNeighbours || !areNear(a, b)) return;
            ++contacts.native;
            if (partners[i] == kNone || partners[j] == kNone) return;
            const bool kept = areNear(predicted.atoms[partners[i]], predicted.atoms[partners[j]]);
            contacts.matched += kept ? 1U : 0U;
        });
    }
    return contacts;
}

// Partners of the experiment's atoms by matched records of the coordinate sets.
std::vector<std::size_t> partnersOf(const BetaSet& native, const CoordinateSet& experiment,
                                    const BetaSet& predicted, const CoordinateSet& prediction,
                                    const std::vector<MatchedPair>& matched) {
    std::vector<std::size_t> partners(native.atoms.size(), kNone);
    for (const MatchedPair& pair : matched) {
        const std::size_t of = native.byResidue[experiment.residueIndex[pair.experiment]];
        if (of == kNone || partners[of] != kNone) continue;
        partners[of] = predicted.byResidue[prediction.residueIndex[pair.prediction]];
    }
    return partners;
}

}  // namespace

NativeContacts nativeContacts(const Chain& experiment, const Chain& prediction, double distance,
                              int gap) {
    const BetaSet native = betaAtoms(experiment);
    const BetaSet predicted = betaAtoms(prediction);
    std::vector<std::size_t> partners;
    partners.reserve(native.atoms.size());
    for (const Beta& atom : native.atoms)
        partners.push_back(predicted.withKey(atom.residue.key()));
    return countContacts(native, predicted, partners, distance, gap);
}

std::optional<NativeContacts> sharedContacts(const Chain& experiment,
                                             const CoordinateSet& experimentSet,
                                             const Chain& prediction,
                                             const CoordinateSet& predictionSet,
                                             const RmsdResult& fit,
                                             const ComparisonParameters& parameters) {
    if (!parameters.contacts) return std::nullopt;
    const double distance = parameters.contactDistance;
    const int gap = parameters.contactGap;
    const bool isByNumber =
        !parameters.pairBySequence && !experimentSet.isComplex && !predictionSet.isComplex;
    if (isByNumber) return nativeContacts(experiment, prediction, distance, gap);
    const BetaSet native = betaAtoms(experiment);
    const BetaSet predicted = betaAtoms(prediction);
    const auto partners = partnersOf(native, experimentSet, predicted, predictionSet, fit.matched);
    return countContacts(native, predicted, partners, distance, gap);
}

}  // namespace tervolanda
