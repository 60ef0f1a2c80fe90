// What a run finds while it compares and writes at its end, kept on disk meanwhile.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/file.h"

namespace tervolanda {

// Bytes that are appended one after the other and read back from anywhere.  They are on the file
// system of the result, which has to have the room anyway, or with other temporary files where no
// file can be made there; without a name, so that they are gone with the process, however that
// ends.
//
// After a failure nothing is appended any more and flush() says so: a batch need not look after
// each pair.
class SpoolFile {
 public:
    // `path` is that of the result.
    explicit SpoolFile(const std::string& path);

    void append(std::string_view bytes);
    // Of all that was appended, arrived or not.
    std::uint64_t size() const { return size_; }
    bool hasFailed() const { return failed_; }
    // Makes all that was appended readable; false when not all of it could be kept.
    bool flush();
    // Reads so many bytes from an offset on; false when they are not all there.  REQUIRES: flush()
    // since the last append().
    bool read(std::uint64_t offset, void* target, std::size_t bytes) const;

 private:
    FileHandle file_;
    std::uint64_t size_ = 0;
    bool failed_ = false;
};

}  // namespace tervolanda
