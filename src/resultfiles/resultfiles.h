// Files that hold the results of a run: the distance file and the MaxSub file, which a later run
// reads back instead of comparing structures, and the RasMol scripts that show a superposition.
//
// Their forms are given to the byte, and other programs write and read them too; docs/formats.md
// describes them.  What nothing reads back, and what options of two dashes ask for, is in the room
// `export`.  A file is written beside its name and renamed when it is complete (base/file.h), so
// that a reader never sees half of one.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "chain/chain.h"
#include "cluster/batch/batch.h"
#include "cluster/cluster.h"
#include "compare/compare.h"

namespace tervolanda {

class Log;
class Report;

// How the writing of a result file ended; all but Written after an ERROR line.  A file that could
// not be created does not concern the rest of the run.  One that could not be written in full
// (which leaves an older file as it was) must make the run end with status 1.
enum class FileOutcome : std::uint8_t { Written, NotCreated, Incomplete };

// Why a file cannot be read, is not of its format, or cannot be written from what was found: the
// text of a message.  Nothing is logged yet; the run is to end with it.
struct FormatError {
    std::string message;
};

// --- Distance file -------------------------------------------------------------------------------

// Writes the values below the diagonal of the N x N `matrix`.  `chains` and `ids` name its rows.
FileOutcome writeDistanceFile(const std::string& path, const ChainList& chains,
                              const DistanceMatrix& matrix, std::span<const std::uint32_t> ids,
                              Log& log);

// What a distance file says, of any number of models.  Its matrix is as large as the size record
// says, which is compared with the memory of the machine before any is taken.
struct DistanceFile {
    DistanceMatrix matrix;           // N x N, symmetric; 0 on the diagonal, which files do not give
    std::vector<std::uint32_t> ids;  // one per row, by first appearance in the file
    // What chain records call IDs, where no list of chains is given; those that cannot be read are
    // passed by, as all other text is then.
    std::map<std::uint32_t, std::string> names;
};

// Reads a distance file.  When `chains` is given the chain records are read, too: each adds a chain
// that has only its number and file name.  None, after ERROR lines, when IDs or distances are
// missing: the run then ends, with status 0.
std::variant<std::optional<DistanceFile>, FormatError> readDistanceFile(const std::string& path,
                                                                        ChainList* chains,
                                                                        Log& log);

// --- MaxSub file ---------------------------------------------------------------------------------

// What both forms of the file are written of, lent: scores and pairs are N x N, as a MaxSub batch
// returns them, and there is an ID for each row.
struct MaxSubTable {
    const ChainList& chains;
    const DistanceMatrix& scores;
    const PairMatrix& pairs;
    std::span<const std::uint32_t> ids;
};

// Writes the lite file: a score record for every model and every pair of models.  Scores above 1 (a
// score that was renormalised to a much shorter model) are written as 1: no reader takes more.
FileOutcome writeLiteMaxSubFile(const std::string& path, const MaxSubTable& table, Log& log);

// Keeps what the full file says about pairs and no matrix holds, superpositions and residue pairs,
// in a nameless file on disk while a batch runs.  In memory a pair takes 16 bytes.
class TransformationSpool final : public PairRecorder {
 public:
    // The disk space is taken where the result file `path` will be.  The C-alpha sets of the models
    // are lent.
    TransformationSpool(const std::string& path, std::span<const CoordinateSet> models);
    TransformationSpool(const TransformationSpool&) = delete;
    TransformationSpool& operator=(const TransformationSpool&) = delete;
    ~TransformationSpool();

    // REQUIRES: pair.experiment > pair.prediction.  Pairs may come in any order.
    void record(BatchPair pair, const ComparisonResult& result) override;

    class Storage;  // transformation_spool.h
    Storage& storage() const { return *storage_; }

 private:
    std::unique_ptr<Storage> storage_;
};

// Writes the full file: a transformation and a position record for every pair of models.  A pair
// that the spool has not seen, or with another number of residue pairs than the table says, is an
// error, and no file is written.
std::variant<FileOutcome, FormatError> writeFullMaxSubFile(
    const std::string& path, const MaxSubTable& table, const TransformationSpool& transformations,
    Log& log);

// What a file holds that was read.
struct MaxSubFile {
    ChainList chains;                // N chains in row order that have only number and file name
    DistanceMatrix scores;           // N x N, 0..1, as in MaxSubBatch; 1 on the diagonal
    PairMatrix pairs;                // N x N; 0 on the diagonal when the file does not say
    std::vector<std::uint32_t> ids;  // one per row
};

// Reads a lite or a full MaxSub file.  Transformations and positions are checked, not kept.  None,
// after ERROR lines, when IDs or scores are missing: the run then ends with status 1.
std::variant<std::optional<MaxSubFile>, FormatError> readMaxSubFile(const std::string& path,
                                                                    Log& log);

// --- RasMol scripts ------------------------------------------------------------------------------

// The two chains of a pairwise run and the coordinate sets that they were compared by.
struct ScriptSubject {
    const Chain& experiment;
    const CoordinateSet& experimentSet;
    const Chain& prediction;
    const CoordinateSet& predictionSet;
};

// Which atoms a MaxSub script shows; the numbers are those of the command line.
enum class ScriptAtoms : int {
    Matched = 0,  // of the residues of the MaxSub subset
    Spanned = 1,  // of all residues from the first to the last of the subset
    All = 2,
};

// What a MaxSub script shows, lent.
struct MaxSubScene {
    const ComparisonResult& result;
    const ComparisonParameters& parameters;
    ScriptAtoms atoms = ScriptAtoms::Matched;
};

// Writes the script of a MaxSub run ("align.rsm"): the experiment, and for every domain iteration
// the prediction as moved by its superposition, the residues of the subset highlighted.  Reports
// the file name and, when more than one iteration was asked for, the iteration table.
// REQUIRES: the result has an iteration.
FileOutcome writeMaxSubScript(const std::string& path, const ScriptSubject& subject,
                              const MaxSubScene& scene, Log& log, Report& report);

// The same for an RMSD run: all atoms, the fitted residues highlighted.
FileOutcome writeRmsdScript(const std::string& path, const ScriptSubject& subject,
                            const RmsdResult& result, Log& log, Report& report);

// The script of a list run ("super.rsm"): the experiment and the best models laid over it.
class SuperScript {
 public:
    // The chains are lent until write() has returned.
    explicit SuperScript(const Chain& experiment) : experiment_(&experiment) {}

    // The next best model, its score, and its superposition; without one it is shown unmoved.
    // Models get the letters A to Z in turn, and A again after Z.
    void add(const Chain& model, double score, const std::optional<Superposition>& superposition);

    FileOutcome write(const std::string& path, Log& log) const;

 private:
    struct Model {
        const Chain* chain;
        double score;
        std::optional<Superposition> superposition;
        char letter;
    };

    const Chain* experiment_;
    std::vector<Model> models_;
    std::size_t nextLetter_ = 0;
};

}  // namespace tervolanda
