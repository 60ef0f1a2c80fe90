// Makes atoms of the text of an mmCIF file (PDBx/mmCIF dictionary, Westbrook et al. 2022): of its
// _atom_site rows, and of _entity and _entity_poly which of them are protein.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "chain/input/cif_syntax.h"
#include "chain/input/text_lines.h"

namespace tervolanda {

class EntryBuilder;
struct Atom;

// Takes the text in pieces, cut anywhere.  The atoms are those of the first block that has any.
class MmcifReader {
 public:
    // The builder is lent.
    explicit MmcifReader(EntryBuilder& builder);
    MmcifReader(const MmcifReader&) = delete;
    MmcifReader& operator=(const MmcifReader&) = delete;

    // False when the rest is not needed, or after a fault.
    bool append(std::string_view piece);
    void finish();
    // What is wrong with the text; line 0 for nothing.
    const TextFault& fault() const { return fault_; }

 private:
    bool takeRow(int category);
    bool takeAtom();
    bool isNewPlace();
    bool beginPlace();
    bool fillAtom(Atom& atom);
    bool beginBlock();
    bool fail(std::string why);
    void noteFault();

    std::string_view value(std::size_t item) const { return parser_.value(item); }
    // The first of two items that has a value.
    std::string_view either(std::size_t first, std::size_t second) const;

    EntryBuilder& builder_;
    CifParser parser_;
    LineSplitter lines_;
    TextFault fault_;
    // Items that tell residues apart; the first ones of the table of items.
    static constexpr std::size_t kPlaceItems = 9;
    std::array<std::string, kPlaceItems> place_;  // of the row before
    bool hasPlace_ = false;
    bool isWanted_ = false;  // the residue
    bool isDone_ = false;
};

}  // namespace tervolanda
