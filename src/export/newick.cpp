// The tree in the format that programs of phylogeny read (--newick; Newick, Felsenstein 1986).
//
// A branch is as long as the heights of its ends differ, and a node is as high as half the distance
// at which its children join: so the way from one model to another through the tree is as long as
// the distance at which they join.  Distances of the joins ascend, and so no branch is negative.
//
// Quoted names are read rightly by some programs only, so a name is quoted where it needs it and
// not otherwise.
//
// What both forms of a tree and the page have in common, treeNodes() and clusterMembers(), stands
// at the end.
#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "export/export.h"
#include "export/export_text.h"
#include "export/tree_nodes.h"

namespace tervolanda {

namespace {

// Characters that a name may have without quotes.  Brackets, colons, commas and semicolons are the
// format's own, blanks end a name, and "_" stands for a blank to some readers, who then show one;
// it is common in file names and not worth quotes.
bool isPlain(char c) {
    constexpr std::string_view kMarks = "_./+|-";
    const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    const bool isBeyondAscii = static_cast<unsigned char>(c) >= 0x80;
    return isLetter || isBeyondAscii || (c >= '0' && c <= '9') ||
           kMarks.find(c) != std::string_view::npos;
}

// Control bytes become "?", what is no UTF-8 the replacement character: the format knows no escapes
// but a doubled quote.  An empty name is quoted, or it would be none.
void appendName(std::string& text, std::string_view name) {
    std::string shown;
    appendUtf8(shown, name);
    for (char& c : shown) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    }
    if (!shown.empty() && std::all_of(shown.begin(), shown.end(), isPlain)) {
        text += shown;
        return;
    }
    text += '\'';
    for (const char c : shown)
        text.append(c == '\'' ? 2 : 1, c);
    text += '\'';
}

// One tree of all models, as binary as the clustering made it.  A single model is its name alone,
// and no models make an empty file.
//
// Nodes are those of TreeNode: models 0 to N - 1, then the joins, the root last.
class NewickTree final : public ExportFile {
 public:
    using ExportFile::ExportFile;

    void start(const RunInputs& inputs) override {
        for (std::size_t i = inputs.firstModel(); i < inputs.structures.size(); ++i)
            appendName(names_.emplace_back(), modelName(inputs.structures[i]));
    }
    void finish(const RunResults& results) override {
        nodes_ = treeNodes(results);
        if (names_.empty()) return;
        writeTree(names_.size() + nodes_.size() - 1);
        text() += ";\n";
    }

 private:
    // A node on the way down: how many of its children are written.
    struct Open {
        std::size_t node = 0;
        int written = 0;
    };

    // Without recursion: a tree may be as deep as it has models.  `open` is the way from the root
    // to the node at work; a node is visited before its first child, between its children and after
    // the second.
    void writeTree(std::size_t root) {
        std::vector<Open> open{{root}};
        while (!open.empty()) {
            Open& at = open.back();
            if (at.node < names_.size()) {
                text() += names_[at.node];
            } else if (at.written < 2) {
                const TreeNode& node = nodes_[at.node - names_.size()];
                text() += at.written == 0 ? '(' : ',';
                const std::size_t child = at.written++ == 0 ? node.first : node.second;
                open.push_back({child});
                continue;
            } else {
                text() += ')';
            }
            const std::size_t child = at.node;
            open.pop_back();
            if (!open.empty()) appendLength(open.back().node, child);
            pace();
        }
    }

    // Where no distance is known there is no length, which the format allows.
    void appendLength(std::size_t parent, std::size_t child) {
        const std::optional<double> upper = heightOf(parent);
        const std::optional<double> lower = heightOf(child);
        if (!upper || !lower) return;
        text() += ':';
        appendNumber(text(), *upper - *lower);
    }

    std::optional<double> heightOf(std::size_t node) const {
        if (node < names_.size()) return 0.0;
        const std::optional<double>& distance = nodes_[node - names_.size()].height;
        return distance ? std::optional(0.5 * *distance) : std::nullopt;
    }

    std::vector<std::string> names_;  // of the models, as they are written
    std::vector<TreeNode> nodes_;
};

}  // namespace

// Joins are sorted, so a node's children stand before it and their sizes are known.
std::vector<TreeNode> treeNodes(const RunResults& results) {
    if (!results.clustering) return {};
    const std::vector<Join>& tree = results.clustering->tree;
    const std::size_t models = tree.size() + 1;
    std::vector<TreeNode> nodes;
    nodes.reserve(tree.size());
    const auto nodeOf = [models](std::int64_t child) {
        return child >= 0 ? static_cast<std::size_t>(child)
                          : models + static_cast<std::size_t>(-child) - 1;
    };
    const auto sizeOf = [&nodes, models](std::size_t node) {
        return node < models ? 1 : nodes[node - models].size;
    };
    for (const Join& join : tree) {
        TreeNode node{nodeOf(join.first), nodeOf(join.second), std::nullopt, 0};
        if (std::isfinite(join.distance)) node.height = join.distance;
        node.size = sizeOf(node.first) + sizeOf(node.second);
        nodes.push_back(node);
    }
    return nodes;
}

std::vector<std::vector<std::size_t>> clusterMembers(const Clustering& clustering) {
    const std::vector<std::uint32_t>& cluster = clustering.clusters.cluster;
    // By neighbours 0 is the number of models without a cluster.
    const std::uint32_t first = clustersByLinkage(clustering.settings.method) ? 0 : 1;
    std::vector<std::vector<std::size_t>> members(clustering.centroids.size());
    for (std::size_t model = 0; model < cluster.size(); ++model) {
        if (cluster[model] >= first) members[cluster[model] - first].push_back(model);
    }
    return members;
}

std::string modelName(const InputStructure& input) {
    if (!input.file.empty() || !input.id) return input.file;
    return std::to_string(*input.id);
}

std::unique_ptr<ExportFile> makeNewickTree(std::string path) {
    return std::make_unique<NewickTree>(std::move(path));
}

}  // namespace tervolanda
