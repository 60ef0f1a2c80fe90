// What is clustered, and the tree, in the files of NumPy: a header of text, then the numbers as
// they lie in memory of a machine with the low byte first (NumPy enhancement proposal 1,
// version 1.0).
//
// The matrix is square and symmetric only where the scores are: what is shown is what was
// clustered, before anybody chose a triangle of it.
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

// `type` is "f4" or "f8".  The numbers begin at a multiple of 64 bytes.
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

template <typename Bits>
// The low byte first, whatever the machine.
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

// The matrix, and beside it the names of its rows.
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
    // The names first: a matrix that is there has them.
    bool commit() override { return names_.commit() && ExportFile::commit(); }

 private:
    OutputFile names_;
};

// A row for each join: both clusters, its distance, and its models.  Models are clusters 0 to N -
// 1, join k is cluster N + k, as in SciPy.
// A whole tree or, without models to join, a table without rows.
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
            for (const double value :
                 {static_cast<double>(node.first), static_cast<double>(node.second), height,
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
