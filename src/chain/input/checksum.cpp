// What tells two versions of a file apart, for the records of a run.  Its bytes as they lie on the
// disk and not its text: zlib's crc32 and many tools give the same number.
#include <sys/stat.h>
#include <zlib.h>

#include <array>

#include "base/file.h"
#include "base/log.h"
#include "chain/input/input.h"

namespace tervolanda {

std::optional<std::uint32_t> fileChecksum(const std::string& path, Log& log) {
    struct stat status {};
    const bool isThere = path != "-" && stat(path.c_str(), &status) == 0;
    if (path == "-" || (isThere && !S_ISREG(status.st_mode))) return std::nullopt;
    const FileHandle file = openForReading(path);
    if (!file) {
        log.error(0, "Can't open input file '%s' - %s", path.c_str(), systemErrorText());
        return std::nullopt;
    }
    std::array<unsigned char, std::size_t{1} << 16> block;
    uLong checksum = crc32(0, nullptr, 0);
    while (const std::size_t got = std::fread(block.data(), 1, block.size(), file.get()))
        checksum = crc32(checksum, block.data(), static_cast<uInt>(got));
    if (std::ferror(file.get()) != 0) {
        log.error(0, "Problem reading input file '%s' - %s", path.c_str(), systemErrorText());
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(checksum);
}

}  // namespace tervolanda
