#include "platform/linux/desktop/Launch.h"

#include "platform/linux/processes/LaunchEnvironment.h"
#include "platform/linux/system/FileDescriptor.h"

#include <QCoreApplication>
#include <QDebug>
#include <QFile>
#include <QSocketNotifier>
#include <QStandardPaths>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <spawn.h>
#include <string>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

// Its pointers are valid as long as it lives.
class TextArray {
public:
    explicit TextArray(std::vector<std::string> list) : texts(std::move(list)) {
        for (std::string& text : texts) {
            pointers.push_back(text.data());
        }
        pointers.push_back(nullptr);
    }
    [[nodiscard]] char* const* get() const { return pointers.data(); }

private:
    std::vector<std::string> texts;
    std::vector<char*> pointers;
};

std::vector<std::string> encoded(const QStringList& words) {
    std::vector<std::string> texts;
    for (const QString& word : words) {
        texts.push_back(QFile::encodeName(word).toStdString());
    }
    return texts;
}

// What a new process does before it becomes the program.
class SpawnSettings {
public:
    explicit SpawnSettings(const QString& folder) {
        posix_spawnattr_init(&attributes);
        posix_spawn_file_actions_init(&actions);
        sigset_t signalSet{};
        sigemptyset(&signalSet);
        posix_spawnattr_setsigmask(&attributes, &signalSet);
        for (const int number : {SIGPIPE, SIGHUP, SIGINT, SIGTERM, SIGCHLD, SIGXCPU}) {
            sigaddset(&signalSet, number);
        }
        posix_spawnattr_setsigdefault(&attributes, &signalSet);
        posix_spawnattr_setflags(&attributes,
                                 POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        for (const int output : {STDOUT_FILENO, STDERR_FILENO}) {
            posix_spawn_file_actions_addopen(&actions, output, "/dev/null", O_WRONLY, 0);
        }
        posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
        if (!folder.isEmpty()) {
            posix_spawn_file_actions_addchdir_np(&actions, QFile::encodeName(folder).constData());
        }
    }
    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    posix_spawnattr_t attributes{};
    posix_spawn_file_actions_t actions{};
};

std::int64_t codeOf(int error) {
    switch (error) {
    case 0:
        return OpenResult::kOpened;
    case ENOENT:
        return OpenResult::kFileNotFound;
    case EACCES:
    case EPERM:
        return OpenResult::kAccessDenied;
    case ENOMEM:
    case EAGAIN:
    case E2BIG:
        return OpenResult::kOutOfMemory;
    default:
        return OpenResult::kBadFormat;
    }
}

void reportEnd(const QString& program, int status) {
    if (WIFSIGNALED(status)) {
        qWarning() << program << "was ended by signal" << WTERMSIG(status);
    } else if (WEXITSTATUS(status) != 0) {
        qWarning() << program << "could not do it: exit code" << WEXITSTATUS(status);
    }
}

// The end of a process is taken note of by its parent, or it would stay in the list of processes. A kernel
// that does not tell of it leaves it there until this program ends.
void watchEnd(pid_t process, const QString& program, LaunchWatch watch) {
    const auto descriptor =
        std::make_shared<FileDescriptor>(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
    if (!descriptor->isOpen() || QCoreApplication::instance() == nullptr) {
        return;
    }
    auto* const notifier =
        new QSocketNotifier(descriptor->get(), QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier,
                     [notifier, descriptor, process, program, watch] {
                         int status = 0;
                         if (waitpid(process, &status, WNOHANG) == process && watch == LaunchWatch::Failure) {
                             reportEnd(program, status);
                         }
                         notifier->setEnabled(false);
                         notifier->deleteLater();
                     });
}

} // namespace

QStringList installedOf(std::initializer_list<QStringList> commands) {
    const auto* const found = std::ranges::find_if(commands, [](const QStringList& command) {
        return !QStandardPaths::findExecutable(command.first()).isEmpty();
    });
    return found != commands.end() ? *found : QStringList();
}

OpenResult launchDetached(const QStringList& command, const QString& folder, LaunchWatch watch) {
    const TextArray words(encoded(command));
    const TextArray environment(launchEnvironment());
    const SpawnSettings settings(folder);
    pid_t process = 0;
    const int error = posix_spawnp(&process, words.get()[0], &settings.actions, &settings.attributes,
                                   words.get(), environment.get());
    if (error == 0) {
        watchEnd(process, command.first(), watch);
    }
    return {codeOf(error), static_cast<std::uint32_t>(error)};
}
