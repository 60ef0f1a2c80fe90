// See chain_builder.h for the idea.
//
// A chain is made with its first wanted atom, so that none is empty; files may go back to a
// chain that they have left.
#include "chain/input/chain_builder.h"

namespace tervolanda {

void ChainBuilder::beginResidue(const ResidueLabel& label) {
    model_.residueName = label.name;
    model_.residueType =
        static_cast<std::int16_t>(label.type ? *label.type : residueIndex(label.name.view()));
    model_.residueNumber = label.id.number;
    model_.insertionCode = label.id.insertionCode;
    model_.chainId = label.chain.empty() ? ' ' : label.chain.front();
    chain_ = label.chain;
    isWanted_ = model_.residueType <= kLastAminoAcid && !exclusions_.excludes(label.key);
}

// The chain of the atom before, as for nearly every atom, or a look-up.
std::vector<Atom>& ChainBuilder::currentAtoms() {
    if (!chains_.empty() && chains_[current_].name == chain_) return chains_[current_].atoms;
    const auto [place, isNew] = places_.emplace(chain_, chains_.size());
    current_ = place->second;
    if (!isNew) return chains_[current_].atoms;
    Chain& chain = chains_.emplace_back();
    chain.name = chain_;
    chain.number = static_cast<std::uint32_t>(chains_.size());
    return chain.atoms;
}

Atom* ChainBuilder::add(std::string_view name) {
    if (!isWanted_) return nullptr;
    const std::uint32_t classification = classifyAtomName(name, model_.residueType);
    if (!selection_.takes(classification) || ++atoms_ > kMostAtoms) return nullptr;
    Atom& atom = currentAtoms().emplace_back(model_);
    atom.name.assign(name);
    atom.classification = classification;
    return &atom;
}

}  // namespace tervolanda
