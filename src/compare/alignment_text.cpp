// The two sequences one above the other, as a pairwise run shows which residues were paired.
// Columns are collected in five lines of equal length and written block by block.
#include <algorithm>
#include <span>
#include <vector>

#include "base/log.h"
#include "compare/compare.h"

namespace tervolanda {

namespace {

constexpr char kMapped = '\'';
constexpr char kInSubset = '|';

// Invariant: the five lines are of equal length, and columns_ counts what stands in them and in the
// blocks before, without the blanks after every ten.
class AlignmentPrinter {
 public:
    AlignmentPrinter(const CoordinateSet& experiment, const CoordinateSet& prediction,
                     const ComparisonResult& result, bool showStructure, int lineWrap,
                     Report& report)
        : experiment_(experiment),
          prediction_(prediction),
          showStructure_(showStructure),
          lineWrap_(static_cast<std::size_t>(std::max(lineWrap, 1))),
          report_(report) {
        predictionMark_.assign(prediction.size(), ' ');
        experimentMapped_.assign(experiment.size(), 0);
        // Without a superposition no residue counts as paired.
        if (result.iterations.empty()) return;
        for (std::size_t i = 0; i < result.partners.size(); ++i) {
            if (result.partners[i] < 0) continue;
            predictionMark_[i] = kMapped;
            experimentMapped_[static_cast<std::size_t>(result.partners[i])] = 1;
        }
        // Pairs of later domains may contradict the first mapping, which is the one that is shown.
        for (const MatchedPair& pair : result.matched) {
            const bool isPartner =
                result.partners[pair.prediction] >= 0 &&
                static_cast<std::uint32_t>(result.partners[pair.prediction]) == pair.experiment;
            if (isPartner) predictionMark_[pair.prediction] = kInSubset;
        }
    }

    void print(std::span<const SubunitPair> subunits) {
        if (!experiment_.isComplex && !prediction_.isComplex) {
            return print({0, prediction_.size()}, {0, experiment_.size()});
        }
        std::vector<bool> isShown[2] = {std::vector<bool>(experiment_.subunits.size()),
                                        std::vector<bool>(prediction_.subunits.size())};
        for (const SubunitPair& pair : subunits) {
            isShown[0][pair.experiment] = isShown[1][pair.prediction] = true;
            printChains(&prediction_.subunits[pair.prediction],
                        &experiment_.subunits[pair.experiment]);
        }
        for (std::size_t p = 0; p < prediction_.subunits.size(); ++p)
            if (!isShown[1][p]) printChains(&prediction_.subunits[p], nullptr);
        for (std::size_t e = 0; e < experiment_.subunits.size(); ++e)
            if (!isShown[0][e]) printChains(nullptr, &experiment_.subunits[e]);
    }

 private:
    // Records [at, end).
    struct Range {
        std::size_t at = 0, end = 0;
    };

    // Two chains of complexes, or one without a partner.
    void printChains(const Subunit* prediction, const Subunit* experiment) {
        const auto rangeOf = [](const Subunit* chain) {
            return chain == nullptr ? Range{} : Range{chain->first, chain->end};
        };
        const auto nameOf = [](const Subunit* chain) {
            return chain == nullptr ? "none" : chain->name.c_str();
        };
        report_.report(ReportLevel::Alignment, "\nChains      prediction %s, experiment %s\n",
                       nameOf(prediction), nameOf(experiment));
        columns_ = 0;
        print(rangeOf(prediction), rangeOf(experiment));
    }

    // Walks along both chains.  What is mapped stands in one column; what is not has a column of
    // its own, the prediction's before the experiment's.  A pairing need not be in order: where it
    // is not, the columns of mapped residues show those that come next on either side.
    void print(Range prediction, Range experiment) {
        auto& [p, predictionEnd] = prediction;
        auto& [e, experimentEnd] = experiment;
        while (p < predictionEnd && e < experimentEnd) {
            while (p < predictionEnd && !predictionIsMapped(p))
                addPrediction(p++);
            while (e < experimentEnd && experimentMapped_[e] == 0)
                addExperiment(e++);
            while (p < predictionEnd && e < experimentEnd && predictionIsMapped(p) &&
                   experimentMapped_[e] != 0) {
                addColumn(prediction_.sequence[p], structureOf(prediction_, p), predictionMark_[p],
                          structureOf(experiment_, e), experiment_.sequence[e]);
                ++p;
                ++e;
            }
        }
        while (e < experimentEnd)
            addExperiment(e++);
        while (p < predictionEnd)
            addPrediction(p++);
        if (!predictionLine_.empty()) endBlock();
    }

    // A blank is also the mark of a residue that has no partner.
    bool predictionIsMapped(std::size_t i) const { return predictionMark_[i] != ' '; }

    static char structureOf(const CoordinateSet& set, std::size_t i) {
        return i < set.secondaryStructure.size() ? set.secondaryStructure[i] : ' ';
    }

    // A residue of one chain alone: the other one has a gap, and no structure there.
    void addPrediction(std::size_t i) {
        addColumn(prediction_.sequence[i], structureOf(prediction_, i), ' ', '-', '.');
    }

    void addExperiment(std::size_t i) {
        addColumn('.', '-', ' ', structureOf(experiment_, i), experiment_.sequence[i]);
    }

    // Columns are counted from the beginning, so that a line holds `lineWrap` of them whatever
    // stands in it.
    void addColumn(char prediction, char predictionStructure, char mark, char experimentStructure,
                   char experiment) {
        append(prediction, predictionStructure, mark, experimentStructure, experiment);
        ++columns_;
        if (columns_ % 10 == 0) append(' ', ' ', ' ', ' ', ' ');
        if (columns_ % lineWrap_ == 0) endBlock();
    }

    void append(char prediction, char predictionStructure, char mark, char experimentStructure,
                char experiment) {
        predictionLine_ += prediction;
        predictionStructureLine_ += predictionStructure;
        matchLine_ += mark;
        experimentStructureLine_ += experimentStructure;
        experimentLine_ += experiment;
    }

    // Lines of secondary structure only where there is one: in sequence-independent mode.
    void endBlock() {
        report_.report(ReportLevel::Alignment, "\n");
        report_.report(ReportLevel::Alignment, "Prediction  %s\n", predictionLine_.c_str());
        if (showStructure_) {
            report_.report(ReportLevel::Alignment, "            %s\n",
                           predictionStructureLine_.c_str());
        }
        report_.report(ReportLevel::Alignment, "            %s\n", matchLine_.c_str());
        if (showStructure_) {
            report_.report(ReportLevel::Alignment, "            %s\n",
                           experimentStructureLine_.c_str());
        }
        report_.report(ReportLevel::Alignment, "Experiment  %s\n", experimentLine_.c_str());
        for (std::string* line : {&predictionLine_, &predictionStructureLine_, &matchLine_,
                                  &experimentStructureLine_, &experimentLine_}) {
            line->clear();
        }
    }

    const CoordinateSet& experiment_;
    const CoordinateSet& prediction_;
    bool showStructure_;
    std::size_t lineWrap_;
    Report& report_;
    std::string predictionMark_;                  // per prediction record, blank when unmapped
    std::vector<std::uint8_t> experimentMapped_;  // per experiment record
    std::size_t columns_ = 0;
    std::string predictionLine_, predictionStructureLine_, matchLine_, experimentStructureLine_,
        experimentLine_;
};

}  // namespace

void printAlignment(const CoordinateSet& experiment, const CoordinateSet& prediction,
                    const ComparisonResult& result, const ComparisonParameters& parameters,
                    int lineWrap, Report& report) {
    if (!report.reports(ReportLevel::Alignment)) return;
    report.report(ReportLevel::Alignment, "Alignment   %c = mapped, %c = maxsub\n", kMapped,
                  kInSubset);
    AlignmentPrinter(experiment, prediction, result, parameters.sequenceIndependent, lineWrap,
                     report)
        .print(result.subunits);
}

}  // namespace tervolanda
