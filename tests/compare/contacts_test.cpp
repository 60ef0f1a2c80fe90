#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "compare/comparing.h"

namespace tervolanda::test {
namespace {

// A chain of glycines: its C-alpha atoms count as beta atoms.
Chain glycines(const Chain& chain) {
    std::vector<Place> places;
    for (const Atom& a : chain.atoms)
        places.push_back({a.x, a.y, a.z});
    return calphaChain(places, std::string(places.size(), 'G'));
}

// Every contact of a chain, by looking at all pairs of beta atoms.
std::map<std::pair<int, int>, int> contactsOf(const Chain& chain, double distance, int gap) {
    std::map<std::pair<int, int>, int> contacts;
    for (const Residue& r : chain.residues) {
        for (const Residue& s : chain.residues) {
            if (r.beta == kNoAtom || s.beta == kNoAtom) continue;
            const Atom &a = chain.atoms[r.beta], &b = chain.atoms[s.beta];
            const auto key = std::pair(a.residueNumber * 256 + a.insertionCode,
                                       b.residueNumber * 256 + b.insertionCode);
            if (key.first < key.second && b.residueNumber - a.residueNumber >= gap &&
                std::hypot(a.x - b.x, a.y - b.y, a.z - b.z) <= distance) {
                contacts[key] = 1;
            }
        }
    }
    return contacts;
}

void expectBruteForceCounts(const Chain& experiment, const Chain& prediction, double distance,
                            int gap) {
    const NativeContacts found = nativeContacts(experiment, prediction, distance, gap);
    const auto native = contactsOf(experiment, distance, gap);
    const auto predicted = contactsOf(prediction, distance, gap);
    std::size_t matched = 0;
    for (const auto& [key, count] : native)
        matched += predicted.count(key);
    EXPECT_EQ(found.native, native.size());
    EXPECT_EQ(found.matched, matched);
}

TEST(NativeContacts, CountAsAllPairsDo) {
    for (std::uint32_t seed = 0; seed < 20; ++seed) {
        const Chain experiment = glycines(coil(90, seed));
        const Chain prediction =
            glycines(withoutResidues(shaken(coil(90, seed), 2.0, seed), seed, seed + 5));
        expectBruteForceCounts(experiment, prediction, 7.5, 5);
        expectBruteForceCounts(experiment, prediction, 0.3 * seed, static_cast<int>(seed) / 4);
    }
    EXPECT_EQ(nativeContacts(glycines(coil(90, 1)), glycines(coil(90, 1)), 7.5, 5).percentage(),
              100.0);
}

TEST(NativeContacts, IncludeBothLimits) {
    const Chain chain = calphaChain({{0, 0, 0}, {50, 0, 0}, {7.5, 0, 0}}, "GGG");
    EXPECT_EQ(nativeContacts(chain, chain, 7.5, 2).native, 1U);
    EXPECT_EQ(nativeContacts(chain, chain, 7.4999, 2).native, 0U);
    EXPECT_EQ(nativeContacts(chain, chain, 7.5, 3).native, 0U);
    EXPECT_EQ(nativeContacts(chain, chain, -1.0, 0).native, 0U);
    EXPECT_EQ(nativeContacts(chain, chain, 7.4, 2).percentage(), 0.0);
    Chain far = chain;
    far.atoms[0].x = -1e300;
    EXPECT_EQ(nativeContacts(far, far, 7.5, 1).native, 0U);
}

}  // namespace
}  // namespace tervolanda::test
