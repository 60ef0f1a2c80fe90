// The header of a part file as bytes.  docs/formats.md has its layout.
//
// A header that lies must not cost more than reading it.  So it is taken apart in two steps: the
// front, of fixed length, says how long the rest is, and the rest is only looked at when the size
// of the file agrees.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "resultfiles/part_file.h"

namespace tervolanda {

inline constexpr std::size_t kHeaderFrontBytes = 84;
inline constexpr std::size_t kChecksumBytes = 4;

// What the front of a header says.
struct HeaderFront {
    PartHeader header;  // without options and models
    std::uint64_t recordBytes = 0;
    std::uint32_t optionBytes = 0;
    std::uint32_t models = 0;

    // Bytes of options and models, which follow the front.
    std::uint64_t tailBytes() const;
    // Where the records begin: after the checksum of the header.
    std::uint64_t recordsAt() const { return kHeaderFrontBytes + tailBytes() + kChecksumBytes; }
};

// Takes kHeaderFrontBytes apart.  Its numbers are in range and go together, and no sum or product
// that is made of them overflows; else what is wrong.
std::variant<HeaderFront, FormatError> parseHeaderFront(std::string_view bytes);

// Takes the tailBytes() apart into options and models; what is wrong with them, if anything.
std::optional<FormatError> parseHeaderTail(std::string_view bytes, const HeaderFront& front,
                                           PartHeader& header);

// The header of a part whose records have so many bytes, its own checksum at the end.
std::string headerBytes(const PartHeader& header, std::uint64_t recordBytes);

}  // namespace tervolanda
