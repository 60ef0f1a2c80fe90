// Makes atoms of the text of a PDB file that is read as an entry: ATOM and HETATM records, between
// MODEL and ENDMDL. An EntryBuilder takes them and chooses; what is a fault here and what only a
// missing field is as in mmcif_atoms.h.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "base/text.h"
#include "chain/input/text_lines.h"

namespace tervolanda {

class AtomRecord;
class EntryBuilder;

// Takes the text in pieces, cut anywhere.
class PdbEntryReader {
 public:
    // The builder is lent.
    explicit PdbEntryReader(EntryBuilder& builder) : builder_(builder) {}

    // False when the rest is not needed, or after a fault.
    bool append(std::string_view piece);
    void finish();
    // What is wrong with the text; line 0 for nothing.
    const TextFault& fault() const { return fault_; }

 private:
    bool take(std::string_view line);
    void takeSequence(std::string_view line);
    void beginModel(std::string_view line);
    bool takeAtom(const AtomRecord& record, bool isHet);
    bool beginPlace(const AtomRecord& record);
    bool fillAtom(const AtomRecord& record, struct Atom& atom);
    bool fail(std::string why);

    EntryBuilder& builder_;
    LineSplitter lines_;
    TextFault fault_;
    std::int64_t model_ = 1;
    std::set<std::string, std::less<>> ended_;  // chains, by a TER record
    // Of the latest record; at first as none has.
    FixedText<10> residueColumns_{"\n"};  // 18 to 27
    FixedText<4> segment_;                // where it stands for the chain's name; else blank
    bool isWanted_ = false;               // the residue
    bool isDone_ = false;
};

}  // namespace tervolanda
