// What leaves the program and is not read back by it: a file of this room for each form.  Nothing
// here computes: everything shown is in the values handed over.
//
// Two kinds of output meet here.  The tables of a log (printClustering(), printJuryTable()) belong
// to every run of their kind and go to the Log that is handed in.  The files of the options of two
// dashes are ExportFiles: the driver's RunExports owns those that a run was asked for and shows
// them inputs, pairs and results as these become known, so that a form is one class that knows no
// run mode.
//
// Every form writes plain bytes in an order that follows from the inputs alone: no unordered
// container is iterated, no locale and no clock is asked. docs/formats.md describes each of them
// for those who read them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/file.h"
#include "chain/chain.h"
#include "cluster/cluster.h"
#include "compare/pairing/similarity.h"
#include "export/results.h"

namespace tervolanda {

class Log;
class PairTexts;

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
// Lines for the thresholds tried by one search.  A tiny step to a huge maximum tries millions;
// nobody reads more than this, and the search leaps over the others
// (ClusterSettings::triedOneByOne).
inline constexpr std::size_t kMostPrintedThresholds = 10000;

// The thresholds of a ranking as they were asked for: the heading prints a negative count as such,
// although the ranking takes it for 0.
struct JuryThresholds {
    double score = 0.0;  // of the similarity, on the scale of the matrix that is ranked
    int pairs = 0;       // residue pairs
};
// The 3D-Jury table.  `chains` holds the models by position.
void printJuryTable(std::span<const JuryScore> ranking, const JuryThresholds& thresholds,
                    const ChainList& chains, Log& log);

// Each similarity matrix as "align.matrix.<iteration>.<pass>" in the working folder, where every
// comparison writes over the files of those before.  After a file that cannot be written there are
// no others: one that cannot be opened is a line at report level 5, one that cannot be written to
// its end an ERROR.
//
// A sink for one run by one thread: "no others" is a state, and the names are the same for every
// pair.  A batch with a sink is therefore not shared among threads (batch_lines.cpp).
class SimilarityMatrixFiles final : public SimilaritySink {
 public:
    explicit SimilarityMatrixFiles(Log& log) : log_(log) {}
    void take(const SimilarityMatrix& matrix, Report& report) override;

 private:
    Log& log_;
    bool hasFailed_ = false;
};

// --- Files that a run is asked for ---------------------------------------------------------------

// Every file that carries a transformation says what it does, in these words: R and the centres c1
// and c2 are those of a Superposition, in Å.
inline constexpr std::string_view kMotionSentence =
    "moves the prediction onto the experiment: p' = R (p - c2) + c1";

// What a file shows of pairs, and so what is filled in of them; each has all of those before it.
// Matched residues are apart from distances because a list has millions of either, and a distance
// costs a square root.
enum class PairDetail : std::uint8_t { None, Figures, Matched, Residues };

// One file of one form.
//
// RunExports makes it when the inputs of a run are known, and calls from one thread start(), take()
// for each pair in the order of the run, finish() and commit().  A run that ends before that, by an
// Abend or for lack of memory, destroys it without commit(): then there is no file, and an older
// one stays as it was.
//
// A form overrides what it has to say.  It appends to text(), and calls pace() where a run may have
// any number of what it has just appended; what was appended is written in order, some of it by
// pace(), the rest by commit().  Errors of writing need no attention on the way: the file remembers
// the first, and commit() tells.
class ExportFile {
 public:
    explicit ExportFile(std::string path);
    ExportFile(const ExportFile&) = delete;
    ExportFile& operator=(const ExportFile&) = delete;
    virtual ~ExportFile() = default;

    // What it wants to see of pairs; the run fills in as much as the file that wants most, and
    // calls take() of those that want any: no file may depend on what others are asked for.  The
    // same from start() on.
    virtual PairDetail pairDetail() const { return PairDetail::None; }
    // InputStructure::crc32, for which every input is read once more.
    virtual bool showsChecksums() const { return false; }
    // RunResults::scores, for which an N x N matrix is copied before clustering overwrites it.
    // Asked after the last pair.
    virtual bool showsScores() const { return false; }
    virtual bool showsSet() const { return false; }  // the figures of a run over all models
    // Lent until the file is gone: at each take() they are those of the pair.
    virtual void share(PairTexts& /*texts*/) {}
    // The inputs are lent until the file is gone.
    virtual void start(const RunInputs& inputs) = 0;
    virtual void take(const PairResult& /*pair*/) {}
    virtual void finish(const RunResults& /*results*/) {}

    const std::string& path() const { return path_; }
    virtual bool isOpen() const { return file_ && file_->isOpen(); }
    // Gives the file its name; true when every byte arrived.
    virtual bool commit();

 protected:
    // For a form that is a folder, whose files are opened one by one (superposed_models.cpp): it
    // has no text() to write, and an isOpen() and commit() of its own.
    struct NoFile {};
    static constexpr NoFile kNoFile{};
    ExportFile(std::string path, NoFile) : path_(std::move(path)) {}
    // The path that messages name.
    void setPath(const std::string& path) { path_ = path; }

    // What is to be written next is appended here.
    std::string& text() { return text_; }
    // Hands the text on when there is enough of it.
    void pace() {
        if (text_.size() >= kBlock) writeBlocks();
    }

 private:
    // Bytes that are gathered before they are written, and this many or a multiple at a time: what
    // begins and ends within a page costs the system half as much again.  Rows are small; so much
    // makes a call worth its while, and stays in the cache of the processor.
    static constexpr std::size_t kBlock = std::size_t{1} << 16;
    void writeBlocks();

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
