#pragma once

#include "audio/capture/AudioRouterService.h"
#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/support/portaudio/ScriptedPortAudio.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <mutex>
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

    /// What the worker has waited so far, oldest first.
    std::vector<std::chrono::milliseconds> pauses() const {
        const std::lock_guard lock(pausesMutex);
        return pausesSoFar;
    }

    /// Waits until `passes()` has grown by `count`: in each pass the worker shall wait by exactly these
    /// pauses.
    template <typename Passes>
    void expectPausesOfPasses(int count, const std::vector<std::chrono::milliseconds>& ofAPass,
                              Passes passes) {
        const std::size_t before = pauses().size();
        const auto first = passes();
        ASSERT_TRUE(await([&] { return passes() >= first + count; }));
        // The pass that is counted last may not have waited yet, and the first may have waited before.
        const auto whole = static_cast<std::size_t>(passes() - first - 1);
        std::vector<std::chrono::milliseconds> since = pauses();
        since.erase(since.begin(), since.begin() + static_cast<std::ptrdiff_t>(before));
        ASSERT_GE(since.size(), std::max<std::size_t>(whole, 1) * ofAPass.size());
        // Wherever in a pass the count began.
        const auto start = std::ranges::find(ofAPass, since.front());
        ASSERT_NE(start, ofAPass.end()) << since.front().count() << " ms";
        for (std::size_t at = 0; at < since.size(); ++at) {
            const auto inPass = (static_cast<std::size_t>(start - ofAPass.begin()) + at) % ofAPass.size();
            ASSERT_EQ(since[at], ofAPass[inPass]) << "pause " << at;
        }
    }

    /// A short wait in the place of each of the worker's, which are written down.
    Pause shortPause() {
        return [this](std::chrono::milliseconds duration) {
            {
                const std::lock_guard lock(pausesMutex);
                pausesSoFar.push_back(duration);
            }
            pauseThread(std::min(duration, std::chrono::milliseconds(1)));
        };
    }

private:
    mutable std::mutex pausesMutex;
    std::vector<std::chrono::milliseconds> pausesSoFar;

protected:
    LogCapture log;
    AppAudioConfigStore records;
    PerAppInputBuffers buffers{records};
    AudioRouterService service{buffers, shortPause()};
};
