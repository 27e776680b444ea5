#include "platform/linux/system/ProcessInfo.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace {

// No tree is that deep. Ends a cycle, which can be seen while ids are reused.
constexpr int kDeepestTree = 128;
// What the kernel puts behind the path of an image that was replaced while it ran.
constexpr std::string_view kDeletedMark = " (deleted)";

std::string processFile(std::uint32_t processId, const char* name) {
    return "/proc/" + std::to_string(processId) + "/" + name;
}

} // namespace

std::optional<std::uint32_t> parentProcess(std::uint32_t processId) {
    std::ifstream file(processFile(processId, "stat"));
    std::string line;
    std::getline(file, line);
    // "pid (name) state parent": the name may hold anything.
    const std::size_t end = line.rfind(')');
    if (end == std::string::npos) {
        return std::nullopt;
    }
    std::istringstream rest(line.substr(end + 1));
    char state = 0;
    std::uint32_t parent = 0;
    rest >> state >> parent;
    return rest && parent != 0 ? std::optional(parent) : std::nullopt;
}

bool isInProcessTree(std::uint32_t processId, std::uint32_t root) {
    std::optional<std::uint32_t> at = processId;
    for (int depth = 0; at && depth < kDeepestTree; ++depth) {
        if (*at == root) {
            return true;
        }
        at = parentProcess(*at);
    }
    return false;
}

std::string processImagePath(std::uint32_t processId) {
    std::error_code error;
    std::string path = std::filesystem::read_symlink(processFile(processId, "exe"), error).string();
    if (error) {
        return {};
    }
    if (path.ends_with(kDeletedMark)) {
        path.erase(path.size() - kDeletedMark.size());
    }
    return path;
}

std::string processFileName(std::uint32_t processId) {
    std::ifstream file(processFile(processId, "comm"));
    std::string name;
    std::getline(file, name);
    return name;
}
