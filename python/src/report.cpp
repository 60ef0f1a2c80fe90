// The page of the program's --report, for what was computed in Python: results become the values
// that the page takes, and nothing is computed but the residues of the pair that it shows.
#include <pybind11/stl.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "arrays.h"
#include "cluster/cluster.h"
#include "comparing.h"
#include "export/export.h"
#include "export/values.h"
#include "record.h"

namespace tervolanda::python {

namespace {

// --- Inputs --------------------------------------------------------------------------------------

RunInputs inputsOf(RunKind kind, ScoreKind score) {
    RunInputs inputs;
    inputs.kind = kind;
    inputs.score = score;
    inputs.program = "Python module tervolanda";  // in place of a command line
    inputs.version = TERVOLANDA_VERSION;
    return inputs;
}

void addInput(const Structure& structure, std::size_t id, RunInputs& inputs) {
    inputs.chains.push_back(&structure.chain());
    inputs.structures.push_back(inputOf(structure.chain()));
    if (id > 0) inputs.structures.back().id = static_cast<std::uint32_t>(id);
}

// --- Writing -------------------------------------------------------------------------------------

// Writes the page; 0, or the error number.  An older page is replaced when all is written.
int writePage(const std::string& path, const RunInputs& inputs,
              const std::vector<PairResult>& pairs, const RunResults& results) {
    errno = 0;
    const auto page = makeReportPage(path);
    const auto failure = [] { return errno != 0 ? errno : EIO; };
    if (!page->isOpen()) return failure();
    page->start(inputs);
    for (const PairResult& pair : pairs)
        page->take(pair);
    page->finish(results);
    errno = 0;
    return page->commit() ? 0 : failure();
}

// The same with the interpreter's lock given up; an OSError for a page that was not written.
void write(const std::string& path, const RunInputs& inputs, const std::vector<PairResult>& pairs,
           const RunResults& results) {
    int error = 0;
    {
        const py::gil_scoped_release writing;
        error = writePage(path, inputs, pairs, results);
    }
    if (error == 0) return;
    errno = error;
    PyErr_SetFromErrnoWithFilename(PyExc_OSError, path.c_str());
    throw py::error_already_set();
}

// --- Pairs ---------------------------------------------------------------------------------------

PairForm residuesBy(const ComparisonParameters& parameters, bool hasUrmsd = true) {
    return {.parameters = parameters, .hasUrmsd = hasUrmsd, .detail = PairDetail::Residues};
}

// Each fills in a pair with its residues, but for its position in a list.

void showPairing(const ComparedPair& pair, const PairingRules& rules, PairResult& result) {
    PairingKeys keys;
    fillPairing(pair, rules, keys, result);
}

void fill(const Comparison& comparison, PairResult& result) {
    const ComparedPair pair{{}, comparison.experiment->calphas(), comparison.prediction->calphas()};
    fillPair(pair, comparison.found, residuesBy(comparison.parameters), result);
    showPairing(pair, pairingOf(comparison.parameters), result);
}

void fill(const Gdt& gdt, PairResult& result) {
    const ComparedPair pair{{}, gdt.experiment->calphas(), gdt.prediction->calphas()};
    fillPair(pair, {gdt.gdt, gdt.superposition}, gdt.search, residuesBy(gdt.parameters), result);
    showPairing(pair, pairingOf(gdt.parameters), result);
}

void fill(const Rmsd& rmsd, PairResult& result) {
    const ComparisonParameters parameters;
    const ComparedPair pair{{}, rmsd.experimentSet(), rmsd.predictionSet()};
    fillPair(pair, listedRmsd(rmsd.found, rmsd.predictionSet()), rmsd.found.matched,
             residuesBy(parameters, rmsd.choice.urmsd), result);
    showPairing(pair, rmsd.choice.pairing, result);
}

template <typename Found>
void reportPair(const std::string& path, const Found& found) {
    // The page of a pair names no score.
    RunInputs inputs = inputsOf(RunKind::Pairwise, ScoreKind::Tm);
    addInput(*found.experiment, 0, inputs);
    addInput(*found.prediction, 0, inputs);
    std::vector<PairResult> pairs(1);
    fill(found, pairs.front());
    pairs.front().prediction = 1;
    write(path, inputs, pairs, {});
}

// --- Lists ---------------------------------------------------------------------------------------

// Compares a pair of a list once more, for its residues.
void fillResidues(const ListRecord& list, PairResult& pair) {
    const PairResult known = pair;
    const StructurePtr& model = list.models()[pair.prediction - 1];
    switch (list.kind()) {
        case ScoreKind::Gdt:
            fill(gdt(list.experiment(), model, list.parameters()), pair);
            break;
        case ScoreKind::Rmsd:
        case ScoreKind::Lddt:
        case ScoreKind::LddtAll:
        case ScoreKind::GdtTs:
        case ScoreKind::GdtHa:
            fill(rmsd(list.experiment(), model, list.fit()), pair);
            break;
        default:
            fill(compare(list.experiment(), model, list.parameters()), pair);
    }
    pair.experiment = known.experiment;
    pair.prediction = known.prediction;
}

void reportList(const std::string& path, const ListRecord& list) {
    RunInputs inputs = inputsOf(RunKind::OneVersusList, list.kind());
    addInput(*list.experiment(), 0, inputs);
    std::vector<PairResult> pairs = list.pairs();
    std::vector<std::optional<double>> scores;
    std::size_t best = 0;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        addInput(*list.models()[i], i + 1, inputs);
        scores.push_back(scoreOf(pairs[i], list.kind()));
        if (isBetter(pairs[i], pairs[best], list.kind())) best = i;
    }
    fillResidues(list, pairs.at(best));
    RunResults results;
    results.ranking = rankedByScore(
        scores, isDistance(list.kind()) ? MatrixValues::Distances : MatrixValues::Similarities);
    write(path, inputs, pairs, results);
}

// --- Matrices ------------------------------------------------------------------------------------

ScoreKind scoreKindOf(const std::string& measure) {
    if (measure == "tm") return ScoreKind::Tm;
    if (measure == "maxsub") return ScoreKind::MaxSub;
    if (measure == "gdt") return ScoreKind::Gdt;
    if (measure == "rmsd") return ScoreKind::Rmsd;
    for (const Measure other : kMeasures) {
        if (measure == measureName(other)) return tervolanda::scoreKindOf(other);
    }
    return ScoreKind::Distance;  // of chain directions
}

template <typename T>
Matrix<T> squareOf(const ArrayIn<T>& array, std::size_t n) {
    if (array.ndim() != 2 || static_cast<std::size_t>(array.shape(0)) != n ||
        static_cast<std::size_t>(array.shape(1)) != n) {
        throw py::value_error("the matrices have a row and a column for each model");
    }
    Matrix<T> matrix(n, n);
    std::copy_n(array.data(), n * n, matrix.values().begin());
    return matrix;
}

// What is asked of the 3D-Jury.
struct JuryChoice {
    double score = 0.0;
    std::uint32_t pairs = 0;
};

// The models where they are known, their names alone where they are not.
void addModels(const std::vector<StructurePtr>& models, const std::vector<std::string>& names,
               RunInputs& inputs) {
    if (!models.empty() && models.size() != names.size())
        throw py::value_error("there is one name a model");
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (!models.empty()) {
            addInput(*models[i], i + 1, inputs);
            continue;
        }
        InputStructure input;
        input.id = static_cast<std::uint32_t>(i + 1);
        input.file = names[i];
        inputs.structures.push_back(std::move(input));
    }
}

void reportMatrix(const std::string& path, const std::vector<StructurePtr>& models,
                  const std::vector<std::string>& names, const std::string& measure,
                  const ArrayIn<float>& values, const std::optional<ArrayIn<std::uint32_t>>& pairs,
                  const Clustering* clustering, JuryChoice asked) {
    RunInputs inputs = inputsOf(RunKind::AllVersusAll, scoreKindOf(measure));
    addModels(models, names, inputs);
    const DistanceMatrix scores = squareOf(values, names.size());
    std::vector<JuryScore> jury;
    const bool isSearch = inputs.score == ScoreKind::Tm || inputs.score == ScoreKind::MaxSub;
    if (isSearch && pairs)
        jury = rankByJury(scores, squareOf(*pairs, names.size()), asked.score, asked.pairs);
    const auto kind =
        isDistance(inputs.score) ? MatrixValues::Distances : MatrixValues::Similarities;
    RunResults results;
    results.scores = &scores;
    results.set = setFigures(scores, kind);
    results.ranking = rankedModels(scores, kind, jury);
    if (clustering != nullptr) {
        if (clustering->clusters.cluster.size() != names.size())
            throw py::value_error("the clusters are of other models");
        results.clustering = *clustering;
        addClusters(*clustering, results.ranking);
    }
    write(path, inputs, {}, results);
}

}  // namespace

void addReports(py::module_& module) {
    py::class_<JuryChoice>(module, "JuryChoice")
        .def(py::init([](double score, std::uint32_t pairs) {
            return JuryChoice{score, pairs};
        }));
    module.def("report_pair", reportPair<Comparison>);
    module.def("report_pair", reportPair<Gdt>);
    module.def("report_pair", reportPair<Rmsd>);
    module.def("report_list", reportList);
    module.def("report_matrix", reportMatrix);
}

}  // namespace tervolanda::python
