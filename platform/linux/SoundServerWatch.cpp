#include "platform/SoundServerWatch.h"

#include "platform/linux/routerAudio/PulseServer.h"

#include <utility>

namespace {

class Watch final : public PulseServer::Observer {
public:
    Watch(std::shared_ptr<PulseServer> soundServer, std::function<void()> onArrival)
        : server(std::move(soundServer)), arrived(std::move(onArrival)) {
        const PulseServer::Lock lock(*server);
        server->addObserver(*this);
        // It may have come since it was looked for.
        if (server->readyContext() != nullptr) {
            playbacksChanged(*server);
        }
    }
    ~Watch() override {
        const PulseServer::Lock lock(*server);
        server->removeObserver(*this);
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    void playbacksChanged(PulseServer&) override {
        if (arrived) {
            std::exchange(arrived, nullptr)();
        }
    }
    void connectionLost() override {}

private:
    std::shared_ptr<PulseServer> server;
    std::function<void()> arrived;
};

} // namespace

std::shared_ptr<void> watchForSoundServer(std::function<void()> arrived) {
    std::shared_ptr<PulseServer> server = PulseServer::shared();
    if (server->awaitReady()) {
        return nullptr;
    }
    return std::make_shared<Watch>(std::move(server), std::move(arrived));
}
