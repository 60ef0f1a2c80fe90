// A gzip stream taken apart in one call, where that is possible.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

namespace tervolanda {

// Bytes that are written once: unlike a string's they are not cleared before.
struct Bytes {
    explicit Bytes(std::size_t length)
        : data(std::make_unique_for_overwrite<char[]>(length)), size(length) {}
    std::string_view text() const { return {data.get(), size}; }

    std::unique_ptr<char[]> data;  // NOLINT(*-avoid-c-arrays): a vector would be filled first
    std::size_t size;
};

// What may be read, and what may come of it, in one go; longer streams are taken apart in steps.
inline constexpr std::size_t kMostAtOnce = std::size_t{1} << 24;  // bytes

// Whether a text of these first bytes, two or more, may be a gzip stream (RFC 1952).
inline bool beginsGzip(std::string_view bytes) {
    return bytes.starts_with("\x1f\x8b");
}

// The text of one gzip stream that is whole and alone and has at most kMostAtOnce bytes, as nearly
// all are.  None for anything else: what is long, damaged, cut short, followed by more, or no such
// stream at all.
std::optional<Bytes> inflateWhole(std::string_view packed);

}  // namespace tervolanda
