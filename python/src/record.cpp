#include "record.h"

namespace tervolanda::python {

PairResult& ListRecord::next(const ComparedPair& pair) {
    PairResult& result = pairs_.emplace_back();
    result.experiment = 0;
    result.prediction = pair.at.prediction + 1;  // before the models stands the experiment
    return result;
}

// Of the pair that has been filled in last.
void ListRecord::showPairing(const ComparedPair& pair) {
    fillPairing(pair, fit_.pairing, keys_, pairs_.back());
}

void ListRecord::seeMaxSub(const ComparedPair& pair, const ComparisonResult& result) {
    fillPair(pair, result, form(), next(pair));
    showPairing(pair);
}

void ListRecord::seeGdt(const ComparedPair& pair, const GdtResult& found,
                        const ComparisonResult& search) {
    fillPair(pair, found, search, form(), next(pair));
    showPairing(pair);
}

void ListRecord::seeRmsd(const ComparedPair& pair, const ListedRmsd& found,
                         std::span<const MatchedPair> matched) {
    fillPair(pair, found, matched, form(), next(pair));
    showPairing(pair);
}

}  // namespace tervolanda::python
