// An archive for Mol* (--molstar): a scene in the form of MolViewSpec (version 1) and the
// structures that it shows, since a scene alone cannot reach the files beside it.
//
// In the archive are "experiment.pdb" (or .cif), a copy of each model, and last "index.mvsj", the
// tree of nodes that says what is shown of them: download, parse, structure, then where it moves,
// which component, how it is drawn and in which colours.  Mol* reads such files with the suffix
// .mvsx.
#include "base/format.h"
#include "chain/input/input.h"
#include "export/json_text.h"
#include "export/scene.h"
#include "export/structure_copy.h"
#include "export/zip_archive.h"

namespace tervolanda {

namespace {

std::string colourInHex(unsigned colour) {
    return format("\"#%06x\"", colour);
}

// A structure in the archive.  The input is lent.
struct Part {
    std::string file;  // its name there
    StructureForm form = StructureForm::Pdb;
    const InputStructure* input = nullptr;
    std::uint32_t modelPlace = 0;  // in the file, from 1; 0 for the only one
};

// Copies are packed as they are read, so that one structure at a time is in memory.  A structure
// that cannot be read again, or an archive above the limits of its format, leaves no file
// (isWhole_).
class MolstarArchive final : public SceneFile {
 public:
    using SceneFile::SceneFile;

    bool commit() override { return isWhole_ && SceneFile::commit(); }

 private:
    void write(const Scene& scene) override;
    Part pack(const Scene& scene, std::size_t input, const std::string& name);
    static void appendModel(std::string& text, const Scene& scene, std::size_t place,
                            const Part& part);
    static std::string sceneText(const Scene& scene, const std::vector<Part>& parts);

    ZipArchive archive_;
    bool isWhole_ = true;
};

// What a part shows: `residues` null stands for all of it.
struct Shown {
    unsigned colour = 0;
    const std::vector<ResidueStretch>* residues = nullptr;
    const std::vector<ResidueStretch>* highlights = nullptr;
    unsigned highlight = 0;
    const Superposition* motion = nullptr;
};

// Stretches as a list of component expressions; `chain` is the author's name, empty for any.
void appendSelector(std::string& text, const std::vector<ResidueStretch>& stretches,
                    const InputStructure& input) {
    text += '[';
    for (const ResidueStretch& stretch : stretches) {
        if (text.back() != '[') text += ',';
        text += '{';
        const std::string& chain = chainOf(input, stretch.first);
        if (!chain.empty() && !input.isSegment) {
            text += "\"auth_asym_id\":";
            appendJson(text, chain);
            text += ',';
        }
        text += format(R"("beg_auth_seq_id":%d,"end_auth_seq_id":%d)", stretch.first.number,
                       stretch.last.number);
        if (stretch.first.insertionCode != ' ') {
            text += ",\"pdbx_PDB_ins_code\":";
            appendJson(text, std::string_view(&stretch.first.insertionCode, 1));
        }
        text += '}';
    }
    text += ']';
}

// The rotation is put column by column, and works before the translation.
void appendTransform(std::string& text, const Superposition& motion) {
    const auto rows = homogeneousRows(motion);
    text += R"({"kind":"transform","params":{"rotation":[)";
    for (std::size_t column = 0; column < 3; ++column) {
        for (std::size_t row = 0; row < 3; ++row) {
            if (column + row > 0) text += ',';
            text += fixedNumber(rows[row][column]);
        }
    }
    text += "],\"translation\":[";
    for (std::size_t row = 0; row < 3; ++row)
        text += (row > 0 ? "," : "") + fixedNumber(rows[row][3]);
    text += "]}},";
}

// Opens a node; the caller may add a selector and closes it.
void appendColour(std::string& text, unsigned colour) {
    text += R"({"kind":"color","params":{"color":)" + colourInHex(colour);
}

// One branch of the tree, a structure as it is shown.  Nodes nest, and their order is the format's:
// a transform is a sibling of the components, before these.
void appendStructure(std::string& text, const Part& part, const Shown& shown) {
    text += R"({"kind":"download","params":{"url":)";
    appendJson(text, part.file);
    text += R"(},"children":[{"kind":"parse","params":{"format":)";
    text += part.form == StructureForm::Mmcif ? "\"mmcif\"" : "\"pdb\"";
    text += R"(},"children":[{"kind":"structure","params":{"type":"model")";
    if (part.modelPlace > 0) text += format(",\"model_index\":%u", part.modelPlace - 1);
    text += "},\"children\":[";
    if (shown.motion != nullptr) appendTransform(text, *shown.motion);
    text += R"({"kind":"component","params":{"selector":)";
    if (shown.residues != nullptr) {
        appendSelector(text, *shown.residues, *part.input);
    } else {
        text += "\"polymer\"";
    }
    text += R"(},"children":[{"kind":"representation","params":{"type":"cartoon"},)";
    text += "\"children\":[";
    appendColour(text, shown.colour);
    text += "}}";
    if (shown.highlights != nullptr && !shown.highlights->empty()) {
        text += ',';
        appendColour(text, shown.highlight);
        text += ",\"selector\":";
        appendSelector(text, *shown.highlights, *part.input);
        text += "}}";
    }
    text += "]}]}]}]}]}";
}

// Puts a copy of the structure into the archive.
Part MolstarArchive::pack(const Scene& scene, std::size_t input, const std::string& name) {
    const StructureCopy copy = copyOf(*scene.inputs.chains[input]).value_or(StructureCopy());
    if (copy.text.empty()) isWhole_ = false;
    Part part;
    part.form = copy.form;
    part.file = name + (copy.form == StructureForm::Mmcif ? ".cif" : ".pdb");
    part.input = &scene.inputs.structures[input];
    // What cannot be read again by its name is there as the atoms that were compared.
    if (canBeReadAgain(part.input->file)) part.modelPlace = part.input->modelPlace;
    isWhole_ = archive_.add(part.file, copy.text, text()) && isWhole_;
    pace();
    return part;
}

void MolstarArchive::write(const Scene& scene) {
    std::vector<Part> parts;
    if (scene.hasExperiment()) parts.push_back(pack(scene, 0, "experiment"));
    for (const ShownModel& model : scene.models)
        parts.push_back(pack(scene, model.input, scene.nameOf(model)));
    isWhole_ = archive_.add("index.mvsj", sceneText(scene, parts), text()) && isWhole_;
    archive_.finish(text());
}

// A model of a list once, the prediction of a pair once for each domain.
void MolstarArchive::appendModel(std::string& text, const Scene& scene, std::size_t place,
                                 const Part& part) {
    const ShownModel& model = scene.models[place];
    const std::size_t count = scene.isPair() ? std::max<std::size_t>(model.domains.size(), 1) : 1;
    for (std::size_t d = 0; d < count; ++d) {
        const SceneColours colours = scene.isPair() ? domainColours(d) : scene.coloursAt(place);
        Shown shown;
        shown.colour = colours.base;
        if (d < model.domains.size()) {
            const ShownDomain& domain = model.domains[d];
            shown.motion = &domain.motion;
            shown.highlights = &domain.prediction;
            shown.highlight = colours.highlight;
            if (d > 0) shown.residues = &domain.prediction;
        }
        if (!text.ends_with("[\n")) text += ",\n";
        appendStructure(text, part, shown);
    }
}

// Of a pair the prediction is shown once for each domain, after the first only the residues of that
// domain; of a list each model once.
std::string MolstarArchive::sceneText(const Scene& scene, const std::vector<Part>& parts) {
    // The residues of the experiment that any domain rests on, in one colour.
    std::vector<ResidueStretch> matched;
    if (scene.isPair()) {
        for (const ShownDomain& domain : scene.models.front().domains)
            matched.insert(matched.end(), domain.experiment.begin(), domain.experiment.end());
    }
    // The format wants a time: always the same one, so that the same run gives the same bytes.
    std::string text = R"({"metadata":{"version":"1","title":"Superposed structures",)";
    text += R"("timestamp":"1980-01-01T00:00:00Z","description":"Each transformation )";
    text += kMotionSentence;
    text += "\"},\n\"root\":{\"kind\":\"root\",\"children\":[\n";
    if (scene.hasExperiment()) {
        Shown experiment;
        experiment.colour = kExperimentColours.base;
        experiment.highlights = &matched;
        experiment.highlight = kExperimentColours.highlight;
        appendStructure(text, parts[0], experiment);
    }
    const std::size_t first = parts.size() - scene.models.size();
    for (std::size_t i = 0; i < scene.models.size(); ++i)
        appendModel(text, scene, i, parts[first + i]);
    text += "\n]}}\n";
    return text;
}

}  // namespace

std::unique_ptr<ExportFile> makeMolstarArchive(std::string path) {
    return std::make_unique<MolstarArchive>(std::move(path));
}

}  // namespace tervolanda
