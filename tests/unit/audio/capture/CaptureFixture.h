#pragma once

#include "audio/capture/AudioRouterService.h"
#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/support/portaudio/ScriptedPortAudio.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

/// A capture service among scripted devices, with a mixer of its own at its end.
class CaptureFixture : public testing::Test {
protected:
    using Call = scriptedPortAudio::Call;
    using Device = scriptedPortAudio::Device;

    void SetUp() override { scriptedPortAudio::reset(); }

    void TearDown() override {
        service.Stop();
        EXPECT_EQ(scriptedPortAudio::openStreams(), 0) << "streams left open";
        EXPECT_FALSE(scriptedPortAudio::initialized()) << "PortAudio left initialized";
    }

    static Device device(const std::string& name, int channels = 2) {
        Device made;
        made.name = name;
        made.maxInputChannels = channels;
        return made;
    }

    void listenTo(std::uint32_t source) {
        AppAudioConfig config;
        config.processID = source;
        config.input1Enabled = true;
        records.putConfig(source, config);
    }

    /// The next frame of Bus 1.
    float nextOfBus1() {
        std::array<float, 2> frame{};
        buffers.mixBus(frame.data(), 1, 1);
        return frame[0];
    }

    bool hasRing(std::uint32_t source) const { return buffers.collectProcessIds().contains(source); }

    void startWith(const std::vector<InputDeviceRequest>& inputs) {
        AudioRouterConfig config;
        config.inputs = inputs;
        ASSERT_TRUE(service.Start(config));
        ASSERT_TRUE(await([this] { return log.count("Audio routing service started") == 1; }));
    }

    bool awaitLog(const QString& text, qsizetype count = 1) {
        return await([&] { return log.count(text) >= count; });
    }

    /// Waits for `count` further blocks of a device.
    static bool awaitBlocks(const std::string& name, int count = 5) {
        const int before = scriptedPortAudio::reads(name);
        return await([&] { return scriptedPortAudio::reads(name) >= before + count; });
    }

    /// The processor time that the worker has used.
    static std::chrono::duration<double> workerTime() {
        for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
            std::string name;
            std::ifstream(thread.path() / "comm") >> name;
            timespec time{};
            // As the system builds the number of a thread's clock, which POSIX gives for one's own threads
            // alone.
            const auto clock = (~static_cast<clockid_t>(std::stoi(thread.path().filename())) * 8) | 6;
            if (name == "Capture" && clock_gettime(clock, &time) == 0) {
                return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
            }
        }
        ADD_FAILURE() << "no worker";
        return {};
    }

    /// Waits until `passes()` has grown by `count`, while a pass shall take `passTime` at least and the
    /// worker little of a processor: a part of it that a machine busy with other things stays below, too.
    template <typename Passes>
    void expectIdlePasses(int count, std::chrono::milliseconds passTime, Passes passes) {
        using Clock = std::chrono::steady_clock;
        const auto first = passes();
        const auto startedAt = Clock::now();
        const auto usedBefore = workerTime();
        ASSERT_TRUE(await([&] { return passes() >= first + count; }));
        const std::chrono::duration<double> used = workerTime() - usedBefore;
        const std::chrono::duration<double> elapsed = Clock::now() - startedAt;
        // The first of them may have begun before.
        EXPECT_LE(static_cast<double>(passes() - first - 1) * std::chrono::duration<double>(passTime),
                  elapsed);
        EXPECT_LT(used.count(), 0.2 * elapsed.count()) << "of " << elapsed.count() << " s";
    }

    LogCapture log;
    AppAudioConfigStore records;
    PerAppInputBuffers buffers{records};
    AudioRouterService service{buffers};
};
