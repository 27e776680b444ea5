#include "platform/UserLock.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

// A file that is removed while it is being locked is made anew so often.
constexpr int kTries = 10;

class Descriptor {
public:
    explicit Descriptor(int opened) : number(opened) {}
    ~Descriptor() {
        if (number >= 0) {
            close(number);
        }
    }
    Descriptor(Descriptor&& other) noexcept : number(other.take()) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor& operator=(Descriptor&&) = delete;

    [[nodiscard]] bool isOpen() const { return number >= 0; }
    [[nodiscard]] int get() const { return number; }
    [[nodiscard]] int take() { return std::exchange(number, -1); }

private:
    int number;
};

bool isOurs(const struct stat& state) {
    return state.st_uid == geteuid();
}

Descriptor openFolder(const QString& path) {
    return Descriptor(open(QFile::encodeName(path).constData(),
                           O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
}

bool isPrivate(const Descriptor& folder) {
    struct stat state{};
    return folder.isOpen() && fstat(folder.get(), &state) == 0 && isOurs(state) &&
           (state.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

Descriptor openRuntimeFolder() {
    for (const QString& path : {qEnvironmentVariable("XDG_RUNTIME_DIR"),
                                QStringLiteral("/run/user/") + QString::number(geteuid())}) {
        if (!QDir::isAbsolutePath(path)) {
            continue;
        }
        Descriptor folder = openFolder(path);
        if (isPrivate(folder)) {
            return folder;
        }
    }
    return Descriptor(-1);
}

Descriptor openCacheFolder() {
    const QString path =
        QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/run");
    QDir().mkpath(path);
    Descriptor folder = openFolder(path);
    // Only its owner can close it to the others.
    if (folder.isOpen() && fchmod(folder.get(), S_IRWXU) == 0 && isPrivate(folder)) {
        return folder;
    }
    return Descriptor(-1);
}

/// The file's lock, or none where it is held or cannot be had, which `answer` tells.
Descriptor lockFile(const Descriptor& folder, const QByteArray& name, UserLock::Answer& answer) {
    answer = UserLock::Answer::Unavailable;
    for (int tries = 0; tries < kTries; ++tries) {
        Descriptor file(openat(folder.get(), name.constData(),
                               O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, S_IRUSR | S_IWUSR));
        struct stat locked{};
        if (!file.isOpen() || fstat(file.get(), &locked) != 0 || !isOurs(locked) ||
            !S_ISREG(locked.st_mode)) {
            break;
        }
        if (flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
            if (errno == EWOULDBLOCK) {
                answer = UserLock::Answer::HeldByAnother;
            }
            break;
        }
        struct stat there{};
        if (fstatat(folder.get(), name.constData(), &there, AT_SYMLINK_NOFOLLOW) == 0 &&
            there.st_dev == locked.st_dev && there.st_ino == locked.st_ino) {
            // By this bit those who clean the runtime folder know what they must not remove.
            fchmod(file.get(), S_IRUSR | S_IWUSR | S_ISVTX);
            answer = UserLock::Answer::Taken;
            return file;
        }
    }
    return Descriptor(-1);
}

} // namespace

UserLock::~UserLock() {
    release();
}

UserLock::Answer UserLock::take(const QString& name) {
    const QByteArray fileName = QFile::encodeName(name);
    for (const auto& openCandidate : {openRuntimeFolder, openCacheFolder}) {
        const Descriptor folder = openCandidate();
        if (!folder.isOpen()) {
            continue;
        }
        Answer answer = Answer::Unavailable;
        Descriptor file = lockFile(folder, fileName, answer);
        if (answer == Answer::Taken) {
            release();
            descriptor = file.take();
        }
        if (answer != Answer::Unavailable) {
            return answer;
        }
    }
    return Answer::Unavailable;
}

// The file stays: who removes it lets two processes lock two files of one name.
void UserLock::release() {
    if (descriptor >= 0) {
        close(std::exchange(descriptor, -1));
    }
}
