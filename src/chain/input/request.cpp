// The one place where the option bits are looked at.
//
// The bits are the interface of callers; inside the room a Selection and Checks say the same by
// name.
#include "chain/input/request.h"

namespace tervolanda {

Selection selectionOf(std::uint16_t options) {
    Selection selection;
    selection.takesHydrogens = (options & ReadNoHydrogen) == 0;
    if ((options & ReadAllAtoms) != 0) return selection;
    if ((options & ReadBackboneAndBeta) != 0) {
        selection.kinds = AtomKinds::BackboneAndBeta;
    } else if ((options & ReadCalphaOnly) != 0) {
        selection.kinds = AtomKinds::Calpha;
    }
    return selection;
}

Checks checksOf(const ReadRequest& request) {
    constexpr unsigned kChecking = ReadCheckDuplicates | ReadCheckAll | ReadCheckCalphaDistance |
                                   ReadStrictBackbone | ReadModelPrepare | ReadCheckBreaks |
                                   ReadCheckBackbone;
    const auto has = [&](unsigned options) { return (request.options & options) != 0; };
    return {.any = has(kChecking),
            .reportsAll = has(ReadCheckAll),
            .gaps = has(ReadCheckGap),
            .duplicates = has(ReadCheckDuplicates),
            .calphaDistances = has(ReadCheckCalphaDistance),
            .backbone = has(ReadStrictBackbone | ReadCheckBackbone),
            .strictBackbone = has(ReadStrictBackbone),
            .calphasSuffice = has(ReadCalphaOnly),
            .insertionCodes = has(ReadCheckInsertionCodes),
            .breaks = has(ReadCheckBreaks),
            .radius = has(ReadCheckRadius),
            .templateSequence = request.templateSequence,
            .minimumCalphas = request.minimumCalphas,
            .maximumGap = request.maximumGap,
            .maximumCompactness = request.maximumCompactness};
}

}  // namespace tervolanda
