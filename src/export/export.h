// What leaves the program and is not read back by it: a file of this room for each form.  Nothing
// here computes: everything shown is in the values handed over.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/file.h"
#include "chain/chain.h"
#include "cluster/cluster.h"
#include "compare/pairing/similarity.h"
#include "export/results.h"

namespace tervolanda {

class Log;

// Which model stands at which position of a matrix; lent.
struct ModelLabels {
    std::span<const std::uint32_t> ids;  // one a position
    // Chains whose file names are shown, found by their numbers; an ID without a chain has an empty
    // name.  Without a list lines have their short forms, without names.
    const ChainList* chains = nullptr;
};

// The heading of the method; by linkage the tree, the clusters and their medoids; by neighbours the
// centroids and the clusters.  At log level 3 the thresholds tried, too.
void printClustering(const Clustering& clustering, const ModelLabels& models, Log& log);
// Nobody reads more of the thresholds.
inline constexpr std::size_t kMostPrintedThresholds = 10000;

// The 3D-Jury table.  The thresholds are those of the ranking, as they were asked for; `chains`
// holds the models by position.
// As a user gave them: a negative count is printed as such.
struct JuryThresholds {
    double score = 0.0;
    int pairs = 0;
};
void printJuryTable(std::span<const JuryScore> ranking, const JuryThresholds& thresholds,
                    const ChainList& chains, Log& log);

// Each similarity matrix as "align.matrix.<iteration>.<pass>" in the working folder, where every
// comparison writes over the files of those before.  After a file that cannot be written there are
// no others: one that cannot be opened is a line at report level 5, one that cannot be written to
// its end an ERROR.
// A sink for one run by one thread; a batch with it is not shared among threads (batch_lines.cpp).
class SimilarityMatrixFiles final : public SimilaritySink {
 public:
    explicit SimilarityMatrixFiles(Log& log) : log_(log) {}
    void take(const SimilarityMatrix& matrix, Report& report) override;

 private:
    Log& log_;
    bool hasFailed_ = false;
};

// --- Files that a run is asked for ---------------------------------------------------------------

// What a file shows of pairs, and so what is filled in of them.
enum class PairDetail : std::uint8_t { None, Figures, Residues };

// One file of one form.  start(), take() for each pair, finish(), commit(); what happens to no
// commit() leaves no file, and an older one as it was.
// Invariant: what was appended to text() is written in order, some of it by pace(), the rest by
// commit().
class ExportFile {
 public:
    explicit ExportFile(std::string path) : path_(std::move(path)), file_(path_) {}
    ExportFile(const ExportFile&) = delete;
    ExportFile& operator=(const ExportFile&) = delete;
    virtual ~ExportFile() = default;

    // What it wants to see of pairs; the run fills in as much as the file that wants most.
    virtual PairDetail pairDetail() const { return PairDetail::None; }
    virtual bool showsChecksums() const { return false; }  // of the inputs
    // Whether it is written for a run that failed, too.
    virtual bool showsFailure() const { return false; }
    virtual bool showsScores() const { return false; }
    // The inputs are lent until the file is gone.
    virtual void start(const RunInputs& inputs) = 0;
    virtual void take(const PairResult& /*pair*/) {}
    virtual void finish(const RunResults& /*results*/) {}

    const std::string& path() const { return path_; }
    virtual bool isOpen() const { return file_ && file_->isOpen(); }
    // Gives the file its name; true when every byte arrived.
    virtual bool commit();

 protected:
    // For a folder, whose files are somebody else's.
    struct NoFile {};
    static constexpr NoFile kNoFile{};
    ExportFile(std::string path, NoFile) : path_(std::move(path)) {}
    // The path that messages name.
    void setPath(const std::string& path) { path_ = path; }

    // What is to be written next is appended here.
    std::string& text() { return text_; }
    // Hands the text on when there is enough of it.
    void pace() {
        if (text_.size() >= kBlock) flush();
    }

 private:
    static constexpr std::size_t kBlock = std::size_t{1} << 16;
    void flush();

    std::string path_;
    std::optional<OutputFile> file_;
    std::string text_;
};

// --tsv: a row a pair.
std::unique_ptr<ExportFile> makePairTable(std::string path);
// --superposed: a folder of the models as they lie on the experiment.
std::unique_ptr<ExportFile> makeSuperposedModels(std::string path);
// --pymol, --chimerax, --molstar, --rasmol: the superposition for a viewer.
std::unique_ptr<ExportFile> makePymolScript(std::string path);
std::unique_ptr<ExportFile> makeChimeraxScript(std::string path);
std::unique_ptr<ExportFile> makeMolstarArchive(std::string path);
std::unique_ptr<ExportFile> makeRasmolScene(std::string path);
// --report: a page to look at.
std::unique_ptr<ExportFile> makeReportPage(std::string path);

// --ranking: a row a model, best first.
std::unique_ptr<ExportFile> makeRankingTable(std::string path);
// --residues: a row a residue pair of the mapping.
std::unique_ptr<ExportFile> makeResidueTable(std::string path);
// --npy: the matrix that is clustered, as distances, and beside it the names of its rows.
std::unique_ptr<ExportFile> makeMatrixFile(std::string path);
std::string namesOf(const std::string& matrixPath);
// --linkage: the tree as SciPy has it.
std::unique_ptr<ExportFile> makeLinkageFile(std::string path);
// --newick: the tree with heights.
std::unique_ptr<ExportFile> makeNewickTree(std::string path);

// --json: the whole run as one object.  --jsonl: an object a pair, each on a line.
std::unique_ptr<ExportFile> makeJsonDocument(std::string path);
std::unique_ptr<ExportFile> makeJsonLines(std::string path);

// The words of PairStatus, as all forms show them: "ok", "no_pairs", "no_fit", "not_significant".
std::string_view statusWord(PairStatus status);

}  // namespace tervolanda
