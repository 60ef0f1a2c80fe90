// The figures of a pair as text.
#include "export/pair_texts.h"

#include <cmath>
#include <limits>
#include <optional>

namespace tervolanda {

namespace {

constexpr std::array<std::optional<double> PairResult::*, kPairFigures> kFigures = {
    &PairResult::rmsd,  &PairResult::grmsd,  &PairResult::maxsub,   &PairResult::tm1,
    &PairResult::tm2,   &PairResult::msi,    &PairResult::gdt,      &PairResult::rrmsd,
    &PairResult::urmsd, &PairResult::rurmsd, &PairResult::contacts, &PairResult::cutoff};

}  // namespace

// Three of seven are written before: the cutoff is that of the pair before, either TM-score the
// other in chains of one length, and MSI the MaxSub where all residues are mapped.
void PairTexts::makeFigures() {
    constexpr std::size_t kLookedAt = 3;  // figures before
    hasFigures_ = true;
    for (std::size_t k = 0; k < kPairFigures; ++k) {
        const std::optional<double>& figure = pair_->*kFigures[k];
        if (!figure || !std::isfinite(*figure)) {
            figures_[k].size = 0;
            values_[k] = std::numeric_limits<double>::quiet_NaN();
            continue;
        }
        if (*figure == values_[k] && figures_[k].size > 0) continue;
        values_[k] = *figure;
        std::size_t j = k > kLookedAt ? k - kLookedAt : 0;
        while (j < k && values_[j] != *figure)
            ++j;
        if (j < k) {
            figures_[k] = figures_[j];
        } else {
            char* const first = figures_[k].bytes.data();
            figures_[k].size = static_cast<std::uint8_t>(writeNumber(first, *figure) - first);
        }
    }
}

}  // namespace tervolanda
