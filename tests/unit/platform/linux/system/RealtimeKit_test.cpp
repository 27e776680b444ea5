#include "platform/linux/system/RealtimeKit.h"
#include "tests/support/Await.h"

#include <QDir>
#include <QString>
#include <QTemporaryDir>

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kPriority = 5;

// A bus that takes connections and says nothing.
class SilentBus {
public:
    SilentBus() : listener(socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = folder.filePath(QStringLiteral("bus")).toStdString();
        std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        EXPECT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        EXPECT_EQ(listen(listener, 20), 0);
        setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + path).c_str(), 1);
    }
    ~SilentBus() { close(listener); }
    SilentBus(const SilentBus&) = delete;
    SilentBus& operator=(const SilentBus&) = delete;

    // Of this question, or of one that was given up.
    void awaitQuestion() const { close(accept(listener, nullptr, nullptr)); }

private:
    // An address takes no space in the name of its socket.
    const QTemporaryDir folder{QDir::tempPath() + QStringLiteral("/vexo-bus-XXXXXX")};
    const int listener;
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

TEST(RealtimeKit, BusThatIsNotThereIsNoError) {
    for (const char* address : {"unix:path=/nonexistent/bus", "nonsense", ""}) {
        setenv("DBUS_SYSTEM_BUS_ADDRESS", address, 1);
        const RealtimeKitRequest request(gettid(), kPriority);
    }
}
