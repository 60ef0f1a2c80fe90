// Without residue numbers to go by, a first pairing comes from the shapes of the two backbones:
// fragments of seven unit vectors are compared, each pair after its own best rotation (Ortiz,
// Strauss & Olmea 2002), and the matrix of their scores is aligned; where that leads nowhere other
// starts are found.  Once a search has superposed that pairing, distances tell more than shapes:
// all residue pairs are scored by the TM-score's term (Zhang & Skolnick 2004) and aligned again.
#include "compare/pairing/sequence_independent.h"

#include <algorithm>
#include <string>

#include "base/file.h"
#include "base/format.h"
#include "base/log.h"
#include "compare/fit/tm_scale.h"
#include "compare/pairing/residue_similarity.h"

namespace tervolanda {

namespace {

// The residue in the middle of a fragment, and the residues of a fragment: one more than vectors.
constexpr std::uint32_t kMiddle = kFragmentLength / 2;
constexpr std::uint32_t kFragmentResidues = kFragmentLength + 1;

// Fragments stand for their middle residues; the first and the last of the alignment for the
// residues before and behind their middle as well, which no other fragment can stand for.
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

void writeMatrix(const SimilarityRows& similarity, const std::string& fileName, bool fragments,
                 OutputFile& file) {
    file.print("# View similarity matrix with following command\n");
    file.print(
        "# matrix2png -data %s -b -bkgcolor white -mincolor green -maxcolor red -missingcolor grey "
        "-size 10:10 -range 0:%d > out.png\n",
        fileName.c_str(), fragments ? 10 : 1);
    file.write("*");
    for (std::size_t j = 1; j <= similarity.columns(); ++j)
        file.print("\t%zu", j);
    file.write("\n");
    std::vector<float> row(similarity.columns());
    for (std::size_t i = 0; i < similarity.rows(); ++i) {
        similarity.fillRow(i, row);
        file.print("%zu", i + 1);
        for (const float value : row) {
            if (fragments) {
                file.print("\t%.1f", static_cast<double>(value));
            } else {
                file.print("\t%g", static_cast<double>(value));
            }
        }
        file.write("\n");
    }
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

std::vector<Pairing> StructureMapper::findStarts(const MappingTask& task, const Kernels& kernels,
                                                 Report& report) {
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
    const FragmentScores similarity(ofExperiment, ofPrediction);
    dump(task, 0, Cells::FragmentScores, similarity, report);
    scratch_.aligner.align(similarity, task.penalties, fragments_);
    pairFragments(fragments_, pairing_);
    if (!task.thorough) return {pairing_};
    return StartingPairings(task.experiment, task.prediction, task.penalties, kernels, scratch_)
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
    const DistanceScores similarity(task.experiment, task.prediction, superposition, scale, reach);
    if (report.reports(ReportLevel::Mapping)) {
        report.report(ReportLevel::Mapping, "Opt  %u: Average similarity score = %.3f\n", pass,
                      mean(similarity));
    }
    dump(task, pass, Cells::Similarities, similarity, report);
    scratch_.aligner.align(similarity, task.penalties, pairing_);
    setMapping(pairing_, task, mapping);
    report.report(ReportLevel::Mapping, "Opt  %u: Mapped %u residues\n", pass,
                  static_cast<unsigned>(mapping.size()));
}

void StructureMapper::dump(const MappingTask& task, std::uint32_t pass, Cells cells,
                           const SimilarityRows& similarity, Report& report) {
    if (!task.similarityMatrix || dumpFailed_) return;
    const std::string fileName = format("align.matrix.%u.%u", task.iteration, pass);
    OutputFile file(fileName);
    if (!file.isOpen()) {
        dumpFailed_ = true;
        report.report(ReportLevel::Passes, "Failed to open alignment similarity matrix '%s'\n",
                      fileName.c_str());
        return;
    }
    writeMatrix(similarity, fileName, cells == Cells::FragmentScores, file);
    if (file.commit()) return;
    dumpFailed_ = true;
    report.incompleteFile(fileName);
}

}  // namespace tervolanda
