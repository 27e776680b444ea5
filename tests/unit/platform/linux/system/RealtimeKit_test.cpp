#include "platform/linux/system/RealtimeKit.h"
#include "tests/support/Await.h"

#include <QDir>
#include <QString>
#include <QTemporaryDir>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr int kPriority = 5;

// A bus that takes connections and says nothing.
class SilentBus {
public:
    SilentBus() : listener(socket(AF_UNIX, SOCK_STREAM, 0)) {
        address.sun_family = AF_UNIX;
        const std::string path = folder.filePath(QStringLiteral("bus")).toStdString();
        std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        EXPECT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        EXPECT_EQ(listen(listener, kBacklog), 0);
        setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + path).c_str(), 1);
    }
    ~SilentBus() { end(); }
    SilentBus(const SilentBus&) = delete;
    SilentBus& operator=(const SilentBus&) = delete;

    // Of this question, or of one that was given up.
    void awaitQuestion() const { close(accept(listener, nullptr, nullptr)); }

    // Lets as many connections wait as may, so that the next one waits until there is room.
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

    // Refuses who waits.
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

} // namespace

TEST(RealtimeKit, QuestionsToASilentBusAreGivenUpAtAnyTime) {
    const SilentBus bus;
    for (int round = 0; round < 5; ++round) {
        std::vector<std::unique_ptr<RealtimeKitRequest>> requests;
        requests.reserve(3);
        for (int number = 0; number < 3; ++number) {
            requests.push_back(std::make_unique<RealtimeKitRequest>(gettid(), kPriority));
        }
        if (round % 2 == 1) {
            bus.awaitQuestion();
        }
    }
}

TEST(RealtimeKit, BusThatTakesNoMoreConnectionsHoldsNobodyUp) {
    SilentBus bus;
    bus.fill();
    auto asked =
        std::async(std::launch::async, [] { const RealtimeKitRequest request(gettid(), kPriority); });
    EXPECT_TRUE(await([&] { return asked.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    bus.end();
    asked.get();
}

TEST(RealtimeKit, BusThatIsNotThereIsNoError) {
    for (const char* address : {"unix:path=/nonexistent/bus", "nonsense", ""}) {
        setenv("DBUS_SYSTEM_BUS_ADDRESS", address, 1);
        const RealtimeKitRequest request(gettid(), kPriority);
    }
}
