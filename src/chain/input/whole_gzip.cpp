// The usual compressed file: one stream, whole, of moderate length.  libdeflate takes it apart in
// less than half the time of zlib, since it need not be able to stop anywhere; a build without it
// has zlib do the same in one call, which still saves a seventh of the time of gzread().
//
// Neither is asked how much of a damaged stream is good.  Users know what zlib keeps of it when
// read in small steps, so what is refused here is read in that way (structure_text.h), and gives
// the same text with either library.
#include "chain/input/whole_gzip.h"

#ifdef TERVOLANDA_LIBDEFLATE
#include <libdeflate.h>
#else
#include <zlib.h>
#endif

#include <algorithm>

namespace tervolanda {

namespace {

// Ten bytes of header and eight at the end (RFC 1952).
constexpr std::size_t kShortestStream = 18;

// The length of the text as the stream's last four bytes have it.  They may lie: no more memory is
// taken for them than a stream of this length can fill.
std::optional<std::size_t> statedLength(std::string_view packed) {
    constexpr std::size_t kLargestFactor = 1032;  // deflate makes nothing shorter
    if (packed.size() < kShortestStream) return std::nullopt;
    std::size_t length = 0;
    for (std::size_t i = 1; i <= 4; ++i)
        length = length << 8 | static_cast<unsigned char>(packed[packed.size() - i]);
    if (length > std::min(kMostAtOnce, kLargestFactor * packed.size())) return std::nullopt;
    return length;
}

// Both ways fill `text` and return true only if the stream ends where the packed bytes do, its text
// has just this length, and its checksum is right.

#ifdef TERVOLANDA_LIBDEFLATE

struct DecompressorCloser {
    void operator()(libdeflate_decompressor* open) const { libdeflate_free_decompressor(open); }
};

// Of streams whose checksum is right it accepts a few that zlib does not: incomplete Huffman codes,
// which no program writes, and a wrong checksum of the header itself.  The second can be seen.
bool inflateInto(Bytes& text, std::string_view packed) {
    constexpr std::size_t kFlags = 3;
    constexpr unsigned kHasHeaderChecksum = 2;
    if ((static_cast<unsigned char>(packed[kFlags]) & kHasHeaderChecksum) != 0) return false;
    const std::unique_ptr<libdeflate_decompressor, DecompressorCloser> open(
        libdeflate_alloc_decompressor());
    std::size_t used = 0;
    return open &&
           libdeflate_gzip_decompress_ex(open.get(), packed.data(), packed.size(), text.data.get(),
                                         text.size, &used, nullptr) == LIBDEFLATE_SUCCESS &&
           used == packed.size();
}

#else

bool inflateInto(Bytes& text, std::string_view packed) {
    constexpr int kGzipFormat = 16 + MAX_WBITS;
    z_stream stream{};
    if (inflateInit2(&stream, kGzipFormat) != Z_OK) return false;
    // Lent without being changed; the interface is older than const.
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data.get());
    stream.avail_out = static_cast<uInt>(text.size);
    const bool isWhole =
        inflate(&stream, Z_FINISH) == Z_STREAM_END && stream.avail_in == 0 && stream.avail_out == 0;
    inflateEnd(&stream);
    return isWhole;
}

#endif

}  // namespace

std::optional<Bytes> inflateWhole(std::string_view packed) {
    const std::optional<std::size_t> length = statedLength(packed);
    if (!length) return std::nullopt;
    Bytes text(*length);
    if (!inflateInto(text, packed)) return std::nullopt;
    return text;
}

}  // namespace tervolanda
