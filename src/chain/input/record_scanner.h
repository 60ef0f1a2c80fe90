// Finds records in the text of a compressed PDB file.  Such a text is not taken apart into lines: a
// record is found wherever it begins, as users of compressed files have always had it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tervolanda {

class AtomRecordReader;

// Finds records in text that arrives in blocks, cut anywhere.  A record begins at "ATOM" and two
// blanks, wherever in a line they stand, ends where its line ends, and needs more than 53
// characters of text from its beginning on.  Time is linear in the text, memory that of a block.
class RecordScanner {
 public:
    // The reader, which takes the records, is lent.
    explicit RecordScanner(AtomRecordReader& reader) : reader_(reader) {}
    void append(std::string_view block);
    // The text has ended: what is pending is searched once more.
    void finish();

 private:
    // Whether more text may come, with which a record at the end would go on.
    enum class Rest : std::uint8_t { MayFollow, None };
    // Takes the records in `text`; returns how many characters of it are done with.
    std::size_t search(std::string_view text, Rest rest);

    AtomRecordReader& reader_;
    std::string pending_;  // from the first character that may still begin a record
};

}  // namespace tervolanda
