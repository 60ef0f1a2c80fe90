// The page of the program's --report, for what was computed in Python: results become the values
// that the page takes, and nothing is computed but the residues of the pair that it shows.
#include <pybind11/stl.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "arrays.h"
#include "aside.h"
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

[[noreturn]] void throwNotWritten(const std::string& path) {
    if (errno == 0) errno = EIO;
    PyErr_SetFromErrnoWithFilename(PyExc_OSError, path.c_str());
    throw py::error_already_set();
}

// Fills a page by fill(page, stop), for many models aside, and gives it its name: here, since this
// is the thread that a signal that ends the process may come to.  An older page is replaced when
// all is written, and stays when that is interrupted.
template <typename Fill>
void writePage(const std::string& path, std::size_t models, Fill fill) {
    errno = 0;
    const auto page = makeReportPage(path);
    if (!page->isOpen()) throwNotWritten(path);
    runFor(models, [&](const StopFlag* stop) {
        fill(*page, stop);
        throwIfStopped(stop);
    });
    errno = 0;
    bool isWritten = false;
    {
        const py::gil_scoped_release writing;
        isWritten = page->commit();
    }
    if (!isWritten) throwNotWritten(path);
}

// The page of pairs.
void write(const std::string& path, const RunInputs& inputs, const std::vector<PairResult>& pairs,
           const RunResults& results) {
    writePage(path, pairs.size(), [&](ExportFile& page, const StopFlag* stop) {
        page.start(inputs);
        for (const PairResult& pair : pairs) {
            throwIfStopped(stop);
            page.take(pair);
        }
        page.finish(results);
    });
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
void requireSquare(const ArrayIn<T>& array, std::size_t n) {
    if (array.ndim() != 2 || static_cast<std::size_t>(array.shape(0)) != n ||
        static_cast<std::size_t>(array.shape(1)) != n) {
        throw py::value_error("the matrices have a row and a column for each model");
    }
}

// Any values: what is no number counts as missing.
template <typename T>
Matrix<T> matrixOf(const T* values, std::size_t n, const StopFlag* stop) {
    return python::matrixOf(values, n, stop, [](std::span<const T>) {});
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

// All that a page says of a matrix, lent: the values are those of arrays that the caller holds.
struct MatrixSubject {
    const RunInputs& inputs;
    const float* values;
    const std::uint32_t* pairs;  // of a search, for the 3D-Jury; else null
    const Clustering* clustering;
    JuryChoice asked;
};

// Ranks the models and fills the page.  Without the interpreter's lock.
void rankAndFill(ExportFile& page, const MatrixSubject& subject, const StopFlag* stop) {
    const RunInputs& inputs = subject.inputs;
    const std::size_t n = inputs.structures.size();
    const DistanceMatrix scores = matrixOf(subject.values, n, stop);
    std::vector<JuryScore> jury;
    if (subject.pairs != nullptr) {
        jury = rankByJury(scores, matrixOf(subject.pairs, n, stop), subject.asked.score,
                          subject.asked.pairs, stop);
    }
    const auto kind =
        isDistance(inputs.score) ? MatrixValues::Distances : MatrixValues::Similarities;
    RunResults results;
    results.scores = &scores;
    results.set = setFigures(scores, kind, stop);
    results.ranking = rankedModels(scores, kind, jury, stop);
    if (subject.clustering != nullptr) {
        results.clustering = *subject.clustering;
        addClusters(*subject.clustering, results.ranking);
    }
    page.start(inputs);
    page.finish(results);
}

void reportMatrix(const std::string& path, const std::vector<StructurePtr>& models,
                  const std::vector<std::string>& names, const std::string& measure,
                  const ArrayIn<float>& values, const std::optional<ArrayIn<std::uint32_t>>& pairs,
                  const Clustering* clustering, JuryChoice asked) {
    RunInputs inputs = inputsOf(RunKind::AllVersusAll, scoreKindOf(measure));
    addModels(models, names, inputs);
    requireSquare(values, names.size());
    const bool isSearch = inputs.score == ScoreKind::Tm || inputs.score == ScoreKind::MaxSub;
    const bool hasJury = isSearch && pairs.has_value();
    if (hasJury) requireSquare(*pairs, names.size());
    if (clustering != nullptr && clustering->clusters.cluster.size() != names.size())
        throw py::value_error("the clusters are of other models");
    const MatrixSubject subject{inputs, values.data(), hasJury ? pairs->data() : nullptr,
                                clustering, asked};
    writePage(path, names.size(),
              [&](ExportFile& page, const StopFlag* stop) { rankAndFill(page, subject, stop); });
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
