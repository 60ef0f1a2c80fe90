// What the runs over blocks of pairs, and the run that merges their parts, have to agree on.
//
// A part is only of use with the parts of the same list, the same models and the same options.  All
// of that is in its header, and a RunIdentity compares it; nothing is taken from a part that
// differs.
//
// Two counts of pairs meet here.  A block's slice is of the pairs of all entries, the lines of the
// list that name a file, so that it can be known before any file is read; a batch counts the pairs
// of the models that could be read.  Both are in the order of all pairs: (1, 0), (2, 1), (2, 0),
// (3, 2) and so on.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "chain/input/input.h"
#include "cluster/batch/batch.h"
#include "driver/settings.h"
#include "resultfiles/part_file.h"

namespace tervolanda {

class Log;

// Ends the run by an Abend where the options for blocks do not ask for one thing of a run over all
// pairs.  Each refusal is for something that parts do not hold and a merged run could therefore not
// print.
void checkBlocks(const Settings& settings);

// Pair number `index` of those of a list, experiment and prediction from 0.
BatchPair pairAt(std::uint64_t index);

// Which entries of a list could be read, and how many pairs these make: turns the count of a slice
// into that of a batch.
class ReadablePairs {
 public:
    ReadablePairs(std::size_t entries, const ChainList& models);
    bool isReadable(std::size_t entry) const { return before_[entry + 1] > before_[entry]; }
    // Pairs of readable models among the first `index` pairs of all.
    std::uint64_t before(std::uint64_t index) const;

 private:
    std::vector<std::uint32_t> before_;  // readable models among the first so many entries, from 0
};

// The entries of a list, counted from 0, that a block compares, ascending.
std::vector<std::uint32_t> entriesOf(const Block& block, std::uint64_t entries);

// What a part has to be to belong to a run.  Made alike by the run that computes a block and by the
// one that merges: from the list, the options and the chains as they were read.
class RunIdentity {
 public:
    // The models are those of the whole list, or all that the blocks to be asked for need.
    RunIdentity(const Settings& settings, const ListSummary& list, const ChainList& models);

    const ReadablePairs& readable() const { return readable_; }
    // The header of a block's part, which says all that is known before its pairs are compared.
    PartHeader headerOf(const Block& block) const;
    // Why a part is not of this run, as the end of a message that begins with the part; none when
    // it is.
    std::optional<std::string> faultOf(const PartHeader& header) const;

 private:
    PartHeader common_;              // what all parts of the run have in common
    std::vector<PartModel> models_;  // one per entry
    ReadablePairs readable_;
};

// The list of a run; one that cannot be read is fatal.
ListSummary summariseList(const Settings& settings, Log& log);

// The parts of a run in a folder: the files whose names end in ".part", each read to its end once
// for its checksum.  Keeps paths and not open files: a run may have more parts than a process may
// have files.
class PartFolder {
 public:
    // Looks at all of them.  Those that cannot be used are ERROR lines.
    PartFolder(const std::string& path, const RunIdentity& run, Log& log);

    bool hasFaults() const { return hasFaults_; }
    std::uint64_t blocks() const { return blocks_; }  // 0 without a usable part
    const std::map<std::uint64_t, std::string>& parts() const { return parts_; }
    // The numbers of the others of so many, as "3,7-9"; empty for none.
    std::string missing(std::uint64_t blocks) const;

 private:
    void look(const std::string& path, const RunIdentity& run, Log& log);
    void fault(const std::string& path, const std::string& text, Log& log);

    std::map<std::uint64_t, std::string> parts_;  // by block number
    std::uint64_t blocks_ = 0;
    bool hasFaults_ = false;
};

// The pairs of a merged run, out of its parts, block by block and so in the order of all pairs.
//
// Invariant: parts before `part_` are used up; `reader_` is the one before it, with `left_` records
// still to be handed out, or there is none.
class MergedPairs {
 public:
    // A folder without all of them is fatal.  The models are those of the whole list.
    MergedPairs(const Settings& settings, const ChainList& models, Log& log);

    // The record of the next pair; what cannot be read any more is fatal.
    template <typename... Target>
    void next(Target&&... target) {
        while (!reader_ || left_ == 0)
            openNext();
        if (!reader_->next(std::forward<Target>(target)...)) refuse();
        --left_;
    }
    // After the last pair.
    void finish();

 private:
    void openNext();
    void closeCurrent();
    [[noreturn]] void refuse() const;

    RunIdentity run_;
    std::map<std::uint64_t, std::string> parts_;
    std::map<std::uint64_t, std::string>::const_iterator part_;
    std::optional<PartReader> reader_;
    std::uint64_t left_ = 0;  // records of the part that is open
    std::string current_;     // its path
};

}  // namespace tervolanda
