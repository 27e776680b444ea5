// The router with all its threads at once: captures and streams that deliver, outputs that play, the level
// thread, and records that change. Run it under the thread sanitizer.

#include "mixer/router/AudioRouterAPI.h"
#include "tests/support/mixer/FakeRouterPlatform.h"
#include "tests/support/mixer/MirroredSound.h"
#include "tests/support/mixer/RouterLogCapture.h"
#include "tests/unit/mixer/router/ShutdownAtEnd.h"

#include <array>
#include <atomic>
#include <chrono>
#include <iostream>
#include <thread>

namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t kCaptures = 6;
constexpr std::uint32_t kFirstProcess = 20;
constexpr std::uint32_t kStreams = 2; // of the capture service

std::chrono::milliseconds length() {
    if (longRun()) {
        return 60'000ms;
    }
#ifdef VEXO_THREAD_SANITIZED
    // ctest starts first what took longest before: these seconds pass beside the other tests.
    return 20'000ms;
#else
    return 2'500ms;
#endif
}

struct Counts {
    std::atomic<std::uint64_t> packets{0};
    std::array<std::atomic<std::uint64_t>, 3> periods{}; // of Bus 1, Bus 2, Solo
    std::array<std::atomic<std::uint64_t>, 3> heard{};   // periods that were not silent
    std::atomic<std::uint64_t> broken{0};
    std::atomic<std::uint64_t> captureStarts{0};
};

// One packet after the other, as long as it may.
void deliverPackets(PerAppInputBuffers& buffers, std::uint32_t source, const std::atomic<bool>& running,
                    Counts& counts) {
    Random random(source);
    while (running) {
        // Sometimes a whole ring and more, so that readers are lapped.
        const std::vector<float> packet = mirrored(random() % 64 == 0 ? 30'000 : 1 + random() % 600, random);
        buffers.addInputData(source, packet.data(), static_cast<std::uint32_t>(packet.size() * sizeof(float)),
                             floatWaveFormat(2, random() % 3 == 0 ? 44100 : 48000));
        buffers.updateBusLevels();
        ++counts.packets;
    }
}

class LiveCapture : public ProcessCapture {
public:
    LiveCapture(PerAppInputBuffers& inputBuffers, Counts& testCounts)
        : buffers(inputBuffers), counts(testCounts) {}
    ~LiveCapture() override { stopCapture(); }
    LiveCapture(const LiveCapture&) = delete;
    LiveCapture& operator=(const LiveCapture&) = delete;

    void setBufferDuration(std::chrono::milliseconds /*duration*/) override {}
    [[nodiscard]] SoundResult startCapture(std::uint32_t processId, bool /*includeProcessTree*/) override {
        ++counts.captureStarts;
        running = true;
        thread = std::thread([this, processId] { deliverPackets(buffers, processId, running, counts); });
        return kSoundDone;
    }
    SoundResult stopCapture() override {
        running = false;
        if (!thread.joinable()) {
            return SoundError::NothingToStop;
        }
        thread.join();
        return kSoundDone;
    }

private:
    PerAppInputBuffers& buffers;
    Counts& counts;
    std::atomic<bool> running{false};
    std::thread thread;
};

class LiveOutput : public OutputStream {
public:
    LiveOutput(std::uint32_t busId, Counts& testCounts) : index(busId - 1), counts(testCounts) {}

    [[nodiscard]] bool open(const AudioEndpoint& /*endpoint*/) override { return true; }
    void run(const std::atomic<bool>& running, const RenderCallback& render) override {
        Random random(static_cast<std::uint32_t>(index));
        std::vector<float> output(2 * std::size_t{960});
        while (running) {
            const std::span<float> block = std::span(output).first(2 * std::size_t{1 + random() % 960});
            render(block.data(), static_cast<std::uint32_t>(block.size() / 2));
            expectMirrored(block, counts.broken);
            counts.heard[index] += block[0] != 0.0f ? 1 : 0;
            ++counts.periods[index];
        }
    }
    void wake() override {}
    void stopClient() override {}

private:
    std::size_t index;
    Counts& counts;
};

// Input streams that deliver until they are stopped, whatever ends the test.
class LiveStreams {
public:
    LiveStreams(PerAppInputBuffers& buffers, std::uint32_t streamCount, Counts& counts) {
        for (std::uint32_t stream = 0; stream < streamCount; ++stream) {
            threads.emplace_back([&, stream] { deliverPackets(buffers, stream, running, counts); });
        }
    }
    ~LiveStreams() { stop(); }
    LiveStreams(const LiveStreams&) = delete;
    LiveStreams& operator=(const LiveStreams&) = delete;

    void stop() {
        running = false;
        for (std::thread& thread : threads) {
            thread.join();
        }
        threads.clear();
    }

private:
    std::atomic<bool> running{true};
    std::vector<std::thread> threads;
};

// Some of the sources, with settings by chance.
std::vector<AppAudioConfig> someRecords(Random& random) {
    std::vector<AppAudioConfig> records;
    const auto add = [&](std::uint32_t processID) {
        records.push_back({.processID = processID,
                           .input1Enabled = random() % 8 != 0,
                           .input1Volume = static_cast<float>(random() % 5) / 4.0f,
                           .input1Muted = random() % 4 == 0,
                           .input2Enabled = true,
                           .input2Volume = static_cast<float>(random() % 5) / 4.0f,
                           .input2Muted = random() % 4 == 0,
                           .solo = random() % 6 == 0});
    };
    for (std::uint32_t process = kFirstProcess; process < kFirstProcess + kCaptures; ++process) {
        if (random() % 16 != 0) {
            add(process);
        }
    }
    for (std::uint32_t stream = 0; stream < kStreams; ++stream) {
        if (random() % 16 != 0) {
            add(stream);
        }
    }
    for (const std::uint32_t master : {kBus1MasterProcessId, kBus2MasterProcessId}) {
        if (random() % 2 == 0) {
            add(master);
        }
    }
    return records;
}

// The system's answers, with captures and outputs that work on threads of their own.
RouterPlatform livePlatform(FakeRouterPlatform& system, Counts& counts) {
    RouterPlatform platform = system.platform();
    platform.makeProcessCapture = [&counts](PerAppInputBuffers& buffers) -> std::shared_ptr<ProcessCapture> {
        return std::make_shared<LiveCapture>(buffers, counts);
    };
    platform.makeOutputStream = [&counts](std::uint32_t busId) -> std::unique_ptr<OutputStream> {
        return std::make_unique<LiveOutput>(busId, counts);
    };
    return platform;
}

} // namespace

TEST(AudioRouterApiThreads, ProducersOutputsLevelsAndRecordChangesGoOnTogether) {
    RouterLogCapture log;
    Counts counts;
    FakeRouterPlatform system;
    system.endpoints->add(EndpointFlow::Render, fakeEndpoint("Speakers", "{spk}"));
    system.endpoints->add(EndpointFlow::Render, fakeEndpoint("Port A", "{a}", 0));
    system.endpoints->add(EndpointFlow::Render, fakeEndpoint("Port B", "{b}", 0));
    AppAudioConfigStore store;
    PerAppInputBuffers buffers(store);
    AudioRouterAPI api(livePlatform(system, counts), store, buffers);
    ASSERT_TRUE(api.startAudioRouter({}, {}, "{a}", "{b}"));

    std::atomic<std::uint64_t> reports{0};
    const ShutdownAtEnd atEnd(api);
    api.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>& levels) {
        for (const AudioLevelInfo& level : levels) {
            const bool bus = level.processID >= kBus2MasterProcessId;
            if (!(level.levelLeft >= 0.0f && level.levelRight >= 0.0f) ||
                (!bus && !(level.levelLeft <= 1.0f && level.levelRight <= 1.0f))) {
                ++counts.broken;
            }
        }
        ++reports;
    });
    LiveStreams streams(buffers, kStreams, counts);

    // Until the time is over and every kind of thread has had its turns.
    Random random(11);
    std::uint64_t applied = 0;
    const auto everyoneHadTurns = [&] {
        bool all = reports >= 3 && counts.packets >= 100 && counts.captureStarts > kCaptures && applied >= 50;
        for (std::size_t index = 0; index < 3; ++index) {
            all = all && counts.periods[index] >= 100 && counts.heard[index] > 0;
        }
        return all;
    };
    const auto end = std::chrono::steady_clock::now() + length();
    while (std::chrono::steady_clock::now() < end || !everyoneHadTurns()) {
        ASSERT_TRUE(api.applyAudioConfigs(someRecords(random)));
        ++applied;
        std::this_thread::yield();
    }
    streams.stop();
    api.shutdownAudioRouter();
    EXPECT_EQ(counts.broken, 0u);
    EXPECT_TRUE(store.allProcessIds().empty());
    std::cout << counts.packets << " packets, " << counts.periods[0] + counts.periods[1] + counts.periods[2]
              << " periods, " << reports << " reports, " << applied << " record lists, "
              << counts.captureStarts << " captures started\n";
}

TEST(AudioRouterApiThreads, StartsAndShutdownsWhileStreamsDeliver) {
    RouterLogCapture log;
    Counts counts;
    FakeRouterPlatform system;
    system.endpoints->add(EndpointFlow::Render, fakeEndpoint("Speakers", "{spk}"));
    AppAudioConfigStore store;
    PerAppInputBuffers buffers(store);
    AudioRouterAPI api(livePlatform(system, counts), store, buffers);
    LiveStreams streams(buffers, 1, counts);
    Random random(12);
    for (int round = 0; round < (longRun() ? 200 : 10); ++round) {
        ASSERT_TRUE(api.startAudioRouter({}, {}, {}, {}));
        std::atomic<std::uint64_t> reports{0};
        const ShutdownAtEnd atEnd(api);
        api.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>&) { ++reports; });
        while (reports == 0) {
            ASSERT_TRUE(api.applyAudioConfigs(someRecords(random)));
            std::this_thread::yield();
        }
        api.shutdownAudioRouter();
    }
    streams.stop();
    EXPECT_EQ(counts.broken, 0u);
}
