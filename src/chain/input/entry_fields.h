// What the readers of entries have in common: fields as an Atom has them, which are those of a PDB
// file's columns.  A field that an Atom cannot hold is a fault, and not cut to what fits.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "chain/chain.h"

namespace tervolanda {

// Numbers that a ResidueId and four columns can hold.
inline constexpr std::int64_t kLeastResidueNumber = -999;
inline constexpr std::int64_t kMostResidueNumber = 32767;

// Four characters as in a PDB file: names of atoms whose element has one letter begin in the second
// column.  `element` is in upper case; without it the name decides, since in proteins only selenium
// has two letters.  None for a name that is empty or longer than four characters.
std::optional<FixedText<4>> columnsOfName(std::string_view name, std::string_view element);

// The element in two columns, upper case, at the right.
FixedText<2> columnsOfElement(std::string_view element);

// A coordinate, Å, that the columns of a record can hold.
std::optional<double> coordinateIn(std::string_view field);

}  // namespace tervolanda
