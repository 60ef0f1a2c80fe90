// Numbering of another construct, or from 1, gives pairs that mean nothing and a low score that
// looks like a bad model; names tell, since by chance one residue in twenty or so is the same.
//
// Models of one protein have the same residues, or some sets of them; only those that differ are
// looked at.
#include "driver/residue_names.h"

#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "base/log.h"
#include "compare/fit/kernels.h"
#include "compare/pairing/mapping.h"
#include "compare/pairing/pairing_keys.h"
#include "driver/abend.h"

namespace tervolanda {

namespace {

// The chain is lent, for its file name.
struct NamedResidues {
    const Chain* chain;
    CoordinateSet set;
};

// Holds what all comparisons of a check share, so that nothing is allocated for each.  It prepares
// chains as a comparison does and so sees what a comparison would pair.
class NameCheck {
 public:
    explicit NameCheck(const Settings& settings)
        : parameters_(settings.comparison), kernels_(kernelsOr(settings.workforce.kernels)) {}

    NamedResidues residuesOf(const Chain& chain) {
        return {&chain, prepareChain(chain, AtomSelection::Calpha, parameters_, silent_)};
    }

    // One for all models that have the same residues in chains of the same names.
    std::vector<NamedResidues> kindsOf(std::span<const Chain> models) {
        std::set<std::tuple<std::vector<std::int64_t>, std::string, std::string>> known;
        std::vector<NamedResidues> kinds;
        for (const Chain& model : models) {
            NamedResidues residues = residuesOf(model);
            if (known
                    .emplace(residues.set.residueKey, residues.set.sequence,
                             model.subunits.empty() ? "" : model.name)
                    .second) {
                kinds.push_back(std::move(residues));
            }
        }
        return kinds;
    }

    // Unknown residues are left out, since X says nothing.
    void compare(const NamedResidues& a, const NamedResidues& b) {
        const auto keyed = keys_.make(a.set, b.set, {}, kernels_, silent_);
        mapByResidue(keyed.experiment, keyed.prediction, mapping_, silent_);
        unsigned shared = 0, equal = 0;
        for (const MatchedPair& pair : mapping_.pairs) {
            const char first = a.set.sequence[pair.experiment];
            const char second = b.set.sequence[pair.prediction];
            if (first == 'X' || second == 'X') continue;
            ++shared;
            equal += first == second ? 1U : 0U;
        }
        if (2 * equal >= shared) return;
        abend("Of %u residues of equal numbers in '%s' and '%s' %u have the same name", shared,
              a.chain->fileName.c_str(), b.chain->fileName.c_str(), equal);
    }

 private:
    const ComparisonParameters& parameters_;
    const Kernels& kernels_;
    Log log_;  // without a sink
    Report silent_{log_, 0};
    PairingKeys keys_;
    ResidueMapping mapping_;
};

}  // namespace

// Kinds and not models are compared, of which there are few: a list of a thousand models of one
// target is one kind.
void checkResidueNames(const Chain* experiment, std::span<const Chain> models,
                       const Settings& settings) {
    const ComparisonParameters& parameters = settings.comparison;
    // Chains that are mapped have equal residues wherever the numbers are equal.
    const bool byNumber =
        !parameters.sequenceIndependent && !parameters.pairBySequence && !parameters.mapChains;
    if (!settings.strict || !byNumber) return;
    NameCheck check(settings);
    const std::vector<NamedResidues> kinds = check.kindsOf(models);
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        for (std::size_t j = 0; j < i && experiment == nullptr; ++j)
            check.compare(kinds[i], kinds[j]);
    }
    if (experiment == nullptr) return;
    const NamedResidues reference = check.residuesOf(*experiment);
    for (const NamedResidues& kind : kinds)
        check.compare(reference, kind);
}

}  // namespace tervolanda
