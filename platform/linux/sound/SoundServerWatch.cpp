#include "platform/SoundServerWatch.h"

#include "platform/linux/sound/PulseServer.h"

#include <utility>

namespace {

class Watch final : public PulseServer::Observer {
public:
    Watch(std::shared_ptr<PulseServer> soundServer, std::function<void()> onDevices)
        : server(std::move(soundServer)), tell(std::move(onDevices)) {
        const PulseServer::Lock lock(*server);
        server->addObserver(*this);
        // They may have come since they were looked for.
        if (server->readyContext() != nullptr) {
            tell();
        }
    }
    ~Watch() override {
        const PulseServer::Lock lock(*server);
        server->removeObserver(*this);
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    void playbacksChanged(PulseServer&) override {}
    void devicesCame() override { tell(); }
    void connectionLost() override {}

private:
    std::shared_ptr<PulseServer> server;
    std::function<void()> tell;
};

} // namespace

std::shared_ptr<void> watchSoundDevices(std::function<void()> devicesCame) {
    return std::make_shared<Watch>(PulseServer::shared(), std::move(devicesCame));
}
