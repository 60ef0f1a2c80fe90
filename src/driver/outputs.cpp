// Two outputs of one file are found before anything is written.  Files that exist are the same by
// their inodes, those that do not yet exist by the place that their paths lead to after all links.
//
// Outputs that a run of this kind never writes do not count.  One that it may write does, whatever
// comes of the comparison: a run is refused for what its command line says.  Between the check and
// the writing somebody may still make a link; the check is against mistakes and not against
// enemies.
//
// Files that options of two dashes name never take the place of an input, which could not be had
// back: "--tsv=models.txt" is a slip.  Those of the older options do, as they always have.
#include "driver/outputs.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <vector>

#include "driver/read_plan.h"
#include "driver/settings.h"

namespace tervolanda {

namespace {

struct Output {
    std::string name;  // for the message
    std::filesystem::path place;
    bool exists = false;
    struct stat status {};
};

// Where a file of this path would be made: links that lead nowhere yet are followed as far as the
// system follows them.
std::filesystem::path placeOf(std::filesystem::path path) {
    // As many as Linux follows; a ring of links ends here, too.
    constexpr int kMostLinks = 40;
    std::error_code error;
    for (int links = 0; links < kMostLinks && std::filesystem::is_symlink(path, error); ++links)
        path = path.parent_path() / std::filesystem::read_symlink(path, error);
    const std::filesystem::path whole = std::filesystem::absolute(path, error);
    const std::filesystem::path place =
        error ? path : std::filesystem::weakly_canonical(whole, error);
    return error ? path : place;  // a file that cannot be made is no second output
}

void add(std::vector<Output>& outputs, const char* role, const std::optional<std::string>& path) {
    if (!path || path->empty()) return;
    Output output;
    output.name = std::string(role) + " '" + *path + "'";
    output.exists = stat(path->c_str(), &output.status) == 0;
    output.place = placeOf(*path);
    outputs.push_back(std::move(output));
}

// It may be any descriptor, a file too: "-R out > out".
void addStandardOutput(std::vector<Output>& outputs) {
    Output output;
    output.name = "standard output";
    output.exists = fstat(STDOUT_FILENO, &output.status) == 0;
    if (output.exists) outputs.push_back(std::move(output));
}

// Which of -R, -Rl and -Ru a run over all pairs writes; by RMSD -Rl is another name for -R.
void addResultFiles(std::vector<Output>& outputs, const Settings& settings) {
    const ComparisonKind kind = comparisonKind(settings);
    add(outputs, "-R", settings.output.resultFile);
    const bool oneOfBoth = kind == ComparisonKind::Rmsd && settings.output.resultFile;
    const bool hasLite = kind == ComparisonKind::MaxSub || kind == ComparisonKind::Rmsd;
    if (hasLite && !oneOfBoth) add(outputs, "-Rl", settings.output.liteResultFile);
    if (kind == ComparisonKind::Rmsd) add(outputs, "-Ru", settings.output.urmsdResultFile);
}

void addExport(std::vector<Output>& outputs, const ExportRequest& request) {
    const std::string option = optionName(request);
    add(outputs, option.c_str(), request.path);
    if (option == "--npy") add(outputs, option.c_str(), namesOf(request.path));
}

// What the run writes, the matrices of -matrix apart, whose names no other output is likely to
// have.
std::vector<Output> outputsOf(const Settings& settings) {
    std::vector<Output> outputs;
    addStandardOutput(outputs);
    add(outputs, "-log", settings.output.logFile);
    for (const ExportRequest& request : settings.output.exports)
        addExport(outputs, request);
    if (settings.input.distanceFile || settings.input.transformFile) return outputs;
    if (settings.blocks.partFile) {
        add(outputs, "--part", settings.blocks.partFile);
        return outputs;
    }
    if (!settings.input.listFile) {
        const ComparisonKind kind = comparisonKind(settings);
        const bool hasScript = kind == ComparisonKind::MaxSub || kind == ComparisonKind::Rmsd;
        if (hasScript && settings.output.alignOutput) add(outputs, "script", kPairScript);
    } else if (settings.input.experimentFile) {
        if (settings.output.superTop > 0) add(outputs, "script", kListScript);
    } else {
        addResultFiles(outputs, settings);
    }
    return outputs;
}

// The files that the command line names for reading.  What is no regular file cannot be replaced.
std::vector<Output> namedInputs(const InputSettings& input) {
    std::vector<Output> inputs;
    add(inputs, "-e", input.experimentFile);
    add(inputs, "-p", input.predictionFile);
    add(inputs, input.listIsPath ? "--models" : "-l", input.listFile);
    add(inputs, "-F", input.distanceFile);
    add(inputs, "-M", input.transformFile);
    add(inputs, "-exclude", input.exclusionFile);
    std::erase_if(inputs, [](const Output& one) { return !one.exists; });
    return inputs;
}

std::string replacementText(const std::string& output, const std::string& input) {
    return "Output " + output + " would take the place of an input: " + input;
}

// Whether a matrix of -matrix may get this place: "align.matrix.I.P" in the working directory.
// How many matrices there will be is not known before the run, so any of their names counts.
bool isPlaceOfMatrix(const std::filesystem::path& place) {
    std::error_code error;
    return place.filename().string().starts_with("align.matrix.") &&
           place.parent_path() == std::filesystem::current_path(error);
}

// A name that is there and one that is not are different files, whatever they are called.
bool areOneFile(const Output& a, const Output& b) {
    if (!a.exists && !b.exists) return a.place == b.place;
    return a.exists && b.exists && S_ISREG(a.status.st_mode) &&
           a.status.st_dev == b.status.st_dev && a.status.st_ino == b.status.st_ino;
}

}  // namespace

std::optional<std::string> sharedOutput(const Settings& settings) {
    const bool hasMatrices =
        settings.comparison.similarityMatrix && settings.comparison.sequenceIndependent;
    const std::vector<Output> outputs = outputsOf(settings);
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        if (hasMatrices && isPlaceOfMatrix(outputs[i].place))
            return "Two outputs in one file: " + outputs[i].name + " and -matrix";
        for (std::size_t j = i + 1; j < outputs.size(); ++j) {
            if (areOneFile(outputs[i], outputs[j]))
                return "Two outputs in one file: " + outputs[i].name + " and " + outputs[j].name;
        }
    }
    return std::nullopt;
}

std::optional<std::string> replacedInput(const Settings& settings) {
    std::vector<Output> exports;
    for (const ExportRequest& request : settings.output.exports)
        addExport(exports, request);
    if (settings.blocks.partFile) add(exports, "--part", settings.blocks.partFile);
    for (const Output& input : namedInputs(settings.input)) {
        for (const Output& output : exports)
            if (areOneFile(output, input)) return replacementText(output.name, input.name);
    }
    return std::nullopt;
}

// Files that are not there yet are no inputs, so that most runs look at no model.
std::optional<std::string> replacedInput(const Settings& settings,
                                         std::span<const InputStructure> structures) {
    std::vector<Output> exports;
    for (const ExportRequest& request : settings.output.exports)
        addExport(exports, request);
    std::erase_if(exports,
                  [](const Output& one) { return !one.exists || !S_ISREG(one.status.st_mode); });
    if (exports.empty()) return std::nullopt;
    for (const InputStructure& structure : structures) {
        Output input;
        input.exists = stat(structure.path.c_str(), &input.status) == 0;
        for (const Output& output : exports) {
            if (areOneFile(output, input))
                return replacementText(output.name, "'" + structure.path + "'");
        }
    }
    return std::nullopt;
}

}  // namespace tervolanda
