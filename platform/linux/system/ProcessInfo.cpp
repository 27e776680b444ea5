#include "platform/linux/system/ProcessInfo.h"

#include "platform/linux/system/FileDescriptor.h"
#include "platform/linux/system/ForeignFile.h"

#include <algorithm>
#include <charconv>
#include <fcntl.h>
#include <filesystem>
#include <limits>
#include <sstream>
#include <string_view>
#include <sys/types.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

// No tree is that deep. Ends a cycle, which can be seen while ids are reused.
constexpr int kDeepestTree = 128;
// What the kernel puts behind the path of an image that was replaced while it ran.
constexpr std::string_view kDeletedMark = " (deleted)";

std::string processFile(std::uint32_t processId, const char* name) {
    return "/proc/" + std::to_string(processId) + "/" + name;
}

// The longest record, "status", names all groups of its user: 65536 of 11 bytes at most.
constexpr std::size_t kLongestRecordBytes = 1 << 20;

// A record of the process, to be read line by line; without lines when there is none.
std::istringstream recordOf(std::uint32_t processId, const char* name) {
    return std::istringstream(
        readForeignFile(processFile(processId, name), kLongestRecordBytes).value_or(std::string()));
}

// What follows "pid (name) " in the process's status line; the name may hold anything. Empty without one.
std::istringstream statusBehindName(std::uint32_t processId) {
    const std::string line = recordOf(processId, "stat").str();
    const std::size_t end = line.rfind(')');
    return std::istringstream(end != std::string::npos ? line.substr(end + 1) : std::string());
}

// In ticks since the start of the system; the largest number for a process that is not there.
std::uint64_t startTime(std::uint32_t processId) {
    constexpr int kFieldsBefore = 19; // state is the third field, the start the twenty-second
    std::istringstream fields = statusBehindName(processId);
    std::string skipped;
    for (int field = 0; field < kFieldsBefore; ++field) {
        fields >> skipped;
    }
    std::uint64_t start = 0;
    fields >> start;
    return fields ? start : std::numeric_limits<std::uint64_t>::max();
}

// Nothing for a name that is no number.
std::optional<std::uint32_t> numberOf(std::string_view text) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

// The number of the mount that an opened place is in; empty for none.
std::string mountOf(const FileDescriptor& place) {
    constexpr std::string_view kMark = "mnt_id:";
    const std::string path = "/proc/self/fdinfo/" + std::to_string(place.get());
    std::istringstream file(readForeignFile(path, kLongestRecordBytes).value_or(std::string()));
    for (std::string word; file >> word;) {
        if (word == kMark) {
            file >> word;
            return word;
        }
    }
    return {};
}

// The kind of file system that a process's list of mounts names for one; empty where it does not.
std::string kindOfMount(const std::string& mount, const std::string& listPath) {
    constexpr std::string_view kMark = " - "; // before the kind
    std::istringstream file(readForeignFile(listPath, kLongestRecordBytes).value_or(std::string()));
    for (std::string line; std::getline(file, line);) {
        const std::size_t mark = line.find(kMark);
        if (line.starts_with(mount + " ") && mark != std::string::npos) {
            const std::size_t kind = mark + kMark.size();
            return line.substr(kind, line.find(' ', kind) - kind);
        }
    }
    return {};
}

// Whether the kernel itself answers for an opened place, from memory. Anything else that a process has for
// its root may be a program that lets whoever looks into it wait. Asks the kernel's own lists only.
bool isInMemory(const FileDescriptor& place, std::uint32_t processId) {
    const std::string mount = place.isOpen() ? mountOf(place) : std::string();
    if (mount.empty()) {
        return false;
    }
    // A process whose root is in the midst of a mount does not see that mount.
    const std::string seen = kindOfMount(mount, processFile(processId, "mountinfo"));
    return (seen.empty() ? kindOfMount(mount, "/proc/self/mountinfo") : seen) == "tmpfs";
}

} // namespace

std::optional<std::uint32_t> parentProcess(std::uint32_t processId) {
    std::istringstream rest = statusBehindName(processId);
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

std::uint32_t ownProcess() {
    std::error_code error;
    const std::string self = std::filesystem::read_symlink("/proc/self", error).string();
    return numberOf(self).value_or(static_cast<std::uint32_t>(getpid()));
}

std::vector<std::uint32_t> namespaceIds(std::uint32_t processId) {
    constexpr std::string_view kMark = "NSpid:";
    std::istringstream file = recordOf(processId, "status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(kMark)) {
            std::istringstream numbers(line.substr(kMark.size()));
            std::vector<std::uint32_t> ids;
            for (std::uint32_t id = 0; numbers >> id;) {
                ids.push_back(id);
            }
            return ids;
        }
    }
    return {};
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
        const std::optional<std::uint32_t> processId = numberOf(at->path().filename().native());
        if (!processId) {
            continue;
        }
        const std::vector<std::uint32_t> ids = namespaceIds(*processId);
        if (ids.size() > 1) {
            found.push_back({.start = startTime(*processId), .id = *processId, .ownId = ids.back()});
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
    std::istringstream file = recordOf(processId, "comm");
    std::string name;
    std::getline(file, name);
    return name;
}

std::string flatpakApplication(std::uint32_t processId) {
    constexpr std::string_view kKey = "name=";
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
    std::istringstream file(readForeignFile(place, kLongestRecordBytes).value_or(std::string()));
    bool inSection = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with('[')) {
            inSection = line == "[Application]";
        } else if (inSection && line.starts_with(kKey)) {
            return line.substr(kKey.size());
        }
    }
    return {};
}
