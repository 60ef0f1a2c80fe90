// What is taken of an entry, whatever format it is in: a reader tells every residue and offers its
// atoms; of these one model, one chain, protein, and one conformer of each residue get on to a
// ChainBuilder.
//
// Whether a residue is protein can be known at the end only, when all entities of the file have
// been seen.  What cannot be protein is left out at once, to save memory; all else is judged once
// more by the same rule when the file has been read, so that the order of its categories does not
// matter.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "chain/input/chain_builder.h"
#include "chain/input/input.h"
#include "chain/input/request.h"

namespace tervolanda {

// Where a residue stands.  A part is what mmCIF calls a chain, of one entity; in PDB files it is
// the chain.
struct EntryPlace {
    std::int64_t model = 1;
    std::string_view chain;   // as its author names it
    std::string_view part;    // as the file itself does
    std::string_view entity;  // empty for none
    std::string_view residueName;
    bool isSegment = false;  // the chain has no name, and is called as its segment
};

// A model of an entry, and its protein chains in order of their first atoms.
struct EntryModel {
    std::int64_t number = 1;
    std::vector<Chain> chains;
};

// Order of calls: beginPlace(), where it says so beginResidue() and add() for each atom, and
// finish() at the end; what the file says of entities and of its proteins may come before, between
// and after.
//
// Invariant: `pending_` has the atoms of one residue, that of `id_` in `part_` of `model_`; flush()
// gives them to the builder of that model and empties it.
class EntryBuilder {
 public:
    // With `allModels` the rule for models does not count.  The exclusions are lent.
    EntryBuilder(const EntryRules& rules, bool allModels, const Selection& selection,
                 const ResidueExclusions& exclusions)
        : rules_(rules), allModels_(allModels), selection_(selection), exclusions_(exclusions) {}

    // What the file says of an entity; false when it says too much.
    bool noteEntity(std::string_view entity, bool isProtein);
    // A name that the file gives to residues of its proteins.
    void notePolymerName(std::string_view name);

    // The atoms that follow stand there; false when they are not wanted, and then neither
    // beginResidue() nor add() is called before another place.
    bool beginPlace(const EntryPlace& place);
    // They are of this residue; place and residue together make a residue another one.
    void beginResidue(ResidueId id);
    // Takes the atom of this name (four characters, as in a PDB file) and conformer, blank for all
    // of them; nullptr when the rest of it is not needed.  The rest is the reader's to fill in.
    // Good until the next call.
    Atom* add(std::string_view name, char conformer);

    // Whether there were more atoms, chains or models than a file may have.
    bool exceeds() const { return atoms_ > kMostAtoms || parts_ + models_.size() > kMostParts; }
    bool hasAtoms() const { return hasAtoms_; }
    // Whether another model has begun after the only one that is wanted.
    bool isPastModel() const { return isPastModel_; }

    // The models that are wanted, when all has been told; residues not built.
    std::vector<EntryModel> finish();
    // The protein chains of these models that the rules leave out, by their authors' names.
    const std::set<std::string, std::less<>>& otherChains() const { return otherChains_; }

 private:
    enum class Entity : std::uint8_t { Unknown, Protein, Other };
    struct Part {
        std::string chain, name, entity;
        bool isSegment = false;
    };
    struct Model {
        ChainBuilder builder;  // its chains are the parts
        std::map<std::string, Part, std::less<>> parts{};
    };

    bool isWantedModel(std::int64_t number);
    void notePlace(std::int64_t number);
    Entity entityOf(std::string_view name) const;
    char bestConformer() const;
    char chosenConformer();
    void flush();
    void give(const Atom& atom, Model& model);
    std::vector<Chain> proteinChains(Model& model) const;

    const EntryRules& rules_;
    const bool allModels_;
    const Selection selection_;
    const ResidueExclusions& exclusions_;
    std::map<std::string, bool, std::less<>> entities_;  // whether they are proteins
    std::set<std::string, std::less<>> polymerNames_;
    std::set<std::string, std::less<>> otherChains_;
    std::map<std::int64_t, Model> models_;
    // Of all models of the file, wanted or not, up to the last one that was begun: where they
    // stand, counted from 1.
    std::map<std::int64_t, std::uint32_t> modelPlaces_;
    std::size_t atoms_ = 0;  // taken so far
    std::size_t parts_ = 0;
    bool hasAtoms_ = false;
    bool hasWantedModel_ = false;
    bool isPastModel_ = false;
    std::optional<std::int64_t> firstModel_;
    // Of residues that have several, by model, chain and residue: a file may come back to them.
    std::map<std::tuple<std::int64_t, std::string, std::int64_t>, char> conformers_;
    bool hasSeveralModels_ = false;
    std::int64_t lastModel_ = 1;

    // The current residue: its place, and those of its atoms that may be wanted.
    std::int64_t model_ = 1;
    Part part_;
    std::string partKey_;  // what tells it from others
    FixedText<3> residueName_;
    int residueType_ = -1;
    ResidueId id_;
    bool hasCalpha_ = false;
    std::vector<Atom> pending_;
};

}  // namespace tervolanda
