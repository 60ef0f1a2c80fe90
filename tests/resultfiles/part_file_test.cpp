#include "resultfiles/part_file.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "support/support.h"

namespace tervolanda {
namespace {

// A part of another model must not be merged: its checksum is another for all that a comparison may
// look at.
TEST(ChainChecksum, IsAnotherForAnotherModel) {
    Chain chain = test::coil(3, 1);
    chain.subunits = {"A"};
    const std::vector<std::function<void(Atom&)>> changes = {
        [](Atom& atom) { atom.x += 0.001; },    [](Atom& atom) { atom.y += 0.001; },
        [](Atom& atom) { atom.z += 0.001; },    [](Atom& atom) { atom.residueNumber += 256; },
        [](Atom& atom) { ++atom.residueType; }, [](Atom& atom) { atom.insertionCode = 'A'; },
        [](Atom& atom) { atom.name[3] = 'B'; }, [](Atom& atom) { atom.residueName[0] = 'D'; },
        [](Atom& atom) { ++atom.subunit; }};
    std::set<std::uint32_t> sums = {chainChecksum(chain)};
    for (const auto& change : changes) {
        Chain other = chain;
        change(other.atoms[1]);
        EXPECT_TRUE(sums.insert(chainChecksum(other)).second) << sums.size();
    }
    chain.subunits = {"B"};
    EXPECT_TRUE(sums.insert(chainChecksum(chain)).second);
}

}  // namespace
}  // namespace tervolanda
