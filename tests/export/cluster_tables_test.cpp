#include <gtest/gtest.h>

#include "export/export.h"
#include "support/support.h"

namespace tervolanda {
namespace {

TEST(ClusterTables, ShowNoNegativeZeroAndNoNameOfAnUnknownId) {
    Clustering clustering;
    clustering.settings.method = ClusterMethod::AverageLinkage;
    clustering.tree = {{0, 1, -0.0004}, {-1, 2, -0.0006}};
    clustering.clusters = {{0, 0, 0}, 1};
    clustering.centroids = {{2, 3, -0.0004}};
    ChainList chains{{Chain{}, Chain{}}};
    chains.chains[0].number = 7;
    chains.chains[0].fileName = "seven.pdb";
    chains.chains[1].number = 9;
    chains.chains[1].fileName = "9";
    test::CapturedLog captured;
    const std::vector<std::uint32_t> ids{7, 8, 9};
    printClustering(clustering, {ids, &chains}, captured.log);
    std::string lines;
    for (std::size_t start = 0, end = 0; end != std::string::npos; start = end + 1) {
        end = captured.output().find('\n', start);
        const std::string line = captured.output().substr(start, end - start);
        if (line.find(" :  ") != std::string::npos) lines += line.substr(8) + "|\n";
    }
    EXPECT_EQ(lines,
              "    0 :        7        8        0.000  seven.pdb           |\n"
              "   -1 :        0        9       -0.001             9        |\n"
              "    7 :        1                        seven.pdb|\n"
              "    8 :        1                        |\n"
              "    9 :        1                        9|\n"
              "    1 :        9        3        0.000  9|\n");
}

}  // namespace
}  // namespace tervolanda
