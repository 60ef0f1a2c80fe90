// Comparing every atom with every later one would take quadratic time.  Nearly every chain shows in
// one walk that it has no duplicates; the atoms of the others are sorted.
#include "chain/input/duplicates.h"

#include <algorithm>
#include <array>

namespace tervolanda {

namespace {

// The four characters as one number: comparing them is one instruction.
std::uint32_t packedName(const Atom& atom) {
    std::uint32_t packed = 0;
    for (const char c : atom.name.view())
        packed = packed << 8 | static_cast<unsigned char>(c);
    return packed;
}

// What duplicates have in common (residue number, insertion code and name), as one number.
struct Identity {
    std::int64_t key;
    std::uint32_t position;
};

// Whether there is no duplicate, where that can be seen at little cost: residues in ascending order
// and no name twice in any of them, as in nearly every chain.
bool isClearlyUnique(const std::vector<Atom>& atoms) {
    std::array<std::uint32_t, 32> names;  // of the residue so far: all pairs are compared
    std::size_t count = 0;
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        if (i > 0 && atoms[i].residueId() != atoms[i - 1].residueId()) {
            if (atoms[i].residueId() < atoms[i - 1].residueId()) return false;
            count = 0;
        }
        if (count == names.size()) return false;
        const std::uint32_t name = packedName(atoms[i]);
        bool isNew = true;
        for (std::size_t k = 0; k < count; ++k)
            isNew &= names[k] != name;
        if (!isNew) return false;
        names[count++] = name;
    }
    return true;
}

// All identities in ascending order, equal ones in file order.
std::vector<Identity> sortedIdentities(const std::vector<Atom>& atoms) {
    std::vector<Identity> sorted;
    sorted.reserve(atoms.size());
    for (std::uint32_t i = 0; i < atoms.size(); ++i)
        sorted.push_back(
            {std::int64_t{atoms[i].residueId().key()} << 32 | packedName(atoms[i]), i});
    std::sort(sorted.begin(), sorted.end(), [](const Identity& a, const Identity& b) {
        return a.key != b.key ? a.key < b.key : a.position < b.position;
    });
    return sorted;
}

}  // namespace

std::vector<std::uint32_t> laterDuplicates(const std::vector<Atom>& atoms) {
    if (isClearlyUnique(atoms)) return {};
    const std::vector<Identity> sorted = sortedIdentities(atoms);
    std::vector<std::uint32_t> later(atoms.size(), 0);
    for (std::size_t end = sorted.size(), i = sorted.size(); i-- > 0;) {
        if (sorted[i].key != sorted[end - 1].key) end = i + 1;
        later[sorted[i].position] = static_cast<std::uint32_t>(end - i - 1);
    }
    return later;
}

}  // namespace tervolanda
