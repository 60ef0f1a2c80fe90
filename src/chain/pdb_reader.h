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

    // `record` begins with "ATOM" and may have any length; what stands behind its line end or
    // column 80 is no part of it, and columns it does not have read as blanks.
    void take(std::string_view record);

 private:
    bool isSelected(std::uint32_t classification) const;
    Chain& chainOf(char id);

    std::uint16_t options_;
    const ResidueExclusions& exclusions_;
    ChainSet& set_;
    std::size_t latest_ = 0;  // the chain that took the latest atom
};

// Finds records in text that arrives in blocks, cut anywhere.  A record begins at "ATOM" and two
// blanks, wherever in a line they stand, and needs more than 53 characters of text from there on.
class RecordScanner {
 public:
    explicit RecordScanner(RecordTaker& taker) : taker_(taker) {}
    void append(std::string_view block);
    // The text has ended: what is pending is searched once more.
    void finish();

 private:
    void search(bool isEnd);

    RecordTaker& taker_;
    std::string pending_;
};

}  // namespace tervolanda
