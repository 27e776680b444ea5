#pragma once

// What tests of the capture of a process stand on: a tone in the sink that the microphone hears, whose client
// stands for that of a process loopback.

#include "platform/windows/routerAudio/LoopbackCapture.h"
#include "platform/windows/routerAudio/WasapiOutputStream.h"
#include "tests/windows/ScriptedAudio.h"
#include "tests/windows/SoundScene.h"

#include <gtest/gtest.h>
#include <memory>
#include <thread>

/// Plays a tone into the sink that the microphone hears.
class ToneInTheCable {
public:
    ToneInTheCable() : stream(windowsAudioSystemCalls()) {
        tones.addSource(kTone);
        player = std::make_unique<TonePlayer>(tones.buffers, kTone, 1000, 1500, 0.25f);
        const AudioEndpointPointer cable = endpointNamed(EndpointFlow::Render, "VEXO Virtual Cable");
        if (cable == nullptr || !stream.open(*cable)) {
            ADD_FAILURE() << "the cable cannot be opened";
            return;
        }
        thread = std::thread([this] {
            stream.run(running, [this](float* output, std::uint32_t frames) {
                tones.buffers.mixBus(output, frames, 1);
            });
        });
    }
    ~ToneInTheCable() {
        running = false;
        stream.wake();
        if (thread.joinable()) {
            thread.join();
        }
    }
    ToneInTheCable(const ToneInTheCable&) = delete;
    ToneInTheCable& operator=(const ToneInTheCable&) = delete;

private:
    static constexpr std::uint32_t kTone = 77;

    SoundScene tones;
    std::unique_ptr<TonePlayer> player;
    WasapiOutputStream stream;
    std::atomic<bool> running{true};
    std::thread thread;
};

class CaptureFixture : public testing::Test {
protected:
    // Wine ends a shared queue with its last lock, and waits for its work items while it does: a capture
    // whose last reference goes in one of these would wait for itself. One lock more keeps the queue.
    static void SetUpTestSuite() {
        DWORD task = 0;
        DWORD queue = 0;
        ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
        ASSERT_EQ(MFLockSharedWorkQueue(L"Capture", 0, &task, &queue), S_OK);
    }

    void SetUp() override {
        microphone = endpointNamed(EndpointFlow::Capture, "Cable Microphone");
        ASSERT_NE(microphone, nullptr);
    }

    Microsoft::WRL::ComPtr<CLoopbackCapture> makeCapture(const AudioSystemCalls& calls) {
        auto capture = Microsoft::WRL::Make<CLoopbackCapture>(scene.buffers, calls);
        capture->setBufferDuration(200000);
        return capture;
    }
    Microsoft::WRL::ComPtr<CLoopbackCapture> makeCapture(const std::shared_ptr<AudioScript>& script) {
        return makeCapture(callsWithProcessLoopback(script, microphone));
    }

    SoundScene scene;
    AudioEndpointPointer microphone;
};
