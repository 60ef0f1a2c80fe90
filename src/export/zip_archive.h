// A ZIP archive, file by file (PKWARE APPNOTE 6.3.10, version 2.0 of the format: deflate, no ZIP64,
// so up to 4 GiB and 65,535 files).
//
// zlib packs, but has no archives; these hundred lines spare the program a library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tervolanda {

// Appends to a text that somebody else writes out between the calls.  All files have the date of
// the format's first day: the same content gives the same bytes.
class ZipArchive {
 public:
    // Adds a file; names are relative and end at no "/".  False, and nothing is added, where the
    // archive would get too large for its format or memory is short.
    bool add(const std::string& name, std::string_view content, std::string& out);
    // The table of contents; nothing may follow.
    void finish(std::string& out);

 private:
    struct Entry {
        std::string name;
        std::uint32_t crc32 = 0, packed = 0, length = 0, offset = 0;
    };
    std::vector<Entry> entries_;
    std::uint64_t written_ = 0;  // bytes before the next file
};

}  // namespace tervolanda
