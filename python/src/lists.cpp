// Many structures: all with each other, or all with one experiment.
#include <pybind11/stl.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "arrays.h"
#include "aside.h"
#include "cluster/batch/batch.h"
#include "comparing.h"
#include "record.h"

namespace tervolanda::python {

namespace {

template <typename T>
py::array_t<T> arrayOf(const Matrix<T>& matrix) {
    return newTable<T>(matrix.rows(), matrix.columns(), [&](std::size_t i, T* row) {
        const auto values = matrix.row(i);
        std::copy(values.begin(), values.end(), row);
    });
}

void requireModels(const std::vector<StructurePtr>& models,
                   const ComparisonParameters& parameters) {
    for (const StructurePtr& model : models) {
        if (!model) throw py::type_error("a model is None");
        requirePairing(parameters, *model);
    }
}

// How a batch is run.
struct AskedRun {
    int threads = 0;
    py::object progress;
};

// Runs compare(models, parameters, log, report, threads) aside.
template <typename Compare>
auto compareAll(const std::vector<StructurePtr>& models, AtomSelection atoms,
                ComparisonParameters parameters, const AskedRun& run, Compare compare) {
    requireModels(models, parameters);
    const std::size_t threads = threadsOf(run.threads);
    Aside aside(run.progress);
    parameters.stop = aside.stop();
    decltype(compare(std::declval<const PreparedList&>(), parameters, std::declval<Log&>(),
                     std::declval<Report&>(), threads)) found;
    aside.run([&] {
        Log log(aside.sink());
        Report report(log, 0);
        const ChainList list = listOf(models, aside.stop());
        const PreparedList prepared(list, atoms, parameters, report);
        found = compare(prepared, parameters, log, report, threads);
    });
    return found;
}

// The matrices of a batch by their names.
py::dict allByMaxSub(const std::vector<StructurePtr>& models, ComparisonParameters parameters,
                     bool ranksByTm, int threads, const py::object& progress) {
    parameters.rankByTM = ranksByTm;
    const MaxSubBatch batch = compareAll(
        models, AtomSelection::Calpha, parameters, {threads, progress},
        [](const auto& list, const auto& asked, Log& log, Report& report, std::size_t n) {
            return compareAllMaxSub(list, asked, nullptr, log, report, {{n}});
        });
    py::dict matrices;
    matrices["values"] = arrayOf(batch.scores);
    matrices["pairs"] = arrayOf(batch.pairs);
    matrices["rmsd"] = arrayOf(batch.rmsd);
    return matrices;
}

py::dict allByGdt(const std::vector<StructurePtr>& models, const ComparisonParameters& parameters,
                  int threads, const py::object& progress) {
    const GdtBatch batch =
        compareAll(models, AtomSelection::Calpha, parameters, {threads, progress},
                   [](const auto& list, const auto& asked, Log& log, Report& report,
                      std::size_t n) { return compareAllGdt(list, asked, log, report, {{n}}); });
    py::dict matrices;
    matrices["values"] = arrayOf(batch.gdt);
    return matrices;
}

// The measure of a choice that has one.
Measure measureOf(const FitChoice& choice) {
    if (!choice.measure) throw py::value_error("no measure");
    return *choice.measure;
}

py::dict allByMeasure(const std::vector<StructurePtr>& models, const FitChoice& choice, int threads,
                      const py::object& progress) {
    const Measure measure = measureOf(choice);
    const MeasureBatch batch = compareAll(
        models, choice.atoms(), choice.parameters(), {threads, progress},
        [&](const auto& list, const auto& asked, Log& log, Report& report, std::size_t n) {
            RmsdOptions options = choice.options();
            options.measures.bothWays = true;
            options.measures.stop = asked.stop;
            return compareAllByMeasure(list, {measure, options}, log, report, {{n}});
        });
    py::dict matrices;
    matrices["values"] = arrayOf(batch.values);
    return matrices;
}

py::dict allByRmsd(const std::vector<StructurePtr>& models, const FitChoice& choice, int threads,
                   const py::object& progress) {
    const RmsdBatch batch =
        compareAll(models, choice.atoms(), choice.parameters(), {threads, progress},
                   [&](const auto& list, const auto&, Log& log, Report& report, std::size_t n) {
                       return compareAllRmsd(list, choice.options(), log, report, {{n}});
                   });
    py::dict matrices;
    matrices["rmsd"] = arrayOf(batch.rmsd);
    matrices["pairs"] = arrayOf(batch.pairs);
    if (choice.urmsd) matrices["urmsd"] = arrayOf(batch.urmsd);
    return matrices;
}

// --- Against one experiment ----------------------------------------------------------------------

// Runs compare(list, log, report, threads) aside, and has a record made of it.
template <typename Compare>
auto compareList(const StructurePtr& experiment, const std::vector<StructurePtr>& models,
                 ComparisonParameters parameters, ListRecord& record, const AskedRun& run,
                 Compare compare) {
    requireModels(models, parameters);
    requirePairing(parameters, *experiment);
    const std::size_t threads = threadsOf(run.threads);
    const AtomSelection atoms = record.fit().atoms();
    const CoordinateSet& set = record.fit().setOf(*experiment);
    Aside aside(run.progress);
    parameters.stop = aside.stop();
    decltype(compare(std::declval<const ListComparison&>(), std::declval<Log&>(),
                     std::declval<Report&>(), threads)) found;
    aside.run([&] {
        Log log(aside.sink());
        Report report(log, 0);
        const ChainList list = listOf(models, aside.stop());
        found = compare({experiment->chain(), set, list, atoms, parameters, &record}, log, report,
                        threads);
    });
    record.setStructures(experiment, models);
    return found;
}

// A column of a table from what was found of each model.
template <typename T, typename Found, typename ValueOf>
py::array_t<T> column(const std::vector<Found>& found, ValueOf valueOf) {
    return newArray<T>(found.size(), [&](std::size_t i) { return valueOf(found[i]); });
}

// Each gives a table and its record.

py::tuple listByMaxSub(const StructurePtr& experiment, const std::vector<StructurePtr>& models,
                       const ComparisonParameters& parameters, bool ranksByTm, int threads,
                       const py::object& progress) {
    const auto record =
        std::make_shared<ListRecord>(ranksByTm ? ScoreKind::Tm : ScoreKind::MaxSub, parameters);
    const auto found =
        compareList(experiment, models, parameters, *record, {threads, progress},
                    [](const ListComparison& list, Log& log, Report& report, std::size_t n) {
                        return compareListMaxSub(list, log, report, {n});
                    });
    using Found = ListedMaxSub;
    py::dict table;
    table["tm"] = column<double>(found, [](const Found& model) { return model.tm; });
    table["maxsub"] = column<double>(found, [](const Found& model) { return model.maxsub; });
    table["msi"] = column<double>(found, [](const Found& model) { return model.msi; });
    table["pairs"] = column<std::uint32_t>(found, [](const Found& model) { return model.pairs; });
    table["rmsd"] = column<double>(found, [](const Found& model) { return model.rmsd; });
    return py::make_tuple(table, record);
}

py::tuple listByGdt(const StructurePtr& experiment, const std::vector<StructurePtr>& models,
                    const ComparisonParameters& parameters, int threads,
                    const py::object& progress) {
    const auto record = std::make_shared<ListRecord>(ScoreKind::Gdt, parameters);
    const auto found =
        compareList(experiment, models, parameters, *record, {threads, progress},
                    [](const ListComparison& list, Log& log, Report& report, std::size_t n) {
                        return compareListGdt(list, log, report, {n});
                    });
    py::dict table;
    table["gdt"] = column<double>(found, [](const GdtResult& model) { return model.gdt; });
    return py::make_tuple(table, record);
}

py::tuple listByRmsd(const StructurePtr& experiment, const std::vector<StructurePtr>& models,
                     const FitChoice& choice, int threads, const py::object& progress) {
    const auto record = std::make_shared<ListRecord>(choice);
    const auto found =
        compareList(experiment, models, choice.parameters(), *record, {threads, progress},
                    [&](const ListComparison& list, Log& log, Report& report, std::size_t n) {
                        return compareListRmsd(list, choice.options(), log, report, {n});
                    });
    using Found = ListedRmsd;
    const double gyration = experiment->calphas().gyrationRadius;
    const auto relative = [&](const Found& model) {
        if (!model.rmsd) return RelativeRmsd{};
        return relativeRmsd(*model.rmsd, gyration, model.gyrationRadius, model.pairs);
    };
    py::dict table;
    table["rmsd"] =
        column<double>(found, [](const Found& model) { return model.rmsd.value_or(kNone); });
    table["pairs"] = column<std::uint32_t>(found, [](const Found& model) { return model.pairs; });
    table["relative"] = column<double>(found, [&](const Found& m) { return relative(m).ratio; });
    table["standard_score"] =
        column<double>(found, [&](const Found& m) { return relative(m).standardScore; });
    table["urmsd"] = column<double>(found, [](const Found& model) { return model.urmsd; });
    table["relative_urmsd"] = column<double>(found, [](const Found& model) {
        return model.rmsd ? relativeUrmsd(model.urmsd, model.pairs) : 0.0;
    });
    return py::make_tuple(table, record);
}

py::tuple listByMeasure(const StructurePtr& experiment, const std::vector<StructurePtr>& models,
                        const FitChoice& choice, int threads, const py::object& progress) {
    const Measure measure = measureOf(choice);
    const auto record = std::make_shared<ListRecord>(choice);
    const auto found =
        compareList(experiment, models, choice.parameters(), *record, {threads, progress},
                    [&](const ListComparison& list, Log& log, Report& report, std::size_t n) {
                        RmsdOptions options = choice.options();
                        options.measures.stop = list.parameters.stop;
                        return compareListByMeasure(list, options, log, report, {n});
                    });
    using Found = ListedRmsd;
    py::dict table;
    table[std::string(measureName(measure)).c_str()] = column<double>(
        found, [&](const Found& model) { return model.measures.value(measure).value_or(kNone); });
    table["pairs"] = column<std::uint32_t>(found, [](const Found& model) { return model.pairs; });
    table["rmsd"] =
        column<double>(found, [](const Found& model) { return model.rmsd.value_or(kNone); });
    return py::make_tuple(table, record);
}

}  // namespace

void addLists(py::module_& module) {
    const py::class_<ListRecord, ListRecordPtr> record(module, "ListRecord");
    const auto experiment = py::arg("experiment").none(false);
    module.def("all_by_maxsub", allByMaxSub);
    module.def("all_by_gdt", allByGdt);
    module.def("all_by_rmsd", allByRmsd);
    module.def("all_by_measure", allByMeasure);
    module.def("list_by_maxsub", listByMaxSub, experiment, py::arg("models"), py::arg("parameters"),
               py::arg("ranks_by_tm"), py::arg("threads"), py::arg("progress"));
    module.def("list_by_gdt", listByGdt, experiment, py::arg("models"), py::arg("parameters"),
               py::arg("threads"), py::arg("progress"));
    module.def("list_by_rmsd", listByRmsd, experiment, py::arg("models"), py::arg("choice"),
               py::arg("threads"), py::arg("progress"));
    module.def("list_by_measure", listByMeasure, experiment, py::arg("models"), py::arg("choice"),
               py::arg("threads"), py::arg("progress"));
}

}  // namespace tervolanda::python
