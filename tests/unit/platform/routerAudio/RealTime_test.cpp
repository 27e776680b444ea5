// What the mixer may not do in a render call, and what the guard that finds out is worth.

#include "platform/routerAudio/BusForwarder.h"
#include "platform/routerAudio/RouterLog.h"
#include "tests/unit/platform/routerAudio/FakeRouterPlatform.h"
#include "tests/unit/platform/routerAudio/MixerFixture.h"
#include "tests/unit/platform/routerAudio/RenderGuard.h"

#include <array>
#include <atomic>
#include <csignal>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

class RealTime : public MixerFixture {
protected:
    static constexpr int kRounds = 20'000;

    // Runs render calls under watch, in a process of their own, while other threads use the mixer's locks.
    [[noreturn]] void render(const RenderCallback& call) {
        contend();
        renderUnderWatch(call);
    }

    // Eight sources, and two threads that feed them and change records for ever.
    void contend() {
        for (std::uint32_t source = 20; source < 28; ++source) {
            AppAudioConfig config = onBothBuses(source);
            config.solo = source == 20;
            put(config);
            feed(source, constant(480, 0.1f, -0.1f));
        }
        for (const std::uint32_t first : {20u, 24u}) {
            std::thread([this, first] {
                const std::vector<float> packet = constant(64, 0.2f, -0.2f);
                for (std::uint32_t round = 0;; ++round) {
                    feed(first + round % 4, packet);
                    buffers.updateBusLevels();
                    put({.processID = kBus1MasterProcessId, .solo = round % 3 == 0});
                }
            }).detach();
        }
    }

    // The calling thread's last work.
    [[noreturn]] void renderUnderWatch(const RenderCallback& call) {
        std::array<float, 960> output{};
        renderGuard::watchThisThread(std::array{renderGuard::AllowedObject{&buffers, sizeof(buffers)},
                                                renderGuard::AllowedObject{&store, sizeof(store)}});
        // Until locks were waited for too, which is the one reason for a system call.
        for (int round = 0; round < kRounds || (renderGuard::contendedLocks() < 10 && round < 1000 * kRounds);
             ++round) {
            renderGuard::beginRender();
            call(output.data(), 480);
            renderGuard::endRender();
        }
        renderGuard::finish();
    }
};

using RealTimeDeathTest = RealTime;

// An output whose render thread is under watch.
class WatchedOutput : public OfflineRenderChannel {
public:
    explicit WatchedOutput(std::function<void(const RenderCallback&)> lastWork) : work(std::move(lastWork)) {}
    void run(const std::atomic<bool>& /*running*/, const RenderCallback& render) override { work(render); }

private:
    std::function<void(const RenderCallback&)> work;
};

std::mutex foreignMutex;

} // namespace

TEST_F(RealTimeDeathTest, MixBusNeitherAllocatesNorTakesOtherLocksNorCallsTheSystem) {
    EXPECT_EXIT(render([this](float* output, std::uint32_t frames) {
                    buffers.mixBus(output, frames, 1);
                    buffers.mixBus(output, frames, 2);
                }),
                testing::ExitedWithCode(0), "[1-9][0-9]* locks, [1-9][0-9]* contended");
}

TEST_F(RealTimeDeathTest, MixSoloNeitherAllocatesNorTakesOtherLocksNorCallsTheSystem) {
    EXPECT_EXIT(render([this](float* output, std::uint32_t frames) { buffers.mixSolo(output, frames); }),
                testing::ExitedWithCode(0), "[1-9][0-9]* locks, [1-9][0-9]* contended");
}

// The whole way of a render thread: what the forwarder hands to an output.
TEST_F(RealTimeDeathTest, RenderCallbacksOfEveryOutputKeepToTheTwoLocks) {
    for (const std::uint32_t busId : {BusForwarder::kBus1Id, BusForwarder::kBus2Id, BusForwarder::kSoloId}) {
        const auto play = [&] {
            FakeRouterPlatform system;
            system.endpoints->add(EndpointFlow::Render, fakeEndpoint(L"Speakers", L"{spk}"));
            system.endpoints->add(EndpointFlow::Render, fakeEndpoint(L"Port", L"{port}", 0));
            RouterPlatform platform = system.platform();
            platform.makeRenderChannel = [this](std::uint32_t) -> std::unique_ptr<RenderChannel> {
                return std::make_unique<WatchedOutput>(
                    [this](const RenderCallback& call) { renderUnderWatch(call); });
            };
            BusForwarder forwarder(platform, buffers);
            if (busId == BusForwarder::kSoloId) {
                forwarder.setSoloDevice(L"{spk}");
            } else if (busId == BusForwarder::kBus1Id) {
                forwarder.setBus1Device(L"{port}");
            } else {
                forwarder.setBus2Device(L"{port}");
            }
            contend();
            static_cast<void>(forwarder.start());
            forwarder.stop(); // waits for a thread that ends the process
        };
        EXPECT_EXIT(play(), testing::ExitedWithCode(0), "[1-9][0-9]* locks, [1-9][0-9]* contended")
            << "bus " << busId;
    }
}

TEST_F(RealTimeDeathTest, GuardFindsAnAllocation) {
    EXPECT_EXIT(render([](float* output, std::uint32_t frames) {
                    const auto list = std::make_unique<float[]>(frames);
                    output[0] = list[0];
                }),
                testing::KilledBySignal(SIGILL), "malloc in a render call");
}

TEST_F(RealTimeDeathTest, GuardFindsAForeignLock) {
    EXPECT_EXIT(render([](float* output, std::uint32_t) {
                    const std::lock_guard lock(foreignMutex);
                    output[0] = 0.0f;
                }),
                testing::KilledBySignal(SIGILL), "pthread_mutex_lock of a foreign lock in a render call");
}

TEST_F(RealTimeDeathTest, GuardFindsASystemCall) {
    EXPECT_EXIT(render([](float* output, std::uint32_t) { output[0] = static_cast<float>(getppid()); }),
                testing::KilledBySignal(SIGILL), "system call [0-9]+ in a render call");
}

TEST_F(RealTimeDeathTest, GuardFindsALogLine) {
    EXPECT_EXIT(render([](float*, std::uint32_t) { routerLog(L"here"); }), testing::KilledBySignal(SIGILL),
                "in a render call");
}

TEST_F(RealTime, PacketsAllocateNothingAfterTheFirstOfASize) {
    AppAudioConfig config = onBothBuses(20);
    config.solo = true;
    put(config);
    const std::vector<std::int16_t> pcm(960, 1000);
    const std::vector<float> packet = constant(480, 0.25f, 0.25f);
    const auto all = [&] {
        feed(20, packet);
        feed(20, packet, 44100);
        buffers.addInputData(20, pcm.data(), 480 * 4, {kWaveFormatPcm, 2, 96000, 4, 16});
        buffers.addInputData(20, packet.data(), 480 * 4, floatWaveFormat(1, 48000));
        buffers.updateBusLevels();
    };
    const std::uint64_t atStart = renderGuard::allocationsOfThisThread();
    all();
    const std::uint64_t afterFirst = renderGuard::allocationsOfThisThread();
    EXPECT_GT(afterFirst, atStart); // the rings, at least: the count works
    for (int round = 0; round < 1000; ++round) {
        all();
    }
    EXPECT_EQ(renderGuard::allocationsOfThisThread(), afterFirst);
}
