// A script for RasMol as it is today, 2.7 (--rasmol): commands, then the coordinates, which the
// command "load inline" reads from after the command "exit".
//
// The viewer moves all molecules alike, so that the coordinates are those of the superposition, and
// it knows residues by number and chain only: each chain of the scene has a letter of its own, A
// the experiment.  The scripts align.rsm and super.rsm (resultfiles) are for the RasMol of old, and
// their form is given.
#include "base/format.h"
#include "export/scene.h"

namespace tervolanda {

namespace {

// All that the viewer selects a chain by; it tells "a" from "A".
constexpr std::string_view kLetters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789abcdefghijklmnopqrstuvwxyz";
constexpr int kThin = 60;  // backbone radius, 1/250 Å
constexpr int kThick = 130;

// The letters of a structure's chains, of which `used` are taken.  After the 62nd they come again,
// and with them the selections: a picture of more chains shows all of them, but some share a
// colour, and the script says so.
std::string lettersOf(const InputStructure& input, std::size_t& used) {
    std::string letters;
    for (std::size_t i = 0; i < std::max<std::size_t>(input.subunits.size(), 1); ++i)
        letters += kLetters[used++ % kLetters.size()];
    return letters;
}

std::string colourName(unsigned colour) {
    return format("[%u,%u,%u]", colour >> 16U, colour >> 8U & 0xFFU, colour & 0xFFU);
}

class RasmolScene final : public SceneFile {
 public:
    using SceneFile::SceneFile;

 private:
    // A structure of the picture.
    struct Object {
        std::size_t input;
        const ShownDomain* domain;  // null for one that nothing moves
        SceneColours colours;
        std::string letters{};  // one a chain
    };

    static std::vector<Object> objectsOf(const Scene& scene);
    void write(const Scene& scene) override;
    void addBackbone(const std::string& letters, unsigned colour);
    void addHighlight(const std::string& letters, const std::vector<ResidueStretch>& stretches,
                      unsigned colour);
    // The atoms that were compared, moved; `motion` is null for what nothing moves.
    void addCoordinates(const Chain& chain, const std::string& letters,
                        const Superposition* motion);
};

// In the order of their letters, after the experiment.
std::vector<RasmolScene::Object> RasmolScene::objectsOf(const Scene& scene) {
    std::vector<Object> objects;
    if (scene.hasExperiment()) objects.push_back({0, nullptr, kExperimentColours});
    for (std::size_t i = 0; i < scene.models.size(); ++i) {
        const ShownModel& model = scene.models[i];
        const std::size_t shown = scene.isPair() ? model.domains.size() : 1;
        if (model.domains.empty()) objects.push_back({model.input, nullptr, scene.coloursAt(i)});
        for (std::size_t d = 0; d < std::min(shown, model.domains.size()); ++d) {
            objects.push_back({model.input, &model.domains[d],
                               scene.isPair() ? domainColours(d) : scene.coloursAt(i)});
        }
    }
    return objects;
}

void RasmolScene::write(const Scene& scene) {
    std::vector<Object> objects = objectsOf(scene);
    std::size_t used = 0;
    for (Object& object : objects)
        object.letters = lettersOf(scene.inputs.structures[object.input], used);
    text() += "#!/usr/bin/rasmol -script\nload inline\nselect all\nwireframe off\n";
    // Of the domains after the first only the matched residues are shown.
    const std::size_t whole = scene.isPair() ? 2 : objects.size();
    for (std::size_t i = 0; i < std::min(whole, objects.size()); ++i)
        addBackbone(objects[i].letters, objects[i].colours.base);
    for (std::size_t i = 0; i < objects.size(); ++i) {
        const Object& object = objects[i];
        if (object.domain == nullptr) continue;
        if (scene.isPair()) {
            addHighlight(objects[0].letters, object.domain->experiment,
                         i == 1 ? kExperimentColours.highlight : object.colours.base);
        }
        addHighlight(object.letters, object.domain->prediction, object.colours.highlight);
    }
    text() += "select all\necho Each motion ";
    text() += kMotionSentence;
    if (used > kLetters.size())
        text() += format("\necho Chains that share a letter share colours: %zu chains, %zu letters",
                         used, kLetters.size());
    text() += "\nexit\n";
    for (const Object& object : objects) {
        const ShownDomain* const domain = object.domain;
        addCoordinates(*scene.inputs.chains[object.input], object.letters,
                       domain == nullptr ? nullptr : &domain->motion);
    }
}

void RasmolScene::addBackbone(const std::string& letters, unsigned colour) {
    for (const char letter : letters) {
        text() += format("select :%c\nbackbone %d\ncolour %s\n", letter, kThin,
                         colourName(colour).c_str());
    }
}

void RasmolScene::addHighlight(const std::string& letters,
                               const std::vector<ResidueStretch>& stretches, unsigned colour) {
    for (const ResidueStretch& stretch : stretches) {
        text() += format("select %d-%d and :%c\ncolour %s\nbackbone %d\n", stretch.first.number,
                         stretch.last.number, letters[stretch.first.subunit],
                         colourName(colour).c_str(), kThick);
        pace();
    }
}

// Of a complex the names of its chains stand in the columns of the segment.
void RasmolScene::addCoordinates(const Chain& chain, const std::string& letters,
                                 const Superposition* motion) {
    int serial = 0;
    std::uint16_t subunit = 0;
    for (Atom atom : chain.atoms) {
        if (serial > 0 && atom.subunit != subunit) text() += "TER\n";
        subunit = atom.subunit;
        atom.chainId = letters[subunit];
        if (subunit < chain.subunits.size()) atom.segmentId = FixedText<4>(chain.subunits[subunit]);
        if (motion != nullptr) {
            const auto place = motion->apply(atom.x, atom.y, atom.z);
            atom.x = place[0];
            atom.y = place[1];
            atom.z = place[2];
        }
        text() += formatFullAtomLine(atom, ++serial);
        pace();
    }
    if (serial > 0) text() += "TER\n";
}

}  // namespace

std::unique_ptr<ExportFile> makeRasmolScene(std::string path) {
    return std::make_unique<RasmolScene>(std::move(path));
}

}  // namespace tervolanda
