// RasMol scripts: commands that colour the chains, then the coordinates themselves, which the
// command "load inline" reads from after the command "exit".  The experiment is light blue and the
// prediction light green; residues that the superposition rests on are darker and thicker.
//
// "align.rsm" is that of a pairwise run, "super.rsm" that of a list against an experiment.  Their
// form is given; the scene of --rasmol (export/rasmol_scene.cpp) is another, for the viewer as it
// is today.
//
// Of complexes every chain has a letter of its own, and the lines at the end say which chain it is;
// the chain's name stands in the columns of the segment, too.  "super.rsm", which shows a list, has
// one letter per structure.
//
// The viewer knows a chain by one letter and a residue by its number alone.  What does not fit into
// that (names of several letters, insertion codes) is changed in the copy of the atom that is
// written, or taken into account where residues are selected; the chains themselves stay as they
// are.
#include "resultfiles/rasmol_script.h"

#include <algorithm>

#include "base/file.h"
#include "base/format.h"
#include "base/log.h"
#include "base/text.h"
#include "resultfiles/resultfiles.h"

namespace tervolanda {

namespace {

constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr char kExperimentLetter = 'A';
// For the chains of complexes, of which there are more: all that the viewer selects a chain by.
constexpr std::string_view kComplexLetters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789abcdefghijklmnopqrstuvwxyz";
// No letter, so that the models of a list have all 26.
constexpr char kSuperExperimentLetter = '0';
constexpr int kThin = 60;  // backbone radius, 1/250 Å
constexpr int kThick = 130;
constexpr const char* kExperimentColour = "[102,204,255]";
constexpr const char* kPredictionColour = "[204,255,153]";
constexpr const char* kExperimentHighlight = "[102,102,255]";
constexpr const char* kPredictionHighlight = "[051,255,051]";
constexpr std::string_view kStars = "echo ***************************************************\n";

// The prediction as one superposition shows it.
struct ShownPrediction {
    std::string letters = "B";  // one, or of complexes one per chain
    Superposition superposition;
    std::vector<MatchedPair> pairs;  // highlighted
};

// Letters of the predictions in "align.rsm": B to Z in turn, the experiment has A.
char predictionLetter(std::size_t number) {
    return kLetters[1 + number % (kLetters.size() - 1)];
}

// The letters of a structure in a picture of complexes, where `used` are taken; in turn.
std::string complexLetters(const Chain& chain, std::size_t& used) {
    std::string letters;
    for (std::size_t i = 0; i < std::max<std::size_t>(chain.subunits.size(), 1); ++i)
        letters += kComplexLetters[used++ % kComplexLetters.size()];
    return letters;
}

// Gives the predictions their letters; those of the experiment are returned.
std::string giveLetters(const ScriptSubject& subject, std::vector<ShownPrediction>& predictions) {
    if (!subject.experimentSet.isComplex && !subject.predictionSet.isComplex) {
        for (std::size_t n = 0; n < predictions.size(); ++n)
            predictions[n].letters = predictionLetter(n);
        return std::string(1, kExperimentLetter);
    }
    std::size_t used = 0;
    std::string experiment = complexLetters(subject.experiment, used);
    for (ShownPrediction& shown : predictions)
        shown.letters = complexLetters(subject.prediction, used);
    return experiment;
}

// --- Commands ------------------------------------------------------------------------------------

void writeBackbone(OutputFile& script, std::string_view letters, int radius, const char* colour) {
    for (const char letter : letters)
        script.print("select :%c\nbackbone %d\ncolour %s\n", letter, radius, colour);
}

void writeHighlight(OutputFile& script, const NumberRange& range, std::string_view letters,
                    const char* colour) {
    script.print("select %d-%d:%c\ncolour %s\nbackbone %d\n", range.first, range.last,
                 letters[range.subunit], colour, kThick);
}

// The name is written as it is, never as a pattern; what would end the command is replaced before.
void writeNameLine(OutputFile& script, char letter, const char* role, const Chain& chain) {
    script.print("echo Chain '%c' - %s : ", letter, role);
    script.write(echoedName(chain.fileName));
}

// A line for each letter of a structure, of a complex with the chain's name.
void writeNameLines(OutputFile& script, const std::string& letters, const std::string& role,
                    const Chain& chain) {
    for (std::size_t i = 0; i < letters.size(); ++i) {
        const std::string name =
            i < chain.subunits.size() ? " " + echoedName(chain.subunits[i]) : "";
        writeNameLine(script, letters[i], (role + name).c_str(), chain);
        script.write("\n");
    }
}

// The commands before the pictures' text.  Later ones win: first whole chains thin and pale, then
// the residues of the superpositions thick and dark.
void writeAlignHead(OutputFile& script, const ScriptSubject& subject,
                    const std::string& experimentLetters,
                    const std::vector<ShownPrediction>& predictions) {
    script.write("#!/usr/bin/rasmol -script\nload inline\nselect all\ncolour chain\n");
    writeBackbone(script, experimentLetters, kThin, kExperimentColour);
    for (const ShownPrediction& shown : predictions)
        writeBackbone(script, shown.letters, kThin, kPredictionColour);
    for (const ShownPrediction& shown : predictions) {
        for (const ResidueRun& run :
             residueRuns(subject.experimentSet, subject.predictionSet, shown.pairs)) {
            writeHighlight(script, run.experiment, experimentLetters, kExperimentHighlight);
            writeHighlight(script, run.prediction, shown.letters, kPredictionHighlight);
        }
    }
}

// `origin` are the lines that say where the superposition comes from.
void writeAlignEnd(OutputFile& script, const ScriptSubject& subject,
                   const std::string& experimentLetters,
                   const std::vector<ShownPrediction>& predictions, const std::string& origin) {
    script.write("select all\nwireframe off\n");
    script.write(kStars);
    script.write("echo\n");
    writeNameLines(script, experimentLetters, "Experiment", subject.experiment);
    for (const ShownPrediction& shown : predictions)
        writeNameLines(script, shown.letters, "Prediction", subject.prediction);
    std::size_t letters = experimentLetters.size();
    for (const ShownPrediction& shown : predictions)
        letters += shown.letters.size();
    // Of complexes alone, which have more than one per structure.
    if (letters > std::max(kComplexLetters.size(), 1 + predictions.size())) {
        script.print("echo Chains that share a letter share colours: %zu chains, %zu letters.\n",
                     letters, kComplexLetters.size());
    }
    script.write("echo\n" + origin);
    script.write(
        "echo Residues used to obtain superposition are shown in\n"
        "echo thick lines with a darker colour.\n"
        "echo\n");
    script.write(kStars);
    script.write("exit\n");
}

// --- Coordinates ---------------------------------------------------------------------------------

// Which atoms of a chain to write, [first, end); an empty range is none.
struct AtomRange {
    std::uint32_t first = 0, end = 0;
};

// The atoms of a chain or complex, moved by a superposition where there is one, and a TER record
// after them.  `letters` has one for each chain of a complex, or one for all of the structure.
void writeAtoms(OutputFile& script, const Chain& chain, const std::vector<AtomRange>& ranges,
                std::string_view letters, const Superposition* superposition) {
    // Atoms are counted anew in each structure, as in files of one chain each.
    int serial = 0;
    std::uint16_t subunit = 0;
    for (const AtomRange& range : ranges) {
        for (std::uint32_t i = range.first; i < range.end; ++i) {
            Atom atom = chain.atoms[i];
            if (serial > 0 && atom.subunit != subunit) script.write("TER\n");
            subunit = atom.subunit;
            atom.chainId = letters[std::min<std::size_t>(subunit, letters.size() - 1)];
            if (subunit < chain.subunits.size())
                atom.segmentId = FixedText<4>(chain.subunits[subunit]);
            if (superposition != nullptr) {
                const auto place = superposition->apply(atom.x, atom.y, atom.z);
                atom.x = place[0];
                atom.y = place[1];
                atom.z = place[2];
            }
            script.write(formatFullAtomLine(atom, ++serial));
        }
    }
    if (serial > 0) script.write("TER\n");
}

// What was read of the chain: of a pairwise run all atoms, of a list often the C-alpha atoms alone.
std::vector<AtomRange> allAtoms(const Chain& chain) {
    return {{0, static_cast<std::uint32_t>(chain.atoms.size())}};
}

// The atoms of the given residues, or of each chain from the first to the last of them.  `residues`
// in any order.
std::vector<AtomRange> atomsOf(const Chain& chain, std::vector<std::uint32_t> residues,
                               ScriptAtoms selection) {
    if (selection == ScriptAtoms::All) return allAtoms(chain);
    std::sort(residues.begin(), residues.end());
    residues.erase(std::unique(residues.begin(), residues.end()), residues.end());
    std::vector<AtomRange> ranges;
    const auto subunitOf = [&chain](const AtomRange& range) {
        return chain.atoms[range.first].subunit;
    };
    for (const std::uint32_t residue : residues) {
        if (residue >= chain.residues.size()) break;  // atoms that belong to no residue
        const AtomRange range{chain.residues[residue].first, chain.residues[residue].end};
        const bool isSpanned = selection == ScriptAtoms::Spanned && !ranges.empty() &&
                               subunitOf(ranges.back()) == subunitOf(range);
        if (isSpanned) {
            ranges.back().end = range.end;
        } else {
            ranges.push_back(range);
        }
    }
    return ranges;
}

// The experiment once, with what any of the superpositions used of it; then the prediction once for
// each of them, under a letter of its own.
void writeAlignCoordinates(OutputFile& script, const ScriptSubject& subject,
                           const std::string& experimentLetters,
                           const std::vector<ShownPrediction>& predictions, ScriptAtoms selection) {
    std::vector<std::uint32_t> residues;
    for (const ShownPrediction& shown : predictions) {
        for (const MatchedPair& pair : shown.pairs)
            residues.push_back(subject.experimentSet.residueIndex[pair.experiment]);
    }
    writeAtoms(script, subject.experiment, atomsOf(subject.experiment, residues, selection),
               experimentLetters, nullptr);
    for (const ShownPrediction& shown : predictions) {
        residues.clear();
        for (const MatchedPair& pair : shown.pairs)
            residues.push_back(subject.predictionSet.residueIndex[pair.prediction]);
        writeAtoms(script, subject.prediction, atomsOf(subject.prediction, residues, selection),
                   shown.letters, &shown.superposition);
    }
}

// --- Whole scripts -------------------------------------------------------------------------------

bool openScript(const OutputFile& script, const std::string& path, Log& log) {
    if (!script.isOpen()) log.error(0, "Failed to open output file '%s'", path.c_str());
    return script.isOpen();
}

// The script names its viewer in its first line and can be started like a program.  Where the mode
// cannot be changed it is still a script, so that this is said and is no failure.
FileOutcome finishScript(OutputFile& script, const std::string& path, Log& log) {
    const int errorNumber = script.makeExecutable();
    if (errorNumber != 0) {
        log.error(0, "chmod failed on file '%s', errno = %d\n", path.c_str(), errorNumber);
    }
    if (script.commit()) return FileOutcome::Written;
    log.error(0, "Failed to write file '%s' - %s", path.c_str(), systemErrorText());
    return FileOutcome::Incomplete;
}

// One copy of the prediction for each domain that was found.
std::vector<ShownPrediction> shownIterations(const ComparisonResult& result) {
    std::vector<ShownPrediction> predictions(result.iterations.size());
    for (std::size_t n = 0; n < predictions.size(); ++n) {
        predictions[n].superposition = result.iterations[n].superposition;
    }
    for (const MatchedPair& match : result.matched) {
        if (match.iteration < predictions.size()) {
            predictions[match.iteration].pairs.push_back(match);
        }
    }
    return predictions;
}

// Per iteration the MaxSub index so far, the total MaxSub so far, and the scores it is the sum of.
// The index (MSI, "Area") is the sum of these totals.
void reportIterations(const ComparisonResult& result, Report& report) {
    report.report(ReportLevel::Results, "Iter   Area    MS\n");
    double index = 0.0;
    double total = 0.0;
    std::string scores;
    for (std::size_t n = 0; n < result.iterations.size(); ++n) {
        total += result.iterations[n].score;
        index += total;
        scores += format(" %5.3f", result.iterations[n].score);
        report.report(ReportLevel::Results, "%-2zu     %5.3f : %5.3f =%s\n", n + 1, index, total,
                      scores.c_str());
    }
}

}  // namespace

std::string echoedName(std::string_view name) {
    std::string text(name);
    hideControlBytes(text);
    std::replace(text.begin(), text.end(), ';', '?');
    return text;
}

std::vector<ResidueRun> residueRuns(const CoordinateSet& experiment,
                                    const CoordinateSet& prediction,
                                    std::span<const MatchedPair> pairs) {
    const auto extend = [](NumberRange& range, const CoordinateSet& set, std::uint32_t record) {
        const int number = set.residueNumber[record];
        const bool follows = number == range.last + 1 && set.insertionCode[record] == ' ' &&
                             set.subunitOf(record) == range.subunit;
        if (follows) range.last = number;
        return follows;
    };
    std::vector<ResidueRun> runs;
    for (const MatchedPair& pair : pairs) {
        if (!runs.empty()) {
            ResidueRun extended = runs.back();
            if (extend(extended.experiment, experiment, pair.experiment) &&
                extend(extended.prediction, prediction, pair.prediction)) {
                runs.back() = extended;
                continue;
            }
        }
        const int first = experiment.residueNumber[pair.experiment];
        const int second = prediction.residueNumber[pair.prediction];
        runs.push_back({{first, first, experiment.subunitOf(pair.experiment)},
                        {second, second, prediction.subunitOf(pair.prediction)}});
    }
    return runs;
}

FileOutcome writeMaxSubScript(const std::string& path, const ScriptSubject& subject,
                              const MaxSubScene& scene, Log& log, Report& report) {
    const auto& [result, parameters, atoms] = scene;
    OutputFile script(path);
    if (!openScript(script, path, log)) return FileOutcome::NotCreated;
    report.report(ReportLevel::Results, "Outputting superposition to file '%s'\n", path.c_str());
    if (parameters.iterations > 1) reportIterations(result, report);
    std::vector<ShownPrediction> predictions = shownIterations(result);
    const std::string letters = giveLetters(subject, predictions);
    const std::string origin = format(
        "echo Sequence %s model-reference superposition.\n"
        "echo Superposition generated from MaxSub analysis.\n"
        "echo Only CA atom pairs closer than %g were used\n"
        "echo to obtain this superposition.\n",
        parameters.sequenceIndependent ? "independant" : "dependant",
        result.iterations.front().distanceCutoff);
    writeAlignHead(script, subject, letters, predictions);
    writeAlignEnd(script, subject, letters, predictions, origin);
    writeAlignCoordinates(script, subject, letters, predictions, atoms);
    return finishScript(script, path, log);
}

FileOutcome writeRmsdScript(const std::string& path, const ScriptSubject& subject,
                            const RmsdResult& result, Log& log, Report& report) {
    OutputFile script(path);
    if (!openScript(script, path, log)) return FileOutcome::NotCreated;
    report.report(ReportLevel::Results, "Outputting superposition to file '%s'\n", path.c_str());
    std::vector<ShownPrediction> predictions(1);
    predictions[0].superposition = result.superposition;
    predictions[0].pairs = result.matched;
    const std::string letters = giveLetters(subject, predictions);
    writeAlignHead(script, subject, letters, predictions);
    writeAlignEnd(script, subject, letters, predictions,
                  "echo Sequence dependant model-reference superposition.\n"
                  "echo Superposition generated from RMSD fit.\n");
    writeAlignCoordinates(script, subject, letters, predictions, ScriptAtoms::All);
    return finishScript(script, path, log);
}

void SuperScript::add(const Chain& model, double score,
                      const std::optional<Superposition>& superposition) {
    models_.push_back({&model, score, superposition, kLetters[nextLetter_ % kLetters.size()]});
    ++nextLetter_;
}

FileOutcome SuperScript::write(const std::string& path, Log& log) const {
    OutputFile script(path);
    if (!openScript(script, path, log)) return FileOutcome::NotCreated;
    script.print(
        "#!/usr/bin/rasmol -script\nload inline\nselect all\nbackbone %d\ncolor group\n"
        "select :%c\nbackbone %d\ncolor white\nselect all\nwireframe off\n",
        kThin, kSuperExperimentLetter, kThick);
    script.write(kStars);
    script.write("echo\n");
    writeNameLine(script, kSuperExperimentLetter, "Experiment", *experiment_);
    script.write("\necho\n");
    for (const Model& model : models_) {
        writeNameLine(script, model.letter, "Prediction", *model.chain);
        script.print("   (%g)\n", model.score);
    }
    script.write("echo\n");
    script.write(kStars);
    script.write("exit\n");
    writeAtoms(script, *experiment_, allAtoms(*experiment_),
               std::string_view(&kSuperExperimentLetter, 1), nullptr);
    for (const Model& model : models_) {
        writeAtoms(script, *model.chain, allAtoms(*model.chain), std::string_view(&model.letter, 1),
                   model.superposition ? &*model.superposition : nullptr);
    }
    return finishScript(script, path, log);
}

}  // namespace tervolanda
