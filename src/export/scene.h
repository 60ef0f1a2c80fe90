// What viewers show: an experiment and the models laid over it; of a run of all models against each
// other each model laid over the medoid of its cluster, without an experiment.  A file for a viewer
// is a SceneFile that says how its viewer puts it.
//
// A scene is complete before anything of it is written, since the models stand best first and the
// ranking is known last.  Until then SceneFile keeps of each pair its motions and the stretches of
// residues that they rest on.
//
// PyMOL and ChimeraX get scripts that open the input files and move them; Mol* gets an archive with
// copies of these; RasMol gets coordinates that have been moved, as it moves all molecules alike.
// Colours are the same in all of them.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "export/export.h"

namespace tervolanda {

// Residues of a chain whose numbers rise by 1, or a single one, which then may have an insertion
// code.
struct ResidueStretch {
    ResidueId first, last;
};

// A motion and the residues that it rests on, in either chain.  Stretches ascend as the residue
// pairs do.
struct ShownDomain {
    Superposition motion;
    std::vector<ResidueStretch> experiment, prediction;
};

// A model beside the experiment.  Pairwise each domain is shown by its own motion; of a list only
// the first is, since a picture of many models with many domains shows nothing.
struct ShownModel {
    std::size_t input = 0;                 // position among the inputs
    std::vector<ShownDomain> domains;      // none for a model that nothing has moved
    std::optional<std::uint32_t> cluster;  // as tables number them
};

// Colours of a superposed chain, 0xRRGGBB: a light one of all of it, and a dark one of what the
// superposition rests on.
struct SceneColours {
    unsigned base, highlight;
};
inline constexpr SceneColours kExperimentColours{0x66CCFF, 0x6666FF};
// Of domain `domain`, counted from 0, of the prediction of a pair.  There are six; then they come
// again.
SceneColours domainColours(std::size_t domain);

// The input of everything that a viewer's file says; lent to write() and gone after it.
struct Scene {
    const RunInputs& inputs;
    std::vector<ShownModel> models;  // best first; of a pairwise run the prediction

    bool hasExperiment() const { return inputs.kind != RunKind::AllVersusAll; }
    // REQUIRES: there is one.
    const InputStructure& experiment() const { return inputs.structures.front(); }
    const InputStructure& of(const ShownModel& model) const {
        return inputs.structures[model.input];
    }
    bool isPair() const { return inputs.kind == RunKind::Pairwise; }
    // A name of letters, digits and "_" that no other object of the scene has: viewers take names
    // apart at other signs, and find objects by them.
    std::string nameOf(const ShownModel& model) const;
    // Of the model at a place, counted from 0: of its first domain, for a list its own, and of
    // clusters one for each; models in no cluster are grey.
    SceneColours coloursAt(std::size_t place) const;
};

// Collects a scene, pair by pair.  A viewer's class has write() to itself, and SceneFile the rest:
// which models there are, in which order, and how many (-super).
class SceneFile : public ExportFile {
 public:
    using ExportFile::ExportFile;

    PairDetail pairDetail() const final { return PairDetail::Matched; }
    void start(const RunInputs& inputs) final;
    void take(const PairResult& pair) final;
    void finish(const RunResults& results) final;

 private:
    virtual void write(const Scene& scene) = 0;

    const RunInputs* inputs_ = nullptr;
    // One an input, the experiment among them, up to finish(); without domains until its pair is
    // taken.
    std::vector<ShownModel> models_;
};

// The rows of R, each with its part of c1 - R c2: p' as a product of a 3 x 4 matrix.  Å.
std::array<std::array<double, 4>, 3> homogeneousRows(const Superposition& motion);
// With ten decimals, and never as "-0": a rotation matrix must multiply coordinates of a thousand Å
// and leave the third decimal right, with some to spare.
std::string fixedNumber(double value);

// Letters and digits only, at least one: a name of a chain that any viewer takes as it is.
bool isWord(std::string_view text);

// A string of Python, quoted: only letters, digits and harmless signs stand for themselves.  Bytes
// that are no UTF-8 become what Python makes of such bytes in file names.
std::string pythonText(std::string_view text);

}  // namespace tervolanda
