// Names are put in order by the program itself: that of a folder is the file system's, that of
// glob() the locale's, and a run must not depend on either.  The order decides which ID a model has
// and which of equal ones is first.
#include "chain/input/model_paths.h"

#include <glob.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

#include "base/file.h"
#include "base/text.h"

namespace tervolanda {

namespace {

// The number at the beginning of `text`, taken off it, without leading zeros.
std::string_view takeDigits(std::string_view& text) {
    std::size_t length = 0;
    while (length < text.size() && isDigit(text[length]))
        ++length;
    std::string_view digits = text.substr(0, length);
    text.remove_prefix(length);
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return digits;
}

void sortNaturally(std::vector<std::string>& paths) {
    std::sort(paths.begin(), paths.end(), isBeforeNaturally);
}

bool isFolder(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

}  // namespace

bool namesStructure(std::string_view path) {
    constexpr std::array<std::string_view, 4> kSuffixes = {".pdb", ".ent", ".cif", ".mmcif"};
    if (path.ends_with(".gz")) path.remove_suffix(3);
    return std::any_of(kSuffixes.begin(), kSuffixes.end(),
                       [path](std::string_view suffix) { return path.ends_with(suffix); });
}

bool isBeforeNaturally(std::string_view a, std::string_view b) {
    const std::string_view wholeA = a, wholeB = b;
    while (!a.empty() && !b.empty()) {
        if (isDigit(a.front()) && isDigit(b.front())) {
            const std::string_view x = takeDigits(a), y = takeDigits(b);
            // Of numbers without leading zeros the longer one is larger, however many digits they
            // have.
            if (x != y) return x.size() != y.size() ? x.size() < y.size() : x < y;
            continue;
        }
        if (a.front() != b.front()) return std::string_view(a.substr(0, 1)) < b.substr(0, 1);
        a.remove_prefix(1);
        b.remove_prefix(1);
    }
    if (a.empty() && b.empty()) return wholeA < wholeB;  // zeros before a number
    return a.empty();
}

bool isPattern(std::string_view path) {
    return path.find_first_of("*?[") != std::string_view::npos;
}

std::optional<std::vector<std::string>> structuresIn(const std::string& folder) {
    const auto names = namesIn(folder);
    if (!names) return std::nullopt;
    std::vector<std::string> paths;
    for (const std::string& name : *names) {
        const std::string path = (std::filesystem::path(folder) / name).string();
        if (!name.starts_with('.') && namesStructure(name) && !isFolder(path))
            paths.push_back(path);
    }
    sortNaturally(paths);
    return paths;
}

std::vector<std::string> filesMatching(const std::string& pattern) {
    std::vector<std::string> paths;
    glob_t found{};
    if (glob(pattern.c_str(), GLOB_NOSORT, nullptr, &found) == 0) {
        for (std::size_t i = 0; i < found.gl_pathc; ++i)
            if (!isFolder(found.gl_pathv[i])) paths.emplace_back(found.gl_pathv[i]);
    }
    globfree(&found);
    sortNaturally(paths);
    return paths;
}

}  // namespace tervolanda
