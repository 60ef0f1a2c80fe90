// What is clustered (--npy), and the tree (--linkage), in the files of NumPy: a header of text,
// then the numbers as they lie in memory of a machine with the low byte first (NumPy enhancement
// proposal 1, version 1.0).
//
// The matrix is symmetric only where the scores are: what is shown is what was clustered, before a
// method took one triangle of it.  It is single precision, as it is in memory, so that numpy.load()
// sees the very numbers that thresholds were compared with.  Its rows have no names in NumPy's
// format; these stand in a file of their own beside it, a line a row.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "base/format.h"
#include "export/export.h"
#include "export/export_text.h"
#include "export/tree_nodes.h"

namespace tervolanda {

namespace {

// `type` is "f4" or "f8".  The numbers begin at a multiple of 64 bytes, as the format asks for, so
// that the file can be mapped into memory; blanks fill the header up to there.
void appendHeader(std::string& text, const char* type, std::size_t rows, std::size_t columns) {
    // Six bytes of magic, two of version, two of the header's length.
    constexpr std::size_t kPreamble = 10;
    constexpr std::size_t kAlignment = 64;
    std::string header = format("{'descr': '<%s', 'fortran_order': False, 'shape': (%zu, %zu), }",
                                type, rows, columns);
    while ((kPreamble + header.size() + 1) % kAlignment != 0)
        header += ' ';
    header += '\n';
    text += "\x93NUMPY";
    text += '\1';
    text += '\0';
    text += static_cast<char>(header.size() & 0xFFU);
    text += static_cast<char>(header.size() >> 8U);
    text += header;
}

// The low byte first, whatever the machine.
template <typename Bits>
void appendBytes(std::string& text, Bits bits) {
    for (std::size_t i = 0; i < sizeof(Bits); ++i)
        text += static_cast<char>(bits >> (8 * i) & 0xFFU);
}

// Of similarities 1 - similarity, computed as the clustering does, to the same bits.  A model has
// no distance to itself, whatever the matrix holds there; what is no distance at all is -1, as for
// a fit that failed.
float distanceAt(const RunResults& results, std::size_t i, std::size_t j) {
    if (i == j) return 0.0F;
    const float entry = results.matrix->at(i, j);
    if (!std::isfinite(entry)) return -1.0F;
    if (results.matrixValues == MatrixValues::Distances) return entry == 0.0F ? 0.0F : entry;
    return static_cast<float>(1.0 - static_cast<double>(entry));
}

// The matrix, and beside it the names of its rows.  Both files are open from the beginning, so that
// a run that cannot write one of them says so before it computes.
class MatrixFile final : public ExportFile {
 public:
    explicit MatrixFile(std::string path)
        : ExportFile(std::move(path)), names_(namesOf(this->path())) {}

    bool isOpen() const override { return ExportFile::isOpen() && names_.isOpen(); }
    void start(const RunInputs& inputs) override {
        std::string names;
        for (std::size_t i = inputs.firstModel(); i < inputs.structures.size(); ++i) {
            appendField(names, modelName(inputs.structures[i]));
            names += '\n';
        }
        names_.write(names);
    }
    void finish(const RunResults& results) override {
        const std::size_t n = results.matrix->rows();
        appendHeader(text(), "f4", n, n);
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t j = 0; j < n; ++j)
                appendBytes(text(), std::bit_cast<std::uint32_t>(distanceAt(results, i, j)));
            pace();
        }
    }
    // The names first: a matrix that is there has its names, whatever comes in between.
    bool commit() override { return names_.commit() && ExportFile::commit(); }

 private:
    OutputFile names_;
};

// The N - 1 x 4 table that scipy.cluster.hierarchy makes and takes: a row for each join, with both
// clusters, the smaller number first, its distance, and its models.  Models are clusters 0 to
// N - 1, join k is cluster N + k.  SciPy asks for distances that ascend and are finite, which those
// of a tree are but for "none".
class LinkageFile final : public ExportFile {
 public:
    using ExportFile::ExportFile;

    void start(const RunInputs& /*inputs*/) override {}
    void finish(const RunResults& results) override {
        const std::vector<TreeNode> nodes = treeNodes(results);
        appendHeader(text(), "f8", nodes.size(), 4);
        for (const TreeNode& node : nodes) {
            // A larger distance than any stands for none.
            const double height = node.height.value_or(std::numeric_limits<double>::max());
            const auto [less, more] = std::minmax(node.first, node.second);
            for (const double value : {static_cast<double>(less), static_cast<double>(more), height,
                                       static_cast<double>(node.size)}) {
                appendBytes(text(), std::bit_cast<std::uint64_t>(value));
            }
            pace();
        }
    }
};

}  // namespace

std::string namesOf(const std::string& matrixPath) {
    return matrixPath + ".names";
}

std::unique_ptr<ExportFile> makeMatrixFile(std::string path) {
    return std::make_unique<MatrixFile>(std::move(path));
}

std::unique_ptr<ExportFile> makeLinkageFile(std::string path) {
    return std::make_unique<LinkageFile>(std::move(path));
}

}  // namespace tervolanda
