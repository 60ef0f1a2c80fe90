#include "compare/pairing/sequence_pairing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "compare/comparing.h"

namespace tervolanda::test {
namespace {

int similarity(char a, char b) {
    static const std::map<std::string, int> kPublished = {{"AA", 4}, {"AG", 0},  {"AW", -3},
                                                          {"GG", 6}, {"GW", -2}, {"WW", 11}};
    std::string both = {static_cast<char>(std::toupper(a)), static_cast<char>(std::toupper(b))};
    std::sort(both.begin(), both.end());
    const auto found = kPublished.find(both);
    return found == kPublished.end() ? 0 : found->second;  // X
}

// What a gap of `length` residues costs in `sequence` after `done` residues of it.
int gapCost(const std::string& sequence, std::size_t done, std::size_t length) {
    if (done == 0 || done == sequence.size()) return 0;
    return (std::islower(sequence[done - 1]) != 0 ? 4 : 11) + static_cast<int>(length);
}

// The highest score of any alignment, gap by gap.
int bestScore(const std::string& e, const std::string& p) {
    std::vector<std::vector<int>> best(p.size() + 1, std::vector<int>(e.size() + 1, -1000000));
    best[0][0] = 0;
    for (std::size_t i = 0; i <= p.size(); ++i) {
        for (std::size_t j = 0; j <= e.size(); ++j) {
            int& here = best[i][j];
            if (i > 0 && j > 0) {
                here = std::max(here, best[i - 1][j - 1] + similarity(p[i - 1], e[j - 1]));
            }
            for (std::size_t k = 1; k <= j; ++k)
                here = std::max(here, best[i][j - k] - gapCost(p, i, k));
            for (std::size_t k = 1; k <= i; ++k)
                here = std::max(here, best[i - k][j] - gapCost(e, j, k));
        }
    }
    return best[p.size()][e.size()];
}

// The score of an alignment as its columns show it.
int scoreOf(const std::string& e, const std::string& p, const AlignedColumns& aligned) {
    int score = 0;
    std::size_t i = 0, j = 0, eGap = 0, pGap = 0;  // residues skipped since the last other step
    const auto close = [&](std::size_t& gap, const std::string& other, std::size_t done) {
        if (gap > 0) score -= gapCost(other, done, gap);
        gap = 0;
    };
    for (std::int32_t column = 0; i < p.size() || j < e.size(); ++column) {
        const bool hasP = i < p.size() && aligned.prediction[i] == column;
        const bool hasE = j < e.size() && aligned.experiment[j] == column;
        EXPECT_TRUE(hasP || hasE);
        if (hasP) close(eGap, p, i);
        if (hasE) close(pGap, e, j);
        if (hasP && hasE) score += similarity(p[i], e[j]);
        if (hasP && !hasE) ++pGap;
        if (hasE && !hasP) ++eGap;
        i += hasP ? 1 : 0;
        j += hasE ? 1 : 0;
    }
    close(eGap, p, i);
    close(pGap, e, j);
    return score;
}

TEST(SequenceAligner, FindsTheHighestScore) {
    std::mt19937 engine(3);
    const auto sequence = [&engine](std::string_view letters) {
        std::string text;
        for (std::size_t length = engine() % 30; text.size() < length;)
            text += letters[engine() % letters.size()];
        return text;
    };
    SequenceAligner aligner;
    AlignedColumns aligned;
    for (int round = 0; round < 3000; ++round) {
        const std::string_view letters = round % 2 == 0 ? "AAGW" : "AGWXagw";
        const std::string e = sequence(letters), p = sequence(letters);
        aligner.align(e, p, aligned);
        ASSERT_EQ(scoreOf(e, p, aligned), bestScore(e, p)) << e << " " << p;
    }
}

std::string randomSequence(std::size_t residues, std::uint32_t seed) {
    constexpr std::string_view kMostlyGlycines = "GGGACDEFHIKLMNPQRSTVWY";
    std::mt19937 engine(seed);
    std::string sequence;
    while (sequence.size() < residues)
        sequence += kMostlyGlycines[engine() % kMostlyGlycines.size()];
    return sequence;
}

// The chain with another sequence, numbered from 1.
Chain withSequence(const Chain& chain, std::string_view sequence) {
    std::vector<std::array<double, 3>> places;
    for (const Atom& atom : chain.atoms)
        places.push_back({atom.x, atom.y, atom.z});
    return calphaChain(places, sequence);
}

// The comparison of a renumbered copy by sequence gives what that of the chain itself by number
// does.
TEST(SequencePairing, GivesThePairsOfEqualNumbers) {
    ComparisonParameters parameters = defaultParameters();
    parameters.iterations = 3;
    parameters.contacts = true;
    parameters.contactDistance = 20.0;
    parameters.contactGap = 3;
    std::string sequence = randomSequence(90, 5);
    const Chain experiment = withSequence(coil(90, 1), sequence);
    const std::string others = randomSequence(90, 6);
    for (std::size_t i = 0; i < sequence.size(); i += 5)
        sequence[i] = others[i];
    const Chain mutated = withSequence(shaken(experiment, 2.0, 4), sequence);
    Chain unknown = mutated;
    for (const std::size_t i : {std::size_t{0}, std::size_t{1}, std::size_t{40}, std::size_t{89}})
        unknown.atoms[i].residueName = FixedText<3>("MSE");
    const std::pair<const char*, Chain> models[] = {
        {"mutated", mutated},
        {"unknown residues", unknown},
        {"truncated", withoutResidues(withoutResidues(mutated, 80, 90), 0, 7)},
        {"without a loop", withoutResidues(mutated, 33, 41)}};
    for (const auto& [name, model] : models) {
        parameters.pairBySequence = false;
        const Compared expected = compare(experiment, model, parameters, 0);
        const auto byNumber = compareByRmsd(experiment, model);
        const auto contacts = sharedContacts(experiment, prepared(experiment), model,
                                             prepared(model), byNumber, parameters);
        EXPECT_GT(contacts->matched, 0U) << name;
        parameters.pairBySequence = true;
        for (const Chain& other : {renumbered(model, 205), renumbered(model, -30, 3)}) {
            CapturedLog log(1, 3);
            const auto set = [&](const Chain& chain) {
                return prepareChain(chain, AtomSelection::Calpha, parameters, log.report);
            };
            ComparisonWorkspace workspace;
            ComparisonResult result;
            compareMaxSub(set(experiment), set(other), parameters, workspace, log.report, result);
            EXPECT_EQ(result.partners, expected.result.partners) << name;
            EXPECT_EQ(result.maxsub, expected.result.maxsub) << name;
            EXPECT_GT(result.iterations.size(), 0U) << name;
            EXPECT_TRUE(log.reported().starts_with("Sequences: Pairs=")) << name;
            RmsdOptions options;
            options.pairBySequence = true;
            RmsdResult fit;
            compareRmsd(set(experiment), set(other), options, workspace, log.report, fit);
            EXPECT_EQ(fit.rmsd, byNumber.rmsd) << name;
            const auto shared =
                sharedContacts(experiment, set(experiment), other, set(other), fit, parameters);
            EXPECT_EQ(shared->matched, contacts->matched) << name;
            EXPECT_EQ(shared->native, contacts->native) << name;
        }
    }
}

}  // namespace
}  // namespace tervolanda::test
