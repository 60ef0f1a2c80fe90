// One table says which forms there are and which runs they have a meaning in.  A form that is asked
// for elsewhere is a fault of the command line and no empty file: whoever waits for the file would
// wait in vain.
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

constexpr unsigned kStructures = kPairwise | kList | kAll;  // runs that read them

constexpr auto kForms = std::to_array<ExportForm>({
    {"tsv", kStructures, makePairTable, kShowsPairs},
    {"ranking", kList | kMatrix, makeRankingTable},
    {"residues", kPairwise | kList, makeResidueTable},
    {"json", kAny, makeJsonDocument, kShowsFailure | kShowsPairs},
    {"jsonl", kStructures, makeJsonLines, kShowsPairs},
    {"npy", kMatrix, makeMatrixFile},
    {"newick", kMatrix, makeNewickTree, kNeedsTree},
    {"linkage", kMatrix, makeLinkageFile, kNeedsTree},
    {"report", kAny, makeReportPage},
    {"superposed", kStructures, makeSuperposedModels, kSuperposes},
    {"pymol", kStructures, makePymolScript, kSuperposes | kRefersToInputs},
    {"chimerax", kStructures, makeChimeraxScript, kSuperposes | kRefersToInputs},
    {"molstar", kStructures, makeMolstarArchive, kSuperposes},
    {"rasmol", kStructures, makeRasmolScene, kSuperposes},
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
