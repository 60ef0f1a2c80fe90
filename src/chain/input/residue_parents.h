// Amino acids that the residue table does not have, by the one that they are made of:
// selenomethionine counts as methionine, phosphoserine as serine.  Only entries use it; the lenient
// reader of ATOM records knows the table alone.
#pragma once

#include <string_view>

namespace tervolanda {

// Row of the residue table for the name of an amino acid, that of its parent for a modified one or
// another form of one; -1 for all else, nucleotides among it.
int aminoAcidIndex(std::string_view name);

}  // namespace tervolanda
