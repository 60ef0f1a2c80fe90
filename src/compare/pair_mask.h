// Subsets of pairs, a bit for each pair: sets of a search have some hundred pairs, so that a few
// words hold one.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tervolanda {

// Words of 64 pairs; the bits after the last pair are 0.
using PairMask = std::vector<std::uint64_t>;

// Calls visit(pair) for each pair of a word, ascending; `first` is the pair of its lowest bit.
template <typename Visit>
void forEachPair(std::uint64_t word, std::size_t first, Visit visit) {
    for (; word != 0; word &= word - 1)
        visit(first + static_cast<std::size_t>(std::countr_zero(word)));
}

// The pairs [first, end), of `words` words.
inline void setRange(std::size_t first, std::size_t end, std::size_t words, PairMask& mask) {
    mask.assign(words, 0);
    for (std::size_t w = first / 64; 64 * w < end; ++w) {
        mask[w] = ~std::uint64_t{0};
        if (64 * w < first) mask[w] <<= first % 64;
        if (end < 64 * w + 64) mask[w] &= (std::uint64_t{1} << (end % 64)) - 1;
    }
}

inline void listPairs(const PairMask& mask, std::vector<std::uint32_t>& pairs) {
    pairs.clear();
    for (std::size_t w = 0; w < mask.size(); ++w) {
        forEachPair(mask[w], 64 * w, [&pairs](std::size_t pair) {
            pairs.push_back(static_cast<std::uint32_t>(pair));
        });
    }
}

// A plain loop: sets have a few words, and a call of memcmp costs more (4 % of a search).
inline bool isSameSet(const std::uint64_t* a, const std::uint64_t* b, std::size_t words) {
    for (std::size_t w = 0; w < words; ++w) {
        if (a[w] != b[w]) return false;
    }
    return true;
}

}  // namespace tervolanda
