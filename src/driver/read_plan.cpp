// Comparisons look at C-alpha atoms, or in RMSD runs on demand at the backbone.  More is read where
// something else needs it: contacts and secondary structure the backbone and C-beta atoms, the
// script of a pairwise run and the lDDT of all atoms all of them.
//
// What is not read takes neither time nor memory: one in eight of a protein's heavy atoms is a
// C-alpha atom.
#include "driver/read_plan.h"

namespace tervolanda {

ComparisonKind comparisonKind(const Settings& settings) {
    if (settings.measure.by) return ComparisonKind::Measure;
    if (settings.measure.rmsdOnly) return ComparisonKind::Rmsd;
    return settings.measure.gdt ? ComparisonKind::Gdt : ComparisonKind::MaxSub;
}

std::optional<ClusterMethod> clusterMethod(const Settings& settings) {
    switch (settings.clustering.clusterMethod) {
        case 0:
            return std::nullopt;
        case 2:
            return ClusterMethod::AverageLinkage;
        case 3:
            return ClusterMethod::MaximumLinkage;
        case 4:
            return ClusterMethod::NeighboursMinSize;
        case 5:
            return ClusterMethod::NeighboursAbsoluteSize;
        default:  // every other number stands for single linkage
            return ClusterMethod::SingleLinkage;
    }
}

RmsdOptions rmsdOptions(const Settings& settings) {
    const bool isMeasured = settings.measure.by.has_value();
    return {.urmsd = !isMeasured && (settings.measure.urmsdFlags & UrmsdCompute) != 0,
            .urmsdRotation = (settings.measure.urmsdFlags & UrmsdRotate) != 0,
            .reportTooFew = true,
            .pairBySequence = settings.comparison.pairBySequence,
            .pairByNumber = isMeasured,
            .measures = settings.comparison.measures,
            .mapChains = settings.comparison.mapChains};
}

MeasureOptions measureOptions(const Settings& settings) {
    return {*settings.measure.by, rmsdOptions(settings)};
}

ReadPlan readPlan(const Settings& settings) {
    ReadPlan plan;
    const bool isPairwise = !settings.input.listFile;
    const bool comparesBackbone = settings.measure.rmsdOnly && settings.measure.backbone;
    if (comparesBackbone) plan.atoms = AtomSelection::Backbone;
    unsigned int options = ReadCalphaOnly | ReadCheckDuplicates | ReadCheckAll;
    const bool measuresAll = settings.comparison.measures.wanted.has(Measure::LddtAll);
    if (settings.input.allAtoms || measuresAll || isPairwise) {
        options |= ReadAllAtoms;
    } else if (settings.comparison.contacts || settings.comparison.sequenceIndependent ||
               comparesBackbone) {
        options |= ReadBackboneAndBeta;
    }
    plan.models.options = static_cast<std::uint16_t>(options);
    plan.models.strict = settings.strict;
    plan.models.entry = settings.input.entry;
    // Both sides are read in the same way but for their chains, so that neither is favoured.
    plan.experiment = plan.models;
    plan.experiment.entry.chain = settings.input.experimentChain;
    plan.models.entry.chain = settings.input.predictionChain;
    return plan;
}

}  // namespace tervolanda
