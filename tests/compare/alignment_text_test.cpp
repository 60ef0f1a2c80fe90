#include <gtest/gtest.h>

#include "compare/comparing.h"

namespace tervolanda::test {
namespace {

std::string alignmentOf(const Chain& experiment, const Chain& prediction, int lineWrap,
                        int reportLevel = 4) {
    const Compared compared = compare(experiment, prediction, defaultParameters(), 1);
    CapturedLog log(1, reportLevel);
    printAlignment(compared.experiment, compared.prediction, compared.result, defaultParameters(),
                   lineWrap, log.report);
    return log.reported();
}

Chain renumbered(Chain chain, int by) {
    for (Atom& atom : chain.atoms) {
        atom.residueNumber = static_cast<std::int16_t>(atom.residueNumber + by);
    }
    CapturedLog log;
    buildResidues(chain, log.log);
    return chain;
}

const std::string kHead = "Alignment   ' = mapped, | = maxsub\n";

TEST(AlignmentText, GroupsByTensAndWrapsWithTheBlankAtTheLineEnd) {
    const Chain chain = helix(12);
    EXPECT_EQ(alignmentOf(chain, chain, 60), kHead +
                                                 "\nPrediction  AAAAAAAAAA AA\n"
                                                 "            |||||||||| ||\n"
                                                 "Experiment  AAAAAAAAAA AA\n");
    EXPECT_EQ(alignmentOf(chain, chain, 10), kHead +
                                                 "\nPrediction  AAAAAAAAAA \n"
                                                 "            |||||||||| \n"
                                                 "Experiment  AAAAAAAAAA \n"
                                                 "\nPrediction  AA\n"
                                                 "            ||\n"
                                                 "Experiment  AA\n");
    EXPECT_EQ(alignmentOf(chain, chain, 60, 3), "");
}

TEST(AlignmentText, ShowsResiduesWithoutPartnerAgainstDots) {
    // The prediction is numbered 3 to 14, the experiment 1 to 12.
    Chain prediction = renumbered(helix(12), 2);
    for (std::size_t i = 0; i < 10; ++i) {
        const Atom there = helix(12).atoms[i + 2];
        prediction.atoms[i].x = there.x;
        prediction.atoms[i].y = there.y;
        prediction.atoms[i].z = there.z;
    }
    prediction.atoms[0].x += 30.0;  // mapped, and far from its partner
    EXPECT_EQ(alignmentOf(helix(12), prediction, 60), kHead +
                                                          "\nPrediction  ..AAAAAAAA AAAA\n"
                                                          "              '||||||| ||  \n"
                                                          "Experiment  AAAAAAAAAA AA..\n");
}

TEST(AlignmentText, OfChainsWithNothingInCommonListsBoth) {
    EXPECT_EQ(alignmentOf(helix(2), renumbered(helix(3), 50), 60), kHead +
                                                                       "\nPrediction  AAA..\n"
                                                                       "                 \n"
                                                                       "Experiment  ...AA\n");
}

}  // namespace
}  // namespace tervolanda::test
