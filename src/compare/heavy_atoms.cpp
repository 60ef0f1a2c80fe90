// The atoms of residues that have a C-alpha atom; others are in no comparison.
#include "compare/heavy_atoms.h"

#include <memory>

namespace tervolanda {

namespace {

// Where the file names no element, a name says it after its digits: "1HB ", " HA ", "HD11".  No
// other element of an amino acid begins with H or D.
bool isHydrogen(const Atom& atom) {
    const std::string_view element = trimBlanks(atom.element.view());
    if (!element.empty()) return element == "H" || element == "D";
    const std::string_view name = atom.name.view();
    const std::size_t letter = name.find_first_not_of(" 0123456789");
    return letter != std::string_view::npos && (name[letter] == 'H' || name[letter] == 'D');
}

}  // namespace

void addHeavyAtoms(const Chain& chain, CoordinateSet& set) {
    auto atoms = std::make_shared<HeavyAtoms>();
    atoms->first.push_back(0);
    for (std::size_t record = 0; record < set.size(); ++record) {
        const std::uint32_t position = set.residueIndex[record];
        // Atoms after a residue that fell apart belong to none.
        const Residue residue =
            position < chain.residues.size() ? chain.residues[position] : Residue{};
        for (std::uint32_t i = residue.first; i < residue.end; ++i) {
            const Atom& atom = chain.atoms[i];
            if (isHydrogen(atom)) continue;
            atoms->points.append(atom.x, atom.y, atom.z);
            atoms->name.push_back(atomName(atom.name.view()));
        }
        atoms->first.push_back(static_cast<std::uint32_t>(atoms->name.size()));
    }
    set.heavyAtoms = std::move(atoms);
}

}  // namespace tervolanda
