// What the matrices of a batch hold is shown as they hold it, in single precision: so all that a
// run writes agrees to the last digit, whatever the form.
#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include "compare/fit/kernels.h"
#include "export/values.h"

namespace tervolanda {

namespace {

// A number as the matrices of a run hold it.
double asInMatrix(double value) {
    return static_cast<double>(static_cast<float>(value));
}
// The same where they hold it, and else the number.
double shown(double value, bool isInMatrix) {
    return isInMatrix ? asInMatrix(value) : value;
}

// Values of the pair before are forgotten, their memory is kept: it is one object for a whole run.
void clearPair(PairResult& result) {
    result.status = PairStatus::Ok;
    for (auto* count : {&result.mapped, &result.pairs, &result.domains})
        count->reset();
    for (auto* value :
         {&result.rmsd, &result.grmsd, &result.maxsub, &result.msi, &result.tm1, &result.tm2,
          &result.gdt, &result.rrmsd, &result.urmsd, &result.rurmsd, &result.contacts,
          &result.cutoff, &result.identity, &result.coverage1, &result.coverage2}) {
        value->reset();
    }
    result.subunits.clear();
    result.measures.fill(std::nullopt);
    result.superpositions.clear();
    result.stretches.clear();
    result.residues.clear();
}

ResidueId residueOf(const CoordinateSet& set, std::size_t record) {
    return {static_cast<std::int16_t>(set.residueNumber[record]), set.insertionCode[record],
            set.subunitOf(record)};
}

// How far the prediction's atom comes to lie from the experiment's, Å.
double distanceUnder(const Superposition& motion, const ComparedPair& pair,
                     const MatchedPair& matched) {
    const Points& a = pair.experiment.points;
    const Points& b = pair.prediction.points;
    const auto [x, y, z] =
        motion.apply(b.x[matched.prediction], b.y[matched.prediction], b.z[matched.prediction]);
    const double dx = x - a.x[matched.experiment];
    const double dy = y - a.y[matched.experiment];
    const double dz = z - a.z[matched.experiment];
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

// `domain` is that of the subset, 0 for none.
void addResidue(const ComparedPair& pair, const MatchedPair& matched, std::uint32_t domain,
                PairResult& result) {
    const auto e = matched.experiment;
    const auto p = matched.prediction;
    const Superposition& motion = result.superpositions[domain == 0 ? 0 : domain - 1];
    result.residues.push_back({residueOf(pair.experiment, e), residueOf(pair.prediction, p),
                               pair.experiment.sequence[e], pair.prediction.sequence[p],
                               pair.experiment.residueIndex[e], pair.prediction.residueIndex[p],
                               distanceUnder(motion, pair, matched), domain});
}

// Makes stretches of pairs that come in mapped order.
class StretchMaker {
 public:
    StretchMaker(const ComparedPair& pair, PairResult& result)
        : experiment_(pair.experiment),
          prediction_(pair.prediction),
          stretches_(result.stretches) {}

    void add(const MatchedPair& at, std::uint32_t domain) { add(at, at, domain); }
    // The pairs of a list are a hundred residues each, but a few pieces that are stretches in both
    // chains.  Both places are compared at once.
    void add(std::span<const MatchedPair> pairs, std::uint32_t domain) {
        for (std::size_t k = 0; k < pairs.size();) {
            const std::uint32_t e = pairs[k].experiment, p = pairs[k].prediction;
            const std::size_t most =
                std::min({pairs.size() - k, std::size_t{experiment_.stretchEnd[e] - e},
                          std::size_t{prediction_.stretchEnd[p] - p}});
            std::uint64_t next = placeOf(pairs[k]) + kOneFurther;
            std::size_t length = 1;
            for (; length < most && placeOf(pairs[k + length]) == next; ++length)
                next += kOneFurther;
            add(pairs[k], pairs[k + length - 1], domain);
            k += length;
        }
    }

 private:
    static constexpr std::uint64_t kOneFurther = std::uint64_t{1} << 32 | 1U;
    static std::uint64_t placeOf(const MatchedPair& at) {
        return std::uint64_t{at.prediction} << 32 | at.experiment;
    }

    // Pairs from `first` to `last` that follow each other.
    void add(const MatchedPair& first, const MatchedPair& last, std::uint32_t domain) {
        const bool goesOn = !stretches_.empty() && stretches_.back().domain == domain &&
                            experiment_.isNext(last_.experiment, first.experiment) &&
                            prediction_.isNext(last_.prediction, first.prediction);
        if (!goesOn) {
            stretches_.push_back({residueOf(experiment_, first.experiment),
                                  {},
                                  residueOf(prediction_, first.prediction),
                                  {},
                                  domain});
        }
        stretches_.back().experimentLast = residueOf(experiment_, last.experiment);
        stretches_.back().predictionLast = residueOf(prediction_, last.prediction);
        last_ = last;
    }

    const CoordinateSet& experiment_;
    const CoordinateSet& prediction_;
    std::vector<MatchedStretch>& stretches_;
    MatchedPair last_{};
};

// Complexes are mapped chain by chain, in an order of their own (compare/pairing/mapping.h).
bool standInOrderOfPrediction(const CoordinateSet& prediction,
                              const std::vector<MatchedPair>& matched) {
    return !prediction.isComplex || std::is_sorted(matched.begin(), matched.end(),
                                                   [](const MatchedPair& a, const MatchedPair& b) {
                                                       return a.prediction < b.prediction;
                                                   });
}

// The pairs of all subsets and, for who looks at distances, those of the first mapping whose
// residues are in none; as the prediction has its residues, whoever looks.
void addResidues(const ComparedPair& pair, const ComparisonResult& found, PairDetail detail,
                 PairResult& result) {
    const std::size_t fits = result.superpositions.size();
    StretchMaker stretches(pair, result);
    if (detail < PairDetail::Residues && found.iterations.size() == 1 &&
        standInOrderOfPrediction(pair.prediction, found.matched)) {
        // Nothing is to be sorted, and there may be millions of such pairs.
        return stretches.add(found.matched, 1);
    }
    std::vector<const MatchedPair*> inSubset(pair.prediction.size());
    std::vector<bool> isTaken(pair.experiment.size());
    for (const MatchedPair& matched : found.matched) {
        inSubset[matched.prediction] = &matched;
        isTaken[matched.experiment] = true;
    }
    const bool showsAll = detail == PairDetail::Residues;
    for (std::uint32_t p = 0; p < inSubset.size(); ++p) {
        const std::int32_t partner = showsAll ? found.partners[p] : -1;
        if (inSubset[p] != nullptr) {
            const std::uint32_t iteration = inSubset[p]->iteration;
            const std::uint32_t domain = iteration < fits ? iteration + 1 : 0;
            stretches.add(*inSubset[p], domain);
            if (showsAll) addResidue(pair, *inSubset[p], domain, result);
        } else if (partner >= 0 && !isTaken[static_cast<std::size_t>(partner)]) {
            addResidue(pair, {static_cast<std::uint32_t>(partner), p, 0}, 0, result);
        }
    }
}

PairStatus statusOf(const ComparisonResult& found) {
    if (!found.iterations.empty()) return PairStatus::Ok;
    if (found.mapped == 0) return PairStatus::NoPairs;
    // A search that failed and one whose subset counts as nothing both have no iterations.
    // Every fit has a TM-score.
    return found.tm > 0.0 ? PairStatus::NotSignificant : PairStatus::NoFit;
}

// Where the matrix of a run holds a measure it is shown as that holds it.
void fillMeasures(const MeasureFigures& found, const PairForm& form, PairResult& result) {
    result.measures = found;
    const std::optional<Measure> inMatrix =
        form.matrixScore ? measureOf(*form.matrixScore) : std::nullopt;
    if (!inMatrix) return;
    std::optional<double>& value = result.measures[static_cast<std::size_t>(*inMatrix)];
    if (value) value = asInMatrix(*value);
}

// The figures that MaxSub and GDT runs have in common.  What the matrices of a batch hold is
// rounded as they round it; all else keeps its digits.
void fillSearch(const ComparedPair& pair, const ComparisonResult& found, const PairForm& form,
                PairResult& result) {
    clearPair(result);
    const auto score = form.matrixScore;
    const bool isMaxSubBatch = score == ScoreKind::Tm || score == ScoreKind::MaxSub;
    result.status = statusOf(found);
    result.mapped = found.mapped;
    fillMeasures(found.measures.values, form, result);
    if (result.status == PairStatus::NoPairs || result.status == PairStatus::NoFit) return;
    result.pairs = found.pairs;
    result.domains = static_cast<std::uint32_t>(found.iterations.size());
    result.rmsd = shown(found.rmsd, isMaxSubBatch);
    result.grmsd = found.grmsd;
    result.maxsub = shown(found.maxsub, score == ScoreKind::MaxSub);
    result.msi = found.msi;
    result.tm1 = shown(found.tm, score == ScoreKind::Tm);
    result.tm2 =
        form.parameters.normLength > 0
            ? result.tm1
            : shown(renormalised(found.tm, pair.experiment.residues, pair.prediction.residues),
                    score == ScoreKind::Tm);
    if (!found.iterations.empty()) result.cutoff = found.iterations.front().distanceCutoff;
}

// The residues of the pair, which have their places in the experiment's coordinate set.
void addResidueMeasures(const std::vector<double>& found, const ComparedPair& pair,
                        PairResult& result) {
    if (found.empty()) return;
    std::vector<double> ofResidue(pair.experiment.residues);
    for (std::size_t i = 0; i < found.size(); ++i) {
        const std::uint32_t residue = pair.experiment.residueIndex[i];
        if (residue < ofResidue.size()) ofResidue[residue] = found[i];
    }
    for (ResiduePair& residue : result.residues) {
        const double value = residue.experimentPosition < ofResidue.size()
                                 ? ofResidue[residue.experimentPosition]
                                 : std::numeric_limits<double>::quiet_NaN();
        if (!std::isnan(value)) residue.lddt = value;
    }
}

}  // namespace

void fillPair(const ComparedPair& pair, const ComparisonResult& found, const PairForm& form,
              PairResult& result) {
    fillSearch(pair, found, form, result);
    for (const DomainIteration& domain : found.iterations)
        result.superpositions.push_back(domain.superposition);
    const bool hasResidues = form.detail >= PairDetail::Matched && !found.iterations.empty();
    if (hasResidues) addResidues(pair, found, form.detail, result);
    addResidueMeasures(found.measures.residues, pair, result);
}

void fillPair(const ComparedPair& pair, const GdtResult& found, const ComparisonResult& search,
              const PairForm& form, PairResult& result) {
    fillSearch(pair, search, form, result);
    if (result.status == PairStatus::Ok && !found.superposition) result.status = PairStatus::NoFit;
    if (result.status == PairStatus::NoPairs || result.status == PairStatus::NoFit) return;
    result.gdt = shown(found.gdt, form.matrixScore.has_value());
    if (!found.superposition) return;
    result.superpositions.push_back(*found.superposition);
    if (form.detail >= PairDetail::Matched) addResidues(pair, search, form.detail, result);
    addResidueMeasures(search.measures.residues, pair, result);
}

void fillPair(const ComparedPair& pair, const ListedRmsd& found,
              std::span<const MatchedPair> matched, const PairForm& form, PairResult& result) {
    // They have three vectors between neighbours; for fewer no URMSD is computed, and its 0 is no
    // value.
    constexpr std::uint32_t kFewestUnitVectorPairs = 4;
    clearPair(result);
    result.mapped = found.pairs;
    fillMeasures(found.measures.values, form, result);
    if (found.contacts) result.contacts = found.contacts->percentage();
    if (!found.rmsd) {
        result.status = found.pairs == 0 ? PairStatus::NoPairs : PairStatus::NoFit;
        return;
    }
    result.pairs = found.pairs;
    result.rmsd = found.rmsd;
    result.rrmsd =
        relativeRmsd(*found.rmsd, pair.experiment.gyrationRadius, found.gyrationRadius, found.pairs)
            .ratio;
    if (form.hasUrmsd && found.pairs >= kFewestUnitVectorPairs) {
        result.urmsd = found.urmsd;
        result.rurmsd = relativeUrmsd(found.urmsd, found.pairs);
    }
    if (!found.superposition) return;
    result.superpositions.push_back(*found.superposition);
    if (form.detail < PairDetail::Matched) return;
    StretchMaker stretches(pair, result);
    for (const MatchedPair& at : matched) {
        stretches.add(at, 1);
        if (form.detail == PairDetail::Residues) addResidue(pair, at, 1, result);
    }
    addResidueMeasures(found.measures.residues, pair, result);
}

void fillPairing(const ComparedPair& pair, const PairingRules& rules, PairingKeys& keys,
                 PairResult& result, const Kernels* kernels) {
    const auto found = keys.summarise(pair.experiment, pair.prediction, rules, kernelsOr(kernels));
    result.subunits.assign(found.subunits.begin(), found.subunits.end());
    if (!found.agreement) return;
    result.identity = found.agreement->identity();
    result.coverage1 = found.agreement->experimentCoverage();
    result.coverage2 = found.agreement->predictionCoverage();
}

std::optional<double> scoreOf(const PairResult& pair, ScoreKind kind) {
    switch (kind) {
        case ScoreKind::Tm:
            return pair.tm1;
        case ScoreKind::MaxSub:
            return pair.maxsub;
        case ScoreKind::Gdt:
            return pair.gdt;
        case ScoreKind::Lddt:
        case ScoreKind::LddtAll:
        case ScoreKind::GdtTs:
        case ScoreKind::GdtHa:
            return figureOf(pair.measures, *measureOf(kind));
        default:
            return pair.rmsd;
    }
}

bool isBetter(const PairResult& pair, const PairResult& other, ScoreKind kind) {
    const std::optional<double> score = scoreOf(pair, kind);
    const std::optional<double> otherScore = scoreOf(other, kind);
    if (!score || !otherScore) return score && !otherScore;
    return isDistance(kind) ? *score < *otherScore : *score > *otherScore;
}

}  // namespace tervolanda
