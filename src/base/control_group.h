// Where the kernel says how much of the machine this process may use.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tervolanda {

// A limit of control groups: its controller, and the names that its file has in the unified
// hierarchy (version 2) and in a hierarchy of the controller's own (version 1).
struct GroupLimit {
    std::string_view controller;
    std::string_view unifiedFile;
    std::string_view ownFile;
};

// The files that may hold such a limit, there or not: those of the group that a process is in, and
// of the groups around it, whose limits hold for it, too.  `membership` is what /proc/self/cgroup
// says.
std::vector<std::string> limitFiles(std::string_view membership, const GroupLimit& limit);

// The same for this process.
std::vector<std::string> limitFiles(const GroupLimit& limit);

// The text of a file that the kernel makes up when it is read, 64 kB of it at most; empty when it
// cannot be read.  Every process reads some before it begins: there is no stream, no buffer to
// allocate, and nothing but the calls that it takes.
std::string kernelText(const std::string& path);

}  // namespace tervolanda
