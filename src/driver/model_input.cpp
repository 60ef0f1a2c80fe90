// A run reads all its structures before it compares any; what cannot be read ends it.
#include "driver/model_input.h"

#include <optional>
#include <utility>

#include "base/log.h"
#include "driver/abend.h"

namespace tervolanda {

ComparisonKind comparisonKind(const Settings& settings) {
    if (settings.rmsdOnly) return ComparisonKind::Rmsd;
    return settings.gdt ? ComparisonKind::Gdt : ComparisonKind::MaxSub;
}

AtomSelection comparedAtoms(const Settings& settings) {
    return settings.rmsdOnly && settings.backbone ? AtomSelection::Backbone : AtomSelection::Calpha;
}

RmsdOptions rmsdOptions(const Settings& settings) {
    return {.urmsd = (settings.urmsdFlags & UrmsdCompute) != 0,
            .urmsdRotation = (settings.urmsdFlags & UrmsdRotate) != 0};
}

std::uint16_t listReadFlags(const Settings& settings) {
    std::uint16_t flags = settings.readFlags;
    if (settings.comparison.contacts) flags |= ReadBackboneAndBeta;
    if (comparedAtoms(settings) == AtomSelection::Backbone) flags |= ReadBackboneAndBeta;
    return flags;
}

Chain readStructure(const std::string& path, std::uint16_t flags,
                    const ResidueExclusions& exclusions, Log& log) {
    ReadRequest request;
    request.options = flags;
    std::optional<Chain> chain = readChain(path, request, exclusions, log);
    if (!chain) abend("Failed to read PDB file '%s'", path.c_str());
    return std::move(*chain);
}

ChainList readModels(const Settings& settings, const ResidueExclusions& exclusions, Log& log) {
    const std::string& path = *settings.listFile;
    const ComparisonKind kind = comparisonKind(settings);
    ReadRequest request;
    request.options = listReadFlags(settings);
    ChainList models;
    std::uint32_t counter = 0;
    const std::size_t read = readModelList(path, counter, request, exclusions, log, models);
    if (read == 0 && kind == ComparisonKind::Rmsd) {
        abend("Failed to read PDB list file '%s'", path.c_str());
    }
    if (read == 0) abend("Failed to read PDB list file");
    log.info(0, "Successfully read %zu %s structures", read,
             kind == ComparisonKind::MaxSub ? "Chain" : "PDB");
    return models;
}

}  // namespace tervolanda
