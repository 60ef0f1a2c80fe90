// A batch system or service manager puts a process into a group some levels deep, and a container
// shows its group as the root: so every level is looked at, the root included.
#include "base/control_group.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "base/text.h"

namespace tervolanda {

namespace {

constexpr std::string_view kMounted = "/sys/fs/cgroup";

bool hasController(std::string_view controllers, std::string_view controller) {
    while (!controllers.empty())
        if (takeUpTo(controllers, ',') == controller) return true;
    return false;
}

// The file in the folder of a group and in all folders around it.
void addLevels(const std::string& root, std::string_view group, std::string_view file,
               std::vector<std::string>& files) {
    while (true) {
        while (group.ends_with('/'))
            group.remove_suffix(1);
        files.push_back(root + std::string(group) + '/' + std::string(file));
        if (group.empty()) return;
        group = group.substr(0, std::min(group.rfind('/'), group.size()));
    }
}

}  // namespace

// A line is "number:controllers:group"; number 0, without controllers, is the unified hierarchy.
std::vector<std::string> limitFiles(std::string_view membership, const GroupLimit& limit) {
    const std::string unified(kMounted);
    const std::string own = unified + '/' + std::string(limit.controller);
    std::vector<std::string> files;
    while (!membership.empty()) {
        std::string_view group = takeUpTo(membership, '\n');
        const bool isUnified = takeUpTo(group, ':') == "0";
        const std::string_view controllers = takeUpTo(group, ':');
        if (isUnified) {
            addLevels(unified, group, limit.unifiedFile, files);
        } else if (hasController(controllers, limit.controller)) {
            addLevels(own, group, limit.ownFile, files);
        }
    }
    return files;
}

std::vector<std::string> limitFiles(const GroupLimit& limit) {
    std::string membership = kernelText("/proc/self/cgroup");
    // Without the kernel's word the root is the best guess.
    if (membership.empty()) membership = "0::/\n1:" + std::string(limit.controller) + ":/\n";
    return limitFiles(membership, limit);
}

std::string kernelText(const std::string& path) {
    // A group's name has 4,096 bytes at most.
    constexpr std::size_t kLongest = std::size_t{1} << 16;
    std::string text;
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return text;
    std::array<char, 4096> block{};
    ssize_t got = 0;
    while (text.size() < kLongest && (got = read(descriptor, block.data(), block.size())) > 0)
        text.append(block.data(), static_cast<std::size_t>(got));
    close(descriptor);
    return text;
}

}  // namespace tervolanda
