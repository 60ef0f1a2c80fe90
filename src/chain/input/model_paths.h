// Structure files by a folder or a pattern.
//
// For --models; a list file names its models itself.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tervolanda {

// Whether a file of this name is taken for a structure: ".pdb", ".ent", ".cif" or ".mmcif", and
// ".gz" after it or not.
bool namesStructure(std::string_view path);

// Whether a name stands before another one: by characters, but numbers by their value.
bool isBeforeNaturally(std::string_view a, std::string_view b);

// Whether the path has a character of patterns.
bool isPattern(std::string_view path);

// The structure files of a folder, but for hidden ones, in natural order; none, with errno set,
// when it cannot be read.
std::optional<std::vector<std::string>> structuresIn(const std::string& folder);

// The files that match a pattern of the shell, in natural order.
std::vector<std::string> filesMatching(const std::string& pattern);

}  // namespace tervolanda
