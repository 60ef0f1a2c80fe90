// The local distance difference test (Mariani, Biasini, Barbato & Schwede 2013, Bioinformatics
// 29:2722): which share of the short distances of the reference does the model keep?  Nothing is
// superposed, so that a domain that has moved costs the distances across the hinge and no others.
//
//     lDDT = 1/4 sum over t in {0.5, 1, 2, 4 Å} of (distances with |d_model - d_reference| <= t)
//                                                  / (distances of the reference up to 15 Å)
//
// All counts are of whole numbers, so that their order has no say in the result.
//
// Side chains have atoms that look alike and are named by a convention (OD1 and OD2 of aspartate)
// that models do not always follow.  As in the paper, both namings of such a residue are tried
// against the atoms whose names are sure, and the one that keeps more distances is taken.
#include "compare/lddt.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string_view>

#include "compare/fit/tolerance.h"
#include "compare/heavy_atoms.h"

namespace tervolanda {

namespace {

constexpr double kInclusionRadius = 15.0;  // Å
constexpr std::array<double, 4> kThresholds = {0.5, 1.0, 2.0, 4.0};
constexpr double kAbsent = std::numeric_limits<double>::quiet_NaN();

using Place = std::array<double, 3>;
constexpr Place kNowhere = {kAbsent, kAbsent, kAbsent};

Place placeOf(const Points& points, std::size_t i) {
    return {points.x[i], points.y[i], points.z[i]};
}

double squaredDistance(const Points& points, std::size_t a, std::size_t b) {
    const double dx = points.x[a] - points.x[b];
    const double dy = points.y[a] - points.y[b];
    const double dz = points.z[a] - points.z[b];
    return dx * dx + dy * dy + dz * dz;
}

double squaredDistance(const Place& a, const Points& points, std::size_t b) {
    const double dx = a[0] - points.x[b];
    const double dy = a[1] - points.y[b];
    const double dz = a[2] - points.z[b];
    return dx * dx + dy * dy + dz * dz;
}

// Thresholds within which a distance is kept: none where one of the two is not a number.
unsigned thresholdsKept(double referenceSquared, double modelSquared) {
    const double difference = std::abs(std::sqrt(referenceSquared) - std::sqrt(modelSquared));
    unsigned kept = 0;
    for (const double threshold : kThresholds)
        kept += difference <= inclusiveLimit(threshold) ? 1U : 0U;
    return kept;
}

// --- Atoms of both structures --------------------------------------------------------------------

// The names that may stand for each other in a residue, by its one-letter code.
struct NamePair {
    char residue;
    AtomName first, second;
};
constexpr auto kNamePairs = std::to_array<NamePair>({
    {'D', atomName("OD1"), atomName("OD2")},
    {'E', atomName("OE1"), atomName("OE2")},
    {'F', atomName("CD1"), atomName("CD2")},
    {'F', atomName("CE1"), atomName("CE2")},
    {'L', atomName("CD1"), atomName("CD2")},
    {'R', atomName("NH1"), atomName("NH2")},
    {'V', atomName("CG1"), atomName("CG2")},
    {'Y', atomName("CD1"), atomName("CD2")},
    {'Y', atomName("CE1"), atomName("CE2")},
});

// The other name that an atom might have as well; the same name where there is none.
AtomName exchangedName(char residue, AtomName name) {
    for (const NamePair& pair : kNamePairs) {
        if (pair.residue != residue) continue;
        if (name == pair.first) return pair.second;
        if (name == pair.second) return pair.first;
    }
    return name;
}

// The place of a named atom among those of a record; nowhere without it.  Files have the atoms of
// a residue in one order, so it is looked for at `hint` first, which then moves on.
Place findAtom(const HeavyAtoms& atoms, std::size_t record, AtomName name, std::uint32_t& hint) {
    const std::uint32_t first = atoms.first[record], end = atoms.first[record + 1];
    if (hint < first || hint >= end) hint = first;
    for (std::uint32_t k = first; k < end; ++k) {
        const std::uint32_t i = hint;
        hint = hint + 1 < end ? hint + 1 : first;
        if (atoms.name[i] == name) return placeOf(atoms.points, i);
    }
    return kNowhere;
}

// An atom of which the model has no partner is nowhere: its distances are not kept.
void collectCalphas(const CoordinateSet& reference, const CoordinateSet& model,
                    std::span<const std::int32_t> partners, LddtScratch& scratch) {
    for (std::uint32_t i = 0; i < reference.size(); ++i) {
        const Place place = partners[i] < 0
                                ? kNowhere
                                : placeOf(model.points, static_cast<std::size_t>(partners[i]));
        scratch.atoms.push_back({placeOf(reference.points, i), place, place, i, 1});
    }
}

// Names are doubtful where both structures have the same amino acid.
void collectHeavyAtoms(const CoordinateSet& reference, const CoordinateSet& model,
                       std::span<const std::int32_t> partners, LddtScratch& scratch) {
    if (!reference.heavyAtoms) return;
    const HeavyAtoms& from = *reference.heavyAtoms;
    std::uint32_t hint = 0, exchangedHint = 0;
    for (std::uint32_t record = 0; record < reference.size(); ++record) {
        const bool isThere = partners[record] >= 0 && model.heavyAtoms != nullptr;
        const std::size_t partner = isThere ? static_cast<std::size_t>(partners[record]) : 0;
        const char residue = reference.sequence[record];
        const bool isSameResidue = isThere && model.sequence[partner] == residue;
        for (std::uint32_t i = from.first[record]; i < from.first[record + 1]; ++i) {
            const AtomName name = from.name[i];
            const AtomName other = exchangedName(residue, name);
            const Place place =
                isThere ? findAtom(*model.heavyAtoms, partner, name, hint) : kNowhere;
            const bool isDoubtful = other != name && isSameResidue;
            const Place exchanged =
                isDoubtful ? findAtom(*model.heavyAtoms, partner, other, exchangedHint) : place;
            const std::uint8_t isSure = other == name ? 1 : 0;
            scratch.atoms.push_back({placeOf(from.points, i), place, exchanged, record, isSure});
        }
    }
}

// Puts the collected atoms into the order of the grid.
void placeAtoms(LddtScratch& scratch) {
    const std::size_t n = scratch.atoms.size();
    for (Points* const points : {&scratch.reference, &scratch.model})
        points->resize(n);
    scratch.residue.resize(n);
    scratch.isSure.resize(n);
    scratch.places.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        const Place& place = scratch.atoms[i].reference;
        scratch.model.x[i] = place[0];
        scratch.model.y[i] = place[1];
        scratch.model.z[i] = place[2];
    }
    scratch.grid.place(scratch.model, kInclusionRadius);
    for (std::uint32_t place = 0; place < n; ++place) {
        const std::uint32_t i = scratch.grid.order()[place];
        const LddtScratch::Atom& atom = scratch.atoms[i];
        scratch.reference.x[place] = atom.reference[0];
        scratch.reference.y[place] = atom.reference[1];
        scratch.reference.z[place] = atom.reference[2];
        scratch.residue[place] = atom.residue;
        scratch.isSure[place] = atom.isSure;
        scratch.places[i] = place;
    }
    for (std::size_t i = 0; i < n; ++i) {
        const std::uint32_t place = scratch.places[i];
        scratch.model.x[place] = scratch.atoms[i].model[0];
        scratch.model.y[place] = scratch.atoms[i].model[1];
        scratch.model.z[place] = scratch.atoms[i].model[2];
    }
}

// --- Doubtful names ------------------------------------------------------------------------------

// By how many distances to atoms of sure names the exchanged place of an atom keeps more than the
// place that it has by its name.
std::int64_t gainOfExchange(const LddtScratch& scratch, const LddtScratch::Atom& atom,
                            std::uint32_t place) {
    const double limit = inclusiveLimit(kInclusionRadius * kInclusionRadius);
    std::int64_t gain = 0;
    for (const auto& [first, end] : scratch.grid.around(scratch.grid.cellOf(place))) {
        for (std::uint32_t b = first; b < end; ++b) {
            const double squared = squaredDistance(scratch.reference, place, b);
            const bool counts =
                squared <= limit && scratch.isSure[b] != 0 && scratch.residue[b] != atom.residue;
            if (!counts) continue;
            gain += thresholdsKept(squared, squaredDistance(atom.exchanged, scratch.model, b));
            gain -= thresholdsKept(squared, squaredDistance(atom.model, scratch.model, b));
        }
    }
    return gain;
}

// All names of a residue are exchanged, or none: those of a ring belong together.
void exchangeNames(LddtScratch& scratch) {
    const auto& atoms = scratch.atoms;
    for (std::size_t first = 0, end = 0; first < atoms.size(); first = end) {
        std::int64_t gain = 0;
        for (end = first; end < atoms.size() && atoms[end].residue == atoms[first].residue; ++end) {
            if (atoms[end].isSure == 0)
                gain += gainOfExchange(scratch, atoms[end], scratch.places[end]);
        }
        if (gain <= 0) continue;
        for (std::size_t i = first; i < end; ++i) {
            const std::uint32_t place = scratch.places[i];
            scratch.model.x[place] = atoms[i].exchanged[0];
            scratch.model.y[place] = atoms[i].exchanged[1];
            scratch.model.z[place] = atoms[i].exchanged[2];
        }
    }
}

// --- The test ------------------------------------------------------------------------------------

// Counts the distances of the atom at place a with those in [first, end).
template <bool PerResidue>
void countDistances(LddtScratch& scratch, std::uint32_t a, std::uint32_t first, std::uint32_t end,
                    LddtCount& all) {
    const double limit = inclusiveLimit(kInclusionRadius * kInclusionRadius);
    for (std::uint32_t b = first; b < end; ++b) {
        const double squared = squaredDistance(scratch.reference, a, b);
        if (!(squared <= limit) || scratch.residue[a] == scratch.residue[b]) continue;
        const unsigned kept = thresholdsKept(squared, squaredDistance(scratch.model, a, b));
        all.kept += kept;
        all.distances += kThresholds.size();
        if constexpr (PerResidue) {
            for (const std::uint32_t atom : {a, b}) {
                LddtCount& count = scratch.ofResidues[scratch.residue[atom]];
                count.kept += kept;
                count.distances += kThresholds.size();
            }
        }
    }
}

// Every two atoms once: those of a cell with what follows in their own row of cells, and with the
// rows after it.
template <bool PerResidue>
LddtCount countAll(LddtScratch& scratch) {
    constexpr std::size_t kOwnRow = 4;
    LddtCount all;
    for (std::size_t cell = 0; cell < scratch.grid.cells(); ++cell) {
        const auto [first, end] = scratch.grid.pointsOf(cell);
        const NeighbourGrid::Rows rows = scratch.grid.around(cell);
        for (std::uint32_t a = first; a < end; ++a) {
            countDistances<PerResidue>(scratch, a, a + 1, rows[kOwnRow].second, all);
            for (std::size_t row = kOwnRow + 1; row < rows.size(); ++row)
                countDistances<PerResidue>(scratch, a, rows[row].first, rows[row].second, all);
        }
    }
    return all;
}

}  // namespace

LddtCount lddtOf(const CoordinateSet& reference, const CoordinateSet& model,
                 std::span<const std::int32_t> partners, LddtAtoms atoms, LddtDetail detail,
                 LddtScratch& scratch) {
    scratch.atoms.clear();
    if (atoms == LddtAtoms::Calpha) {
        collectCalphas(reference, model, partners, scratch);
    } else {
        collectHeavyAtoms(reference, model, partners, scratch);
    }
    placeAtoms(scratch);
    if (atoms == LddtAtoms::All) exchangeNames(scratch);
    if (detail == LddtDetail::Sum) return countAll<false>(scratch);
    scratch.ofResidues.assign(reference.size(), {});
    return countAll<true>(scratch);
}

}  // namespace tervolanda
