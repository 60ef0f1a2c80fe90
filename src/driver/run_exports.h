// How the run modes fill the files that a run is asked for beside its usual output.  Where none is
// asked for nothing is done and nothing kept; but strict runs count the pairs without a fit.
//
// Order of calls: one of the start functions when the inputs are known, viewer() for the batch,
// whose pairs then come one by one, and finish() or giveUp() at the end.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "chain/input/input.h"
#include "cluster/batch/batch.h"
#include "compare/pairing/pairing_keys.h"
#include "driver/settings.h"
#include "export/export.h"
#include "export/pair_texts.h"
#include "export/values.h"

namespace tervolanda {

class Log;

// Ends the run by an Abend where a file that is asked for has no meaning in it.
void checkExports(const Settings& settings);

// The files of a run, from the first input to the last byte: the only owner of ExportFiles.
class RunExports final : public PairViewer {
 public:
    // The settings and the log are lent.
    RunExports(const Settings& settings, Log& log) : settings_(settings), log_(log) {}

    bool isWanted() const { return !settings_.output.exports.empty(); }
    // Where files of a list that are no models are noted; null where nobody wants to know.
    std::vector<UnreadModel>* unread() { return isWanted() ? &unread_ : nullptr; }

    // Opens the files, once the structures are known.  A file that cannot be opened is an ERROR
    // line, and the run ends with status 1.
    void startPair(const Chain& experiment, const Chain& prediction);
    void startList(const Chain& experiment, const ChainList& models);
    void startAll(const ChainList& models);
    // For the matrix of an earlier run: the model of each row, by ID alone without `chains`.
    void startMatrix(const std::vector<std::uint32_t>& ids, const ChainList* chains,
                     const PairMatrix* pairs);

    // Whether a file shows what only a comparison tells of a pair.
    bool showsPairs() const { return form_.detail != PairDetail::None; }
    // Null where nobody wants to see pairs.
    PairViewer* viewer() { return showsPairs() || settings_.strict ? this : nullptr; }
    // For pairs that nobody can see: those of parts.
    void count(bool hasFit) { pairsWithoutFit_ += hasFit ? 0U : 1U; }
    std::size_t pairsWithoutFit() const { return pairsWithoutFit_; }  // of those seen
    void seeMaxSub(const ComparedPair& pair, const ComparisonResult& result) override;
    void seeGdt(const ComparedPair& pair, const GdtResult& found,
                const ComparisonResult& search) override;
    void seeRmsd(const ComparedPair& pair, const ListedRmsd& found,
                 std::span<const MatchedPair> matched) override;

    // For a run that ends without results: files that show a failure show this one.
    void fail(const std::string& message);
    // The same for one that may end with status 0, after it has said why: an ERROR line for every
    // other file.
    void giveUp();
    // Copies the scores of all models with each other, before they become distances, where a file
    // shows them.
    void keepScores(const DistanceMatrix& scores, MatrixValues values);
    // Completes the files.
    void finish(RunResults results);

 private:
    void setInputs();
    void start();
    // Those of the forms that have all of these traits.
    void makeFiles(unsigned traits);
    void setChecksums();
    void addInput(const Chain& chain);
    void addModel(const Chain& model);
    void take(const ComparedPair& pair);
    // Hands the pairs of medoids to the files that show models laid over them.
    void superposeClusters(const RunResults& results);

    // Invariant: `files_` has those that could be opened, between start() and finish(); a run that
    // ends in between (by an Abend, or for lack of memory) destroys them without commit(), which
    // leaves no file.
    const Settings& settings_;
    Log& log_;
    bool isStarted_ = false;
    std::vector<UnreadModel> unread_;
    RunInputs inputs_;
    struct OpenFile {
        const ExportForm* form;
        std::unique_ptr<ExportFile> file;
    };
    // Whether the file is given the pairs of the time: those that the run compares or, at its end,
    // those of medoids.
    bool isGivenPairs(const OpenFile& open) const;
    void setDetail();

    std::vector<OpenFile> files_;
    bool isSuperposing_ = false;
    PairForm form_{.parameters = settings_.comparison, .detail = PairDetail::None};
    // Used again for every pair, so that a batch does not allocate.
    PairResult pair_;
    PairTexts texts_;
    PairingKeys pairing_;
    std::size_t pairsWithoutFit_ = 0;
    std::optional<DistanceMatrix> scores_;
    std::optional<SetFigures> set_;
};

}  // namespace tervolanda
