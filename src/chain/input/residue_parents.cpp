// The names are those of the Chemical Component Dictionary (Westbrook et al. 2015), and the forms
// of histidine, cysteine and the acids that force fields tell apart.  Residues made of several
// amino acids, as in fluorescent proteins, have no C-alpha atom of their own and are not here.
#include "chain/input/residue_parents.h"

#include <array>

#include "chain/chain.h"

namespace tervolanda {

namespace {

struct Children {
    char parent;
    std::string_view names;  // three characters and a blank each
};

// clang-format off
constexpr auto kChildren = std::to_array<Children>({
    {'A', "ABA AIB ALC DAB DAL MAA ORN "},
    {'C', "CAF CAS CME CSD CSO CSS CSX CYM CYX DCY OCS SCH SCY SEC SMC SNC YCM "},
    {'D', "0TD ASH BFD DAS IAS PHD "},
    {'E', "B3E CGU DGL FGA GLH "},
    {'F', "DPN MEA PHI PHL "},
    {'G', "3FG GHP GL3 SAR "},
    {'H', "DHI HIC HID HIE HIP HSD HSE HSP MHS NEP "},
    {'I', "DIL "},
    {'K', "ALY DLY KCX KPI LLP LYN M3L MLY MLZ PYL "},
    {'L', "DLE MK8 MLE MLU NLE "},
    {'M', "CXM FME MED MHO MSE SME "},
    {'N', "DSG MEN SNN "},
    {'P', "DPR HYP "},
    {'Q', "DGN MEQ "},
    {'R', "2MR AGM CIR DAR "},
    {'S', "DHA DSN OAS SAC SEP "},
    {'T', "BMT DTH TPO "},
    {'V', "DVA FVA MVA "},
    {'W', "0AF DTR TOX TRQ "},
    {'Y', "DTY OMY OMZ PTR TPQ TYS "},
});
// clang-format on

}  // namespace

int aminoAcidIndex(std::string_view name) {
    if (name.size() != 3) return -1;
    const int row = residueIndex(name);
    if (row >= 0) return row <= kLastAminoAcid ? row : -1;
    for (const Children& children : kChildren) {
        for (std::size_t at = 0; at < children.names.size(); at += 4)
            if (children.names.substr(at, 3) == name) return indexOfCode(children.parent);
    }
    return -1;
}

}  // namespace tervolanda
