// Without residue numbers to go by, a first pairing comes from the shapes of the two backbones:
// fragments of seven unit vectors are compared, each pair after its own best rotation (Ortiz,
// Strauss & Olmea 2002), and the matrix of their scores is aligned; where that leads nowhere other
// starts are found.  Once a search has superposed that pairing, distances tell more than shapes:
// all residue pairs are scored by the TM-score's term (Zhang & Skolnick 2004) and aligned again.
#include "compare/pairing/sequence_independent.h"

#include <algorithm>

#include "base/log.h"
#include "compare/fit/tm_scale.h"
#include "compare/pairing/residue_similarity.h"

namespace tervolanda {

namespace {

// The residue in the middle of a fragment, and the residues of a fragment: one more than vectors.
constexpr std::uint32_t kMiddle = kFragmentLength / 2;
constexpr std::uint32_t kFragmentResidues = kFragmentLength + 1;

// Fragments stand for their middle residues; the first and the last of the alignment for the
// residues before and after their middle as well, which no other fragment can stand for.
void pairFragments(const Pairing& fragments, Pairing& residues) {
    residues.clear();
    if (fragments.empty()) return;
    const auto add = [&](const AlignedPair& fragment, std::uint32_t position) {
        residues.push_back({fragment.row + position, fragment.column + position});
    };
    for (std::uint32_t k = 0; k < kMiddle; ++k)
        add(fragments.front(), k);
    for (const AlignedPair& fragment : fragments)
        add(fragment, kMiddle);
    for (std::uint32_t k = kMiddle + 1; k < kFragmentResidues; ++k)
        add(fragments.back(), k);
}

// Only for the line at report level 6: it makes every row once more.
double mean(const SimilarityRows& similarity) {
    std::vector<float> row(similarity.columns());
    double sum = 0.0;
    for (std::size_t i = 0; i < similarity.rows(); ++i) {
        similarity.fillRow(i, row);
        for (const float value : row)
            sum += static_cast<double>(value);
    }
    const std::size_t cells = similarity.rows() * similarity.columns();
    return cells == 0 ? 0.0 : sum / static_cast<double>(cells);
}

void show(const SimilarityMatrix& matrix, const MappingTask& task, Report& report) {
    if (task.matrices != nullptr) task.matrices->take(matrix, report);
}

}  // namespace

void setMapping(const Pairing& pairing, const MappingTask& task, ResidueMapping& mapping) {
    mapping.reset(task.experiment.size(), task.prediction.size());
    for (const auto [i, j] : pairing) {
        mapping.predictionPartner[i] = static_cast<std::int32_t>(j);
        mapping.experimentPartner[j] = static_cast<std::int32_t>(i);
    }
    mapping.collectPairs();
}

std::vector<Pairing> StructureMapper::findStarts(const MappingTask& task, Report& report) {
    const Points ofExperiment = unitVectors(task.experiment.points);
    const Points ofPrediction = unitVectors(task.prediction.points);
    pairing_.clear();
    if (std::min(ofExperiment.size(), ofPrediction.size()) < kFragmentLength) {
        report.report(ReportLevel::Passes,
                      "Not enough unit vectors for sequence independant alignment (%u vs %u)\n",
                      static_cast<unsigned>(ofPrediction.size()),
                      static_cast<unsigned>(ofExperiment.size()));
        return {pairing_};
    }
    const FragmentScores similarity(ofExperiment, ofPrediction, scratch_.pairingKernels);
    show({similarity, SimilarityMatrix::Cells::FragmentScores, task.iteration, 0}, task, report);
    scratch_.stop = task.stop;
    scratch_.aligner.align(similarity, task.penalties, fragments_, task.stop);
    pairFragments(fragments_, pairing_);
    if (!task.thorough) return {pairing_};
    return StartingPairings(task.experiment, task.prediction, task.penalties, scratch_)
        .find(pairing_);
}

void StructureMapper::mapByDistance(const MappingTask& task, const Superposition& superposition,
                                    std::uint32_t pass, ResidueMapping& mapping, Report& report) {
    const auto length =
        static_cast<double>(std::min(task.experiment.size(), task.prediction.size()));
    const double scale = distanceScale(length, task.thresholdScale);
    const double reach = similarityReach(length);
    report.report(ReportLevel::Mapping,
                  "Opt  %u: Generating similarity matrix using d0 = %.2f : dmax = %.2f\n", pass,
                  scale, reach);
    const DistanceScores similarity(task.experiment, task.prediction, superposition,
                                    scratch_.pairingKernels, {scale, reach});
    if (report.reports(ReportLevel::Mapping)) {
        report.report(ReportLevel::Mapping, "Opt  %u: Average similarity score = %.3f\n", pass,
                      mean(similarity));
    }
    show({similarity, SimilarityMatrix::Cells::Similarities, task.iteration, pass}, task, report);
    scratch_.aligner.align(similarity, task.penalties, pairing_, task.stop);
    setMapping(pairing_, task, mapping);
    report.report(ReportLevel::Mapping, "Opt  %u: Mapped %u residues\n", pass,
                  static_cast<unsigned>(mapping.size()));
}

}  // namespace tervolanda
