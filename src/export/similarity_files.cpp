// The similarity matrices of -matrix, for a program that draws them: a text file each.
//
// A matrix is of the residues of the experiment (rows) and of the prediction (columns) before an
// alignment by structure, one a pass of the search; its first lines hold the command that draws it.
// Labels of rows and columns count residues from 1.
#include "base/file.h"
#include "base/format.h"
#include "base/log.h"
#include "export/export.h"

namespace tervolanda {

namespace {

void writeMatrix(const SimilarityMatrix& matrix, const std::string& fileName, OutputFile& file) {
    // Scores of fragments run to 10, all others to 1.
    const bool fragments = matrix.kind == SimilarityMatrix::Cells::FragmentScores;
    const SimilarityRows& similarity = matrix.cells;
    file.print("# View similarity matrix with following command\n");
    file.print(
        "# matrix2png -data %s -b -bkgcolor white -mincolor green -maxcolor red -missingcolor grey "
        "-size 10:10 -range 0:%d > out.png\n",
        fileName.c_str(), fragments ? 10 : 1);
    file.write("*");
    for (std::size_t j = 1; j <= similarity.columns(); ++j)
        file.print("\t%zu", j);
    file.write("\n");
    // Row by row: the cells of a large pair are computed when they are asked for and never all at
    // once.
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

void SimilarityMatrixFiles::take(const SimilarityMatrix& matrix, Report& report) {
    if (hasFailed_) return;
    const std::string fileName = format("align.matrix.%u.%u", matrix.iteration, matrix.pass);
    OutputFile file(fileName);
    if (!file.isOpen()) {
        hasFailed_ = true;
        report.report(ReportLevel::Passes, "Failed to open alignment similarity matrix '%s'\n",
                      fileName.c_str());
        return;
    }
    writeMatrix(matrix, fileName, file);
    if (file.commit()) return;
    hasFailed_ = true;
    log_.incompleteFile(fileName);
}

}  // namespace tervolanda
