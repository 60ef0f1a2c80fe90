// Part files: the results of some of the pairs of a list, with all their bits, as one of many
// processes found them. docs/formats.md describes them to the byte; who makes and merges them is in
// driver/blocks.h.
//
// A file may have been cut short, changed or made to deceive.  Every length is checked against the
// size of the file and every byte against a checksum before a record is handed out; and as a file
// might change even then, each record is checked again while it is read.
//
// Results are kept as bits and not as text, so that a merged run prints what one run would have
// printed, to the last digit of every sum that is made of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/file.h"
#include "resultfiles/resultfiles.h"
#include "resultfiles/spool_file.h"

namespace tervolanda {

struct HeaderFront;

// What a record holds of a pair; those with searches hold all that files of pairs show.  The
// numbers are those in the file.
enum class PartKind : std::uint32_t {
    MaxSub = 1,
    MaxSubWithSuperpositions,
    Gdt,
    Rmsd,
    Measure,
    MaxSubWithSearches,
    GdtWithSearches,
};

// A line of the list, and what reading it gave.  Both the parts and the run that merges them make
// one from the chain that they have read, so that a file that was changed between the runs is found
// out.
struct PartModel {
    std::uint32_t entry = 0;  // from 0
    bool isReadable = false;
    std::uint32_t checksum = 0;  // of the chain as read; 0 without one
    bool operator==(const PartModel&) const = default;
};

// One of `blocks` slices of the pairs of a list.
struct Block {
    std::uint64_t number = 1;  // from 1
    std::uint64_t blocks = 1;
    // Its pairs out of so many: the first ones have one more where they do not come out even.
    PairRange slice(std::uint64_t pairs) const;
    bool operator==(const Block&) const = default;
};

// What a part says of itself.
struct PartHeader {
    PartKind kind = PartKind::MaxSub;
    Block block;
    std::uint64_t entries = 0;       // of the list, readable or not
    std::uint64_t records = 0;       // pairs of the slice of which both models are readable
    std::uint32_t listChecksum = 0;  // of the bytes of the list file
    std::string options;             // "name value" lines: all that results depend on
    std::vector<PartModel> models;   // those that the slice needs, ascending entries

    PairRange slice() const { return block.slice(pairsOf(entries)); }
};

// CRC-32 of everything in a chain that a comparison looks at: places, names and numbers of its
// atoms. Two files that give the same atoms are the same model, whatever else is in them.
std::uint32_t chainChecksum(const Chain& chain);

// Collects the records of a part on disk beside the part, under no name, and writes the part when
// they are complete: until then nothing of that name is touched.
class PartWriter {
 public:
    PartWriter(std::string path, PartKind kind);

    void add(const ComparisonResult& result);
    void add(const GdtOutcome& outcome);
    void add(const MeasuredOutcome& outcome);
    void add(const RmsdCells& cells);
    // Why commit() would fail as things are: an error number, 0 where nothing speaks against it.
    int whyNotWritable() const;
    // Writes the part; the header's kind and records are those that were added.  False when not
    // every byte arrived.
    bool commit(PartHeader header);

 private:
    template <typename Outcome>
    void addRecord(const Outcome& outcome);

    std::string path_;
    PartKind kind_;
    SpoolFile spool_;
    std::string record_;  // scratch
    std::uint64_t records_ = 0;
};

// The records of the coordinate sets of a pair, which its matched pairs are positions in.
struct SetSizes {
    std::size_t experiment = 0;
    std::size_t prediction = 0;
};

// A part that is whole.  Records come in the order in which they were added.
class PartReader {
 public:
    // Reads and checks all of a file; what is wrong with it, else.
    static std::variant<PartReader, FormatError> open(const std::string& path);

    const PartHeader& header() const { return header_; }
    // The header without its models, which are many.
    void forgetModels() { header_.models = {}; }

    // The next record; false when there is none or the file is not any more what it was.  A result
    // has pairs, rmsd, maxsub, tm and, of the kind with superpositions, that of the first iteration
    // and the matched pairs, which lie within sets of these sizes; of the kinds with searches all
    // but the partners.
    bool next(const SetSizes& sizes, ComparisonResult& result);
    bool next(const SetSizes& sizes, GdtOutcome& outcome);
    bool next(MeasuredOutcome& outcome);
    bool next(RmsdCells& cells);
    // After the last record: whether every byte was read again as it was checked.
    bool finish() const;

 private:
    PartReader() = default;
    bool read(void* target, std::size_t size);
    std::optional<bool> isChecksumRight();
    std::optional<FormatError> readHeader();
    std::optional<FormatError> readHeaderTail(const HeaderFront& front);
    std::optional<FormatError> checkRecords();
    // Takes so many bytes of the records; empty where there are fewer.
    std::string_view take(std::size_t size);

    FileHandle file_;
    PartHeader header_;
    std::uint64_t recordsAt_ = 0;       // offset in the file
    std::uint64_t recordBytes_ = 0;     // of all records
    std::uint64_t left_ = 0;            // bytes of records that are still to be read
    std::uint32_t headerChecksum_ = 0;  // of all bytes before the records
    std::uint32_t checksum_ = 0;        // of all bytes read so far
    std::uint32_t fileChecksum_ = 0;    // of the whole file
    std::string bytes_;                 // scratch
};

}  // namespace tervolanda
