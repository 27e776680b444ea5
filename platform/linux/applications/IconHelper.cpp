#include "platform/linux/applications/IconHelper.h"

#include "inventory/ProgramFiles.h"
#include "platform/IconHelper.h"
#include "platform/linux/applications/IconTheme.h"
#include "platform/linux/processes/LaunchEnvironment.h"
#include "platform/linux/system/FileDescriptor.h"
#include "platform/linux/system/ForeignFile.h"

#include <QByteArray>
#include <QDebug>
#include <QGuiApplication>
#include <QSet>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <optional>
#include <poll.h>
#include <span>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

// The helper begins with one byte. One question is the length of a name in bytes (32 bits) and the name in
// UTF-8. Its answer is width and height in pixels (32 bits each, 0 for no icon) and the pixels, line by line,
// each of 32 bits (QImage::Format_ARGB32).

namespace {

using Clock = std::chrono::steady_clock;

// The only word of a helper's command line.
constexpr const char* kWord = "--icon-helper";
// The helper's end of the connection.
constexpr int kSocket = 3;

constexpr std::chrono::seconds kStartLimit(30); // on a machine that is busy with other things
constexpr std::chrono::seconds kLimit(5);
constexpr rlim_t kProcessorLimitS = 2;
constexpr rlim_t kMemoryLimitBytes = rlim_t{512} << 20U;
constexpr int kStepMs = 50; // between two looks whether icons are given up
constexpr std::chrono::seconds kEndLimit(1);
constexpr std::uint32_t kLongestName = 4096;
constexpr std::uint32_t kLargestEdge = 256;
constexpr qsizetype kMostBadIcons = 1000;

std::atomic<bool> canHaveHelper{false};
std::atomic<bool> isGivenUp{false};

using Size = std::array<std::uint32_t, 2>;

// Sends everything; false when the other end is gone.
bool sendAll(int connection, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

// Fills `bytes`; false at the end of the connection, and when `mayWait` says no before they are there.
template <typename MayWait>
bool receiveAll(int connection, std::span<std::byte> bytes, const MayWait& mayWait) {
    while (!bytes.empty()) {
        if (!mayWait()) {
            return false;
        }
        pollfd watched{connection, POLLIN, 0};
        if (poll(&watched, 1, kStepMs) <= 0) {
            continue;
        }
        const ssize_t count = recv(connection, bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (count < 0 && (errno == EINTR || errno == EAGAIN)) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

std::span<const std::byte> pixelsOf(const QImage& picture) {
    return std::as_bytes(std::span(picture.constBits(), static_cast<std::size_t>(picture.sizeInBytes())));
}

// ---- the helper

void limitMemory() {
    // What the process has mapped by now, in pages, is the first number.
    const std::string sizes = readForeignFile("/proc/self/statm", 4096).value_or("0");
    const auto pages = static_cast<rlim_t>(std::strtoull(sizes.c_str(), nullptr, 10));
    const rlim_t most = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + kMemoryLimitBytes;
    const rlimit memory{most, most};
    setrlimit(RLIMIT_AS, &memory);
    // One that a picture brings down is nobody's loss.
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
}

// From now on; the kernel ends the process at the limit, even when the program is gone.
void limitProcessorTime() {
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    rlimit limit{};
    getrlimit(RLIMIT_CPU, &limit);
    limit.rlim_cur = static_cast<rlim_t>(used.ru_utime.tv_sec + used.ru_stime.tv_sec + 1) + kProcessorLimitS;
    setrlimit(RLIMIT_CPU, &limit);
}

QImage answerTo(const QString& nameOrPath) {
    QImage picture = loadIcon(nameOrPath, kIconFileSize);
    if (picture.isNull()) {
        return {};
    }
    constexpr int kEdge = kLargestEdge;
    if (picture.width() > kEdge || picture.height() > kEdge) {
        picture = picture.scaled(kEdge, kEdge, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    }
    return picture.convertToFormat(QImage::Format_ARGB32);
}

int serve() {
    const auto always = [] {
        return true;
    };
    const std::byte ready{};
    if (!sendAll(kSocket, std::span(&ready, 1))) {
        return EXIT_FAILURE;
    }
    std::uint32_t length = 0;
    while (receiveAll(kSocket, std::as_writable_bytes(std::span(&length, 1)), always)) {
        std::string name(std::min(length, kLongestName), '\0');
        if (!receiveAll(kSocket, std::as_writable_bytes(std::span(name)), always)) {
            break;
        }
        limitProcessorTime();
        const QImage picture = answerTo(QString::fromStdString(name));
        const Size size{static_cast<std::uint32_t>(picture.width()),
                        static_cast<std::uint32_t>(picture.height())};
        if (!sendAll(kSocket, std::as_bytes(std::span(size))) || !sendAll(kSocket, pixelsOf(picture))) {
            break;
        }
    }
    return 0;
}

// ---- the program's side

// Whether icons are still wanted and the time is not over, which begins now.
auto within(Clock::duration limit) {
    return [deadline = Clock::now() + limit] {
        return !isGivenUp && Clock::now() < deadline;
    };
}

class IconHelper {
public:
    IconHelper() = default;
    ~IconHelper() { end(); }
    IconHelper(const IconHelper&) = delete;
    IconHelper& operator=(const IconHelper&) = delete;

    // The one of the process, while somebody holds it.
    static std::shared_ptr<IconHelper> shared() {
        static std::mutex access;
        static auto* const current = new std::weak_ptr<IconHelper>; // outlives threads that hang
        const std::lock_guard lock(access);
        std::shared_ptr<IconHelper> helper = current->lock();
        if (!helper) {
            helper = std::make_shared<IconHelper>();
            *current = helper;
        }
        return helper;
    }

    QImage load(const QString& nameOrPath) {
        const std::lock_guard lock(mutex);
        const QByteArray name = nameOrPath.toUtf8();
        if (isGivenUp || name.size() > kLongestName || badIcons().contains(name) || !start()) {
            return {};
        }
        QImage picture;
        if (!ask(name, picture)) {
            end();
            if (!isGivenUp) {
                remember(name);
            }
            return {};
        }
        return picture;
    }

private:
    // Those that no helper has survived; for as long as the program runs, whatever helper asks.
    static QSet<QByteArray>& badIcons() {
        static auto* const icons = new QSet<QByteArray>;
        return *icons;
    }

    static void remember(const QByteArray& name) {
        qWarning() << "Icon left out, it cannot be read in time:" << QString::fromUtf8(name);
        if (badIcons().size() >= kMostBadIcons) {
            badIcons().clear();
        }
        badIcons().insert(name);
    }

    bool start() {
        if (process > 0) {
            return true;
        }
        std::array<int, 2> ends{-1, -1};
        if (!canHaveHelper || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
            return false;
        }
        connection = FileDescriptor(ends[0]);
        {
            const FileDescriptor other(ends[1]);
            process = spawn(other.get());
        }
        std::byte ready{};
        if (process > 0 && receiveAll(connection.get(), std::span(&ready, 1), within(kStartLimit))) {
            return true;
        }
        end();
        if (!isGivenUp) {
            qWarning() << "Icons are left out: the process that reads them does not start";
            canHaveHelper = false;
        }
        return false;
    }

    // -1 when that failed.
    static pid_t spawn(int itsEnd) {
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, itsEnd, kSocket);
        for (int standard = 0; standard < kSocket; ++standard) {
            posix_spawn_file_actions_addopen(&files, standard, "/dev/null", O_RDWR, 0);
        }
        posix_spawn_file_actions_addclosefrom_np(&files, kSocket + 1);
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
        std::string name = "VexoIcons";
        std::string word = kWord;
        const std::array<char*, 3> words{name.data(), word.data(), nullptr};
        std::vector<std::string> environment = launchEnvironment();
        std::vector<char*> entries;
        entries.reserve(environment.size() + 1);
        for (std::string& entry : environment) {
            entries.push_back(entry.data());
        }
        entries.push_back(nullptr);
        pid_t started = -1;
        // The image of this very process, even where its file was replaced by a newer one.
        const int error =
            posix_spawn(&started, "/proc/self/exe", &files, &attributes, words.data(), entries.data());
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&files);
        return error == 0 ? started : -1;
    }

    // False when the helper has failed, the time is over or icons are given up.
    bool ask(const QByteArray& name, QImage& picture) {
        const auto length = static_cast<std::uint32_t>(name.size());
        const auto mayWait = within(kLimit);
        Size size{};
        if (!sendAll(connection.get(), std::as_bytes(std::span(&length, 1))) ||
            !sendAll(connection.get(), std::as_bytes(std::span(name.data(), length))) ||
            !receiveAll(connection.get(), std::as_writable_bytes(std::span(size)), mayWait)) {
            return false;
        }
        const auto [width, height] = size;
        if (width == 0 && height == 0) {
            return true;
        }
        if (width == 0 || height == 0 || width > kLargestEdge || height > kLargestEdge) {
            return false;
        }
        picture = QImage(static_cast<int>(width), static_cast<int>(height), QImage::Format_ARGB32);
        return receiveAll(connection.get(),
                          std::as_writable_bytes(
                              std::span(picture.bits(), static_cast<std::size_t>(picture.sizeInBytes()))),
                          mayWait);
    }

    // One that hangs in the kernel is left to itself after a second.
    void end() {
        if (process <= 0) {
            return;
        }
        connection = FileDescriptor();
        kill(process, SIGKILL);
        const auto deadline = Clock::now() + kEndLimit;
        while (waitpid(process, nullptr, WNOHANG) == 0 && Clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        process = -1;
    }

    std::mutex mutex;
    pid_t process = -1;
    FileDescriptor connection;
};

} // namespace

std::optional<int> serveAsIconHelper(int argc, char* argv[]) {
    canHaveHelper = true;
    if (argc != 2 || std::string_view(argv[1]) != kWord) {
        return std::nullopt;
    }
    struct stat status{};
    if (fstat(kSocket, &status) != 0 || !S_ISSOCK(status.st_mode)) {
        return EXIT_FAILURE; // called by hand
    }
    canHaveHelper = false;
    prctl(PR_SET_NAME, "VexoIcons");
    // Nothing of the user's desktop has a part in this; a drawing may have texts, which want fonts.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    for (const char* const name : {"QT_QPA_PLATFORMTHEME", "QT_QPA_GENERIC_PLUGINS"}) {
        qunsetenv(name);
    }
    std::signal(SIGXCPU, [](int) { _exit(EXIT_FAILURE); });
    const QGuiApplication application(argc, argv);
    limitMemory();
    return serve();
}

std::shared_ptr<void> holdIconHelper() {
    return IconHelper::shared();
}

void giveUpIcons(bool givenUp) {
    isGivenUp = givenUp;
}

QImage loadIconInHelper(const QString& nameOrPath) {
    return IconHelper::shared()->load(nameOrPath);
}
