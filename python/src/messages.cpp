#include "messages.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "arrays.h"

namespace tervolanda::python {

namespace {

// Why a file cannot be opened for reading, in the system's words; empty when it can be.  A pipe is
// not waited for.
std::string whyUnreadable(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    int error = errno;
    if (file >= 0) {
        struct stat status {};
        const bool isFolder = fstat(file, &status) == 0 && S_ISDIR(status.st_mode);
        error = isFolder ? EISDIR : 0;
        close(file);
    }
    return error == 0 ? std::string() : std::generic_category().message(error);
}

// Lines of the program name a file that cannot be opened, and never say why: they look the same
// on every system.  Exceptions need not, and people would ask, so the file is tried once more.
std::string withReason(std::string_view line) {
    constexpr std::string_view kBegin = "Can't open ", kEnd = "' - ";
    const std::string_view unknown = systemErrorText();
    const std::size_t name = line.find('\'', kBegin.size()) + 1;  // "Can't" has one, too
    if (!line.starts_with(kBegin) || !line.ends_with(unknown) || name == 0)
        return std::string(line);
    const std::string_view told = line.substr(0, line.size() - unknown.size());
    if (!told.substr(name).ends_with(kEnd)) return std::string(line);
    const std::string path(told.substr(name, told.size() - kEnd.size() - name));
    const std::string reason = whyUnreadable(path);
    return reason.empty() ? std::string(line) : std::string(told) + reason;
}

}  // namespace

void Messages::take(LogLevel severity, std::string_view text) {
    if (severity != LogLevel::Error && severity != LogLevel::Warn) return;
    lines_.push_back(withReason(text));
}

py::list Messages::taken() const {
    py::list list;
    for (const std::string& line : lines_)
        list.append(asText(line));
    return list;
}

}  // namespace tervolanda::python
