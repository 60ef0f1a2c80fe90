// A structure as other programs get it: the records of its file where that can be read once more,
// else its atoms.
//
// A Chain holds what comparisons need, the C-alpha atoms often, and people who look at a
// superposition want side chains, ligands and headers too.  So the file is read again when its run
// is over, and passed on record by record.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "chain/chain.h"
#include "compare/fit/fit.h"

namespace tervolanda {

// What a text is, by its content and not by the name of its file.
enum class StructureForm : std::uint8_t { Pdb, Mmcif };

struct StructureCopy {
    StructureForm form = StructureForm::Pdb;
    std::string text;
};

// The text of the chain's file, decompressed; of standard input, a pipe or a device the atoms of
// the chain as PDB records.  None where the file cannot be read any more.
std::optional<StructureCopy> copyOf(const Chain& chain);

// The atoms of a chain or a complex as PDB records.
std::string atomRecords(const Chain& chain);

// The records with the atoms moved, HETATM and all models included, and the directions of ANISOU
// turned.  Every other record, and one whose coordinates are no numbers, stays as it is.
std::string movedRecords(std::string_view text, const Superposition& motion);

}  // namespace tervolanda
