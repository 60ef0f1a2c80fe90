// Numbers as a part file has them: little-endian and of fixed width, doubles and floats by their
// bits, so that a part can be merged on another machine than it was made on.
#pragma once

#include <zlib.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace tervolanda {

// CRC-32 (ISO 3309) of bytes that follow those of `before`; 0 before the first ones.
inline std::uint32_t checksumOf(std::string_view bytes, std::uint32_t before = 0) {
    return static_cast<std::uint32_t>(
        crc32_z(before, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

template <typename Number>
void put(std::string& bytes, Number value) {
    static_assert(std::is_unsigned_v<Number>);
    for (std::size_t i = 0; i < sizeof value; ++i)
        bytes += static_cast<char>(value >> (8 * i) & 0xff);
}

inline void put(std::string& bytes, double value) {
    put(bytes, std::bit_cast<std::uint64_t>(value));
}

inline void put(std::string& bytes, float value) {
    put(bytes, std::bit_cast<std::uint32_t>(value));
}

// A flag takes up a number of 32 bits.
inline void putFlag(std::string& bytes, bool isSet) {
    put(bytes, std::uint32_t{isSet ? 1U : 0U});
}

// Takes numbers off the front of bytes.  REQUIRES: there are enough of them, so that whoever reads
// a record first gets as many bytes as it is long.
class Fields {
 public:
    explicit Fields(std::string_view bytes) : bytes_(bytes) {}

    template <typename Number>
    Number take() {
        if constexpr (std::is_same_v<Number, double>) {
            return std::bit_cast<double>(take<std::uint64_t>());
        } else if constexpr (std::is_same_v<Number, float>) {
            return std::bit_cast<float>(take<std::uint32_t>());
        } else {
            Number value = 0;
            for (std::size_t i = sizeof value; i-- > 0;)
                value = static_cast<Number>(value << 8 | static_cast<unsigned char>(bytes_[i]));
            bytes_.remove_prefix(sizeof value);
            return value;
        }
    }
    // Any number but 0 is a flag that is set.
    // 0 or 1; nothing for any other number.
    std::optional<bool> takeFlag() {
        const auto flag = take<std::uint32_t>();
        return flag <= 1 ? std::optional(flag == 1) : std::nullopt;
    }

 private:
    std::string_view bytes_;
};

}  // namespace tervolanda
