#pragma once

#include <QDir>
#include <QString>
#include <QTemporaryDir>

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

/// A bus that takes connections and says nothing.
class SilentBus {
public:
    SilentBus() : listener(socket(AF_UNIX, SOCK_STREAM, 0)) {
        address.sun_family = AF_UNIX;
        const std::string path = folder.filePath(QStringLiteral("bus")).toStdString();
        std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        EXPECT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        EXPECT_EQ(listen(listener, kBacklog), 0);
    }
    ~SilentBus() { end(); }
    SilentBus(const SilentBus&) = delete;
    SilentBus& operator=(const SilentBus&) = delete;

    /// What stands in the environment for it.
    [[nodiscard]] std::string place() const { return std::string("unix:path=") + address.sun_path; }

    /// The one of this question, or of one that was given up.
    void awaitQuestion() const { close(accept(listener, nullptr, nullptr)); }

    /// Lets as many connections wait as may, so that the next one waits until there is room.
    void fill() {
        while (true) {
            const int waiting = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0);
            const int error =
                connect(waiting, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 ? 0
                                                                                                    : errno;
            close(waiting);
            if (error != 0) {
                EXPECT_EQ(error, EAGAIN);
                return;
            }
        }
    }

    /// Refuses who waits.
    void end() {
        if (listener >= 0) {
            close(std::exchange(listener, -1));
        }
    }

private:
    static constexpr int kBacklog = 20;

    // An address takes no space in the name of its socket.
    const QTemporaryDir folder{QDir::tempPath() + QStringLiteral("/vexo-bus-XXXXXX")};
    int listener;
    sockaddr_un address{};
};
