// Sequences decide who may be whose partner.  Copies of a chain are one kind, and what is asked of
// sequences is asked once for each pair of kinds.
#include "compare/pairing/subunit_likeness.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "compare/pairing/mapping.h"

namespace tervolanda {

namespace {

// Share of equal residues below which two chains have nothing in common but chance.
constexpr double kLeastIdentity = 0.25;
// A candidate is nearly as good as the best that either chain has: a paralogue is none beside the
// chain itself.
constexpr double kNearlyAsGood = 0.9;

// The key of a record within its chain.
std::int64_t ownKey(const CoordinateSet& set, std::size_t subunit, std::uint32_t record) {
    return set.residueKey[record] - static_cast<std::int64_t>(subunit) * ResidueId::kSubunitKeys;
}

std::string_view sequenceOf(const CoordinateSet& set, const Subunit& subunit) {
    return std::string_view(set.sequence).substr(subunit.first, subunit.end - subunit.first);
}

// Whether two chains have the same residues with the same atoms and numbers.
bool haveSameResidues(const CoordinateSet& a, std::size_t s, const CoordinateSet& b,
                      std::size_t t) {
    const Subunit& x = a.subunits[s];
    const Subunit& y = b.subunits[t];
    if (sequenceOf(a, x) != sequenceOf(b, y)) return false;
    for (std::uint32_t i = x.first, j = y.first; i < x.end; ++i, ++j)
        if (ownKey(a, s, i) != ownKey(b, t, j) || a.atomKey[i] != b.atomKey[j]) return false;
    return true;
}

std::array<double, 3> placeOf(const Points& points, std::size_t i) {
    return {points.x[i], points.y[i], points.z[i]};
}

// As many as both sequences can have in common, whatever their order.
std::size_t mostIdentical(std::string_view a, std::string_view b) {
    std::array<int, 32> counts{};
    std::size_t common = 0;
    for (const char c : a)
        ++counts[static_cast<std::size_t>(c & 0x1F)];
    for (const char c : b)
        if (counts[static_cast<std::size_t>(c & 0x1F)]-- > 0) ++common;
    return common;
}

// The C-alpha records of each residue of a chain, counted from its first record; kNoAtom without.
std::vector<std::uint32_t> calphasOf(const CoordinateSet& set, const Subunit& subunit) {
    std::vector<std::uint32_t> calphas;
    for (std::uint32_t i = subunit.first; i < subunit.end; ++i) {
        if (i == subunit.first || set.residueKey[i] != set.residueKey[i - 1])
            calphas.push_back(kNoAtom);
        if (set.atomKey[i] == kCalphaKey && calphas.back() == kNoAtom)
            calphas.back() = i - subunit.first;
    }
    return calphas;
}

}  // namespace

void pairByName(const CoordinateSet& experiment, const CoordinateSet& prediction,
                std::vector<SubunitPair>& pairs) {
    pairs.clear();
    if (experiment.subunits.size() == 1 && prediction.subunits.size() == 1) {
        pairs.push_back({0, 0});
        return;
    }
    std::map<std::string_view, std::size_t> places;
    for (std::size_t p = 0; p < prediction.subunits.size(); ++p)
        places.emplace(prediction.subunits[p].name, p);
    for (std::size_t e = 0; e < experiment.subunits.size(); ++e) {
        const auto found = places.find(experiment.subunits[e].name);
        if (found != places.end()) pairs.push_back(subunitPair(e, found->second));
    }
}

void SubunitLikeness::compare(const CoordinateSet& experiment, const CoordinateSet& prediction,
                              bool bySequence, SequencePairing& sequences) {
    takeSide(experiment, experiment_);
    takeSide(prediction, prediction_);
    compareKinds(bySequence, sequences);
    chooseCandidates();
    makeGroups();
}

// Copies of a chain are one kind, and all that is asked of sequences is asked once of a kind.
void SubunitLikeness::takeSide(const CoordinateSet& set, SubunitSide& side) {
    const std::size_t n = set.subunits.size();
    side.set = &set;
    side.order.resize(n);
    std::iota(side.order.begin(), side.order.end(), 0U);
    side.centroid.assign(n, {});
    for (std::size_t s = 0; s < n; ++s) {
        const Subunit& subunit = set.subunits[s];
        for (std::uint32_t i = subunit.first; i < subunit.end; ++i) {
            const std::array<double, 3> place = placeOf(set.points, i);
            for (std::size_t a = 0; a < 3; ++a)
                side.centroid[s][a] += place[a] / static_cast<double>(subunit.end - subunit.first);
        }
    }
    const auto first = [&](std::uint32_t s) {
        const Subunit& subunit = set.subunits[s];
        return subunit.first < subunit.end ? placeOf(set.points, subunit.first)
                                           : std::array<double, 3>{};
    };
    std::stable_sort(side.order.begin(), side.order.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return first(a) < first(b); });
    side.kind.assign(n, 0);
    side.shown.clear();
    for (const std::uint32_t s : side.order) {
        const auto known =
            std::find_if(side.shown.begin(), side.shown.end(),
                         [&](std::uint32_t other) { return haveSameResidues(set, s, set, other); });
        side.kind[s] = static_cast<std::uint32_t>(known - side.shown.begin());
        if (known == side.shown.end()) side.shown.push_back(s);
    }
}

// Residues of equal number; those that are not known say nothing.
void SubunitLikeness::compareByNumber(std::uint32_t e, std::uint32_t p) {
    const CoordinateSet& x = *experiment_.set;
    const CoordinateSet& y = *prediction_.set;
    const std::uint32_t s = experiment_.shown[e], t = prediction_.shown[p];
    const Subunit& a = x.subunits[s];
    const Subunit& b = y.subunits[t];
    Likeness& found = likeness(e, p);
    std::size_t identical = 0;
    // Sorted by key, the records of a chain still follow each other.
    for (std::uint32_t i = a.first, j = b.first; i < a.end && j < b.end;) {
        const std::uint32_t u = x.byKey[i], v = y.byKey[j];
        const auto left = std::tuple(ownKey(x, s, u), x.atomKey[u]);
        const auto right = std::tuple(ownKey(y, t, v), y.atomKey[v]);
        if (left == right && x.atomKey[u] == kCalphaKey) {
            found.residues.push_back({u - a.first, v - b.first});
            identical += x.sequence[u] == y.sequence[v] && x.sequence[u] != 'X' ? 1U : 0U;
        }
        i += left <= right ? 1U : 0U;
        j += right <= left ? 1U : 0U;
    }
    const auto shorter = static_cast<double>(
        std::max<std::size_t>(std::min(calphasOf(x, a).size(), calphasOf(y, b).size()), 1));
    found.identity = haveSameResidues(x, s, y, t) ? 1.0 : static_cast<double>(identical) / shorter;
}

void SubunitLikeness::compareBySequence(std::uint32_t e, std::uint32_t p,
                                        SequencePairing& sequences) {
    const CoordinateSet& x = *experiment_.set;
    const CoordinateSet& y = *prediction_.set;
    const Subunit& a = x.subunits[experiment_.shown[e]];
    const Subunit& b = y.subunits[prediction_.shown[p]];
    const std::string letters[2] = {lettersOf(x, a), lettersOf(y, b)};
    const AlignedColumns& aligned = sequences.columnsOf(letters[0], letters[1]);
    const std::vector<std::uint32_t> calphas[2] = {calphasOf(x, a), calphasOf(y, b)};
    Likeness& found = likeness(e, p);
    for (std::size_t i = 0, j = 0; i < calphas[0].size() && j < calphas[1].size();) {
        const std::int32_t left = aligned.experiment[i], right = aligned.prediction[j];
        if (left == right && calphas[0][i] != kNoAtom && calphas[1][j] != kNoAtom)
            found.residues.push_back({calphas[0][i], calphas[1][j]});
        i += left <= right ? 1U : 0U;
        j += right <= left ? 1U : 0U;
    }
    const SequenceAgreement agreement = agreementOf(letters[0], letters[1], aligned);
    const auto shorter = static_cast<double>(
        std::max<std::size_t>(std::min(letters[0].size(), letters[1].size()), 1));
    const bool isSame = haveSameResidues(x, experiment_.shown[e], y, prediction_.shown[p]);
    found.identity = isSame ? 1.0 : static_cast<double>(agreement.identical) / shorter;
}

// Alignments take time, and chains of other composition need none where both have their like: the
// eighty proteins of a ribosome would have 6,400 of them.
void SubunitLikeness::compareKinds(bool bySequence, SequencePairing& sequences) {
    const std::size_t rows = prediction_.shown.size(), columns = experiment_.shown.size();
    likeness_.assign(rows * columns, {});
    std::vector<bool> hasLike[2] = {std::vector<bool>(columns), std::vector<bool>(rows)};
    const auto areSame = [&](std::uint32_t e, std::uint32_t p) {
        return haveSameResidues(*experiment_.set, experiment_.shown[e], *prediction_.set,
                                prediction_.shown[p]);
    };
    for (std::uint32_t p = 0; p < rows; ++p) {
        for (std::uint32_t e = 0; e < columns; ++e) {
            if (!areSame(e, p)) continue;
            hasLike[0][e] = hasLike[1][p] = true;
        }
    }
    for (std::uint32_t p = 0; p < rows; ++p) {
        for (std::uint32_t e = 0; e < columns; ++e) {
            const std::string_view a =
                sequenceOf(*experiment_.set, experiment_.set->subunits[experiment_.shown[e]]);
            const std::string_view b =
                sequenceOf(*prediction_.set, prediction_.set->subunits[prediction_.shown[p]]);
            const auto most = static_cast<double>(mostIdentical(a, b));
            const auto shorter = static_cast<double>(std::min(a.size(), b.size()));
            if ((hasLike[0][e] || hasLike[1][p]) && most < kNearlyAsGood * shorter) continue;
            if (bySequence) {
                compareBySequence(e, p, sequences);
            } else {
                compareByNumber(e, p);
            }
        }
    }
}

void SubunitLikeness::chooseCandidates() {
    const std::size_t rows = prediction_.shown.size(), columns = experiment_.shown.size();
    std::vector<double> best[2] = {std::vector<double>(columns), std::vector<double>(rows)};
    for (std::size_t i = 0; i < likeness_.size(); ++i) {
        const double identity = likeness_[i].identity;
        best[0][i % columns] = std::max(best[0][i % columns], identity);
        best[1][i / columns] = std::max(best[1][i / columns], identity);
    }
    for (std::size_t i = 0; i < likeness_.size(); ++i) {
        const double most = std::max(best[0][i % columns], best[1][i / columns]);
        likeness_[i].isCandidate = likeness_[i].identity >= kLeastIdentity &&
                                   likeness_[i].identity >= kNearlyAsGood * most;
    }
}

// A kind and the kinds that are candidates for it, and theirs, are one group.
void SubunitLikeness::makeGroups() {
    const std::size_t rows = prediction_.shown.size(), columns = experiment_.shown.size();
    std::vector<std::size_t> root(columns + rows);  // of the experiment's kinds, then the others
    std::iota(root.begin(), root.end(), std::size_t{0});
    for (std::size_t i = 0; i < likeness_.size(); ++i) {
        if (!likeness_[i].isCandidate) continue;
        const std::size_t from = root[columns + i / columns], to = root[i % columns];
        std::replace(root.begin(), root.end(), from, to);
    }
    std::map<std::size_t, SubunitGroup> byRoot;
    for (const std::uint32_t e : experiment_.order)
        byRoot[root[experiment_.kind[e]]].experiment.push_back(e);
    for (const std::uint32_t p : prediction_.order)
        byRoot[root[columns + prediction_.kind[p]]].prediction.push_back(p);
    groups_.clear();
    for (auto& [kind, group] : byRoot) {
        const bool hasBoth = !group.experiment.empty() && !group.prediction.empty();
        if (hasBoth) groups_.push_back(std::move(group));
    }
}

}  // namespace tervolanda
