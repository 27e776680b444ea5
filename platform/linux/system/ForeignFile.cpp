#include "platform/linux/system/ForeignFile.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

FileDescriptor placeOf(const std::string& path) {
    return FileDescriptor(open(path.c_str(), O_PATH | O_CLOEXEC));
}

// Opens the file for reading if it is a regular one. To open a pipe or a device for reading already does
// something there.
FileDescriptor openRegularFile(const FileDescriptor& place) {
    struct stat status{};
    if (!place.isOpen() || fstat(place.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return {};
    }
    // The same file, whatever stands at its path by now. Without O_NONBLOCK another program's lease would be
    // waited for.
    const std::string itself = "/proc/self/fd/" + std::to_string(place.get());
    return FileDescriptor(open(itself.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
}

ssize_t readSome(const FileDescriptor& file, char* bytes, std::size_t most) {
    while (true) {
        const ssize_t count = read(file.get(), bytes, most);
        if (count >= 0 || errno != EINTR) {
            return count;
        }
    }
}

} // namespace

std::optional<std::string> readForeignFile(const std::string& path, std::size_t limitBytes) {
    return readForeignFile(placeOf(path), limitBytes);
}

std::optional<std::string> readForeignFile(const FileDescriptor& place, std::size_t limitBytes) {
    const FileDescriptor file = openRegularFile(place);
    if (!file.isOpen()) {
        return std::nullopt;
    }
    // Read to its end: the size of a record of /proc is 0, and any file may grow meanwhile.
    std::string content;
    std::array<char, 16384> block{};
    while (true) {
        const ssize_t count = readSome(file, block.data(), block.size());
        if (count == 0) {
            return content;
        }
        if (count < 0 || content.size() + static_cast<std::size_t>(count) > limitBytes) {
            return std::nullopt;
        }
        content.append(block.data(), static_cast<std::size_t>(count));
    }
}

std::optional<std::string> readForeignFileStart(const std::string& path, std::size_t count) {
    const FileDescriptor file = openRegularFile(placeOf(path));
    if (!file.isOpen()) {
        return std::nullopt;
    }
    std::string start(count, '\0');
    const ssize_t taken = readSome(file, start.data(), count);
    start.resize(taken > 0 ? static_cast<std::size_t>(taken) : 0);
    return start;
}
