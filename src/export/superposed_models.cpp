// A folder of the models as they lie on the experiment (--superposed): every record of their files,
// atoms moved, as PDB files, so that any viewer shows the superposition by opening them.
//
// Files of mmCIF become PDB records of the atoms that were compared; a model that nothing has moved
// is copied as it is.  Names are those of the inputs, less what a shell or another file system
// could take for something else, and no input is ever overwritten, whatever the folder.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "base/format.h"
#include "export/export.h"
#include "export/scene.h"
#include "export/structure_copy.h"

namespace tervolanda {

namespace {

bool isFileCharacter(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
           c == '-' || c == '+' || c == '.';
}

// Names that differ in the case of letters only are one name to some file systems.
std::string foldedCase(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return name;
}

// What a copy of this file is called: no folder, no sign that a shell or file system knows, not
// hidden, no option, and the suffix of a PDB file.
struct FileName {
    std::string stem, suffix;
};
// Suffixes that say what is in a file go, as the copy is PDB text whatever the input was; ".ent"
// may stay, since it says that.
FileName safeName(std::string_view path) {
    constexpr std::size_t kLongest = 100;
    std::string name(path.substr(path.rfind('/') + 1));
    constexpr std::string_view kPacked = ".gz";
    if (foldedCase(name).ends_with(kPacked)) name.resize(name.size() - kPacked.size());
    std::string suffix = ".pdb";
    for (const std::string_view known : {".pdb", ".ent", ".cif", ".mmcif"}) {
        if (!foldedCase(name).ends_with(known)) continue;
        name.resize(name.size() - known.size());
        if (known == ".ent") suffix = known;
        break;
    }
    name.resize(std::min(name.size(), kLongest));
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !isFileCharacter(c); }, '_');
    if (name.empty()) name = "model";
    if (name.front() == '.' || name.front() == '-') name.front() = '_';
    return {name, suffix};
}

using FileIdentity = std::pair<dev_t, ino_t>;

// Which file a path leads to, through links and whatever its spelling; none where there is none
// yet.
std::optional<FileIdentity> identityOf(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return std::nullopt;
    return FileIdentity{status.st_dev, status.st_ino};
}

// Where the numbers of the motion stand in a file.  No name does: readers look for records
// anywhere.
std::string motionRemarks(const Superposition& motion) {
    std::string text = "REMARK  99 THIS FILE WAS MOVED.  THE MOTION\nREMARK  99 ";
    text += kMotionSentence;
    text += '\n';
    for (std::size_t i = 0; i < 3; ++i) {
        text += format("REMARK  99 R, row %zu:", i + 1);
        for (std::size_t j = 0; j < 3; ++j)
            text += ' ' + fixedNumber(motion.rotation[3 * i + j]);
        text += '\n';
    }
    const std::array<std::pair<const char*, const std::array<double, 3>*>, 2> centres = {
        {{"c2", &motion.predictionCentre}, {"c1", &motion.experimentCentre}}};
    for (const auto& [name, centre] : centres) {
        text += format("REMARK  99 %s:", name);
        for (const double coordinate : *centre)
            text += ' ' + fixedNumber(coordinate);
        text += '\n';
    }
    return text;
}

// Keeps the motion of each pair and writes everything at the end: files are read again for it, one
// after the other, so that one structure is in memory at a time.  The first file that fails ends
// the writing, and its name is the one that the message has; files that were complete before stay.
class SuperposedModels final : public ExportFile {
 public:
    explicit SuperposedModels(std::string path)
        : ExportFile(path, kNoFile), folder_(std::move(path)) {
        makeFolder();
    }
    SuperposedModels(const SuperposedModels&) = delete;
    SuperposedModels& operator=(const SuperposedModels&) = delete;
    // A run that ends early leaves no folder that it has made, unless somebody has put something
    // in.
    ~SuperposedModels() override {
        for (; !made_.empty() && !isFinished_; made_.pop_back())
            rmdir(made_.back().c_str());
    }

    bool isOpen() const override { return isFolder_; }
    PairDetail pairDetail() const override { return PairDetail::Figures; }
    void start(const RunInputs& inputs) override {
        inputs_ = &inputs;
        motions_.resize(inputs.structures.size());
    }
    void take(const PairResult& pair) override {
        if (pair.superpositions.empty()) return;
        motions_[pair.prediction] = pair.superpositions.front();
    }
    void finish(const RunResults& results) override;
    bool commit() override { return isWhole_; }

 private:
    void makeFolder();
    std::string nextPath(std::size_t input);
    void writeModel(std::size_t input, const std::set<FileIdentity>& inputFiles);

    std::string folder_;
    std::vector<std::filesystem::path> made_;  // folders, the outermost first
    const RunInputs* inputs_ = nullptr;
    std::vector<std::optional<Superposition>> motions_;  // one a structure
    std::set<std::string> names_;                        // taken in this run, in lower case
    bool isFolder_ = false;
    bool isFinished_ = false;
    bool isWhole_ = true;
};

// Made when the run begins: a folder that cannot be made is known before hours of comparing.
void SuperposedModels::makeFolder() {
    std::error_code error;
    std::filesystem::path folder(folder_);
    if (!folder.has_filename()) folder = folder.parent_path();  // "moved/"
    for (; !folder.empty() && !std::filesystem::exists(folder, error);
         folder = folder.parent_path())
        made_.insert(made_.begin(), folder);
    std::filesystem::create_directories(folder_, error);
    isFolder_ = std::filesystem::is_directory(folder_, error);
}

void SuperposedModels::finish(const RunResults&) {
    isFinished_ = true;
    std::set<FileIdentity> inputFiles;
    for (const InputStructure& input : inputs_->structures) {
        if (const auto identity = identityOf(input.file)) inputFiles.insert(*identity);
    }
    // An experiment stays where it is, in its own file.
    const std::size_t first = inputs_->kind == RunKind::AllVersusAll ? 0 : 1;
    for (std::size_t i = first; i < inputs_->structures.size() && isWhole_; ++i)
        writeModel(i, inputFiles);
}

// A name that is taken gets the number of the structure.
std::string SuperposedModels::nextPath(std::size_t input) {
    const FileName name = safeName(inputs_->structures[input].file);
    std::string candidate = name.stem + name.suffix;
    for (std::size_t attempt = input; !names_.insert(foldedCase(candidate)).second; ++attempt)
        candidate = format("%s_%zu%s", name.stem.c_str(), attempt, name.suffix.c_str());
    return folder_ + '/' + candidate;
}

// Reads the structure again and writes it moved, with the numbers of the motion before it.
void SuperposedModels::writeModel(std::size_t input, const std::set<FileIdentity>& inputFiles) {
    const std::string path = nextPath(input);
    setPath(path);  // the one that a message names
    // The folder may be that of the inputs.
    const auto identity = identityOf(path);
    if (identity && inputFiles.contains(*identity)) {
        isWhole_ = false;
        return;
    }
    const Chain& chain = *inputs_->chains[input];
    std::optional<StructureCopy> copy = copyOf(chain);
    isWhole_ = copy.has_value();
    if (!copy) return;
    if (copy->form == StructureForm::Mmcif) copy->text = atomRecords(chain);
    OutputFile file(path);
    if (motions_[input]) {
        file.write(motionRemarks(*motions_[input]));
        file.write(movedRecords(copy->text, *motions_[input]));
    } else {
        file.write(copy->text);
    }
    isWhole_ = file.isOpen() && file.commit();
}

}  // namespace

std::unique_ptr<ExportFile> makeSuperposedModels(std::string path) {
    return std::make_unique<SuperposedModels>(std::move(path));
}

}  // namespace tervolanda
