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

}  // namespace tervolanda
