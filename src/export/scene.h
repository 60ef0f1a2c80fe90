// What viewers show: an experiment and the models laid over it.  A file for a viewer is a SceneFile
// that says how its viewer puts it.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "export/export.h"

namespace tervolanda {

// Every file that carries a transformation says what it does.
inline constexpr std::string_view kMotionSentence =
    "moves the prediction onto the experiment: p' = R (p - c2) + c1";

// Residues whose numbers rise by 1, or a single one, which then may have an insertion code.
struct ResidueStretch {
    ResidueId first, last;
};

// The residues that a superposition rests on.
struct ShownDomain {
    Superposition motion;
    std::vector<ResidueStretch> experiment, prediction;
};

struct ShownModel {
    std::size_t input = 0;             // position among the inputs
    std::vector<ShownDomain> domains;  // none for a model that nothing has moved
};

struct Scene {
    const RunInputs& inputs;
    std::vector<ShownModel> models;  // best first; of a pairwise run the prediction

    const InputStructure& experiment() const { return inputs.structures.front(); }
    const InputStructure& of(const ShownModel& model) const {
        return inputs.structures[model.input];
    }
    bool isPair() const { return inputs.kind == RunKind::Pairwise; }
    // A name of letters, digits and "_" that no other object of the scene has.
    std::string nameOf(const ShownModel& model) const;
};

class SceneFile : public ExportFile {
 public:
    using ExportFile::ExportFile;

    PairDetail pairDetail() const final { return PairDetail::Residues; }
    void start(const RunInputs& inputs) final { inputs_ = &inputs; }
    void take(const PairResult& pair) final;
    void finish(const RunResults& results) final;

 private:
    virtual void write(const Scene& scene) = 0;

    const RunInputs* inputs_ = nullptr;
    std::vector<ShownModel> models_;
};

// The rows of R, each with its part of c1 - R c2: p' as a product of a 3 x 4 matrix.  Å.
std::array<std::array<double, 4>, 3> homogeneousRows(const Superposition& motion);
// With ten decimals, and never as "-0".
std::string fixedNumber(double value);

// Colours of a superposed chain, 0xRRGGBB: of all of it, and of what the superposition rests on.
struct SceneColours {
    unsigned base, highlight;
};
inline constexpr SceneColours kExperimentColours{0x66CCFF, 0x6666FF};
// Of domain `domain`, counted from 0, of the prediction of a pair.
SceneColours domainColours(std::size_t domain);
// Of model `place` of a list, counted from 0.
SceneColours modelColours(std::size_t place);

// A string of Python, quoted: only letters, digits and harmless signs stand for themselves.  Bytes
// that are no UTF-8 become what Python makes of such bytes in file names.
std::string pythonText(std::string_view text);

}  // namespace tervolanda
