// Each file is packed in one go, so that its header, which has its length and checksum, can stand
// before it and nothing has to be gone back to.  The numbers of the format are little-endian.
#include "export/zip_archive.h"

#include <zlib.h>

#include <optional>
#include <utility>

namespace tervolanda {

namespace {

constexpr std::uint64_t kMostBytes = 0xFFFFFFFF;
constexpr std::size_t kMostEntries = 0xFFFF;
constexpr std::size_t kLocalHeader = 30, kCentralHeader = 46;  // bytes before the name
constexpr unsigned kVersion = 20;
// Bit 11 of the flags: names are UTF-8 and not a code page of the IBM PC.
constexpr unsigned kUtf8Names = 0x0800;
constexpr unsigned kDeflated = 8;
constexpr unsigned kFirstDay = 1U << 5U | 1U;  // 1 January 1980: year - 1980, month, day

void append16(std::string& out, unsigned value) {
    out += static_cast<char>(value & 0xFFU);
    out += static_cast<char>(value >> 8U & 0xFFU);
}

void append32(std::string& out, std::uint32_t value) {
    append16(out, value & 0xFFFFU);
    append16(out, value >> 16U);
}

// The content as a bare deflate stream.  A level below zlib's usual one makes an archive of PDB
// files 5 % longer in half the time.
std::optional<std::string> deflated(std::string_view content) {
    constexpr int kBareStream = -MAX_WBITS;
    constexpr int kLevel = 4;
    constexpr int kMemoryLevel = 8;
    z_stream stream{};
    if (deflateInit2(&stream, kLevel, Z_DEFLATED, kBareStream, kMemoryLevel, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
        return std::nullopt;
    }
    std::string packed(deflateBound(&stream, content.size()), '\0');
    // zlib writes nothing here: its header lacks the word.
    stream.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(content.data()));
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    const bool isWhole = deflate(&stream, Z_FINISH) == Z_STREAM_END;
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    if (!isWhole) return std::nullopt;
    return packed;
}

}  // namespace

bool ZipArchive::add(const std::string& name, std::string_view content, std::string& out) {
    // deflateBound() needs less than this much more.
    constexpr std::uint64_t kSpare = std::uint64_t{1} << 24;
    if (name.size() > kMostEntries || entries_.size() == kMostEntries ||
        written_ + content.size() + kSpare > kMostBytes) {
        return false;
    }
    const std::optional<std::string> packed = deflated(content);
    if (!packed) return false;
    const auto checksum =
        crc32(0, reinterpret_cast<const Bytef*>(content.data()), static_cast<uInt>(content.size()));
    const Entry entry{
        name, static_cast<std::uint32_t>(checksum), static_cast<std::uint32_t>(packed->size()),
        static_cast<std::uint32_t>(content.size()), static_cast<std::uint32_t>(written_)};
    append32(out, 0x04034B50);  // local file header, section 4.3.7
    for (const unsigned value : {kVersion, kUtf8Names, kDeflated, 0U, kFirstDay})
        append16(out, value);
    for (const std::uint32_t value : {entry.crc32, entry.packed, entry.length})
        append32(out, value);
    append16(out, static_cast<unsigned>(name.size()));
    append16(out, 0);
    out += name;
    out += *packed;
    written_ += kLocalHeader + name.size() + packed->size();
    entries_.push_back(entry);
    return true;
}

void ZipArchive::finish(std::string& out) {
    std::size_t length = 0;
    for (const Entry& entry : entries_) {
        append32(out, 0x02014B50);  // central directory header, section 4.3.12
        for (const unsigned value : {kVersion, kVersion, kUtf8Names, kDeflated, 0U, kFirstDay})
            append16(out, value);
        for (const std::uint32_t value : {entry.crc32, entry.packed, entry.length})
            append32(out, value);
        append16(out, static_cast<unsigned>(entry.name.size()));
        for (int i = 0; i < 4; ++i)  // extra field, comment, disk, attributes of the content
            append16(out, 0);
        append32(out, 0);
        append32(out, entry.offset);
        out += entry.name;
        length += kCentralHeader + entry.name.size();
    }
    append32(out, 0x06054B50);  // end of central directory, section 4.3.16
    append32(out, 0);           // disks
    append16(out, static_cast<unsigned>(entries_.size()));
    append16(out, static_cast<unsigned>(entries_.size()));
    append32(out, static_cast<std::uint32_t>(length));
    append32(out, static_cast<std::uint32_t>(written_));
    append16(out, 0);
}

}  // namespace tervolanda
