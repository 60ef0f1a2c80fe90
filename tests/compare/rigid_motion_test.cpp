// A chain that is moved as a whole compares as before, to the last printed byte: also where two
// parts fit exactly as well as each other, and where a distance is exactly that of a limit.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "compare/comparing.h"

namespace tervolanda::test {
namespace {

using testing::HasSubstr;

Chain shifted(Chain chain, double x, double y, double z, std::size_t first = 0) {
    for (std::size_t i = first; i < chain.atoms.size(); ++i) {
        chain.atoms[i].x += x;
        chain.atoms[i].y += y;
        chain.atoms[i].z += z;
    }
    return chain;
}

Chain quarterTurned(Chain chain) {
    for (Atom& atom : chain.atoms)
        std::tie(atom.x, atom.y, atom.z) = std::tuple(-atom.y, atom.z, -atom.x);
    return chain;
}

// The chain, and after it the same once more, so far along x.
Chain repeated(const Chain& half, double apart) {
    std::vector<Place> places;
    for (const double shift : {0.0, apart}) {
        for (const Atom& atom : half.atoms)
            places.push_back({atom.x + shift, atom.y, atom.z});
    }
    return calphaChain(places);
}

std::string printed(const Chain& experiment, const Chain& prediction,
                    const ComparisonParameters& parameters, const Kernels& kernels) {
    CapturedLog log(1, 4);
    ComparisonWorkspace workspace(kernels);
    ComparisonResult result;
    const CoordinateSet e = prepared(experiment), p = prepared(prediction);
    compareGdt(e, p, parameters, workspace, log.report, result);
    printAlignment(e, p, result, parameters, 60, log.report);
    return log.reported();
}

// What is printed in every place and on every processor, which must be the same.
std::string printedAnywhere(const Chain& experiment, const Chain& prediction,
                            const ComparisonParameters& parameters) {
    const std::string text = printed(experiment, prediction, parameters, bestKernels());
    const auto places = [](const Chain& chain) {
        return std::array{chain, moved(chain), quarterTurned(shifted(chain, 0.123, -7.1, 33.8)),
                          shifted(moved(moved(chain)), 900.1, -800.2, 0.0)};
    };
    for (const Chain& e : places(experiment)) {
        for (const Chain& p : places(prediction)) {
            for (const Kernels* kernels : runnableKernels())
                EXPECT_EQ(printed(e, p, parameters, *kernels), text);
        }
    }
    return text;
}

// The scores of a comparison; the angles and distances between them are those of the chains alone.
std::vector<double> scoresOf(const Chain& experiment, const Chain& prediction) {
    std::vector<double> scores;
    ComparisonParameters parameters = defaultParameters();
    for (const bool byStructure : {false, true}) {
        parameters.iterations = byStructure ? 1 : 2;
        parameters.sequenceIndependent = byStructure;
        const ComparisonResult result = compare(experiment, prediction, parameters).result;
        scores.insert(scores.end(), {result.tm, result.maxsub, result.msi, result.rmsd,
                                     result.grmsd, static_cast<double>(result.pairs)});
    }
    const RmsdResult fit = compareByRmsd(experiment, prediction);
    const double contacts = nativeContacts(experiment, prediction, 9.0, 3).percentage();
    scores.insert(scores.end(), {fit.rmsd.value(), fit.urmsd, contacts});
    return scores;
}

TEST(Scores, AreThoseOfTheChainsWhereverTheyLieAndInAMirror) {
    for (std::uint32_t seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE(seed);
        const Chain experiment = coil(50 + seed, seed);
        Chain prediction = shaken(experiment, 0.4 + 0.1 * (seed % 9), seed);
        const Chain elsewhere = moved(prediction);
        for (std::size_t i = 35; i < prediction.atoms.size(); ++i)  // a second domain
            prediction.atoms[i] = elsewhere.atoms[i];
        const auto near =
            testing::Pointwise(testing::DoubleNear(1e-5), scoresOf(experiment, prediction));
        EXPECT_THAT(scoresOf(experiment, moved(prediction)), near);
        EXPECT_THAT(scoresOf(moved(experiment), moved(prediction)), near);
        EXPECT_THAT(scoresOf(mirrored(experiment), mirrored(prediction)), near);
    }
}

struct Mode {
    const char* name;
    bool maximiseTM, maxRMSD;
    unsigned iterations;
};

void PrintTo(const Mode& mode, std::ostream* out) {
    *out << mode.name;
}

class RigidMotion : public testing::TestWithParam<Mode> {
 protected:
    static ComparisonParameters parameters(double cutoff) {
        ComparisonParameters parameters = defaultParameters();
        parameters.maximiseTM = GetParam().maximiseTM;
        parameters.maxRMSD = GetParam().maxRMSD;
        parameters.iterations = GetParam().iterations;
        parameters.distanceCutoff = cutoff;
        return parameters;
    }
};

TEST_P(RigidMotion, KeepsTheFirstOfTwoEqualHalves) {
    for (std::uint32_t seed = 0; seed < 8; ++seed) {
        const Chain half = coil(15, seed);
        const Chain other = seed % 2 == 0 ? half : shaken(half, 0.5, seed);
        const Chain experiment = repeated(half, 60.0);
        const Chain prediction = repeated(other, 110.0);
        SCOPED_TRACE(seed);
        const std::string text = printedAnywhere(experiment, prediction, parameters(3.0));
        // The TM-score counts the far half, too: shaken halves are no exact tie.
        if (GetParam().iterations == 1 && (seed % 2 == 0 || !GetParam().maximiseTM)) {
            EXPECT_THAT(text, HasSubstr(" |||||||||| |||||''''' '''''''''' "));
        }
    }
}

TEST_P(RigidMotion, KeepsPairsAtALimit) {
    for (std::uint32_t seed = 0; seed < 8; ++seed) {
        const Chain experiment = coil(16, seed);
        Chain prediction = experiment;
        prediction.atoms[seed].y += 4.0;
        SCOPED_TRACE(seed);
        printedAnywhere(experiment, prediction, parameters(4.0));  // at the radius of a growth step
        printedAnywhere(experiment, prediction, parameters(1.0));  // 4^2 / 16 is 1^2
        EXPECT_THAT(
            printedAnywhere(experiment, prediction, parameters(0.6)),
            HasSubstr("distance 4.000 = 93.75\nPercentage aligned at distance 8.000 = 100"));
        // An RMSD of 1.05 has room for one of the two.
        prediction.atoms[15 - seed].z -= 4.0;
        printedAnywhere(experiment, prediction, parameters(1.05));
    }
}

INSTANTIATE_TEST_SUITE_P(, RigidMotion,
                         testing::Values(Mode{"Default", false, false, 1},
                                         Mode{"ForTm", true, false, 1},
                                         Mode{"ByRmsd", false, true, 1},
                                         Mode{"ForTmByRmsd", true, true, 1},
                                         Mode{"InDomains", false, false, 3}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace tervolanda::test
