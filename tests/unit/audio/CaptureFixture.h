#pragma once

#include "audio/AudioRouterService.h"
#include "platform/routerAudio/AppAudioConfigStore.h"
#include "platform/routerAudio/PerAppInputBuffers.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/support/portaudio/ScriptedPortAudio.h"

#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

/// A capture service among scripted devices, with the process's mixer at its end.
class CaptureFixture : public testing::Test {
protected:
    using Call = scriptedPortAudio::Call;
    using Device = scriptedPortAudio::Device;

    void SetUp() override {
        scriptedPortAudio::reset();
        AppAudioConfigStore::instance().clear();
        PerAppInputBuffers::instance().clear();
    }

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

    static void listenTo(std::uint32_t source) {
        AppAudioConfig config;
        config.processID = source;
        config.input1Enabled = true;
        AppAudioConfigStore::instance().putConfig(source, config);
    }

    /// The next frame of Bus 1.
    static float nextOfBus1() {
        std::array<float, 2> frame{};
        PerAppInputBuffers::instance().mixBus(frame.data(), 1, 1);
        return frame[0];
    }

    static bool hasRing(std::uint32_t source) {
        return PerAppInputBuffers::instance().collectProcessIds().contains(source);
    }

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

    LogCapture log;
    AudioRouterService service;
};
