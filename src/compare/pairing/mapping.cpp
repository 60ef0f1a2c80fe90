// Turns chains into coordinate sets and pairs their records.  Every set carries its records sorted
// by key, so that pairing two sets is one walk along both, whatever their numbering looks like.
//
// A chain may name a residue twice, go backwards in number or lack atoms; the walk pairs what both
// have and leaves the rest without a partner.
#include "compare/pairing/mapping.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <string>
#include <string_view>
#include <tuple>

#include "base/log.h"
#include "compare/pairing/secondary_structure.h"

namespace tervolanda {

namespace {

// 1 for the C-alpha, 2 to 4 for N, C and O, 0 for every other atom.
std::uint8_t backboneKey(const Atom& atom) {
    if (atom.matches(kMaskCA)) return kCalphaKey;
    if (atom.matches(kMaskN)) return 2;
    if (atom.matches(kMaskC)) return 3;
    if (atom.matches(kMaskO)) return 4;
    return 0;
}

bool isSelected(std::uint8_t key, AtomSelection selection) {
    return selection == AtomSelection::Calpha ? key == kCalphaKey : key != 0;
}

void appendRecord(const Atom& atom, std::uint8_t atomKey, std::uint32_t residue,
                  CoordinateSet& set) {
    set.points.append(atom.x, atom.y, atom.z);
    set.residueNumber.push_back(atom.residueNumber);
    set.insertionCode.push_back(atom.insertionCode);
    set.residueIndex.push_back(residue);
    set.residueKey.push_back(atom.residueId().key());
    set.atomKey.push_back(atomKey);
    set.sequence.push_back(oneLetterCode(atom));
}

// The chains that the records will belong to, all of them, also those without any.
void beginSubunits(const Chain& chain, CoordinateSet& set) {
    set.isComplex = !chain.subunits.empty();
    if (!set.isComplex) {
        set.subunits.push_back({chain.name, 0, 0, {}});
        return;
    }
    set.subunits.reserve(chain.subunits.size());
    for (const std::string& name : chain.subunits)
        set.subunits.push_back({name, 0, 0, {}});
}

// Ends are known where records were appended; a chain without begins and ends with the one before.
void finishSubunits(CoordinateSet& set) {
    std::uint32_t end = 0;
    for (Subunit& subunit : set.subunits) {
        subunit.first = end;
        end = std::max(end, subunit.end);
        subunit.end = end;
    }
}

// Room for a record of every residue.
void reserve(std::size_t residues, CoordinateSet& set) {
    for (std::vector<double>* const axis : {&set.points.x, &set.points.y, &set.points.z})
        axis->reserve(residues);
    set.residueNumber.reserve(residues);
    set.insertionCode.reserve(residues);
    set.residueIndex.reserve(residues);
    set.residueKey.reserve(residues);
    set.atomKey.reserve(residues);
    set.sequence.reserve(residues);
}

// A blank after every 10 letters and a line break after every 60, as databanks print sequences.
std::string inFastaForm(std::string_view letters) {
    std::string text;
    for (std::size_t i = 0; i < letters.size(); ++i) {
        text += letters[i];
        if ((i + 1) % 10 == 0) text += ' ';
        if ((i + 1) % 60 == 0) text += '\n';
    }
    return text;
}

// Negative, zero or positive as record a of one set sorts before, with or after record b of
// another.
int compareKeys(const CoordinateSet& x, std::uint32_t a, const CoordinateSet& y, std::uint32_t b) {
    if (x.residueKey[a] != y.residueKey[b]) return x.residueKey[a] < y.residueKey[b] ? -1 : 1;
    return static_cast<int>(x.atomKey[a]) - static_cast<int>(y.atomKey[b]);
}

// End of the run of equal keys that begins at `first`.
std::size_t endOfRun(const CoordinateSet& set, std::size_t first) {
    std::size_t end = first + 1;
    while (end < set.size() && compareKeys(set, set.byKey[end], set, set.byKey[first]) == 0)
        ++end;
    return end;
}

// From the last record to the first, which has the end of the next where that follows it.
void findStretches(CoordinateSet& set) {
    const auto size = static_cast<std::uint32_t>(set.size());
    set.stretchEnd.resize(size);
    for (std::uint32_t i = size; i-- > 0;)
        set.stretchEnd[i] = i + 1 < size && set.isNext(i, i + 1) ? set.stretchEnd[i + 1] : i + 1;
}

}  // namespace

void sortByKey(CoordinateSet& set) {
    set.byKey.resize(set.size());
    std::iota(set.byKey.begin(), set.byKey.end(), 0U);
    const auto isLess = [&](std::uint32_t a, std::uint32_t b) {
        if (set.residueKey[a] != set.residueKey[b]) return set.residueKey[a] < set.residueKey[b];
        return set.atomKey[a] < set.atomKey[b];
    };
    // Nearly every chain is sorted as it is.
    const auto isNoLess = [&](std::uint32_t a, std::uint32_t b) { return !isLess(a, b); };
    set.ascends =
        std::adjacent_find(set.byKey.begin(), set.byKey.end(), isNoLess) == set.byKey.end();
    if (set.ascends || std::is_sorted(set.byKey.begin(), set.byKey.end(), isLess)) return;
    std::stable_sort(set.byKey.begin(), set.byKey.end(), isLess);
}

CoordinateSet prepareChain(const Chain& chain, AtomSelection selection,
                           SecondaryStructure structureShown, Report& report) {
    CoordinateSet set;
    const bool isAssigned = structureShown == SecondaryStructure::Assigned;
    const std::string structure = isAssigned ? secondaryStructure(chain) : std::string();
    reserve(chain.residues.size(), set);
    beginSubunits(chain, set);
    // Atoms after a residue that fell apart belong to no residue; they count from its number on.
    std::uint32_t residue = 0;
    for (std::uint32_t i = 0; i < chain.atoms.size(); ++i) {
        while (residue + 1 < chain.residues.size() && i >= chain.residues[residue].end)
            ++residue;
        const Atom& atom = chain.atoms[i];
        const std::uint8_t key = backboneKey(atom);
        if (!isSelected(key, selection)) continue;
        appendRecord(atom, key, residue, set);
        if (atom.subunit < set.subunits.size())
            set.subunits[atom.subunit].end = static_cast<std::uint32_t>(set.size());
        if (!structure.empty()) {
            set.secondaryStructure.push_back(residue < structure.size() ? structure[residue] : 'C');
        }
    }
    finishSubunits(set);
    findStretches(set);
    sortByKey(set);
    set.gyrationRadius = radiusOfGyration(chain);
    set.residues = chain.residues.size();
    if (!chain.atoms.empty()) {
        set.firstResidue = chain.atoms.front().residueId().key();
        set.lastResidue = chain.atoms.back().residueId().key();
    }
    if (!report.reports(ReportLevel::Passes)) return set;
    report.report(ReportLevel::Passes, ">%s\n%s\n", chain.fileName.c_str(),
                  inFastaForm(oneLetterSequence(chain)).c_str());
    if (isAssigned) {
        report.report(ReportLevel::Passes, ">%s : SS\n%s\n", chain.fileName.c_str(),
                      inFastaForm(structure).c_str());
    }
    return set;
}

void ResidueMapping::reset(std::size_t experimentRecords, std::size_t predictionRecords) {
    experimentPartner.assign(experimentRecords, -1);
    predictionPartner.assign(predictionRecords, -1);
    pairs.clear();
}

void ResidueMapping::collectPairs() {
    pairs.clear();
    for (std::uint32_t i = 0; i < predictionPartner.size(); ++i) {
        if (predictionPartner[i] >= 0) {
            pairs.push_back({static_cast<std::uint32_t>(predictionPartner[i]), i, 0});
        }
    }
}

std::uint16_t CoordinateSet::subunitOf(std::size_t record) const {
    const auto found =
        std::upper_bound(subunits.begin(), subunits.end(), record,
                         [](std::size_t at, const Subunit& subunit) { return at < subunit.end; });
    return static_cast<std::uint16_t>(found - subunits.begin());
}

bool CoordinateSet::isNext(std::size_t a, std::size_t b) const {
    return residueIndex[b] == residueIndex[a] + 1 && residueNumber[b] == residueNumber[a] + 1 &&
           insertionCode[a] == ' ' && insertionCode[b] == ' ' &&
           (subunits.size() < 2 || subunitOf(a) == subunitOf(b));
}

void mapByResidue(const CoordinateSet& experiment, const CoordinateSet& prediction,
                  ResidueMapping& mapping, Report& report) {
    // Models of one chain: what the walk would find, in a quarter of its time.
    if (experiment.ascends && prediction.ascends &&
        experiment.residueKey == prediction.residueKey &&
        experiment.atomKey == prediction.atomKey) {
        mapByPosition(experiment, prediction, mapping);
        return;
    }
    mapping.reset(experiment.size(), prediction.size());
    const bool isByKey = experiment.isComplex || prediction.isComplex;
    std::size_t e = 0;
    std::size_t p = 0;
    while (e < experiment.size() && p < prediction.size()) {
        const int order =
            compareKeys(experiment, experiment.byKey[e], prediction, prediction.byKey[p]);
        const std::size_t experimentEnd = order > 0 ? e : endOfRun(experiment, e);
        const std::size_t predictionEnd = order < 0 ? p : endOfRun(prediction, p);
        // From the last experiment record of the run down, the prediction's from the first up.
        for (std::size_t later = experimentEnd; order == 0 && later > e && p < predictionEnd; ++p) {
            const std::uint32_t j = experiment.byKey[--later];
            const std::uint32_t i = prediction.byKey[p];
            mapping.predictionPartner[i] = static_cast<std::int32_t>(j);
            mapping.experimentPartner[j] = static_cast<std::int32_t>(i);
            if (isByKey) mapping.pairs.push_back({j, i, 0});
        }
        e = experimentEnd;
        p = predictionEnd;
    }
    if (!isByKey) mapping.collectPairs();
    if (!report.reports(ReportLevel::Mapping)) return;
    for (std::size_t i = 0; i < prediction.size(); ++i) {
        if (mapping.predictionPartner[i] >= 0) continue;
        const std::string chain =
            prediction.isComplex ? prediction.subunits[prediction.subunitOf(i)].name + ":" : "";
        report.report(ReportLevel::Mapping, "Residue %s%d%c not found in reference\n",
                      chain.c_str(), prediction.residueNumber[i], prediction.insertionCode[i]);
    }
}

void mapByPosition(const CoordinateSet& experiment, const CoordinateSet& prediction,
                   ResidueMapping& mapping) {
    const std::size_t n = prediction.size();
    mapping.experimentPartner.resize(experiment.size());
    mapping.predictionPartner.resize(n);
    mapping.pairs.resize(n);
    std::iota(mapping.experimentPartner.begin(), mapping.experimentPartner.end(), 0);
    std::iota(mapping.predictionPartner.begin(), mapping.predictionPartner.end(), 0);
    for (std::uint32_t i = 0; i < n; ++i)
        mapping.pairs[i] = {i, i, 0};
}

// Enough for models of one target: what lies between the ends is not compared, and two chains that
// lack different residues in the middle pair wrongly.  That is the rule by which RMSD runs pair,
// and what it saves is a walk along both chains for each of N^2 pairs.  In a complex
// the chains lie there.
bool haveSameEnds(const CoordinateSet& experiment, const CoordinateSet& prediction) {
    return !experiment.isComplex && !prediction.isComplex &&
           experiment.size() == prediction.size() &&
           experiment.firstResidue == prediction.firstResidue &&
           experiment.lastResidue == prediction.lastResidue;
}

// A number and not a comparison of pairs: a list of N models would have N^2 of them.
std::vector<std::uint32_t> positionalKinds(std::span<const CoordinateSet> sets) {
    using Ends = std::tuple<std::size_t, std::int64_t, std::int64_t, std::string_view>;
    std::map<Ends, std::uint32_t> known;
    std::vector<std::uint32_t> kinds;
    kinds.reserve(sets.size());
    for (const CoordinateSet& set : sets) {
        Ends ends(set.size(), set.firstResidue, set.lastResidue, {});
        if (set.residueLetters.size() == set.size()) {
            ends = {set.size(), 0, 0, set.sequence};
        } else if (!set.residueLetters.empty()) {
            ends = {set.size(), static_cast<std::int64_t>(kinds.size()), 1, {}};  // like no other
        }
        const auto next = static_cast<std::uint32_t>(known.size());
        kinds.push_back(known.try_emplace(ends, next).first->second);
    }
    return kinds;
}

// Every array is filled here that prepareChain() fills, but for those that pairing by sequence
// needs.
void selectRecords(const CoordinateSet& set, const std::vector<std::uint8_t>& left,
                   CoordinateSet& selected, std::vector<std::uint32_t>& original) {
    selected = CoordinateSet{};
    // Lengths and radius stay those of the chain: scores of later domains are relative to all of
    // it.
    selected.gyrationRadius = set.gyrationRadius;
    selected.residues = set.residues;
    selected.firstResidue = set.firstResidue;
    selected.lastResidue = set.lastResidue;
    selected.isComplex = set.isComplex;
    selected.subunits = set.subunits;
    original.clear();
    for (std::uint32_t i = 0; i < set.size(); ++i) {
        if (left[i] == 0) continue;
        original.push_back(i);
        selected.points.append(set.points.x[i], set.points.y[i], set.points.z[i]);
        selected.residueNumber.push_back(set.residueNumber[i]);
        selected.insertionCode.push_back(set.insertionCode[i]);
        selected.residueIndex.push_back(set.residueIndex[i]);
        selected.residueKey.push_back(set.residueKey[i]);
        selected.atomKey.push_back(set.atomKey[i]);
        selected.sequence.push_back(set.sequence[i]);
        if (!set.secondaryStructure.empty()) {
            selected.secondaryStructure.push_back(set.secondaryStructure[i]);
        }
    }
    for (Subunit& subunit : selected.subunits) {
        for (std::uint32_t* const place : {&subunit.first, &subunit.end}) {
            const auto at = std::lower_bound(original.begin(), original.end(), *place);
            *place = static_cast<std::uint32_t>(at - original.begin());
        }
    }
    sortByKey(selected);
}

}  // namespace tervolanda
