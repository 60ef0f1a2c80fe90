#include "record.h"

namespace tervolanda::python {

PairResult& ListRecord::next(const ComparedPair& pair) {
    PairResult& result = pairs_.emplace_back();
    result.experiment = 0;
    result.prediction = pair.at.prediction + 1;  // before the models stands the experiment
    return result;
}

void ListRecord::seeMaxSub(const ComparedPair& pair, const ComparisonResult& result) {
    fillPair(pair, result, form(), next(pair));
}

void ListRecord::seeGdt(const ComparedPair& pair, const GdtResult& found,
                        const ComparisonResult& search) {
    fillPair(pair, found, search, form(), next(pair));
}

void ListRecord::seeRmsd(const ComparedPair& pair, const ListedRmsd& found,
                         std::span<const MatchedPair> matched) {
    fillPair(pair, found, matched, form(), next(pair));
}

}  // namespace tervolanda::python
