// The results of a run as values: what every form of output takes.  The run modes fill them, and
// only when a file asks for it; nothing here computes.
//
// What a run did not compute, or did not find, is empty and never 0.
//
// The types are the contract between a run and the forms: a form takes what it shows and asks
// nobody, and a run does not know who takes it.  Scores are on the scale of the lines that the
// program prints, lengths in Å.
//
// Three ways to count structures meet here.  An input's position counts all structures that were
// read, the experiment first where there is one; a model's position counts the models of the list
// alone, as matrices and clusterings do; an ID counts what a list names, from 1, and so has
// gaps where files could not be read.  RunInputs::firstModel() is the difference of the
// first two.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "chain/chain.h"
#include "cluster/cluster.h"
#include "compare/compare.h"
#include "compare/fit/fit.h"
#include "compare/pairing/pairing.h"

namespace tervolanda {

enum class RunKind : std::uint8_t {
    Pairwise,
    OneVersusList,
    AllVersusAll,
    DistanceFile,  // -F
    MaxSubFile,    // -M
};

// What models are ranked and clustered by.  Of the files of an earlier run only that run knew what
// their numbers are.
enum class ScoreKind : std::uint8_t {
    Tm,
    MaxSub,
    Gdt,         // 0 to 100
    Rmsd,        // Å
    Distance,    // of a distance file: of any kind
    Similarity,  // of a MaxSub file: TM-score or MaxSub
    Lddt,        // the measures on demand
    LddtAll,
    GdtTs,  // both 0 to 100
    GdtHa,
};

inline ScoreKind scoreKindOf(Measure measure) {
    constexpr std::array<ScoreKind, kMeasures.size()> kKinds = {ScoreKind::Lddt, ScoreKind::LddtAll,
                                                                ScoreKind::GdtTs, ScoreKind::GdtHa};
    return kKinds[static_cast<std::size_t>(measure)];
}
inline std::optional<Measure> measureOf(ScoreKind kind) {
    for (const Measure measure : kMeasures) {
        if (scoreKindOf(measure) == kind) return measure;
    }
    return std::nullopt;
}

// Whether low values are good.
inline bool isDistance(ScoreKind kind) {
    return kind == ScoreKind::Rmsd || kind == ScoreKind::Distance;
}

// --- Inputs --------------------------------------------------------------------------------------

// A structure that was read, or that an earlier run had read.
// Its position among the inputs is what pairs refer to.
struct InputStructure {
    std::optional<std::uint32_t> id;     // of a model of a list
    std::string file;                    // as given; empty where none is known
    std::string path;                    // of the file itself, where `file` names a model of it
    std::uint32_t modelPlace = 0;        // in a file of several models, from 1; else 0
    std::string chain;                   // its name; empty for none
    bool isSegment = false;              // the name is a segment's, and the chain has none
    std::vector<std::string> subunits;   // of a complex the names of its chains; empty for a chain
    std::optional<std::size_t> length;   // residues
    std::optional<double> meanBFactor;   // of the C-alpha atoms, Å²; in predictions the pLDDT
    std::optional<std::uint32_t> crc32;  // of the file as it lies on the disk
};

// Name of the chain that a residue of the structure is in; empty for none.
inline const std::string& chainOf(const InputStructure& input, ResidueId residue) {
    return residue.subunit < input.subunits.size() ? input.subunits[residue.subunit] : input.chain;
}

// A file of a list that is no model of the run.
struct SkippedInput {
    std::uint32_t id = 0;
    std::string file;
    std::string reason;  // the first ERROR line about it, without the prefix
};

// --- Pairs ---------------------------------------------------------------------------------------

enum class PairStatus : std::uint8_t {
    Ok,
    NoPairs,         // no residues belong together
    NoFit,           // no rotation fits, or no subset was found
    NotSignificant,  // a subset was found and counts as nothing: pairs, MaxSub and MSI are 0
};

// A residue pair of the mapping.
struct ResiduePair {
    ResidueId experiment, prediction;
    char experimentCode = 'X', predictionCode = 'X';  // one letter
    std::uint32_t experimentPosition = 0;             // of the residue in its chain, from 0
    std::uint32_t predictionPosition = 0;
    double distance = 0.0;  // of the two C-alpha atoms under the superposition of its domain, for
                            // one without a domain that of the first, Å; PairDetail::Residues
    std::uint32_t domain = 0;      // from 1, the domain whose subset it is in; 0 for none
    std::optional<double> lddt{};  // of the experiment's residue, where it was asked for
};

// Residue pairs of a domain whose numbers rise by 1 in both chains, with no residue left out and no
// insertion code between; or a single pair.
struct MatchedStretch {
    ResidueId experimentFirst, experimentLast, predictionFirst, predictionLast;
    std::uint32_t domain = 0;  // as that of a residue pair
};

// A compared pair.  Pairs come one after the other, in the order of comparison: the experiment and
// each model of a list; or model i as the experiment with i - 1, i - 2 ... 0 as predictions, for
// i = 1, 2 ...  An object that is used again keeps its memory.
struct PairResult {
    std::size_t experiment = 0, prediction = 0;  // positions among the inputs
    PairStatus status = PairStatus::Ok;
    std::optional<std::uint32_t> mapped;   // residue pairs of the mapping
    std::optional<std::uint32_t> pairs;    // in the subset, over all domains; by RMSD the fitted
    std::optional<std::uint32_t> domains;  // found
    std::optional<double> rmsd, grmsd;     // Å
    std::optional<double> maxsub, msi;
    std::optional<double> tm1, tm2;  // by the length of the experiment, of the prediction
    std::optional<double> gdt;       // 0 to 100
    std::optional<double> rrmsd, urmsd, rurmsd;
    std::optional<double> contacts;  // native contacts, per cent
    std::optional<double> cutoff;    // of the first domain, Å
    // Of pairing by sequence: identical residues among those that the alignment pairs, and the
    // share of either chain's residues that it pairs, per cent.
    std::optional<double> identity, coverage1, coverage2;
    std::vector<SubunitPair> subunits;          // of complexes: the chains that belong together
    MeasureFigures measures{};                  // on demand
    std::vector<Superposition> superpositions;  // one a domain; by GDT and RMSD one
    // In mapped order: the pairs of all domains, from PairDetail::Matched on.  A list has millions
    // of pairs, and each a few stretches where it has a hundred residues.
    std::vector<MatchedStretch> stretches;
    std::vector<ResiduePair> residues;  // in mapped order, all; PairDetail::Residues
};

// --- The run -------------------------------------------------------------------------------------

// An option and what it was, given or by default.
struct RecordedOption {
    std::string name;  // as on the command line
    std::variant<std::monostate, bool, long long, double, std::string> value;
};

// What is known before the first comparison.  It is lent to the files for the whole run, so that
// they keep no copies of names.
struct RunInputs {
    RunKind kind = RunKind::Pairwise;
    ScoreKind score = ScoreKind::Tm;
    bool pairsBySequence = false;  // identity and coverage of pairs are known
    MeasureSet measures{};         // on demand, that pairs are shown with
    // Pairwise the experiment and the prediction; the experiment of a list, then its models; else
    // the models in the order of the matrix.
    std::vector<InputStructure> structures;
    std::vector<SkippedInput> skipped;
    std::string program, version;
    // Neither has what does not matter to results: how many threads there are, and progress.
    std::vector<std::string> command;     // the arguments
    std::vector<RecordedOption> options;  // all of which results depend, given or by default
    // The chains behind the structures, lent; empty where the run reads none.
    std::vector<const Chain*> chains;
    std::optional<std::size_t> shownModels;  // the best of a list in a picture; none for all

    std::size_t firstModel() const { return kind == RunKind::OneVersusList ? 1 : 0; }
};

// A model of a list, best first.
// Which of the scores is filled in follows from the kind of run.
struct RankedModel {
    std::size_t model = 0;                 // position among the models, from 0
    std::optional<double> score;           // one-versus-list
    std::optional<std::uint32_t> jury;     // 3D-Jury pairs, where there is a jury
    std::optional<double> meanScore;       // over the other models that it has a score with
    std::optional<std::uint32_t> cluster;  // as the tables number them
    bool isMedoid = false;                 // of its cluster
};

// The scores of a set of models with each other, in figures.
struct SetFigures {
    std::size_t pairs = 0;  // those that have a score
    double mean = 0.0;
    // The least, the three quartiles and the greatest; between two values by linear interpolation.
    std::array<double, 5> quantiles{};
    std::size_t medoid = 0;  // position of the model with the best mean score over the others
};

// What is known after the last comparison.  Positions in the matrix and the clustering count models
// from 0: add firstModel().
struct RunResults {
    std::vector<RankedModel> ranking;
    // What is clustered, N x N; null without.  Not symmetric where scores depend on the length.
    const DistanceMatrix* matrix = nullptr;
    MatrixValues matrixValues = MatrixValues::Distances;
    // The scores before they became distances, as other output prints them; null where no file
    // shows them.
    const DistanceMatrix* scores = nullptr;
    std::optional<Clustering> clustering;
    std::optional<SetFigures> set;  // of a run over all models, where a file shows it
    std::string failure;  // why the run ended before its time, or did not write all; empty for a
                          // success
};

}  // namespace tervolanda
