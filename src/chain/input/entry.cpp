// See entry.h for the idea.
//
// Residues are gathered before they are given on, because the conformer is chosen for a residue as
// a whole: atoms of different conformers make no residue that exists.  A ChainBuilder stands at the
// end here, too, so that selection, exclusions and limits are those of every other reader; its
// chains are the parts of the file, and are put together by the author's name when it is known
// which of them are proteins.
#include "chain/input/entry.h"

#include <algorithm>
#include <utility>

#include "chain/input/residue_parents.h"

namespace tervolanda {

namespace {

constexpr std::string_view kLabelPrefix = "label:";

bool isChosen(const std::string& rule, const EntryPlace& place) {
    if (rule.empty() || rule == kAllChains) return true;
    if (rule.starts_with(kLabelPrefix))
        return place.part == std::string_view(rule).substr(kLabelPrefix.size());
    return place.chain == rule || (place.isSegment && rule == " ");
}

// By the name, since an element need not be given.
bool isHydrogen(const Atom& atom) {
    const char first = atom.name[0];
    const bool isPrefix = first == ' ' || isDigit(first);
    const char element = isPrefix ? atom.name[1] : first;
    return element == 'H' || element == 'D';
}

}  // namespace

bool EntryBuilder::noteEntity(std::string_view entity, bool isProtein) {
    if (entities_.size() >= kMostParts) return false;
    // That it is a protein is said by _entity_poly, and more exactly than anything else is.
    entities_[std::string(entity)] |= isProtein;
    return true;
}

void EntryBuilder::notePolymerName(std::string_view name) {
    if (polymerNames_.size() < kMostParts) polymerNames_.emplace(name);
}

// More models than a file may have are refused elsewhere.
void EntryBuilder::notePlace(std::int64_t number) {
    if (!modelPlaces_.empty() && number == lastModel_) return;
    lastModel_ = number;
    if (modelPlaces_.size() < kMostParts)
        modelPlaces_.emplace(number, static_cast<std::uint32_t>(modelPlaces_.size() + 1));
}

// The first model is wanted whatever its number is, until it turns out that there are others.
bool EntryBuilder::isWantedModel(std::int64_t number) {
    if (allModels_) return true;
    if (!firstModel_) firstModel_ = number;
    hasSeveralModels_ = hasSeveralModels_ || number != *firstModel_;
    const bool isWanted = number == (rules_.model ? *rules_.model : *firstModel_);
    hasWantedModel_ = hasWantedModel_ || isWanted;
    isPastModel_ = isPastModel_ || (hasWantedModel_ && !isWanted);
    return isWanted || (number == *firstModel_ && !hasSeveralModels_);
}

EntryBuilder::Entity EntryBuilder::entityOf(std::string_view name) const {
    const auto found = entities_.find(name);
    if (name.empty() || found == entities_.end()) return Entity::Unknown;
    return found->second ? Entity::Protein : Entity::Other;
}

bool EntryBuilder::beginPlace(const EntryPlace& place) {
    hasAtoms_ = true;
    notePlace(place.model);
    if (!isWantedModel(place.model)) return false;
    const Entity entity = entityOf(place.entity);
    if (entity == Entity::Other) return false;
    // Cheap and final answers first; only what may be protein is remembered.
    residueType_ = aminoAcidIndex(place.residueName);
    // Of an unknown name there may be an entity, which is known later.
    const bool mayBeProtein = entity == Entity::Protein || residueType_ >= 0 ||
                              polymerNames_.contains(place.residueName) || !place.entity.empty();
    if (!mayBeProtein) return false;
    if (!isChosen(rules_.chain, place)) {
        if (residueType_ >= 0 && otherChains_.size() < kMostParts)
            otherChains_.emplace(place.chain);
        return false;
    }
    const bool isSamePart = model_ == place.model && part_.name == place.part &&
                            part_.chain == place.chain && part_.entity == place.entity;
    if (!isSamePart) {
        flush();
        model_ = place.model;
        part_ = {std::string(place.chain), std::string(place.part), std::string(place.entity),
                 place.isSegment};
        partKey_ = part_.name + "\n" + part_.entity + "\n" + part_.chain;
    }
    residueName_ = FixedText<3>(place.residueName);
    return true;
}

void EntryBuilder::beginResidue(ResidueId id) {
    if (id == id_) return;  // alternate residues of one place
    flush();
    id_ = id;
}

Atom* EntryBuilder::add(std::string_view name, char conformer) {
    const std::uint32_t classification = classifyAtomName(name, residueType_);
    const bool isCalpha = (classification & kMaskCA) == kMaskCA;
    hasCalpha_ = hasCalpha_ || isCalpha;
    // The occupancy of an atom of a conformer counts, wanted or not.
    if (conformer == ' ' && !selection_.takes(classification)) return nullptr;
    if (++atoms_ > kMostAtoms) return nullptr;
    Atom& atom = pending_.emplace_back();
    atom.name.assign(name);
    atom.residueName = residueName_;
    atom.residueType = static_cast<std::int16_t>(residueType_);
    atom.alternateLocation = conformer;
    return &atom;
}

// The letter of the conformer to take of the pending atoms; blank when they have none.
char EntryBuilder::bestConformer() const {
    struct Conformer {
        char letter;
        double occupancies;
        std::size_t atoms;
    };
    std::vector<Conformer> conformers;  // in file order
    for (const Atom& atom : pending_) {
        const char letter = atom.alternateLocation;
        if (letter == ' ') continue;
        const auto found = std::find_if(conformers.begin(), conformers.end(),
                                        [&](const Conformer& c) { return c.letter == letter; });
        Conformer& conformer =
            found != conformers.end() ? *found : conformers.emplace_back(Conformer{letter, 0.0, 0});
        conformer.occupancies += atom.occupancy;
        ++conformer.atoms;
    }
    if (conformers.empty()) return ' ';
    if (rules_.conformers == Conformers::First) return conformers.front().letter;
    const Conformer* best = &conformers.front();
    for (const Conformer& conformer : conformers) {
        if (rules_.conformers == Conformers::Lettered && conformer.letter == rules_.conformer) {
            return conformer.letter;
        }
        const auto mean = [](const Conformer& c) {
            return c.occupancies / static_cast<double>(c.atoms);
        };
        // Of equal ones the first in the file.
        if (mean(conformer) > mean(*best)) best = &conformer;
    }
    return best->letter;
}

// The same for the residue that they are of: what a file tells of it first decides.
char EntryBuilder::chosenConformer() {
    const char best = bestConformer();
    if (best == ' ') return best;
    return conformers_.try_emplace({model_, part_.chain, id_.key()}, best).first->second;
}

// Gives the atoms of the current residue to the builder of its model.
void EntryBuilder::flush() {
    const char chosen = chosenConformer();
    Model* model = nullptr;
    FixedText<3> begun("\n");  // as no residue is named
    std::set<std::string> names;
    for (const Atom& atom : pending_) {
        if (atom.alternateLocation != ' ' && atom.alternateLocation != chosen) continue;
        if (atom.residueType < 0 && !hasCalpha_) continue;  // a cap of the chain
        // Nothing looks at hydrogens, and many have cut names; and of alternate locations some have
        // a letter at all but the first.
        const bool mayBeThereTwice = chosen != ' ' || isHydrogen(atom);
        if (mayBeThereTwice && !names.insert(atom.name.text()).second) continue;
        if (model == nullptr) {
            const ChainBuilder none(selection_, exclusions_);
            model = &models_.try_emplace(model_, Model{none}).first->second;
            if (model->parts.emplace(partKey_, part_).second) ++parts_;
        }
        if (atom.residueName != begun) {
            begun = atom.residueName;
            const std::string key = exclusions_.size() == 0 ? "" : residueColumns(id_);
            model->builder.beginResidue({.chain = partKey_,
                                         .name = begun,
                                         .id = id_,
                                         .key = key,
                                         .type = atom.residueType});
        }
        give(atom, *model);
    }
    pending_.clear();
    hasCalpha_ = false;
}

// What the builder does not take, by selection or limit, is dropped.
void EntryBuilder::give(const Atom& atom, Model& model) {
    Atom* const taken = model.builder.add(atom.name.view());
    if (taken == nullptr) return;
    const Atom built = *taken;
    // The builder knows the classification, the entry all else that a file says of the atom.
    *taken = atom;
    taken->classification = built.classification;
    taken->residueNumber = built.residueNumber;
    taken->insertionCode = built.insertionCode;
    taken->chainId = part_.chain.empty() ? ' ' : part_.chain.front();
}

// The parts that are proteins, those of one chain together.
std::vector<Chain> EntryBuilder::proteinChains(Model& model) const {
    std::vector<Chain> chains;
    std::map<std::string, std::size_t, std::less<>> places;
    for (Chain& part : model.builder.chains()) {
        const Part& origin = model.parts.find(part.name)->second;
        const Entity entity = entityOf(origin.entity);
        if (entity == Entity::Other) continue;
        if (entity == Entity::Unknown) {
            std::erase_if(part.atoms, [&](const Atom& atom) {
                return atom.residueType < 0 && !polymerNames_.contains(atom.residueName.view());
            });
        }
        if (part.atoms.empty()) continue;
        const auto [place, isNew] = places.emplace(origin.chain, chains.size());
        if (isNew) {
            chains.push_back(std::move(part));
            chains.back().name = origin.chain;
            chains.back().isSegment = origin.isSegment;
            chains.back().number = static_cast<std::uint32_t>(chains.size());
        } else {
            std::vector<Atom>& atoms = chains[place->second].atoms;
            atoms.insert(atoms.end(), part.atoms.begin(), part.atoms.end());
        }
    }
    return chains;
}

std::vector<EntryModel> EntryBuilder::finish() {
    flush();
    const bool isOneChosen = !allModels_ && rules_.model && hasSeveralModels_;
    if (isOneChosen && !hasWantedModel_) otherChains_.clear();
    std::vector<EntryModel> models;
    for (auto& [number, model] : models_) {
        if (isOneChosen && number != *rules_.model) continue;
        models.push_back({number, proteinChains(model)});
        if (modelPlaces_.size() < 2) continue;
        for (Chain& chain : models.back().chains)
            chain.modelPlace = modelPlaces_[number];
    }
    return models;
}

}  // namespace tervolanda
