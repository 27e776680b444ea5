#include "platform/SoundServerWatch.h"

#include "platform/linux/sound/PulseServer.h"

#include <utility>

namespace {

class Watch final : public PulseServer::Observer {
public:
    Watch(std::shared_ptr<PulseServer> soundServer, std::function<void()> onDevices)
        : server(std::move(soundServer)), notify(std::move(onDevices)) {
        const PulseServer::Lock lock(*server);
        server->addObserver(*this);
        // Devices may have come since the caller looked for them.
        if (server->readyContext() != nullptr) {
            notify();
        }
    }
    ~Watch() override {
        const PulseServer::Lock lock(*server);
        server->removeObserver(*this);
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    void devicesCame() override { notify(); }

private:
    std::shared_ptr<PulseServer> server;
    std::function<void()> notify;
};

} // namespace

std::shared_ptr<void> holdSoundServer() {
    return PulseServer::shared();
}

bool soundDevicesKnown() {
    return PulseServer::shared()->hasAnswered();
}

std::shared_ptr<void> watchSoundDevices(std::function<void()> devicesCame) {
    return std::make_shared<Watch>(PulseServer::shared(), std::move(devicesCame));
}
