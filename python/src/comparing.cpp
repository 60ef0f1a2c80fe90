// Two structures compared: MaxSub with TM-score, RMSD, GDT, contacts.
#include "comparing.h"

#include <pybind11/stl.h>

#include <cmath>
#include <string>
#include <utility>

#include "arrays.h"
#include "aside.h"
#include "messages.h"
#include "motion.h"
#include "parameters.h"
#include "scratch.h"

namespace tervolanda::python {

namespace {

// --- Results -------------------------------------------------------------------------------------

struct Domain {
    std::optional<Superposition> superposition;
    std::uint32_t pairs = 0;
    double score = 0.0;
    double cutoff = 0.0;
};

// Distance of two records under a superposition, Å; not a number without one.
double distanceOf(const std::optional<Superposition>& superposition,
                  const CoordinateSet& experiment, const CoordinateSet& prediction,
                  MatchedPair pair) {
    if (!superposition) return kNone;
    const Points& from = prediction.points;
    const Points& to = experiment.points;
    const auto moved = superposition->apply(from.x[pair.prediction], from.y[pair.prediction],
                                            from.z[pair.prediction]);
    const double x = moved[0] - to.x[pair.experiment];
    const double y = moved[1] - to.y[pair.experiment];
    const double z = moved[2] - to.z[pair.experiment];
    return std::sqrt(x * x + y * y + z * z);
}

// (k, 2): positions in the experiment and in the prediction.
py::array_t<std::int64_t> tableOf(const std::vector<MatchedPair>& pairs) {
    return newTable<std::int64_t>(pairs.size(), 2, [&](std::size_t i, std::int64_t* row) {
        row[0] = pairs[i].experiment;
        row[1] = pairs[i].prediction;
    });
}

std::vector<MatchedPair> mappedPairs(const Comparison& comparison) {
    std::vector<MatchedPair> pairs;
    const auto& partners = comparison.found.partners;
    for (std::uint32_t i = 0; i < partners.size(); ++i) {
        if (partners[i] >= 0) pairs.push_back({static_cast<std::uint32_t>(partners[i]), i, 0});
    }
    return pairs;
}

// One a residue of the prediction; not a number where it has no partner.
py::array_t<double> distances(const std::optional<Superposition>& superposition,
                              const CoordinateSet& experiment, const CoordinateSet& prediction,
                              const std::vector<MatchedPair>& pairs) {
    auto array = newArray<double>(prediction.size(), [](std::size_t) { return kNone; });
    for (const MatchedPair& pair : pairs) {
        array.mutable_at(static_cast<py::ssize_t>(pair.prediction)) =
            distanceOf(superposition, experiment, prediction, pair);
    }
    return array;
}

// The set that an alignment shows: of a pairing by structure with the secondary structure.
CoordinateSet shownSet(const Structure& structure, const ComparisonParameters& parameters) {
    Log log;
    Report silent(log, 0);
    return prepareChain(structure.chain(), AtomSelection::Calpha, parameters, silent);
}

// The lines of the alignment as the program prints them.
py::str alignmentOf(const Comparison& comparison, int width) {
    if (width < 1) throw py::value_error("width is at least 1");
    std::string text;
    Log log([&text](LogLevel, std::string_view lines) { text += lines; });
    Report report(log, static_cast<int>(ReportLevel::Alignment));
    printAlignment(shownSet(*comparison.experiment, comparison.parameters),
                   shownSet(*comparison.prediction, comparison.parameters), comparison.found,
                   comparison.parameters, width, report);
    return asText(text);
}

std::vector<Domain> domainsOf(const Comparison& comparison) {
    std::vector<Domain> domains;
    for (const DomainIteration& iteration : comparison.found.iterations) {
        domains.push_back(
            {iteration.superposition, iteration.pairs, iteration.score, iteration.distanceCutoff});
    }
    return domains;
}

// The names of chains that belong together; none of single chains.
std::vector<std::pair<py::str, py::str>> chainPairs(const Pair& pair,
                                                    std::span<const SubunitPair> subunits) {
    std::vector<std::pair<py::str, py::str>> names;
    for (const SubunitPair& of : subunits) {
        names.emplace_back(asText(pair.experiment->calphas().subunits[of.experiment].name),
                           asText(pair.prediction->calphas().subunits[of.prediction].name));
    }
    return names;
}

// A fit does not keep its chains: they are paired once more.
std::vector<std::pair<py::str, py::str>> chainPairsOfFit(const Rmsd& rmsd) {
    PairingKeys keys;
    const auto found = keys.summarise(rmsd.experiment->calphas(), rmsd.prediction->calphas(),
                                      rmsd.choice.pairing, bestKernels());
    return chainPairs(rmsd, found.subunits);
}

constexpr const char* kChainPairs =
    "Of complexes the names of the chains that belong together, those of the experiment first.";

// --- Comparing -----------------------------------------------------------------------------------

// Whether a search may take longer than a user who wants to end it should wait.
bool mayTakeLong(const Structure& experiment, const Structure& prediction,
                 const ComparisonParameters& parameters) {
    constexpr double kSoon = 250'000.0;  // cells: 10 ms
    const double cells = static_cast<double>(experiment.calphas().size()) *
                         static_cast<double>(prediction.calphas().size());
    const double passes = 1.0 + static_cast<double>(parameters.optimisations);
    return cells * passes * static_cast<double>(parameters.iterations) > kSoon;
}

// Runs search(parameters, workspace, report): short ones here, long ones aside.
template <typename Search>
void runSearch(const Structure& experiment, const Structure& prediction,
               ComparisonParameters parameters, Search search) {
    requirePairing(parameters, experiment);
    requirePairing(parameters, prediction);
    Log log;
    Report report(log, 0);
    if (!mayTakeLong(experiment, prediction, parameters)) {
        Scratch scratch;
        const py::gil_scoped_release computing;
        search(parameters, scratch.workspace(), report);
        return;
    }
    ComparisonWorkspace workspace;  // may get large, and is not kept
    Aside aside;
    parameters.stop = aside.stop();
    aside.run([&] { search(parameters, workspace, report); });
}

// By the pairs that the comparison ended with, with the residues of an lDDT.
MeasureValues measured(const Comparison& comparison, Measure measure) {
    const FitChoice choice{.measure = measure};
    const CoordinateSet& experiment = choice.setOf(*comparison.experiment);
    const CoordinateSet& prediction = choice.setOf(*comparison.prediction);
    MeasureValues values;
    runSearch(*comparison.experiment, *comparison.prediction, choice.parameters(),
              [&](const ComparisonParameters& asked, ComparisonWorkspace& workspace, Report&) {
                  MeasureRequest request = asked.measures;
                  request.perResidue = true;
                  request.stop = asked.stop;
                  measurePairs(experiment, prediction, comparison.found.partners, request,
                               workspace, values);
              });
    return values;
}

}  // namespace

RmsdOptions FitChoice::options() const {
    return {.urmsd = urmsd,
            .urmsdRotation = urmsdRotation,
            .pairBySequence = pairing.bySequence,
            .pairByNumber = measure.has_value(),
            .measures = parameters().measures,
            .mapChains = pairing.mapsChains};
}

ComparisonParameters FitChoice::parameters() const {
    ComparisonParameters parameters;
    parameters.pairBySequence = pairing.bySequence;
    parameters.mapChains = pairing.mapsChains;
    if (measure) parameters.measures.wanted.add(*measure);
    return parameters;
}

void requirePairing(const ComparisonParameters& parameters, const Structure& structure) {
    if (parameters.sequenceIndependent && !structure.chain().subunits.empty())
        throw py::value_error("align='structure' is for single chains, not for complexes");
}

Comparison compare(const StructurePtr& experiment, const StructurePtr& prediction,
                   const ComparisonParameters& parameters) {
    Comparison comparison;
    comparison.experiment = experiment;
    comparison.prediction = prediction;
    comparison.parameters = parameters;
    runSearch(
        *experiment, *prediction, parameters,
        [&](const ComparisonParameters& asked, ComparisonWorkspace& workspace, Report& report) {
            compareMaxSub(experiment->calphas(), prediction->calphas(), asked, workspace, report,
                          comparison.found);
        });
    if (!comparison.found.iterations.empty()) {
        comparison.superposition = comparison.found.iterations.front().superposition;
    }
    return comparison;
}

Gdt gdt(const StructurePtr& experiment, const StructurePtr& prediction,
        const ComparisonParameters& parameters) {
    Gdt result;
    result.experiment = experiment;
    result.prediction = prediction;
    result.parameters = parameters;
    GdtResult found;
    runSearch(
        *experiment, *prediction, parameters,
        [&](const ComparisonParameters& asked, ComparisonWorkspace& workspace, Report& report) {
            found = compareGdt(experiment->calphas(), prediction->calphas(), asked, workspace,
                               report, result.search);
        });
    result.gdt = found.gdt;
    result.superposition = found.superposition;
    return result;
}

Rmsd rmsd(const StructurePtr& experiment, const StructurePtr& prediction, const FitChoice& choice) {
    Rmsd result;
    result.experiment = experiment;
    result.prediction = prediction;
    result.choice = choice;
    const CoordinateSet& from = result.experimentSet();
    const CoordinateSet& to = result.predictionSet();
    Scratch scratch;
    const py::gil_scoped_release computing;
    Log log;
    Report report(log, 0);
    compareRmsd(from, to, choice.options(), scratch.workspace(), report, result.found);
    if (result.found.rmsd) {
        result.relative = relativeRmsd(*result.found.rmsd, from.gyrationRadius, to.gyrationRadius,
                                       result.found.pairs);
        result.superposition = result.found.superposition;
    }
    return result;
}

namespace {

// The contacts of the experiment that the prediction has, their number, and per cent.
py::tuple contacts(const StructurePtr& experiment, const StructurePtr& prediction, double distance,
                   int gap, const FitChoice& choice) {
    ComparisonParameters parameters = choice.parameters();
    parameters.contacts = true;
    parameters.contactDistance = distance;
    parameters.contactGap = gap;
    NativeContacts found;
    Scratch scratch;
    {
        const py::gil_scoped_release computing;
        Log log;
        Report report(log, 0);
        RmsdResult fit;
        if (choice.pairing.bySequence || experiment->calphas().isComplex ||
            prediction->calphas().isComplex) {
            compareRmsd(experiment->calphas(), prediction->calphas(), choice.options(),
                        scratch.workspace(), report, fit);
        }
        found = *sharedContacts(experiment->chain(), experiment->calphas(), prediction->chain(),
                                prediction->calphas(), fit, parameters);
    }
    return py::make_tuple(found.matched, found.native, found.percentage());
}

// --- What Python sees ----------------------------------------------------------------------------

// A measure on demand by its name; none for an empty one.
std::optional<Measure> measureNamed(const std::string& name) {
    if (name.empty()) return std::nullopt;
    for (const Measure measure : kMeasures) {
        if (measureName(measure) == name) return measure;
    }
    throw py::value_error("no such measure: " + name);
}

void addDomain(py::module_& module) {
    py::class_<Domain> domain(module, "Domain", "One domain of a comparison.");
    domain.def_readonly("pairs", &Domain::pairs, "Residue pairs of its subset.")
        .def_readonly("score", &Domain::score, "Its share of the MaxSub score.")
        .def_readonly("cutoff", &Domain::cutoff, "The distance cut-off that was used, Å.");
    addSuperposition(domain);
}

void addComparison(py::module_& module) {
    py::class_<Comparison> comparison(module, "Comparison", "What compare() found.");
    const auto figure = [&comparison](const char* name, auto member, const char* document) {
        comparison.def_property_readonly(
            name, [member](const Comparison& self) { return self.found.*member; }, document);
    };
    figure("pairs", &ComparisonResult::pairs, "Residue pairs of the MaxSub subset.");
    figure("mapped", &ComparisonResult::mapped, "Residue pairs in all.");
    figure("rmsd", &ComparisonResult::rmsd, "RMSD of the subset, Å.");
    figure("grmsd", &ComparisonResult::grmsd, "RMSD of all pairs, same superposition, Å.");
    figure("maxsub", &ComparisonResult::maxsub, "MaxSub (Siew et al. 2000), 0 to 1.");
    figure("tm", &ComparisonResult::tm, "TM-score (Zhang & Skolnick 2004), 0 to 1.");
    figure("msi", &ComparisonResult::msi, "MaxSub over the domains, the largest weighing most.");
    const auto onDemand = [&comparison](Measure measure, const char* document) {
        comparison.def_property_readonly(
            std::string(measureName(measure)).c_str(),
            [measure](const Comparison& self) {
                return measured(self, measure).value(measure).value_or(kNone);
            },
            document);
    };
    onDemand(Measure::Lddt, "lDDT (Mariani et al. 2013) by C-alpha atoms, 0 to 1.");
    onDemand(Measure::LddtAll, "lDDT by all atoms but hydrogens, 0 to 1.");
    onDemand(Measure::GdtTs, "GDT_TS (Zemla 2003), best superpositions, 0 to 100.");
    onDemand(Measure::GdtHa, "GDT_HA, the same of high accuracy, 0 to 100.");
    const auto byResidue = [&comparison](const char* name, Measure measure, const char* document) {
        comparison.def_property_readonly(
            name,
            [measure](const Comparison& self) {
                const MeasureValues values = measured(self, measure);
                return newArray<double>(values.residues.size(),
                                        [&](std::size_t i) { return values.residues[i]; });
            },
            document);
    };
    byResidue("lddt_residues", Measure::Lddt,
              "lDDT of each residue of the experiment by C-alpha atoms, (n,); NaN without "
              "neighbours.");
    byResidue("lddt_all_residues", Measure::LddtAll,
              "The same by all atoms but hydrogens, those of side chains, too.");
    comparison.def_property_readonly("domains", domainsOf, "The domains found, in order.")
        .def_property_readonly(
            "chain_pairs",
            [](const Comparison& self) { return chainPairs(self, self.found.subunits); },
            kChainPairs)
        .def_property_readonly(
            "matched", [](const Comparison& self) { return tableOf(self.found.matched); },
            "The pairs of the subset: positions in experiment and prediction, (k, 2).")
        .def_property_readonly(
            "mapped_pairs", [](const Comparison& self) { return tableOf(mappedPairs(self)); },
            "All pairs, in the order of the prediction, (k, 2).")
        .def_property_readonly(
            "distances",
            [](const Comparison& self) {
                return distances(self.superposition, self.experiment->calphas(),
                                 self.prediction->calphas(), mappedPairs(self));
            },
            "Distance of each residue of the prediction to its partner under the superposition "
            "of the first domain, (n,), Å; NaN where it has none.")
        .def("alignment", alignmentOf, py::arg("width") = 60,
             R"(The residues paired, as text: "|" in the subset, "'" others.)")
        .def("__repr__", [](const Comparison& self) {
            const ComparisonResult& found = self.found;
            return py::str(
                       "Comparison(tm={:.3f}, maxsub={:.3f}, pairs={}, rmsd={:.3f}, "
                       "mapped={}, grmsd={:.3f})")
                .format(found.tm, found.maxsub, found.pairs, found.rmsd, found.mapped, found.grmsd);
        });
    addSuperposition(comparison);
}

void addGdt(py::module_& module) {
    py::class_<Gdt> result(module, "Gdt", "What gdt() found.");
    result.def_readonly("gdt", &Gdt::gdt, "GDT (Zemla 2003), 0 to 100.")
        .def_property_readonly(
            "chain_pairs", [](const Gdt& self) { return chainPairs(self, self.search.subunits); },
            kChainPairs)
        .def("__float__", [](const Gdt& self) { return self.gdt; })
        .def("__repr__",
             [](const Gdt& self) { return py::str("Gdt(gdt={:.3f})").format(self.gdt); });
    addSuperposition(result);
}

void addRmsd(py::module_& module) {
    py::class_<Rmsd> result(module, "Rmsd", "What rmsd() found.");
    result
        .def_property_readonly(
            "rmsd", [](const Rmsd& self) { return self.found.rmsd.value_or(kNone); },
            "RMSD, Å; NaN where fewer than 3 atoms pair or no rotation fits.")
        .def_property_readonly(
            "pairs", [](const Rmsd& self) { return self.found.pairs; }, "C-alpha pairs.")
        .def_property_readonly(
            "relative", [](const Rmsd& self) { return self.relative.ratio; },
            "RMSD over that of unrelated structures (Betancourt & Skolnick 2001).")
        .def_property_readonly(
            "standard_score", [](const Rmsd& self) { return self.relative.standardScore; },
            "Standard score of `relative`.")
        .def_property_readonly(
            "urmsd", [](const Rmsd& self) { return self.found.urmsd; },
            "RMSD of chain directions (Kedem et al. 1999).")
        .def_property_readonly(
            "relative_urmsd",
            [](const Rmsd& self) {
                return self.found.rmsd ? relativeUrmsd(self.found.urmsd, self.found.pairs) : 0.0;
            },
            "URMSD over that of unrelated chains (Ortiz et al. 2002).")
        .def_property_readonly("chain_pairs", chainPairsOfFit, kChainPairs)
        .def_property_readonly(
            "matched", [](const Rmsd& self) { return tableOf(self.found.matched); },
            "The C-alpha pairs: positions among the atoms compared, (k, 2).")
        .def_property_readonly(
            "distances",
            [](const Rmsd& self) {
                return distances(self.superposition, self.experimentSet(), self.predictionSet(),
                                 self.found.matched);
            },
            "Distance of each atom of the prediction to its partner, (n,), Å; else NaN.")
        .def("__float__", [](const Rmsd& self) { return self.found.rmsd.value_or(kNone); })
        .def("__repr__", [](const Rmsd& self) {
            return py::str("Rmsd(rmsd={:.3f}, pairs={}, relative={:.3f}, urmsd={:.3f})")
                .format(self.found.rmsd.value_or(kNone), self.found.pairs, self.relative.ratio,
                        self.found.urmsd);
        });
    addSuperposition(result);
}

}  // namespace

void addComparisons(py::module_& module) {
    addParameters(module);
    addDomain(module);
    addComparison(module);
    addGdt(module);
    addRmsd(module);
    const auto experiment = py::arg("experiment").none(false);
    const auto prediction = py::arg("prediction").none(false);
    module.def("compare", compare, experiment, prediction, py::arg("parameters"));
    module.def("gdt", gdt, experiment, prediction, py::arg("parameters"));
    py::class_<FitChoice>(module, "FitChoice")
        .def(py::init([](bool backbone, bool urmsd, bool urmsdRotation, bool bySequence,
                         bool mapChains, const std::string& measure) {
            return FitChoice{.backbone = backbone,
                             .urmsd = urmsd,
                             .urmsdRotation = urmsdRotation,
                             .pairing = {.bySequence = bySequence, .mapsChains = mapChains},
                             .measure = measureNamed(measure)};
        }));
    module.def("rmsd", rmsd, experiment, prediction, py::arg("choice"));
    module.def("contacts", contacts, experiment, prediction, py::arg("distance"), py::arg("gap"),
               py::arg("choice"));
}

}  // namespace tervolanda::python
