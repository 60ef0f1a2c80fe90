// Collects, pair by pair, what viewers show, and writes what all of their files have in common:
// names, colours, matrices.
//
// Of thousands of residue pairs only the stretches that they form are kept.  Viewers select by
// residue number, so that a stretch is one of numbers and says nothing of what lies between.
#include "export/scene.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/format.h"
#include "export/export_text.h"

namespace tervolanda {

namespace {

// More residues of a chain, as part of the last stretch where they follow: stretches of pairs end
// wherever those of either chain do.
void extend(std::vector<ResidueStretch>& stretches, ResidueStretch more) {
    const auto follows = [first = more.first](const ResidueStretch& stretch) {
        return stretch.last.subunit == first.subunit && stretch.last.insertionCode == ' ' &&
               first.insertionCode == ' ' && first.number == stretch.last.number + 1;
    };
    if (!stretches.empty() && follows(stretches.back())) {
        stretches.back().last = more.last;
    } else {
        stretches.push_back(more);
    }
}

// Light and dark shades that stay apart for the colour-blind.
constexpr std::array<SceneColours, 6> kShades = {{
    {0xCCFF99, 0x33CC33},
    {0xFFD199, 0xFF8000},
    {0xE6B3E6, 0xB333B3},
    {0x99E6E6, 0x009999},
    {0xFFB3B3, 0xE03030},
    {0xD9C2A6, 0x8C5A1E},
}};

bool isWordCharacter(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

// The number of a character, of which UTF-8 has the highest bits in its first byte and six in each
// other.  REQUIRES: one whole character, as utf8Length() finds it.
unsigned codePoint(std::string_view character) {
    constexpr std::array<unsigned, 5> kLeadBits = {0, 0x7F, 0x1F, 0x0F, 0x07};  // by length
    unsigned code = static_cast<unsigned char>(character.front()) & kLeadBits[character.size()];
    for (const char c : character.substr(1))
        code = code << 6U | (static_cast<unsigned char>(c) & 0x3FU);
    return code;
}

}  // namespace

std::string Scene::nameOf(const ShownModel& model) const {
    if (isPair()) return "prediction";
    constexpr std::size_t kLongest = 40;
    const std::string& file = of(model).file;
    std::string name = file.substr(file.rfind('/') + 1, kLongest);
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !isWordCharacter(c); }, '_');
    // Counted from 1 among the models.
    const std::size_t number = model.input + 1 - inputs.firstModel();
    return format("m%zu_%s", number, name.c_str());
}

SceneColours Scene::coloursAt(std::size_t place) const {
    constexpr SceneColours kGrey{0xD0D0D0, 0x909090};
    if (isPair()) return domainColours(0);
    if (hasExperiment()) return kShades[place % kShades.size()];
    const std::optional<std::uint32_t> cluster = models[place].cluster;
    return cluster && *cluster > 0 ? kShades[(*cluster - 1) % kShades.size()] : kGrey;
}

void SceneFile::start(const RunInputs& inputs) {
    inputs_ = &inputs;
    models_.resize(inputs.structures.size());
    for (std::size_t i = 0; i < models_.size(); ++i)
        models_[i].input = i;
}

void SceneFile::take(const PairResult& pair) {
    ShownModel& model = models_[pair.prediction];
    // Stretches name their domain from 1; those of domain 0 are in no subset, and a subset without
    // a motion is none that could be shown.
    for (const Superposition& motion : pair.superpositions)
        model.domains.push_back({motion, {}, {}});
    for (const MatchedStretch& at : pair.stretches) {
        if (at.domain == 0 || at.domain > model.domains.size()) continue;
        ShownDomain& domain = model.domains[at.domain - 1];
        extend(domain.experiment, {at.experimentFirst, at.experimentLast});
        extend(domain.prediction, {at.predictionFirst, at.predictionLast});
    }
}

void SceneFile::finish(const RunResults& results) {
    Scene scene{*inputs_, {}};
    // A pairwise run ranks nothing.
    if (scene.isPair()) scene.models.push_back(std::move(models_[1]));
    const std::size_t wanted = inputs_->shownModels.value_or(results.ranking.size());
    for (const RankedModel& ranked : results.ranking) {
        if (scene.models.size() == wanted) break;
        ShownModel& model = models_[inputs_->firstModel() + ranked.model];
        model.cluster = ranked.cluster;
        scene.models.push_back(std::move(model));
    }
    write(scene);
}

std::array<std::array<double, 4>, 3> homogeneousRows(const Superposition& motion) {
    const std::array<double, 3> shift = motion.apply(0.0, 0.0, 0.0);  // c1 - R c2
    std::array<std::array<double, 4>, 3> rows{};
    for (std::size_t i = 0; i < 3; ++i) {
        rows[i] = {motion.rotation[3 * i], motion.rotation[3 * i + 1], motion.rotation[3 * i + 2],
                   shift[i]};
    }
    return rows;
}

std::string fixedNumber(double value) {
    constexpr int kDecimals = 10;
    return format("%.10f", withoutNegativeZero(value, kDecimals));
}

SceneColours domainColours(std::size_t domain) {
    return kShades[domain % kShades.size()];
}

bool isWord(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(),
                                        [](char c) { return isWordCharacter(c) && c != '_'; });
}

std::string pythonText(std::string_view text) {
    constexpr std::string_view kHarmless = "/._-+ ";
    std::string quoted = "\"";
    while (!text.empty()) {
        const std::size_t length = utf8Length(text);
        const char c = text.front();
        if (isWordCharacter(c) || kHarmless.find(c) != std::string_view::npos) {
            quoted += c;
        } else if (length == 0) {
            // How Python has bytes of file names that are no text (PEP 383): open() takes them
            // back.
            quoted += format("\\udc%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
        } else {
            const unsigned code = codePoint(text.substr(0, length));
            quoted += code > 0xFFFF ? format("\\U%08x", code) : format("\\u%04x", code);
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return quoted + '"';
}

}  // namespace tervolanda
