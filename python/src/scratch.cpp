#include "scratch.h"

#include <utility>

namespace tervolanda::python {

namespace {

// As many as threads have ever computed at once, up to a few.
constexpr std::size_t kMostKept = 4;

std::vector<std::unique_ptr<ComparisonWorkspace>>& kept() {
    static std::vector<std::unique_ptr<ComparisonWorkspace>> workspaces;
    return workspaces;
}

}  // namespace

Scratch::Scratch() {
    if (kept().empty()) {
        workspace_ = std::make_unique<ComparisonWorkspace>();
    } else {
        workspace_ = std::move(kept().back());
        kept().pop_back();
    }
}

Scratch::~Scratch() {
    if (kept().capacity() < kMostKept) kept().reserve(kMostKept);
    if (kept().size() < kMostKept) kept().push_back(std::move(workspace_));
}

}  // namespace tervolanda::python
