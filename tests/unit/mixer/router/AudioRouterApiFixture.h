#pragma once

#include "mixer/router/AudioRouterAPI.h"
#include "tests/support/mixer/FakeRouterPlatform.h"
#include "tests/support/mixer/MixerFixture.h"
#include "tests/support/mixer/RouterLogCapture.h"

#include <chrono>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

/// A router on a system whose answers the test writes down, over buffers of its own.
class AudioRouterApiTest : public MixerFixture {
protected:
    static constexpr EndpointFlow kRender = EndpointFlow::Render;
    using Calls = std::vector<std::string>;

    void start() { ASSERT_TRUE(api.startAudioRouter({}, {}, {}, {})); }

    // Started, with an empty journal and log.
    void startQuietly() {
        start();
        static_cast<void>(system.journal.take());
        static_cast<void>(log.take());
    }

    // With a source to be reported.
    void startWithSound() {
        start();
        ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(7)}));
        feed(7, constant(480, 0.5f, 0.5f));
    }

    RouterLogCapture log;
    FakeRouterPlatform system;
    FakeEndpoints& endpoints = *system.endpoints;
    /// Reports come as fast as a test can wait for them.
    static constexpr std::chrono::milliseconds kShortPause{1};

    AudioRouterAPI api{system.platform(), store, buffers, kShortPause};
};
