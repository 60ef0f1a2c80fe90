// A script for PyMOL (--pymol).  All of it is one block of Python, in which names are strings and
// no command line takes them apart, and files are opened by Python, which expands nothing in their
// names.
//
// Whole chains are thin ribbons; what a superposition rests on is a tube over them and a selection
// "matched_..." that can be used further.  Reading the file in Python also makes its content and
// not its suffix say what it is, as the program does.
#include "base/format.h"
#include "export/scene.h"

namespace tervolanda {

namespace {

constexpr std::string_view kHead = R"(python
import gzip

def read(path, name, state=0):
    with open(path, "rb") as file:
        text = file.read()
    if text[:2] == b"\x1f\x8b":
        text = gzip.decompress(text)
    form = "cif" if b"_atom_site." in text else "pdb"
    if state == 0:
        cmd.load_raw(text.decode("latin-1"), form, name)
    else:
        cmd.load_raw(text.decode("latin-1"), form, "all_models")
        cmd.create(name, "all_models", state, 1)
        cmd.delete("all_models")

def highlight(selection, residues, colour):
    cmd.select(selection, residues)
    cmd.color(colour, selection)
    cmd.cartoon("tube", selection)

cmd.set("ribbon_trace_atoms", 1)
cmd.set("cartoon_trace_atoms", 1)
)";

// A residue number in a selection: "-" alone is the sign of a range.
std::string number(int value) {
    return value < 0 ? "\\" + std::to_string(value) : std::to_string(value);
}

std::string escapedName(ResidueId residue) {
    std::string name = number(residue.number);
    if (residue.insertionCode != ' ') name += residue.insertionCode;
    return name;
}

// The residues of stretches as a string of Python, "prediction and chain A and resi 5-17+20"; by
// chain names that are no words, as the file may have only one chain, none is named.
std::string selection(const std::string& object, const InputStructure& input,
                      const std::vector<ResidueStretch>& stretches) {
    std::string text;
    for (std::size_t i = 0; i < stretches.size(); ++i) {
        const auto& [first, last] = stretches[i];
        if (i > 0 && stretches[i - 1].first.subunit == first.subunit) {
            text += '+';
        } else {
            // "and" binds its words more closely than "or" does.
            text += (i > 0 ? " or " : "") + object;
            const std::string& chain = chainOf(input, first);
            if (isWord(chain)) text += (input.isSegment ? " and segi " : " and chain ") + chain;
            text += " and resi ";
        }
        text += escapedName(first);
        if (last != first) text += '-' + escapedName(last);
    }
    return pythonText(text);
}

class PymolScript final : public SceneFile {
 public:
    using SceneFile::SceneFile;

 private:
    void write(const Scene& scene) override;
    void read(const InputStructure& input, const std::string& object, unsigned colour);
    void move(const std::string& object, const Superposition& motion);
    void highlight(const std::string& object, const InputStructure& input,
                   const std::vector<ResidueStretch>& stretches, unsigned colour);
    void addDomains(const Scene& scene, const ShownModel& model);
};

void PymolScript::write(const Scene& scene) {
    text() += "# Superposed structures.  Run this in the folder in which they were compared.\n# ";
    text() += "Each matrix ";
    text() += kMotionSentence;
    text() += ".\n# Its rows are those of R, each with its part of c1 - R c2.\n";
    text() += kHead;
    text() += '\n';
    if (scene.hasExperiment()) read(scene.experiment(), "experiment", kExperimentColours.base);
    for (std::size_t i = 0; i < scene.models.size(); ++i) {
        const ShownModel& model = scene.models[i];
        const std::string name = scene.nameOf(model);
        const SceneColours colours = scene.coloursAt(i);
        read(scene.of(model), name, colours.base);
        if (scene.isPair()) {
            addDomains(scene, model);
        } else if (!model.domains.empty()) {
            move(name, model.domains.front().motion);
            highlight(name, scene.of(model), model.domains.front().prediction, colours.highlight);
        }
        if (model.cluster)
            text() += format("cmd.group(\"cluster_%u\", \"%s\")\n", *model.cluster, name.c_str());
        pace();
    }
    // What is shown is traced from atom to atom, so that files of C-alpha atoms alone are drawn,
    // too.
    text() += "cmd.hide(\"everything\")\ncmd.show(\"ribbon\", \"name CA\")\n";
    text() += "for name in cmd.get_names(\"selections\"):\n";
    text() += "    cmd.show(\"cartoon\", name + \" and name CA\")\n";
    if (scene.isPair()) {
        text() += "for name in cmd.get_object_list(\"prediction_domain_*\"):\n";
        text() += "    cmd.hide(\"ribbon\", name)\n";
    }
    text() += "cmd.deselect()\ncmd.orient()\npython end\n";
}

void PymolScript::read(const InputStructure& input, const std::string& object, unsigned colour) {
    const std::string state = input.modelPlace == 0 ? "" : format(", %u", input.modelPlace);
    text() += format("read(%s, \"%s\"%s)\n", pythonText(input.path).c_str(), object.c_str(),
                     state.c_str());
    text() += format("cmd.color(\"0x%06X\", \"%s\")\n", colour, object.c_str());
}

// A 4 x 4 matrix, row by row, as PyMOL applies it to the coordinates of an object.
void PymolScript::move(const std::string& object, const Superposition& motion) {
    text() += "cmd.transform_selection(\"" + object + "\", [\n";
    for (const auto& row : homogeneousRows(motion)) {
        text() += "   ";
        for (const double value : row)
            text() += ' ' + fixedNumber(value) + ',';
        text() += '\n';
    }
    text() += "    0.0, 0.0, 0.0, 1.0])\n";
}

void PymolScript::highlight(const std::string& object, const InputStructure& input,
                            const std::vector<ResidueStretch>& stretches, unsigned colour) {
    if (stretches.empty()) return;
    text() += format("highlight(\"matched_%s\", %s, \"0x%06X\")\n", object.c_str(),
                     selection(object, input, stretches).c_str(), colour);
}

// Every domain has a motion of its own: all after the first move copies, of which only the matched
// residues stay visible (write() hides their ribbons).  The copies are made before the first motion
// is applied, which would move them as well.
void PymolScript::addDomains(const Scene& scene, const ShownModel& model) {
    for (std::size_t d = 1; d < model.domains.size(); ++d)
        text() += format("cmd.create(\"prediction_domain_%zu\", \"prediction\")\n", d + 1);
    for (std::size_t d = 0; d < model.domains.size(); ++d) {
        const ShownDomain& domain = model.domains[d];
        const std::string suffix = d == 0 ? "" : format("_domain_%zu", d + 1);
        const std::string object = "prediction" + suffix;
        const unsigned dark = d == 0 ? kExperimentColours.highlight : domainColours(d).base;
        move(object, domain.motion);
        if (domain.experiment.empty()) continue;
        text() +=
            format("highlight(\"matched_experiment%s\", %s, \"0x%06X\")\n", suffix.c_str(),
                   selection("experiment", scene.experiment(), domain.experiment).c_str(), dark);
        highlight(object, scene.of(model), domain.prediction, domainColours(d).highlight);
    }
}

}  // namespace

std::unique_ptr<ExportFile> makePymolScript(std::string path) {
    return std::make_unique<PymolScript>(std::move(path));
}

}  // namespace tervolanda
