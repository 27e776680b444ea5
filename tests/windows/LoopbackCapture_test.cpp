#include "platform/windows/routerAudio/WaveFormats.h"
#include "tests/support/mixer/RouterLogCapture.h"
#include "tests/windows/CaptureScene.h"
#include "tests/windows/FailureReports.h"

#include <algorithm>

using Microsoft::WRL::ComPtr;
using Microsoft::WRL::Make;

namespace {

constexpr std::uint32_t kProcess = 5151;

class CaptureTest : public CaptureFixture {
protected:
    using CaptureFixture::makeCapture;
    ComPtr<CLoopbackCapture> makeCapture() { return makeCapture(script); }

    static bool reaches(const ComPtr<CLoopbackCapture>& capture, CaptureState state) {
        return comesTrue([&] { return capture->captureState() == state; }, std::chrono::seconds(5));
    }

    std::shared_ptr<AudioScript> script = std::make_shared<AudioScript>();
};

} // namespace

TEST_F(CaptureTest, ActivationNamesTheProcessAndItsTreeInTwelveBytes) {
    scene.addSource(kProcess);
    for (const bool withTree : {true, false}) {
        const ComPtr<CLoopbackCapture> capture = makeCapture();
        ASSERT_EQ(capture->startCapture(kProcess, withTree), S_OK);
        EXPECT_EQ(script->activationPath, L"VAD\\Process_Loopback");
        EXPECT_EQ(script->activationType, 65);
        // Activation type, process id, mode: 32 bits each, little-endian.
        const std::vector<std::uint8_t> expected{
            1, 0, 0, 0, 0x1F, 0x14, 0, 0, static_cast<std::uint8_t>(withTree ? 0 : 1), 0, 0, 0};
        EXPECT_EQ(script->activationBytes, expected);
        ASSERT_TRUE(reaches(capture, CaptureState::Capturing));
        EXPECT_EQ(capture->stopCapture(), S_OK);
    }
}

TEST_F(CaptureTest, CallsAreGivenWhatWindowsExpectsOfThem) {
    script->fail("GetMixFormat", E_NOTIMPL);
    const ComPtr<CLoopbackCapture> capture = makeCapture();
    ASSERT_EQ(capture->startCapture(kProcess, true), S_OK);
    ASSERT_TRUE(reaches(capture, CaptureState::Capturing));
    ASSERT_TRUE(comesTrue([&] { return script->count("MFPutWaitingWorkItem") > 0; }));
    EXPECT_EQ(script->given("MFStartup"), "131184, 1"); // 0x20070, lite
    EXPECT_EQ(script->given("MFLockSharedWorkQueue"), "Capture, 0");
    EXPECT_EQ(script->given("MFPutWorkItem2"), "5, 0, no state");
    EXPECT_EQ(script->given("MFCreateAsyncResult"), "no object, no state");
    EXPECT_EQ(script->given("MFPutWaitingWorkItem"), "0");
    // Shared, 0x88060000, 20 ms, then the default format: float, stereo, nothing behind it.
    EXPECT_EQ(script->given("Initialize"),
              "0, 2282094592, 200000, 0, no session, 3, 2, 48000, 384000, 8, 32, 0 behind:");
    EXPECT_EQ(capture->stopCapture(), S_OK);
}

TEST_F(CaptureTest, ExtensibleFormatIsHandedOnWithZerosInPlaceOfItsExtension) {
    // Wine says the endpoint's format so; whether it opens with what is handed on is the system's affair.
    script->formatIsExtensible = true;
    script->fail("Initialize", static_cast<HRESULT>(0x88890008));
    const FailureReports reports;
    const ComPtr<CLoopbackCapture> capture = makeCapture();
    ASSERT_EQ(capture->startCapture(kProcess, true), S_OK);
    EXPECT_EQ(script->given("Initialize"),
              "0, 2282094592, 200000, 0, no session, 65534, 2, 48000, 384000, 8, 32, 22 behind:"
              " 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0");
    EXPECT_EQ(capture->captureState(), CaptureState::Error);
    EXPECT_EQ(capture->stopCapture(), S_OK);
    EXPECT_FALSE(FailureReports::take().empty());
}

TEST_F(CaptureTest, PacketsOfARealClientDrainThroughTheWorkQueueIntoTheRings) {
    scene.addSource(kProcess);
    const ToneInTheCable tone;
    RouterLogCapture log;
    const ComPtr<CLoopbackCapture> capture = makeCapture();
    ASSERT_EQ(capture->startCapture(kProcess, true), S_OK);
    ASSERT_TRUE(reaches(capture, CaptureState::Capturing));

    // Reads the ring at its own pace, as a render thread does.
    std::vector<float> heard;
    double left = 0;
    double right = 0;
    const auto ring = scene.buffers.getInputBuffer(kProcess, 1);
    const bool arrived = comesTrue([&] {
        std::vector<float> block(std::size_t{2} * 4800);
        if (RingReader(*ring, ring->busReadPos, 4800).remaining() < 4800) {
            return false;
        }
        scene.buffers.mixBus(block.data(), 4800, 1);
        std::vector<float> leftChannel;
        std::vector<float> rightChannel;
        for (std::size_t at = 0; at < block.size(); at += 2) {
            leftChannel.push_back(block[at]);
            rightChannel.push_back(block[at + 1]);
        }
        left = amplitudeOf(leftChannel, 1000, 48000);
        right = amplitudeOf(rightChannel, 1500, 48000);
        return left > 0.236 && left < 0.265 && right > 0.236 && right < 0.265;
    });
    EXPECT_TRUE(arrived) << "left " << left << ", right " << right;
    EXPECT_GT(scene.buffers.getProcessLevels(kProcess).left, 0.1f);
    EXPECT_EQ(capture->stopCapture(), S_OK);
    EXPECT_EQ(capture->captureState(), CaptureState::Stopped);
    EXPECT_TRUE(log.contains("[INFO] Capturing from process loopback (PID: 5151)"));
    const Lines lines = log.take();
    EXPECT_TRUE(std::ranges::any_of(lines, [](const std::string& line) {
        return line.starts_with("[INFO] Audio capture started for PID 5151, buffer size: ");
    }));
}

TEST_F(CaptureTest, EndpointRemovedUnderARunningCaptureIsWaitedForUntilTheStop) {
    scene.addSource(kProcess);
    const ToneInTheCable tone;
    const AudioEndpointPointer plugged = endpointNamed(EndpointFlow::Capture, "Plugged Microphone");
    ASSERT_NE(plugged, nullptr);
    const ComPtr<CLoopbackCapture> capture = makeCapture(callsWithProcessLoopback(script, plugged));
    ASSERT_EQ(capture->startCapture(kProcess, true), S_OK);
    ASSERT_TRUE(comesTrue([&] { return script->count("GetBuffer") > 3; }));
    RouterLogCapture log;
    ASSERT_TRUE(unload("plugmic"));
    // Until nothing more comes: for half a second the cable records, and no packet is taken.
    const RecordedSink cable("cable");
    int packets = script->count("GetBuffer");
    double since = cable.seconds();
    EXPECT_TRUE(comesTrue([&] {
        if (const int now = script->count("GetBuffer"); now != packets) {
            packets = now;
            since = cable.seconds();
        }
        return cable.seconds() > since + 0.5;
    }));
    // A packet that still lay there is an error when it is taken; without one the capture waits on.
    const bool packetLay = script->given("GetBuffer").starts_with("-");
    EXPECT_EQ(capture->captureState(), packetLay ? CaptureState::Error : CaptureState::Capturing);
    EXPECT_TRUE(log.take().empty());
    EXPECT_EQ(capture->stopCapture(), S_OK);
    EXPECT_EQ(capture->captureState(), CaptureState::Stopped);
}

TEST_F(CaptureTest, DrainAllocatesNothingAfterTheFirstPackets) {
    scene.addSource(kProcess);
    const ToneInTheCable tone;
    const ComPtr<CLoopbackCapture> capture = makeCapture();
    ASSERT_EQ(capture->startCapture(kProcess, true), S_OK);
    ASSERT_TRUE(comesTrue([&] { return script->allocationsOfPackets().size() > 150; }));
    EXPECT_EQ(capture->stopCapture(), S_OK);
    // The shared queue may have several threads, each of which allocates its scratch memory once.
    const std::vector<std::uint64_t> packets = script->allocationsOfPackets();
    const auto late = std::vector(packets.begin() + 100, packets.end());
    EXPECT_EQ(std::ranges::count_if(late, [](std::uint64_t count) { return count > 0; }), 0)
        << "of " << late.size() << " packets";
}

TEST_F(CaptureTest, CapturesRunSideBySideOnOneQueue) {
    scene.addSource(kProcess);
    scene.addSource(kProcess + 1);
    const ToneInTheCable tone;
    const auto other = std::make_shared<AudioScript>();
    const ComPtr<CLoopbackCapture> first = makeCapture();
    const ComPtr<CLoopbackCapture> second = makeCapture(other);
    ASSERT_EQ(first->startCapture(kProcess, true), S_OK);
    ASSERT_EQ(second->startCapture(kProcess + 1, true), S_OK);
    EXPECT_TRUE(comesTrue([&] {
        return scene.buffers.getProcessLevels(kProcess).left > 0.1f &&
               scene.buffers.getProcessLevels(kProcess + 1).left > 0.1f;
    }));
    const std::string queue = script->given("locked queue");
    EXPECT_NE(queue, "nothing");
    EXPECT_EQ(other->given("locked queue"), queue);
    EXPECT_EQ(script->given("queue of the packets"), queue);
    EXPECT_EQ(other->given("queue of the packets"), queue);
    EXPECT_EQ(first->captureState(), CaptureState::Capturing);
    EXPECT_EQ(second->captureState(), CaptureState::Capturing);
    EXPECT_EQ(first->stopCapture(), S_OK);
    const int before = other->count("GetBuffer");
    EXPECT_TRUE(comesTrue([&] { return other->count("GetBuffer") > before + 3; }));
    EXPECT_EQ(first->captureState(), CaptureState::Stopped);
    EXPECT_EQ(second->captureState(), CaptureState::Capturing);
    EXPECT_EQ(second->stopCapture(), S_OK);
    EXPECT_EQ(second->captureState(), CaptureState::Stopped);
}

TEST_F(CaptureTest, SecondStopIsRefusedAtOnce) {
    const ComPtr<CLoopbackCapture> capture = makeCapture();
    ASSERT_EQ(capture->startCapture(kProcess, true), S_OK);
    ASSERT_TRUE(reaches(capture, CaptureState::Capturing));
    EXPECT_EQ(capture->stopCapture(), S_OK);
    const FailureReports reports;
    EXPECT_EQ(capture->stopCapture(), HRESULT_FROM_WIN32(ERROR_INVALID_STATE));
    EXPECT_EQ(FailureReports::take(), Lines{"platform/windows/routerAudio/LoopbackCapture.cpp 0x8007139f"});
    EXPECT_EQ(capture->captureState(), CaptureState::Stopped);
}

TEST_F(CaptureTest, StopBeforeTheStartIsRefused) {
    const ComPtr<CLoopbackCapture> capture = makeCapture();
    EXPECT_EQ(capture->stopCapture(), HRESULT_FROM_WIN32(ERROR_INVALID_STATE));
    EXPECT_EQ(capture->captureState(), CaptureState::Uninitialized);
}

TEST_F(CaptureTest, LastReferenceUnlocksTheWorkQueue) {
    ComPtr<CLoopbackCapture> capture = makeCapture();
    ASSERT_EQ(capture->startCapture(kProcess, true), S_OK);
    ASSERT_TRUE(reaches(capture, CaptureState::Capturing));
    EXPECT_EQ(capture->stopCapture(), S_OK);
    EXPECT_EQ(script->count("MFUnlockWorkQueue"), 0);
    capture.Reset();
    // Work items of the platform may hold the object a little longer.
    EXPECT_TRUE(comesTrue([&] { return script->count("MFUnlockWorkQueue") == 1; }));
}

TEST_F(CaptureTest, EventsStayOpenUntilTheClientHasGone) {
    // A client signals its event once more after its stop, be it another's by then.
    ComPtr<CLoopbackCapture> capture = makeCapture();
    ASSERT_EQ(capture->startCapture(kProcess, true), S_OK);
    ASSERT_TRUE(reaches(capture, CaptureState::Capturing));
    EXPECT_EQ(capture->stopCapture(), S_OK);
    capture.Reset();
    EXPECT_TRUE(comesTrue([&] { return script->given("last Release") != "nothing"; }));
    EXPECT_EQ(script->given("last Release"), "its event is open");
}

TEST_F(CaptureTest, HandlerAnswersForItsInterfaceAndForAgility) {
    const ComPtr<CLoopbackCapture> capture = makeCapture();
    for (const IID& iid : {__uuidof(IUnknown), __uuidof(IActivateAudioInterfaceCompletionHandler),
                           __uuidof(IAgileObject), __uuidof(IMarshal)}) {
        ComPtr<IUnknown> answer;
        EXPECT_EQ(capture->QueryInterface(iid, reinterpret_cast<void**>(answer.GetAddressOf())), S_OK);
    }
    ComPtr<IUnknown> other;
    EXPECT_EQ(capture->QueryInterface(__uuidof(IMMDevice), reinterpret_cast<void**>(other.GetAddressOf())),
              E_NOINTERFACE);
}

TEST_F(CaptureTest, ActivationThatTheSystemRefusesIsReturnedAndLeavesAnErrorThatCanBeStopped) {
    // Windows' own activation: where there is no process loopback it refuses at once or on its own thread.
    const ComPtr<CLoopbackCapture> capture = Make<CLoopbackCapture>(scene.buffers, windowsAudioSystemCalls());
    const HRESULT started = capture->startCapture(kProcess, true);
    if (capture->captureState() != CaptureState::Error) {
        GTEST_SKIP() << "this system has process loopback";
    }
    EXPECT_TRUE(FAILED(started) || FAILED(capture->lastActivationResult()));
    EXPECT_EQ(capture->stopCapture(), S_OK);
    EXPECT_EQ(capture->captureState(), CaptureState::Stopped);
}

TEST_F(CaptureTest, StopWhileTheStartIsQueuedIsRefusedAndTheStartStepStillRuns) {
    AudioSystemCalls calls = callsWithProcessLoopback(script, microphone);
    ComPtr<IMFAsyncCallback> queued;
    calls.putWorkItem = [&queued, real = calls.putWorkItem](DWORD queue, LONG priority,
                                                            IMFAsyncCallback* callback, IUnknown* state) {
        EXPECT_EQ(queue, 5u);
        EXPECT_EQ(priority, 0);
        if (queued == nullptr) {
            queued = callback;
            return S_OK;
        }
        return real(queue, priority, callback, state);
    };
    scene.addSource(kProcess);
    const ToneInTheCable tone;
    ComPtr<CLoopbackCapture> capture = makeCapture(calls);
    ASSERT_EQ(capture->startCapture(kProcess, true), S_OK);
    EXPECT_EQ(capture->captureState(), CaptureState::Starting);
    EXPECT_EQ(capture->stopCapture(), HRESULT_FROM_WIN32(ERROR_INVALID_STATE));
    EXPECT_EQ(capture->captureState(), CaptureState::Starting);

    // What the router does then: packets of this source are dropped, and so is the capture. The queued item
    // alone keeps it.
    scene.store.putConfig(kProcess, inactiveAppAudioConfig());
    CLoopbackCapture* const kept = capture.Get();
    capture.Reset();
    ASSERT_NE(queued, nullptr);
    EXPECT_EQ(script->count("MFUnlockWorkQueue"), 0);
    ASSERT_EQ(queued->Invoke(nullptr), S_OK);
    EXPECT_TRUE(comesTrue([&] { return script->count("GetBuffer") > 3; }));
    EXPECT_EQ(kept->captureState(), CaptureState::Capturing);
    EXPECT_EQ(scene.buffers.getProcessLevels(kProcess).left, 0.0f);
    EXPECT_EQ(kept->stopCapture(), S_OK);
    EXPECT_EQ(script->count("MFUnlockWorkQueue"), 0);
    queued.Reset();
    EXPECT_TRUE(comesTrue([&] { return script->count("MFUnlockWorkQueue") == 1; }));
}

TEST_F(CaptureTest, StopWaitsForAFinishStepThatTheSystemDidNotQueue) {
    // Nobody looks at the result of queueing the last step.
    AudioSystemCalls calls = callsWithProcessLoopback(script, microphone);
    ComPtr<IMFAsyncCallback> finish;
    std::atomic<int> items{0};
    calls.putWorkItem = [&, real = calls.putWorkItem](DWORD queue, LONG priority, IMFAsyncCallback* callback,
                                                      IUnknown* state) {
        if (items == 2) {
            finish = callback;
            ++items;
            return static_cast<HRESULT>(0x80070005);
        }
        ++items;
        return real(queue, priority, callback, state);
    };
    const ComPtr<CLoopbackCapture> capture = makeCapture(calls);
    ASSERT_EQ(capture->startCapture(kProcess, true), S_OK);
    ASSERT_TRUE(reaches(capture, CaptureState::Capturing));
    const FailureReports reports;
    std::atomic<bool> returned{false};
    std::thread stopping([&] {
        EXPECT_EQ(capture->stopCapture(), S_OK);
        returned = true;
    });
    EXPECT_TRUE(comesTrue([&] { return items == 3; }));
    EXPECT_EQ(capture->captureState(), CaptureState::Stopping);
    EXPECT_FALSE(returned);
    EXPECT_TRUE(FailureReports::take().empty());
    if (finish != nullptr) {
        finish->Invoke(nullptr);
    }
    stopping.join();
    EXPECT_EQ(capture->captureState(), CaptureState::Stopped);
}

TEST_F(CaptureTest, PacketStepThatArmsWhileAStopBeginsLeavesNoItemBehind) {
    AudioSystemCalls calls = callsWithProcessLoopback(script, microphone);
    std::thread stopping;
    CLoopbackCapture* owner = nullptr;
    int armed = 0;
    calls.putWaitingWorkItem = [&, real = calls.putWaitingWorkItem](
                                   HANDLE event, LONG priority, IMFAsyncResult* result, MFWORKITEM_KEY* key) {
        if (++armed == 2) {
            stopping = std::thread([owner] { EXPECT_EQ(owner->stopCapture(), S_OK); });
            EXPECT_TRUE(comesTrue([owner] { return owner->captureState() == CaptureState::Stopping; }));
            // The stop step waits for the item that it has to cancel.
            EXPECT_FALSE(
                comesTrue([&] { return script->count("Stop") > 0; }, std::chrono::milliseconds(200)));
        }
        EXPECT_NE(result, nullptr);
        return real(event, priority, result, key);
    };
    ComPtr<CLoopbackCapture> capture = makeCapture(calls);
    owner = capture.Get();
    ASSERT_EQ(capture->startCapture(kProcess, true), S_OK);
    ASSERT_TRUE(reaches(capture, CaptureState::Stopped));
    stopping.join();
    EXPECT_EQ(script->count("MFCancelWorkItem"), 1);
    capture.Reset();
    EXPECT_TRUE(comesTrue([&] { return script->count("MFUnlockWorkQueue") == 1; }));
}

TEST_F(CaptureTest, DrainThatBeginsOnceAStopHasBegunLeavesAtOnce) {
    AudioSystemCalls calls = callsWithProcessLoopback(script, microphone);
    ComPtr<IMFAsyncCallback> sample;
    calls.createAsyncResult = [&sample,
                               real = calls.createAsyncResult](IUnknown* object, IMFAsyncCallback* callback,
                                                               IUnknown* state, IMFAsyncResult** result) {
        sample = callback;
        return real(object, callback, state, result);
    };
    std::atomic<bool> drained{false};
    calls.cancelWorkItem = [&, real = calls.cancelWorkItem](MFWORKITEM_KEY key) {
        // The stop step, on a thread that drains nothing else.
        EXPECT_EQ(sample->Invoke(nullptr), S_OK);
        EXPECT_NE(script->given("GetNextPacketSize"), std::to_string(GetCurrentThreadId()));
        drained = true;
        return real(key);
    };
    const ComPtr<CLoopbackCapture> capture = makeCapture(calls);
    ASSERT_EQ(capture->startCapture(kProcess, true), S_OK);
    ASSERT_TRUE(comesTrue([&] { return script->count("GetNextPacketSize") > 0; }));
    EXPECT_EQ(capture->stopCapture(), S_OK);
    EXPECT_TRUE(drained);
    sample.Reset();
}

TEST_F(CaptureTest, ProcessThatPlaysNothingStaysCapturedAndItsLevelsStayUntilTheReset) {
    scene.addSource(kProcess);
    const ToneInTheCable tone;
    const ComPtr<CLoopbackCapture> capture = makeCapture();
    ASSERT_EQ(capture->startCapture(kProcess, true), S_OK);
    ASSERT_TRUE(comesTrue([&] { return scene.buffers.getProcessLevels(kProcess).left > 0.1f; }));
    script->processIsSilent = true;
    // A packet of no frames ends the drain, and the next event is awaited all the same.
    int asked = script->count("GetNextPacketSize");
    ASSERT_TRUE(comesTrue([&] { return script->count("GetNextPacketSize") > asked + 1; }));
    const int packets = script->count("GetBuffer");
    const StereoLevel last = scene.buffers.getProcessLevels(kProcess);
    EXPECT_GT(last.left, 0.1f);
    asked = script->count("GetNextPacketSize");
    EXPECT_TRUE(comesTrue([&] { return script->count("GetNextPacketSize") > asked + 5; }));
    EXPECT_EQ(script->count("GetBuffer"), packets);
    EXPECT_EQ(capture->captureState(), CaptureState::Capturing);
    EXPECT_TRUE(scene.buffers.getProcessLevels(kProcess) == last);
    scene.buffers.resetProcessBuffers(kProcess);
    EXPECT_EQ(scene.buffers.getProcessLevels(kProcess).left, 0.0f);
    EXPECT_EQ(capture->stopCapture(), S_OK);
}

TEST_F(CaptureTest, WithoutAMixFormatTheDefaultFormatIsUsedAndSaid) {
    scene.addSource(kProcess);
    const ToneInTheCable tone;
    script->fail("GetMixFormat", E_NOTIMPL);
    RouterLogCapture log;
    const ComPtr<CLoopbackCapture> capture = makeCapture();
    ASSERT_EQ(capture->startCapture(kProcess, true), S_OK);
    EXPECT_TRUE(comesTrue([&] { return scene.buffers.getProcessLevels(kProcess).left > 0.1f; }));
    EXPECT_EQ(capture->stopCapture(), S_OK);
    EXPECT_TRUE(log.contains(
        "[WARNING] GetMixFormat failed (0x80004001), using default format (48000 Hz, 32-bit float)"));
}

TEST(CaptureFormat, OneToTwentyTwoExtraBytesAreKeptAndMoreAreNone) {
    const std::pair<WORD, WORD> cases[] = {{0, 0}, {1, 1}, {21, 21}, {22, 22}, {23, 0}, {0xFFFF, 0}};
    for (const auto& [given, kept] : cases) {
        WAVEFORMATEX client = nativeFormat(floatWaveFormat(2, 44100));
        client.cbSize = given;
        EXPECT_EQ(captureFormatOf(client).cbSize, kept) << given << " extra bytes";
        EXPECT_EQ(waveFormat(captureFormatOf(client)), floatWaveFormat(2, 44100));
    }
}
