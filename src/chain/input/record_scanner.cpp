// See record_scanner.h for what counts as a record.
//
// Text comes in blocks of any length, so a record may be cut anywhere: from where it may begin, its
// characters are kept until the next block.
#include "chain/input/record_scanner.h"

#include <algorithm>

#include "chain/input/pdb_columns.h"

namespace tervolanda {

namespace {

constexpr std::string_view kScannedName = "ATOM  ";
constexpr std::size_t kShortestRecord = 54;

// Where the next "ATOM" and two blanks begins.  Its "M" is what is looked for: other letters of the
// name stand in nearly every record.
std::size_t findRecord(std::string_view text, std::size_t begin) {
    constexpr std::size_t kPlaceOfM = 3;
    static_assert(kScannedName[kPlaceOfM] == 'M');
    for (std::size_t at = begin + kPlaceOfM; at < text.size(); ++at) {
        at = text.find('M', at);
        if (at == std::string_view::npos) break;
        if (text.substr(at - kPlaceOfM, kScannedName.size()) == kScannedName) return at - kPlaceOfM;
    }
    return std::string_view::npos;
}

}  // namespace

void RecordScanner::append(std::string_view block) {
    if (pending_.empty()) {  // a whole text needs no copy
        pending_ = block.substr(search(block, Rest::MayFollow));
        return;
    }
    pending_ += block;
    pending_.erase(0, search(pending_, Rest::MayFollow));
}

void RecordScanner::finish() {
    search(pending_, Rest::None);
    pending_.clear();
}

std::size_t RecordScanner::search(std::string_view text, Rest rest) {
    std::size_t begin = 0;
    for (;;) {
        const std::size_t match = findRecord(text, begin);
        if (match == std::string_view::npos) {
            // The end may hold the beginning of a match.
            return std::max(begin, text.size() - std::min(text.size(), kScannedName.size() - 1));
        }
        begin = match;
        const std::string_view record = text.substr(match);
        const std::size_t lineEnd = record.substr(0, kPdbRecordWidth).find('\n');
        const bool isComplete = record.size() >= kPdbRecordWidth ||
                                lineEnd != std::string_view::npos || rest == Rest::None;
        if (record.size() < kShortestRecord || !isComplete) return begin;
        reader_.take(record.substr(0, lineEnd));
        ++begin;
    }
}

}  // namespace tervolanda
