// Measures on demand, held against what they are by their definitions: every two atoms looked at,
// every naming tried, every superposition of a few points made.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>
#include <string>

#include "compare/comparing.h"

namespace tervolanda::test {
namespace {

using Residues = std::map<int, std::map<std::string, Place>>;  // by number, by name

// The coil with heavy atoms and a hydrogen around each C-alpha atom; every amino acid with names
// that can be mistaken is there.
Chain withSideChains(const Chain& trace, std::uint32_t seed) {
    const std::map<std::string, std::vector<std::string>> kAtoms = {
        {"ASP", {"CB", "CG", "OD1", "OD2"}},
        {"GLU", {"CB", "CG", "CD", "OE1", "OE2"}},
        {"PHE", {"CB", "CG", "CD1", "CD2", "CE1", "CE2", "CZ"}},
        {"ARG", {"CB", "CG", "CD", "NE", "CZ", "NH1", "NH2"}},
        {"VAL", {"CB", "CG1", "CG2"}},
        {"ILE", {"CB", "CG1", "CG2", "CD1"}},
        {"LEU", {"CB", "CG", "CD1", "CD2"}},
        {"TYR", {"CB", "CG", "CD1", "CD2", "CE1", "CE2", "CZ", "OH"}},
        {"GLY", {}}};
    std::mt19937 random(seed);
    const auto shift = [&random] { return static_cast<double>(random() % 5000) / 1000.0 - 2.5; };
    Chain chain;
    std::size_t kind = 0;
    for (const Atom& calpha : trace.atoms) {
        auto names = std::next(kAtoms.begin(), static_cast<long>(kind++ % kAtoms.size()));
        std::vector<std::string> all = {"N", "CA", "C", "O", "HA"};
        all.insert(all.end(), names->second.begin(), names->second.end());
        for (const std::string& name : all) {
            Atom atom = calpha;
            atom.name = FixedText<4>(" " + name);
            atom.residueName = FixedText<3>(names->first);
            atom.residueType = static_cast<std::int16_t>(residueIndex(names->first));
            atom.classification = classifyAtomName(atom.name.view(), atom.residueType);
            if (name != "CA") {
                atom.x += shift();
                atom.y += shift();
                atom.z += shift();
            }
            chain.atoms.push_back(atom);
        }
    }
    Log log;
    buildResidues(chain, log);
    return chain;
}

// Without some residues and atoms, and with the atoms of some side chains misnamed.
Chain damaged(const Chain& chain) {
    Chain damaged;
    for (Atom atom : chain.atoms) {
        const int residue = atom.residueNumber;
        if (residue % 11 == 0 || (residue % 7 == 0 && atom.name.view() == " CB ")) continue;
        const char last = atom.name[3];
        if (residue % 3 == 0 && (last == '1' || last == '2'))
            atom.name[3] = last == '1' ? '2' : '1';
        damaged.atoms.push_back(atom);
    }
    Log log;
    buildResidues(damaged, log);
    return damaged;
}

Residues residuesOf(const Chain& chain, bool calphasOnly) {
    Residues residues;
    for (const Atom& atom : chain.atoms) {
        const std::string name(trimBlanks(atom.name.view()));
        if (name.front() == 'H' || (calphasOnly && name != "CA")) continue;
        residues[atom.residueNumber][name] = {atom.x, atom.y, atom.z};
    }
    return residues;
}

double distance(const Place& a, const Place& b) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

bool isDoubtful(char letter, const std::string& name) {
    const std::map<char, std::string> kNames = {
        {'D', "OD1 OD2"}, {'E', "OE1 OE2"}, {'F', "CD1 CD2 CE1 CE2"}, {'L', "CD1 CD2"},
        {'R', "NH1 NH2"}, {'V', "CG1 CG2"}, {'Y', "CD1 CD2 CE1 CE2"}};
    const auto found = kNames.find(letter);
    return found != kNames.end() &&
           (" " + found->second + " ").find(" " + name + " ") != std::string::npos;
}

struct Count {
    int kept = 0, all = 0;
    double score() const { return static_cast<double>(kept) / all; }
};

// The distances of one residue to the others, of `names` all or those of sure names alone.
Count distancesOf(int number, const Residues& reference, const Residues& model,
                  const std::map<int, char>& letters, bool onlySure) {
    Count count;
    for (const auto& [name, place] : reference.at(number)) {
        for (const auto& [other, atoms] : reference) {
            for (const auto& [otherName, otherPlace] : atoms) {
                const double wanted = distance(place, otherPlace);
                const bool counts = other != number && wanted <= 15.0 &&
                                    !(onlySure && isDoubtful(letters.at(other), otherName));
                if (!counts) continue;
                count.all += 4;
                if (!model.contains(number) || !model.at(number).contains(name)) continue;
                if (!model.contains(other) || !model.at(other).contains(otherName)) continue;
                const double found =
                    distance(model.at(number).at(name), model.at(other).at(otherName));
                for (const double limit : {0.5, 1.0, 2.0, 4.0})
                    count.kept += std::abs(found - wanted) <= limit ? 1 : 0;
            }
        }
    }
    return count;
}

// Gives each side chain the names that keep more distances.
Residues wellNamed(const Residues& reference, const Residues& model,
                   const std::map<int, char>& letters) {
    Residues best = model;
    for (const auto& [number, atoms] : model) {
        if (!reference.contains(number)) continue;
        Residues exchanged = model;
        for (const auto& [name, place] : atoms) {
            if (isDoubtful(letters.at(number), name)) exchanged[number].erase(name);
        }
        for (const auto& [name, place] : atoms) {
            if (!isDoubtful(letters.at(number), name)) continue;
            std::string other = name;
            other.back() = name.back() == '1' ? '2' : '1';
            exchanged[number][other] = place;
        }
        const auto kept = [&, residue = number](const Residues& named) {
            return distancesOf(residue, reference, named, letters, true).kept;
        };
        if (kept(exchanged) > kept(model)) best[number] = exchanged.at(number);
    }
    return best;
}

MeasureValues measured(const Chain& experiment, const Chain& prediction, bool bothWays = false) {
    CapturedLog log;
    ComparisonParameters parameters;
    for (const Measure measure : kMeasures)
        parameters.measures.wanted.add(measure);
    RmsdOptions options;
    options.pairByNumber = true;
    options.measures = parameters.measures;
    options.measures.bothWays = bothWays;
    options.measures.perResidue = true;
    ComparisonWorkspace workspace;
    RmsdResult result;
    compareRmsd(prepareChain(experiment, AtomSelection::Calpha, parameters, log.report),
                prepareChain(prediction, AtomSelection::Calpha, parameters, log.report), options,
                workspace, log.report, result);
    return result.measures;
}

TEST(Lddt, CountsWhatItIsDefinedBy) {
    // The last residue is a misnamed valine: nothing after it may be touched.  Places are negative
    // and positive.
    const Chain experiment = withSideChains(moved(coil(81, 5)), 1);
    const Chain prediction = moved(damaged(shaken(experiment, 1.0, 2)));
    const MeasureValues values = measured(experiment, prediction);
    std::map<int, char> letters;
    for (const Atom& atom : experiment.atoms)
        letters[atom.residueNumber] = oneLetterCode(atom);
    for (const Measure measure : {Measure::Lddt, Measure::LddtAll}) {
        const bool calphasOnly = measure == Measure::Lddt;
        const Residues reference = residuesOf(experiment, calphasOnly);
        const Residues model = wellNamed(reference, residuesOf(prediction, calphasOnly), letters);
        Count all;  // each distance twice
        std::size_t i = 0;
        for (const auto& [number, atoms] : reference) {
            const Count count = distancesOf(number, reference, model, letters, false);
            all.kept += count.kept;
            all.all += count.all;
            if (calphasOnly) continue;
            EXPECT_DOUBLE_EQ(values.residues[i++], count.score());
        }
        EXPECT_GT(all.score(), 0.2);
        EXPECT_LT(all.score(), 0.9);
        EXPECT_DOUBLE_EQ(*values.value(measure), all.score());
    }
}

TEST(Lddt, IsOfBothModelsWhereNeitherIsTheTruth) {
    const Chain first = withSideChains(coil(80, 5), 1), second = damaged(shaken(first, 1.0, 2));
    for (const Measure measure : {Measure::Lddt, Measure::LddtAll}) {
        const double forth = *measured(first, second).value(measure);
        const double back = *measured(second, first).value(measure);
        EXPECT_GT(back, forth + 0.05);  // what is lost counts one way only
        EXPECT_DOUBLE_EQ(*measured(first, second, true).value(measure), 0.5 * (forth + back));
        EXPECT_EQ(measured(first, second, true).value(measure),
                  measured(second, first, true).value(measure));
    }
}

// Limits belong to what they limit, wherever the chain lies.
TEST(Lddt, CountsDistancesAtItsLimits) {
    const Chain experiment = calphaChain({{0, 0, 0}, {15, 0, 0}, {15, 15.001, 0}});
    const Chain prediction = calphaChain({{0, 0, 0}, {15.5, 0, 0}, {15.5, 14, 0}});
    EXPECT_DOUBLE_EQ(*measured(experiment, prediction).value(Measure::Lddt), 1.0);
    EXPECT_DOUBLE_EQ(*measured(moved(experiment), moved(moved(prediction))).value(Measure::Lddt),
                     1.0);
    // Without a distance there is nothing to keep.
    const Chain apart = calphaChain({{0, 0, 0}, {100, 0, 0}, {0, 1e7, 0}});
    EXPECT_FALSE(measured(apart, apart).value(Measure::Lddt).has_value());
}

// Two halves, of which the second is displaced: no superposition has both within 4 Å, and each
// cut-off may take the half that suits it.
TEST(AssessorsGdt, TakesTheBestSuperpositionOfEachCutOff) {
    const Chain whole = coil(60, 3);
    std::vector<Place> places;
    for (std::size_t i = 0; i < 60; ++i) {
        const Atom& atom = whole.atoms[i];
        // The first 25 residues are exact; all others are 20 Å off as one piece, in which every
        // third is 1.5 Å out of place.
        const double shift = i < 25 ? 0.0 : 20.0;
        const double out = i >= 25 && i % 3 == 0 ? 1.5 : 0.0;
        places.push_back({atom.x + shift, atom.y + out, atom.z});
    }
    const MeasureValues values = measured(whole, moved(calphaChain(places)));
    // Within 0.5 Å the first 25; from 2 Å on the 35 of the second piece, or more of it with the
    // first.
    const double most = 100.0 / 60.0 * 0.25;
    EXPECT_GE(*values.value(Measure::GdtHa), most * (25 + 25 + 35 + 35) - 1e-9);
    EXPECT_GE(*values.value(Measure::GdtTs), most * (25 + 35 + 35 + 35) - 1e-9);
    EXPECT_LT(*values.value(Measure::GdtTs), most * (30 + 40 + 40 + 45));
    EXPECT_DOUBLE_EQ(*measured(whole, moved(whole)).value(Measure::GdtHa), 100.0);
    const Chain few = calphaChain({{0, 0, 0}, {3.8, 0, 0}, {3.8, 3.8, 0}});
    EXPECT_DOUBLE_EQ(*measured(few, moved(few)).value(Measure::GdtTs), 100.0);
    EXPECT_DOUBLE_EQ(*measured(whole, moved(few)).value(Measure::GdtTs), 5.0);
}

}  // namespace
}  // namespace tervolanda::test
