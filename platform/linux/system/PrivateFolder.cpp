#include "platform/linux/system/PrivateFolder.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

constexpr mode_t kOwnerOnly = 0700;
constexpr mode_t kOwnerFile = 0600;
constexpr mode_t kOthersRights = 0077;

bool isOneName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

bool isOwnFolder(const FileDescriptor& folder, struct stat& status) {
    return folder.isOpen() && fstat(folder.get(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == geteuid();
}

// The folder that everything below hangs on. It may be a link: where its folders lie is the user's choice.
FileDescriptor openBase(const std::string& base) {
    std::error_code error;
    const std::filesystem::path parent = std::filesystem::path(base).parent_path();
    std::filesystem::create_directories(parent, error);
    mkdir(base.c_str(), kOwnerOnly);
    return FileDescriptor(open(base.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

bool writeAll(const FileDescriptor& file, std::string_view content) {
    while (!content.empty()) {
        const ssize_t count = write(file.get(), content.data(), content.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        content.remove_prefix(static_cast<std::size_t>(count));
    }
    // A cut of the power after the renaming would else leave an empty file under the final name.
    return fsync(file.get()) == 0;
}

} // namespace

FileDescriptor openPrivateFolder(const std::string& base, const std::vector<std::string>& levels) {
    struct stat status{};
    FileDescriptor folder = openBase(base);
    if (!isOwnFolder(folder, status)) {
        return {};
    }
    for (const std::string& level : levels) {
        if (!isOneName(level)) {
            return {};
        }
        mkdirat(folder.get(), level.c_str(), kOwnerOnly);
        folder = FileDescriptor(
            openat(folder.get(), level.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!isOwnFolder(folder, status)) {
            return {};
        }
    }
    if ((status.st_mode & kOthersRights) != 0 && fchmod(folder.get(), kOwnerOnly) != 0) {
        return {};
    }
    return folder;
}

bool hasFile(const FileDescriptor& folder, const std::string& name) {
    struct stat status{};
    return isOneName(name) && fstatat(folder.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISREG(status.st_mode);
}

bool writeFile(const FileDescriptor& folder, const std::string& name, std::string_view content) {
    static std::atomic<unsigned> serial{0};
    if (!isOneName(name)) {
        return false;
    }
    const std::string temporary = ".new-" + std::to_string(getpid()) + "-" + std::to_string(++serial);
    // A program of the same id, which was killed meanwhile, may have left one.
    unlinkat(folder.get(), temporary.c_str(), 0);
    const FileDescriptor file(openat(folder.get(), temporary.c_str(),
                                     O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kOwnerFile));
    if (!file.isOpen()) {
        return false;
    }
    const bool written =
        writeAll(file, content) && renameat(folder.get(), temporary.c_str(), folder.get(), name.c_str()) == 0;
    if (!written) {
        unlinkat(folder.get(), temporary.c_str(), 0);
    }
    return written;
}
