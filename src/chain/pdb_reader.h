// How ATOM records become atoms, and how compressed text is searched for records.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "chain/chain.h"

namespace tervolanda {

// Takes the records of a file, one after the other, into the chains of a set.
class RecordTaker {
 public:
    RecordTaker(std::uint16_t options, const ResidueExclusions& exclusions, ChainSet& set)
        : options_(options), exclusions_(exclusions), set_(set) {}

    // `line` begins with "ATOM" and may have its line end.  What stands behind column 80 is no part
    // of the record; columns it does not have read as blanks.
    void take(std::string_view line);
    // Whether there were more atoms than a file may have.
    bool exceeds() const { return atoms_ > kMostAtoms; }

 private:
    // What columns 18 to 27 say: residue name, chain, residue number and insertion code.
    struct ResidueColumns {
        FixedText<10> text{"\n"};  // as no record has it
        FixedText<3> name;
        std::int16_t type = -1;
        std::int16_t number = 0;
        bool isTaken = true;
    };

    // A number in six columns, and these as one.
    struct ShortNumber {
        std::uint64_t columns = 0;  // as none are
        double value = 0.0;
    };

    bool isSelected(std::uint32_t classification) const;
    const ResidueColumns& residueOf(std::string_view columns);
    Chain& chainOf(char id);

    std::uint16_t options_;
    const ResidueExclusions& exclusions_;
    ChainSet& set_;
    std::size_t atoms_ = 0;  // selected so far
    // What the latest records had: the next one mostly has the same.
    std::size_t latest_ = 0;  // the chain that took an atom
    ResidueColumns latestResidue_;
    ShortNumber latestOccupancy_, latestBFactor_;
};

// Finds records in text that arrives in blocks, cut anywhere.  A record begins at "ATOM" and two
// blanks, wherever in a line they stand, ends where its line ends, and needs more than 53
// characters of text from its beginning on.  Time is linear in the text, memory that of a block.
class RecordScanner {
 public:
    explicit RecordScanner(RecordTaker& taker) : taker_(taker) {}
    void append(std::string_view block);
    // The text has ended: what is pending is searched once more.
    void finish();

 private:
    // Takes the records in `text`; returns how many characters of it are done with.
    std::size_t search(std::string_view text, bool isEnd);

    RecordTaker& taker_;
    std::string pending_;
};

}  // namespace tervolanda
