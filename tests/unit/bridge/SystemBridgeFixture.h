#pragma once

// A bridge among scripted PortAudio devices, without a sound server.

#include "bridge/SystemBridge.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/support/mixer/RouterLogCapture.h"
#include "tests/support/portaudio/ScriptedPortAudio.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>

/// A bridge whose microphone permission is the test's.
class TestBridge : public SystemBridge {
public:
    Qt::PermissionStatus permission = Qt::PermissionStatus::Granted;
    std::function<void()> pendingRequest;

protected:
    Qt::PermissionStatus microphonePermission() const override { return permission; }
    void requestMicrophonePermission(const std::function<void()>& continuation) override {
        pendingRequest = continuation;
    }
};

class SystemBridgeTest : public testing::Test {
protected:
    // No sound server, whatever the machine has.
    static void SetUpTestSuite() { qputenv("PULSE_SERVER", "unix:/nowhere"); }
    void SetUp() override { scriptedPortAudio::reset(); }

    void bringAudioUp() {
        bridge->initializeMonitorDevice();
        ASSERT_TRUE(await([this] { return log.count("Audio routing service started") == 1; }));
        log.clear();
    }

    LogCapture log;
    RouterLogCapture routerLines;
    std::unique_ptr<TestBridge> bridge = std::make_unique<TestBridge>();
};
