// Structures: read from files, or made of arrays that come from elsewhere.
#include "structure.h"

#include <pybind11/stl.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

#include "arrays.h"
#include "aside.h"
#include "chain/input/input.h"
#include "export/values.h"
#include "messages.h"

namespace tervolanda::python {

namespace {

CoordinateSet prepare(const Chain& chain, AtomSelection selection, MeasureSet measures = {}) {
    Log log;
    Report report(log, 0);
    ComparisonParameters parameters;
    parameters.measures.wanted = measures;
    parameters.pairBySequence = true;  // the letters do not disturb where nobody asks for them
    return prepareChain(chain, selection, parameters, report);
}

// --- From files ----------------------------------------------------------------------------------

// What to read of files, as the functions in Python take it.
struct ReadChoice {
    std::string atoms = "all";  // "all", "backbone" (with CB) or "calpha"
    std::string exclude;        // a residue exclusion file; empty for none
    EntryRules entry;
};

// `model` is a number, -1 for all of them, or none for the first; `altloc` "best", "first" or a
// letter.
EntryRules entryOf(bool readsPdb, std::string chain, std::optional<int> model,
                   const std::string& altloc) {
    EntryRules rules{.readsPdb = readsPdb, .chain = std::move(chain)};
    rules.allModels = model == -1;
    if (!rules.allModels) rules.model = model;
    if (altloc == "first") {
        rules.conformers = Conformers::First;
    } else if (altloc.size() == 1) {
        rules.conformers = Conformers::Lettered;
        rules.conformer = altloc.front();
    } else if (altloc != "best") {
        throw py::value_error("altloc is 'best', 'first' or a letter");
    }
    return rules;
}

ReadRequest requestOf(const ReadChoice& choice) {
    unsigned int options = ReadCheckDuplicates | ReadCheckAll;
    if (choice.atoms == "all") {
        options |= ReadAllAtoms;
    } else if (choice.atoms == "backbone") {
        options |= ReadBackboneAndBeta;
    } else {
        options |= ReadCalphaOnly;
    }
    ReadRequest request;
    request.options = static_cast<std::uint16_t>(options);
    request.entry = choice.entry;
    return request;
}

StructurePtr asStructure(Chain&& chain) {
    return std::make_shared<Structure>(std::move(chain));
}

// The structure, None where there is none, and the messages.
py::tuple readOne(const std::string& path, const ReadChoice& choice) {
    Messages messages;
    StructurePtr structure;
    {
        const py::gil_scoped_release computing;
        ResidueExclusions exclusions;
        const bool excluded = choice.exclude.empty() ||
                              readResidueExclusionFile(choice.exclude, exclusions, messages.log());
        std::optional<Chain> chain;
        if (excluded) chain = readChain(path, requestOf(choice), exclusions, messages.log());
        if (chain) structure = asStructure(std::move(*chain));
    }
    return py::make_tuple(structure, messages.taken());
}

// The structures that read(counter, request, list, log) appends to a list, and the messages.
template <typename Read>
py::tuple readAside(const ReadChoice& choice, int threads, Read read) {
    const std::size_t workers = threadsOf(threads);
    Messages messages;
    std::vector<StructurePtr> structures;
    Aside aside;
    aside.run([&] {
        Log log([&](LogLevel severity, std::string_view text) {
            throwIfStopped(aside.stop());
            messages.log().passOn(severity, text);
        });
        ResidueExclusions exclusions;
        if (!choice.exclude.empty() && !readResidueExclusionFile(choice.exclude, exclusions, log))
            return;
        const ReadRequest request = requestOf(choice);
        ChainList list;
        std::uint32_t counter = 0;
        read(counter, ListRequest{request, exclusions, workers}, list, log);
        for (Chain& chain : list.chains)
            structures.push_back(asStructure(std::move(chain)));
    });
    return py::make_tuple(structures, messages.taken());
}

// A folder, a pattern or a list file.
py::tuple readList(const std::string& path, const ReadChoice& choice, int threads) {
    return readAside(choice, threads,
                     [&](std::uint32_t& counter, const ListRequest& request, ChainList& list,
                         Log& log) { readModelsAt(path, counter, request, list, log); });
}

py::tuple readFiles(const std::vector<std::string>& paths, const ReadChoice& choice, int threads) {
    return readAside(choice, threads,
                     [&](std::uint32_t& counter, const ListRequest& request, ChainList& list,
                         Log& log) { readModelFiles(paths, counter, request, list, log); });
}

// --- From arrays ---------------------------------------------------------------------------------

// One atom each; the texts are names of four and three characters, and one.
struct AtomArrays {
    ArrayIn<double> coordinates;
    ArrayIn<std::int64_t> numbers;
    std::vector<std::string> insertionCodes;
    std::vector<std::string> atomNames;
    std::vector<std::string> residueNames;
    ArrayIn<double> bFactors;
};

template <typename Text>
Text fixedText(const std::string& text, std::size_t longest, const char* what) {
    if (text.size() > longest) {
        throw py::value_error(std::string(what) + " '" + text + "' is longer than " +
                              std::to_string(longest) + " bytes");
    }
    return Text(text);
}

void checkSizes(const AtomArrays& arrays, std::size_t n) {
    if (n == 0) throw py::value_error("a structure has at least one atom");
    if (n > kMostAtoms) {
        throw py::value_error("a structure has at most " + std::to_string(kMostAtoms) + " atoms");
    }
    for (const auto* texts : {&arrays.insertionCodes, &arrays.atomNames, &arrays.residueNames}) {
        if (texts->size() != n) throw py::value_error("there is one name an atom");
    }
}

void checkUnique(const Chain& chain) {
    std::set<std::tuple<std::int32_t, std::string_view>> known;
    for (const Atom& atom : chain.atoms) {
        if (!known.emplace(atom.residueId().key(), atom.name.view()).second) {
            throw py::value_error("residue " + std::to_string(atom.residueNumber) +
                                  " has two atoms of one name");
        }
    }
}

Chain chainOf(const AtomArrays& arrays, const std::string& name) {
    const std::span<const double> places = placesOf(arrays.coordinates);
    const std::size_t n = places.size() / 3;
    checkSizes(arrays, n);
    const auto numbers = valuesOf<std::int64_t>(arrays.numbers, n, "residue_numbers");
    const auto bFactors = valuesOf<double>(arrays.bFactors, n, "b_factors");
    using Number = decltype(Atom::residueNumber);
    Chain chain;
    chain.fileName = name;
    chain.atoms.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        Atom& atom = chain.atoms[i];
        if (numbers[i] < std::numeric_limits<Number>::min() ||
            numbers[i] > std::numeric_limits<Number>::max()) {
            throw py::value_error("residue number " + std::to_string(numbers[i]) +
                                  " is out of range (" +
                                  std::to_string(std::numeric_limits<Number>::min()) + " to " +
                                  std::to_string(std::numeric_limits<Number>::max()) + ")");
        }
        atom.x = places[3 * i];
        atom.y = places[3 * i + 1];
        atom.z = places[3 * i + 2];
        atom.residueNumber = static_cast<Number>(numbers[i]);
        const std::string& code = arrays.insertionCodes[i];
        if (code.size() > 1) throw py::value_error("an insertion code is one character");
        atom.insertionCode = code.empty() ? ' ' : code.front();
        atom.residueName =
            fixedText<decltype(atom.residueName)>(arrays.residueNames[i], 3, "residue name");
        atom.residueType = static_cast<std::int16_t>(residueIndex(atom.residueName.view()));
        atom.name = fixedText<decltype(atom.name)>(arrays.atomNames[i], 4, "atom name");
        atom.classification = classifyAtomName(atom.name.view(), atom.residueType);
        atom.bFactor = bFactors[i];
    }
    checkUnique(chain);
    return chain;
}

StructurePtr structureOfArrays(ArrayIn<double> coordinates, ArrayIn<std::int64_t> numbers,
                               std::vector<std::string> insertionCodes,
                               std::vector<std::string> atomNames,
                               std::vector<std::string> residueNames, ArrayIn<double> bFactors,
                               const std::string& name) {
    const AtomArrays arrays{std::move(coordinates),    std::move(numbers),
                            std::move(insertionCodes), std::move(atomNames),
                            std::move(residueNames),   std::move(bFactors)};
    Chain chain = chainOf(arrays, name);
    Messages messages;
    buildResidues(chain, messages.log());
    if (!messages.empty()) throw py::value_error("the atoms of a residue do not follow each other");
    StructurePtr structure = asStructure(std::move(chain));
    if (structure->calphas().size() == 0) throw py::value_error("there is no C-alpha atom");
    return structure;
}

// --- What Python sees ----------------------------------------------------------------------------

template <typename Text>
py::list eachResidue(const Structure& structure, Text text) {
    py::list list;
    for (std::size_t i = 0; i < structure.calphas().size(); ++i)
        list.append(asText(text(structure.calpha(i))));
    return list;
}

py::array_t<double> calphaCoordinates(const Structure& structure) {
    const Points& points = structure.calphas().points;
    return newTable<double>(points.size(), 3, [&](std::size_t i, double* row) {
        row[0] = points.x[i];
        row[1] = points.y[i];
        row[2] = points.z[i];
    });
}

py::array_t<double> atomCoordinates(const Structure& structure) {
    const std::vector<Atom>& atoms = structure.chain().atoms;
    return newTable<double>(atoms.size(), 3, [&](std::size_t i, double* row) {
        row[0] = atoms[i].x;
        row[1] = atoms[i].y;
        row[2] = atoms[i].z;
    });
}

std::string withoutBlanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(' ') + 1 - first));
}

py::array_t<std::int32_t> residueNumbers(const Structure& structure) {
    const auto& numbers = structure.calphas().residueNumber;
    return newArray<std::int32_t>(numbers.size(), [&](std::size_t i) { return numbers[i]; });
}

py::array_t<double> bFactors(const Structure& structure) {
    return newArray<double>(structure.calphas().size(),
                            [&](std::size_t i) { return structure.calpha(i).bFactor; });
}

py::list chainNames(const Structure& structure) {
    const CoordinateSet& set = structure.calphas();
    py::list list;
    for (std::size_t i = 0; i < set.size(); ++i)
        list.append(
            asText(set.isComplex ? set.subunits[set.subunitOf(i)].name : structure.chain().name));
    return list;
}

py::list insertionCodes(const Structure& structure) {
    return eachResidue(structure, [](const Atom& atom) {
        return withoutBlanks(std::string_view(&atom.insertionCode, 1));
    });
}

py::list residueNames(const Structure& structure) {
    return eachResidue(structure,
                       [](const Atom& atom) { return withoutBlanks(atom.residueName.view()); });
}

py::list atomNames(const Structure& structure) {
    py::list list;
    for (const Atom& atom : structure.chain().atoms)
        list.append(asText(withoutBlanks(atom.name.view())));
    return list;
}

}  // namespace

Structure::Structure(Chain chain)
    : chain_(std::move(chain)), calphas_(prepare(chain_, AtomSelection::Calpha)) {
    for (std::uint32_t i = 0; i < chain_.atoms.size(); ++i) {
        if (chain_.atoms[i].matches(kMaskCA)) calphaAtoms_.push_back(i);
    }
    if (calphaAtoms_.size() != calphas_.size()) throw std::logic_error("C-alpha atoms");
}

const CoordinateSet& Structure::backbone() const {
    if (!backbone_) backbone_ = prepare(chain_, AtomSelection::Backbone);
    return *backbone_;
}

const CoordinateSet& Structure::allAtoms() const {
    if (!allAtoms_) {
        MeasureSet measures;
        measures.add(Measure::LddtAll);
        allAtoms_ = prepare(chain_, AtomSelection::Calpha, measures);
    }
    return *allAtoms_;
}

ChainList listOf(const std::vector<StructurePtr>& models, const StopFlag* stop) {
    ChainList list;
    list.chains.reserve(models.size());
    for (const StructurePtr& model : models) {
        throwIfStopped(stop);
        list.chains.push_back(model->chain());
        list.chains.back().number = static_cast<std::uint32_t>(list.chains.size());
    }
    return list;
}

void addStructures(py::module_& module) {
    py::class_<Structure, StructurePtr>(module, "Structure",
                                        "A chain, as read() and from_arrays() make it; it never "
                                        "changes.  Arrays have an entry a C-alpha atom unless they "
                                        "say otherwise, and are copies.")
        .def("__len__", [](const Structure& self) { return self.calphas().size(); })
        .def_property_readonly(
            "name", [](const Structure& self) { return asText(self.chain().fileName); },
            "The file, or the name that from_arrays() was given.")
        .def_property_readonly(
            "chain", [](const Structure& self) { return asText(self.chain().name); },
            "What the file calls the chain.")
        .def_property_readonly("coordinates", calphaCoordinates, "(n, 3) array, Å.")
        .def_property_readonly("residue_numbers", residueNumbers, "(n,) array of int.")
        .def_property_readonly(
            "sequence", [](const Structure& self) { return asText(self.calphas().sequence); },
            "One letter a residue.")
        .def_property_readonly("b_factors", bFactors,
                               "(n,) array, Å^2; in predictions often a confidence.")
        .def_property_readonly(
            "mean_b_factor",
            [](const Structure& self) { return inputOf(self.chain()).meanBFactor.value_or(kNone); },
            "Mean of `b_factors`; of predictions often the confidence in the whole.")
        .def_property_readonly(
            "gyration_radius", [](const Structure& self) { return self.calphas().gyrationRadius; },
            "Å.")
        .def_property_readonly("atom_coordinates", atomCoordinates,
                               "All atoms that were kept, (m, 3) array, Å.")
        .def("_chain_names", chainNames)
        .def("_insertion_codes", insertionCodes)
        .def("_residue_names", residueNames)
        .def("_atom_names", atomNames);
    py::class_<ReadChoice>(module, "ReadChoice")
        .def(py::init([](std::string atoms, std::string exclude, bool readsPdb, std::string chain,
                         std::optional<int> model, const std::string& altloc) {
            return ReadChoice{std::move(atoms), std::move(exclude),
                              entryOf(readsPdb, std::move(chain), model, altloc)};
        }));
    module.def("read", readOne);
    module.def("read_list", readList);
    module.def("read_files", readFiles);
    module.def("structure_of_arrays", structureOfArrays);
}

}  // namespace tervolanda::python
