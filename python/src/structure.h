// A chain with what comparisons need of it.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "base/log.h"
#include "bindings.h"
#include "compare/compare.h"

namespace tervolanda::python {

// Does not change once it is made: threads may share it.  What is made on demand is made under the
// interpreter's lock.
class Structure {
 public:
    explicit Structure(Chain chain);

    const Chain& chain() const { return chain_; }
    // The atom of each record of calphas().
    const Atom& calpha(std::size_t record) const { return chain_.atoms[calphaAtoms_[record]]; }
    const CoordinateSet& calphas() const { return calphas_; }
    const CoordinateSet& backbone() const;
    // The C-alpha atoms, with those that measures of all atoms look at.
    const CoordinateSet& allAtoms() const;
    const CoordinateSet& set(AtomSelection selection) const {
        return selection == AtomSelection::Calpha ? calphas_ : backbone();
    }

 private:
    Chain chain_;
    CoordinateSet calphas_;
    std::vector<std::uint32_t> calphaAtoms_;
    mutable std::optional<CoordinateSet> backbone_, allAtoms_;
};

using StructurePtr = std::shared_ptr<Structure>;

// Models as the batches of the library take them, numbered from 1.  The chains are copied: theirs
// are values.
ChainList listOf(const std::vector<StructurePtr>& models, const StopFlag* stop);

}  // namespace tervolanda::python
