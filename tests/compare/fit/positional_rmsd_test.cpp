// Rows of RMSDs against comparisons one by one.
#include "compare/fit/positional_rmsd.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>

#include "compare/comparing.h"
#include "compare/pairing/mapping.h"

namespace tervolanda::test {
namespace {

// Ordinary chains of 40 residues first, then whatever the closed form may fail on.
std::vector<Chain> ordinaryAndOdd(std::size_t ordinary) {
    std::vector<Chain> chains;
    const Chain walk = coil(40, 1);
    for (std::uint32_t i = 0; i < ordinary; ++i)
        chains.push_back(i % 2 == 0 ? moved(shaken(walk, 0.1 + 0.2 * i, i)) : coil(40, i));
    for (const std::size_t n : {2U, 3U, 4U, 5U, 30U}) {
        chains.push_back(coil(n, 7));
        chains.push_back(moved(coil(n, 7)));
        chains.push_back(shaken(coil(n, 7), 1.0, 8));
        chains.push_back(mirrored(coil(n, 7)));
    }
    std::vector<std::array<double, 3>> line;
    for (int i = 0; i < 40; ++i)
        line.push_back({3.8 * i, 0.0, 0.0});
    chains.push_back(calphaChain(line));
    chains.push_back(calphaChain(std::vector<std::array<double, 3>>(40, {1.0, 2.0, 3.0})));
    chains.push_back(walk);
    chains.back().atoms[5].y = 9e9;
    chains.push_back(renumbered(walk, 100));
    chains.emplace_back();
    return chains;
}

TEST(PositionalRmsd, AgreesWithComparisonsOneByOneOrLeavesThePairToThem) {
    constexpr std::size_t kOrdinary = 20;
    const std::vector<Chain> chains = ordinaryAndOdd(kOrdinary);
    std::vector<CoordinateSet> sets;
    for (const Chain& chain : chains)
        sets.push_back(prepared(chain));
    const std::vector<std::uint32_t> kinds = positionalKinds(sets);
    std::vector<PositionalChain> positional;
    for (std::size_t i = 0; i < sets.size(); ++i)
        positional.push_back({&sets[i].points, kinds[i]});
    constexpr auto kBoth = PositionalMeasures::RmsdAndUrmsd;
    std::vector<std::vector<RmsdRow>> bandsOf;  // of each table
    for (const Kernels* kernels : runnableKernels()) {
        const PositionalRmsd rows(positional, kBoth, *kernels);
        // A number must not depend on the rows beside it.
        const std::size_t together = bandsOf.empty() ? 3 : PositionalRmsd::kRowsAtOnce;
        std::vector<RmsdRow>& bands = bandsOf.emplace_back(sets.size());
        for (std::size_t i = 0; i < sets.size(); i += together) {
            const std::size_t count = std::min(together, sets.size() - i);
            rows.compareWithEarlier(i, std::span(bands).subspan(i, count));
        }
    }
    std::size_t known = 0;
    for (std::size_t i = 0; i < sets.size(); ++i) {
        const RmsdRow& row = bandsOf[0][i];
        ASSERT_EQ(row.rmsd.size(), i);
        for (std::size_t j = 0; j < i; ++j) {
            SCOPED_TRACE(testing::Message() << i << " against " << j);
            for (const std::vector<RmsdRow>& bands : bandsOf) {
                EXPECT_EQ(std::bit_cast<std::uint64_t>(row.rmsd[j]),
                          std::bit_cast<std::uint64_t>(bands[i].rmsd[j]));
                EXPECT_EQ(std::bit_cast<std::uint64_t>(row.urmsd[j]),
                          std::bit_cast<std::uint64_t>(bands[i].urmsd[j]));
            }
            const RmsdResult expected = compareByRmsd(chains[i], chains[j]);
            if (!std::isnan(row.rmsd[j])) {
                ASSERT_TRUE(expected.rmsd);
                EXPECT_NEAR(row.rmsd[j], *expected.rmsd, 1e-9 * *expected.rmsd);
            }
            if (!std::isnan(row.rmsd[j]) && !std::isnan(row.urmsd[j])) {
                EXPECT_NEAR(row.urmsd[j], expected.urmsd, 1e-9);
                if (i < kOrdinary) ++known;
            }
        }
    }
    // Near or far, ordinary pairs have a closed form.
    EXPECT_EQ(known, kOrdinary * (kOrdinary - 1) / 2);
}

}  // namespace
}  // namespace tervolanda::test
