// One table says which forms there are and which runs they have a meaning in.
#include "driver/export_forms.h"

#include <array>
#include <utility>

namespace tervolanda {

namespace {

constexpr unsigned bitOf(RunKind kind) {
    return 1U << static_cast<unsigned>(kind);
}
constexpr unsigned kPairwise = bitOf(RunKind::Pairwise);
constexpr unsigned kList = bitOf(RunKind::OneVersusList);
constexpr unsigned kAll = bitOf(RunKind::AllVersusAll);
constexpr unsigned kMatrix = kAll | bitOf(RunKind::DistanceFile) | bitOf(RunKind::MaxSubFile);

constexpr unsigned kAny = kPairwise | kList | kMatrix;

constexpr auto kForms = std::to_array<ExportForm>({
    {"tsv", kPairwise | kList | kAll, false, makePairTable},
    {"ranking", kList | kMatrix, false, makeRankingTable},
    {"residues", kPairwise | kList, false, makeResidueTable},
    {"json", kAny, false, makeJsonDocument},
    {"jsonl", kPairwise | kList | kAll, false, makeJsonLines},
    {"npy", kMatrix, false, makeMatrixFile},
    {"newick", kMatrix, true, makeNewickTree},
    {"linkage", kMatrix, true, makeLinkageFile},
    {"report", kPairwise | kList | kMatrix, false, makeReportPage},
    {"superposed", kPairwise | kList, false, makeSuperposedModels},
    {"pymol", kPairwise | kList, false, makePymolScript, true},
    {"chimerax", kPairwise | kList, false, makeChimeraxScript, true},
    {"molstar", kPairwise | kList, false, makeMolstarArchive},
    {"rasmol", kPairwise | kList, false, makeRasmolScene},
});

}  // namespace

bool hasMeaningIn(const ExportForm& form, RunKind kind) {
    return (form.runs & bitOf(kind)) != 0;
}

std::vector<ExportRequest> exportRequests(const OwnOptions& options) {
    std::vector<ExportRequest> requests;
    for (const ExportForm& form : kForms) {
        if (auto path = options.text(form.option)) requests.push_back({&form, *std::move(path)});
    }
    return requests;
}

}  // namespace tervolanda
