// A script for ChimeraX (--chimerax): a command a line.  Names are strings in quotes, in which the
// viewer knows the escapes of Python.
//
// Model #1 is the experiment, what lies on it follows from #2 on: of a pair a model for each
// domain, of a list one for each structure.  Chains are shown as cartoons, what a superposition
// rests on in the darker colour and with its C-alpha atoms as balls. "view matrix
// models" takes the twelve numbers of a 3 x 4 matrix, row by row.
#include "base/format.h"
#include "export/scene.h"

namespace tervolanda {

namespace {

std::string residueName(ResidueId residue) {
    std::string name = std::to_string(residue.number);
    if (residue.insertionCode != ' ') name += residue.insertionCode;
    return name;
}

// "#2", or of a file with several models, which are opened as #2.1, #2.2 and so on, "#2.3".
std::string modelName(std::size_t object, const InputStructure& input) {
    std::string name = '#' + std::to_string(object);
    if (input.modelPlace > 0) name += '.' + std::to_string(input.modelPlace);
    return name;
}

// The residues, or of each the atom that `atom` names: "#2/A:5-17,20".  They are found by chain
// where its name is a word to the viewer; those of complexes are a union with a term for each.
std::string selection(std::size_t object, const InputStructure& input,
                      const std::vector<ResidueStretch>& stretches, const char* atom = "") {
    std::string text;
    for (std::size_t i = 0; i < stretches.size(); ++i) {
        const auto& [first, last] = stretches[i];
        if (i > 0 && stretches[i - 1].first.subunit == first.subunit) {
            text += ',';
        } else {
            const std::string& chain = chainOf(input, first);
            if (i > 0) text += atom + std::string("|");
            text += modelName(object, input);
            if (isWord(chain) && !input.isSegment) text += '/' + chain;
            text += ':';
        }
        text += residueName(first);
        if (last != first) text += '-' + residueName(last);
    }
    return text + atom;
}

class ChimeraxScript final : public SceneFile {
 public:
    using SceneFile::SceneFile;

 private:
    void write(const Scene& scene) override;
    void open(std::size_t object, const InputStructure& input, unsigned colour);
    void move(std::size_t object, const Superposition& motion);
    void highlight(std::size_t object, const InputStructure& input,
                   const std::vector<ResidueStretch>& stretches, unsigned colour);
    void addPair(const Scene& scene);
    void addModels(const Scene& scene);
};

void ChimeraxScript::write(const Scene& scene) {
    text() += "# Superposed structures.  Run this in the folder in which they were compared.\n# ";
    text() += "Each matrix ";
    text() += kMotionSentence;
    text() += ".\n# Its rows are those of R, each with its part of c1 - R c2.\n";
    if (scene.hasExperiment()) open(1, scene.experiment(), kExperimentColours.base);
    if (scene.isPair()) {
        addPair(scene);
    } else {
        addModels(scene);
    }
    text() += "view\n";
}

// Of several models the one that was compared is drawn.
void ChimeraxScript::open(std::size_t object, const InputStructure& input, unsigned colour) {
    text() += format("open %s id #%zu\nhide #%zu atoms\n", pythonText(input.path).c_str(), object,
                     object);
    if (input.modelPlace > 0) text() += format("hide #%zu cartoons\n", object);
    text() +=
        format("cartoon %s\ncolor #%zu #%06x\n", modelName(object, input).c_str(), object, colour);
}

// Twelve numbers, the first three rows of the same matrix; it says where the model is, not how it
// moves on.
void ChimeraxScript::move(std::size_t object, const Superposition& motion) {
    text() += format("view matrix models #%zu", object);
    for (const auto& row : homogeneousRows(motion)) {
        for (const double value : row)
            text() += ',' + fixedNumber(value);
    }
    text() += '\n';
}

void ChimeraxScript::highlight(std::size_t object, const InputStructure& input,
                               const std::vector<ResidueStretch>& stretches, unsigned colour) {
    if (stretches.empty()) return;
    const std::string residues = selection(object, input, stretches);
    const std::string calphas = selection(object, input, stretches, "@CA");
    text() += format("color %s #%06x\nshow %s atoms\nstyle %s ball\n", residues.c_str(), colour,
                     calphas.c_str(), calphas.c_str());
}

// Every domain has a motion of its own: each after the first shows itself, in a model of its own.
void ChimeraxScript::addPair(const Scene& scene) {
    const ShownModel& model = scene.models.front();
    if (model.domains.empty()) open(2, scene.of(model), domainColours(0).base);
    for (std::size_t d = 0; d < model.domains.size(); ++d) {
        const ShownDomain& domain = model.domains[d];
        const std::size_t object = d + 2;
        const SceneColours colours = domainColours(d);
        open(object, scene.of(model), colours.base);
        if (d > 0 && !domain.prediction.empty()) {
            text() += format("hide #%zu cartoons\n", object);
            text() +=
                "show " + selection(object, scene.of(model), domain.prediction) + " cartoons\n";
        }
        move(object, domain.motion);
        highlight(1, scene.experiment(), domain.experiment,
                  d == 0 ? kExperimentColours.highlight : colours.base);
        highlight(object, scene.of(model), domain.prediction, colours.highlight);
    }
}

// Of a list only the models are highlighted: on the experiment the stretches of many would hide
// each other.
void ChimeraxScript::addModels(const Scene& scene) {
    for (std::size_t i = 0; i < scene.models.size(); ++i) {
        const ShownModel& model = scene.models[i];
        const SceneColours colours = scene.coloursAt(i);
        const std::size_t object = i + (scene.hasExperiment() ? 2 : 1);
        open(object, scene.of(model), colours.base);
        if (model.domains.empty()) continue;
        move(object, model.domains.front().motion);
        highlight(object, scene.of(model), model.domains.front().prediction, colours.highlight);
        pace();
    }
}

}  // namespace

std::unique_ptr<ExportFile> makeChimeraxScript(std::string path) {
    return std::make_unique<ChimeraxScript>(std::move(path));
}

}  // namespace tervolanda
