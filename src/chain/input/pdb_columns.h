// Makes atoms of the ATOM records of a PDB file: the lenient reading, in which a line that begins
// with "ATOM" is a record whatever else it holds, and a field that is no number is 0.  Entries have
// a reader that refuses such fields (pdb_entry.h).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/text.h"

namespace tervolanda {

class ChainBuilder;

inline constexpr std::size_t kPdbRecordWidth = 80;

// Up to which column a record has blanks where its line is shorter: to the z coordinate, so that
// what comes after it is there in records of full width only; or to the last.
enum class BlanksUpTo : std::uint8_t { Coordinates, FullWidth };

// The columns of an atom record, counted from 1.
class AtomRecord {
 public:
    // What stands after column 80, and the line end, is no part of the record.
    explicit AtomRecord(std::string_view line, BlanksUpTo blanks = BlanksUpTo::Coordinates);
    AtomRecord(const AtomRecord&) = delete;
    AtomRecord& operator=(const AtomRecord&) = delete;

    std::string_view columns(std::size_t first, std::size_t last) const {
        return {text_ + first - 1, last - first + 1};
    }
    char column(std::size_t place) const { return text_[place - 1]; }
    bool isFull() const { return isFull_; }

 private:
    static constexpr std::size_t kPlacementWidth = 54;  // up to the z coordinate

    const char* text_;  // the line itself or the padded copy
    std::array<char, kPdbRecordWidth> padded_;
    bool isFull_;
};

// A number in six columns, and these as one.
struct ShortField {
    std::uint64_t columns = 0;  // as no record has them
    double value = 0.0;
};

// Takes the records of a file, one after the other, and offers their atoms to a builder.  Records
// mostly repeat fields of the one before; what was made of these is kept, beside the characters
// that it was made of.
class AtomRecordReader {
 public:
    // The builder is lent.
    explicit AtomRecordReader(ChainBuilder& builder, bool isStrict = false)
        : builder_(builder), isStrict_(isStrict) {}

    // What a strict reader found out of its columns in the first atom of which this can be said;
    // empty for none.
    const std::string& misplacement() const { return misplacement_; }

    // `line` begins with "ATOM" and may have its line end.  What stands after column 80 is no part
    // of the record; columns that it does not have read as blanks.
    void take(std::string_view line);

 private:
    void beginResidue(std::string_view columns);
    void lookForMisplacement(std::string_view line);

    ChainBuilder& builder_;
    bool isStrict_;
    std::string misplacement_;
    FixedText<10> residueColumns_{"\n"};  // of the latest record: 18 to 27; at first as none has
    ShortField occupancy_, bFactor_;      // of the latest full record
};

}  // namespace tervolanda
