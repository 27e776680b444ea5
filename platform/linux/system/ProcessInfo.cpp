#include "platform/linux/system/ProcessInfo.h"

#include "platform/linux/system/FileDescriptor.h"
#include "platform/linux/system/ForeignFile.h"
#include "platform/linux/system/ProcessRecords.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/types.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

// No tree is that deep. Ends a cycle, which can be seen while ids are reused.
constexpr int kDeepestTree = 128;

std::string processFile(std::uint32_t processId, const char* name) {
    return "/proc/" + std::to_string(processId) + "/" + name;
}

// The longest, "status", names all groups of its user: 65536 of 11 bytes at most.
constexpr std::size_t kLongestRecordBytes = 1 << 20;

std::string recordAt(const std::string& path) {
    return readForeignFile(path, kLongestRecordBytes).value_or(std::string());
}

// A record of the process; empty when there is none.
std::string recordOf(std::uint32_t processId, const char* name) {
    return recordAt(processFile(processId, name));
}

// Whether the kernel itself answers for an opened place, from memory. Anything else that a process has for
// its root may be a program that lets whoever looks into it wait. Asks the kernel's own lists only.
bool isInMemory(const FileDescriptor& place, std::uint32_t processId) {
    const std::string opened =
        place.isOpen() ? recordAt("/proc/self/fdinfo/" + std::to_string(place.get())) : std::string();
    const std::string_view mount = mountIn(opened);
    if (mount.empty()) {
        return false;
    }
    // A process whose root is in the midst of a mount does not see that mount.
    const std::string list = recordOf(processId, "mountinfo");
    const std::string_view seen = kindOfMountIn(list, mount);
    return seen.empty() ? kindOfMountIn(recordAt("/proc/self/mountinfo"), mount) == "tmpfs" : seen == "tmpfs";
}

} // namespace

std::optional<std::uint32_t> parentProcess(std::uint32_t processId) {
    return parentIn(recordOf(processId, "stat"));
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

std::uint32_t ownProcess() {
    std::error_code error;
    const std::string self = std::filesystem::read_symlink("/proc/self", error).string();
    return processNumber(self).value_or(static_cast<std::uint32_t>(getpid()));
}

std::vector<std::uint32_t> namespaceIds(std::uint32_t processId) {
    return namespaceIdsIn(recordOf(processId, "status"));
}

std::map<std::uint32_t, std::vector<std::uint32_t>> namespacedProcesses() {
    struct Process {
        std::uint64_t start;
        std::uint32_t id;
        std::uint32_t ownId;
    };
    std::vector<Process> found;
    std::error_code error;
    for (std::filesystem::directory_iterator at("/proc", error); at != std::filesystem::directory_iterator();
         at.increment(error)) {
        const std::optional<std::uint32_t> processId = processNumber(at->path().filename().native());
        if (!processId) {
            continue;
        }
        const std::vector<std::uint32_t> ids = namespaceIds(*processId);
        if (ids.size() > 1) {
            found.push_back(
                {.start = startTimeIn(recordOf(*processId, "stat")), .id = *processId, .ownId = ids.back()});
        }
    }
    std::ranges::sort(found, {}, [](const Process& process) { return std::pair(process.start, process.id); });
    std::map<std::uint32_t, std::vector<std::uint32_t>> processes;
    for (const Process& process : found) {
        processes[process.ownId].push_back(process.id);
    }
    return processes;
}

std::string processImagePath(std::uint32_t processId) {
    std::error_code error;
    const std::string target = std::filesystem::read_symlink(processFile(processId, "exe"), error).string();
    return error ? std::string() : std::string(imagePathIn(target));
}

std::string processFileName(std::uint32_t processId) {
    return std::string(firstLineIn(recordOf(processId, "comm")));
}

std::string flatpakApplication(std::uint32_t processId) {
    // What the sandbox is made of, in the root folder that the process sees. A Flatpak is given one in
    // memory.
    const FileDescriptor root(open(processFile(processId, "root").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!isInMemory(root, processId)) {
        return {};
    }
    const FileDescriptor place(openat(root.get(), ".flatpak-info", O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!isInMemory(place, processId)) {
        return {};
    }
    return std::string(
        flatpakApplicationIn(readForeignFile(place, kLongestRecordBytes).value_or(std::string())));
}
