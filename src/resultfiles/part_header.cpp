// What headerBytes() puts one after the other the two parsers take off again in that order.  Each
// number is checked before anything is computed from it.
#include "resultfiles/part_header.h"

#include "base/format.h"
#include "resultfiles/part_bytes.h"

namespace tervolanda {

namespace {

// With a line end, so that a transfer that changes line ends is found out at once.
constexpr std::string_view kMagic = "TVLPART\n";
constexpr std::uint32_t kFormatVersion = 1;
// Entry, whether it is readable, checksum.
constexpr std::size_t kModelBytes = 12;
constexpr auto kLastKind = static_cast<std::uint32_t>(PartKind::GdtWithSearches);
// Limits of what a header may claim.  They are far above any run (67 million models) and small
// enough that sizes computed from them neither overflow nor are worth allocating for a file that
// lies.
constexpr std::uint32_t kLongestOptions = 1U << 16;
constexpr std::uint64_t kMostEntries = 1U << 26;
constexpr std::uint64_t kMostBlocks = std::uint64_t{1} << 52;

// With these in range the slice of the block can be computed.
bool isInRange(const HeaderFront& front) {
    const Block& block = front.header.block;
    return block.number >= 1 && block.number <= block.blocks && block.blocks <= kMostBlocks &&
           front.header.entries <= kMostEntries && front.optionBytes <= kLongestOptions;
}

}  // namespace

std::uint64_t HeaderFront::tailBytes() const {
    return optionBytes + models * std::uint64_t{kModelBytes};
}

std::variant<HeaderFront, FormatError> parseHeaderFront(std::string_view bytes) {
    if (!bytes.starts_with(kMagic)) return FormatError{"is no part file"};
    Fields fields(bytes.substr(kMagic.size()));
    if (const auto version = fields.take<std::uint32_t>(); version != kFormatVersion) {
        return FormatError{format("is of format version %u", version)};
    }
    const auto kind = fields.take<std::uint32_t>();
    if (kind < 1 || kind > kLastKind) return FormatError{"is damaged: its kind"};
    HeaderFront front;
    PartHeader& header = front.header;
    header.kind = static_cast<PartKind>(kind);
    header.block.number = fields.take<std::uint64_t>();
    header.block.blocks = fields.take<std::uint64_t>();
    header.entries = fields.take<std::uint64_t>();
    const auto first = fields.take<std::uint64_t>();
    const auto count = fields.take<std::uint64_t>();
    header.records = fields.take<std::uint64_t>();
    front.recordBytes = fields.take<std::uint64_t>();
    header.listChecksum = fields.take<std::uint32_t>();
    front.optionBytes = fields.take<std::uint32_t>();
    front.models = fields.take<std::uint32_t>();
    if (!isInRange(front)) return FormatError{"is damaged: its numbers are out of range"};
    const PairRange slice = header.slice();
    if (slice.first != first || slice.count != count || header.records > count ||
        front.models > header.entries) {
        return FormatError{"is damaged: its numbers do not go together"};
    }
    return front;
}

// Entries rise, so that no model is there twice.
std::optional<FormatError> parseHeaderTail(std::string_view bytes, const HeaderFront& front,
                                           PartHeader& header) {
    header.options = bytes.substr(0, front.optionBytes);
    Fields fields(bytes.substr(front.optionBytes));
    header.models.resize(front.models);
    std::uint64_t next = 0;
    for (PartModel& model : header.models) {
        model.entry = fields.take<std::uint32_t>();
        const auto isReadable = fields.take<std::uint32_t>();
        model.isReadable = isReadable == 1;
        model.checksum = fields.take<std::uint32_t>();
        if (model.entry < next || model.entry >= header.entries || isReadable > 1) {
            return FormatError{"is damaged: its models"};
        }
        next = std::uint64_t{model.entry} + 1;
    }
    return std::nullopt;
}

std::string headerBytes(const PartHeader& header, std::uint64_t recordBytes) {
    const PairRange slice = header.slice();
    std::string bytes(kMagic);
    put(bytes, kFormatVersion);
    put(bytes, static_cast<std::uint32_t>(header.kind));
    for (const std::uint64_t value : {header.block.number, header.block.blocks, header.entries,
                                      slice.first, slice.count, header.records, recordBytes})
        put(bytes, value);
    put(bytes, header.listChecksum);
    put(bytes, static_cast<std::uint32_t>(header.options.size()));
    put(bytes, static_cast<std::uint32_t>(header.models.size()));
    bytes += header.options;
    for (const PartModel& model : header.models) {
        put(bytes, model.entry);
        putFlag(bytes, model.isReadable);
        put(bytes, model.checksum);
    }
    put(bytes, checksumOf(bytes));
    return bytes;
}

}  // namespace tervolanda
