// The forms of files that a run can be asked for beside its usual output.
//
// A new form of file is a row of the table in export_forms.cpp and a class in the room `export`;
// the run modes never name a form (run_exports.h).  The option itself, with its text of help, is a
// row of own_options.cpp: some options name no file.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "driver/own_options.h"
#include "export/export.h"

namespace tervolanda {

// What is special to a form, as bits.
inline constexpr unsigned kNeedsTree = 1;       // clustering by linkage
inline constexpr unsigned kRefersToInputs = 2;  // by their paths, so that they have to be files
inline constexpr unsigned kShowsFailure = 4;    // it is written for a run that failed, too
inline constexpr unsigned kShowsPairs = 8;      // of all models with each other
// It shows models laid over others: in a run of all models against each other over the medoids of
// their clusters, so that it needs clusters and is given these pairs in place of those compared.
inline constexpr unsigned kSuperposes = 16;

// A row of the table: everything that the driver knows of a form.
struct ExportForm {
    std::string_view option;  // without its dashes
    unsigned runs;            // kinds of runs that it has a meaning in, as bits
    std::unique_ptr<ExportFile> (*make)(std::string path);
    unsigned traits = 0;
    bool has(unsigned trait) const { return (traits & trait) != 0; }
};

bool hasMeaningIn(const ExportForm& form, RunKind kind);

// A file to be made.
struct ExportRequest {
    const ExportForm* form = nullptr;
    std::string path;
};

// The option that named it, with its dashes.
inline std::string optionName(const ExportRequest& request) {
    return "--" + std::string(request.form->option);
}

// Those that the options name, in the order of the table of forms.
std::vector<ExportRequest> exportRequests(const OwnOptions& options);

}  // namespace tervolanda
