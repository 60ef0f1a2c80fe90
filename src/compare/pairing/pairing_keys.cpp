// By number a chain has its numbers for keys, and by sequence the columns of its alignment.  Chains
// of complexes get the number of their pair in front of these; one without a partner has a number
// that no other chain has.
#include "compare/pairing/pairing_keys.h"

#include <algorithm>
#include <string>

#include "base/log.h"
#include "compare/pairing/mapping.h"

namespace tervolanda {

namespace {

constexpr std::int64_t kSubunitKeys = ResidueId::kSubunitKeys;

void reportSubunits(const CoordinateSet& experiment, const CoordinateSet& prediction,
                    std::span<const SubunitPair> pairs, Report& report) {
    if (!report.reports(ReportLevel::Numbers)) return;
    std::string text;
    for (const SubunitPair& pair : pairs) {
        text += (text.empty() ? " " : ", ") + prediction.subunits[pair.prediction].name + " on " +
                experiment.subunits[pair.experiment].name;
    }
    report.report(ReportLevel::Numbers, "Chains:%s\n", text.empty() ? " none" : text.c_str());
}

// The number in front of the keys of each subunit: that of its pair, and numbers from `others` on
// for those without.  `of` is the side of a pair that is meant.
std::vector<std::int64_t> numbersOf(const CoordinateSet& set, std::span<const SubunitPair> pairs,
                                    std::uint16_t SubunitPair::*of, std::size_t others) {
    std::vector<std::int64_t> numbers(set.subunits.size());
    for (std::int64_t& number : numbers)
        number = static_cast<std::int64_t>(others++);
    for (std::size_t k = 0; k < pairs.size(); ++k)
        numbers[pairs[k].*of] = static_cast<std::int64_t>(k);
    return numbers;
}

// The keys of a set by number, each with that of its pair in front.
void renumber(const std::vector<std::int64_t>& numbers, CoordinateSet& set) {
    for (std::size_t s = 0; s < set.subunits.size(); ++s) {
        const std::int64_t before = static_cast<std::int64_t>(s) * kSubunitKeys;
        for (std::uint32_t i = set.subunits[s].first; i < set.subunits[s].end; ++i)
            set.residueKey[i] += numbers[s] * kSubunitKeys - before;
    }
    sortByKey(set);
}

}  // namespace

PairingKeys::Keyed PairingKeys::make(const CoordinateSet& experiment,
                                     const CoordinateSet& prediction, const PairingRules& rules,
                                     const Kernels& kernels, Report& report) {
    if (!experiment.isComplex && !prediction.isComplex) {
        if (!rules.bySequence) return {experiment, prediction, {}};
        const auto aligned = sequences_.align(experiment, prediction, report);
        return {aligned.experiment, aligned.prediction, {}};
    }
    pairSubunits(experiment, prediction, rules, kernels);
    if (report.reports(ReportLevel::Numbers)) {
        reportSubunits(experiment, prediction, shown_, report);
        if (rules.bySequence) agreementOfSubunits(experiment, prediction).report(report);
    }
    if (!rules.bySequence && areKeysOfBoth(experiment, prediction))
        return {experiment, prediction, shown_};
    experiment_ = experiment;
    prediction_ = prediction;
    if (rules.bySequence) {
        keyBySequence();
    } else {
        keyByNumber();
    }
    return {experiment_, prediction_, shown_};
}

PairingKeys::Summary PairingKeys::summarise(const CoordinateSet& experiment,
                                            const CoordinateSet& prediction,
                                            const PairingRules& rules, const Kernels& kernels) {
    if (!experiment.isComplex && !prediction.isComplex) {
        if (!rules.bySequence) return {};
        return {{}, sequences_.agreement(experiment, prediction)};
    }
    pairSubunits(experiment, prediction, rules, kernels);
    if (!rules.bySequence) return {shown_, std::nullopt};
    return {shown_, agreementOfSubunits(experiment, prediction)};
}

void PairingKeys::pairSubunits(const CoordinateSet& experiment, const CoordinateSet& prediction,
                               const PairingRules& rules, const Kernels& kernels) {
    if (rules.mapsChains) {
        mapper_.map(experiment, prediction, rules.bySequence, sequences_, kernels, subunits_);
    } else {
        pairByName(experiment, prediction, subunits_);
    }
    shown_ = subunits_;
    std::sort(shown_.begin(), shown_.end(), [](const SubunitPair& a, const SubunitPair& b) {
        return a.prediction < b.prediction;
    });
}

// Chains without a partner count for the coverage.
SequenceAgreement PairingKeys::agreementOfSubunits(const CoordinateSet& experiment,
                                                   const CoordinateSet& prediction) {
    SequenceAgreement all;
    for (const Subunit& subunit : experiment.subunits)
        all.experimentResidues += lettersOf(experiment, subunit).size();
    for (const Subunit& subunit : prediction.subunits)
        all.predictionResidues += lettersOf(prediction, subunit).size();
    for (const SubunitPair& pair : subunits_) {
        const std::string e = lettersOf(experiment, experiment.subunits[pair.experiment]);
        const std::string p = lettersOf(prediction, prediction.subunits[pair.prediction]);
        SequenceAgreement found = agreementOf(e, p, sequences_.columnsOf(e, p));
        found.experimentResidues = found.predictionResidues = 0;
        all.add(found);
    }
    return all;
}

// As with the models of one target: every chain has the place of its partner.
bool PairingKeys::areKeysOfBoth(const CoordinateSet& experiment,
                                const CoordinateSet& prediction) const {
    if (subunits_.size() != experiment.subunits.size()) return false;
    if (subunits_.size() != prediction.subunits.size()) return false;
    for (std::size_t k = 0; k < subunits_.size(); ++k)
        if (subunits_[k] != subunitPair(k, k)) return false;
    return true;
}

void PairingKeys::keyByNumber() {
    const std::size_t pairs = subunits_.size();
    renumber(numbersOf(experiment_, subunits_, &SubunitPair::experiment, pairs), experiment_);
    renumber(numbersOf(prediction_, subunits_, &SubunitPair::prediction,
                       pairs + experiment_.subunits.size()),
             prediction_);
}

// Chains without a partner keep their numbers, which no column can be.
void PairingKeys::keyBySequence() {
    keyByNumber();
    for (std::size_t k = 0; k < subunits_.size(); ++k) {
        const Subunit& e = experiment_.subunits[subunits_[k].experiment];
        const Subunit& p = prediction_.subunits[subunits_[k].prediction];
        const AlignedColumns& aligned =
            sequences_.columnsOf(lettersOf(experiment_, e), lettersOf(prediction_, p));
        const auto base = static_cast<std::int64_t>(k) * kSubunitKeys;
        setColumnKeys(e, aligned.experiment, base, experiment_);
        setColumnKeys(p, aligned.prediction, base, prediction_);
    }
    for (CoordinateSet* const set : {&experiment_, &prediction_})
        sortByKey(*set);
}

}  // namespace tervolanda
