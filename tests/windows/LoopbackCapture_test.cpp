#include "platform/windows/routerAudio/LoopbackCapture.h"
#include "platform/windows/routerAudio/WasapiRenderChannel.h"
#include "tests/unit/platform/routerAudio/RouterLogCapture.h"
#include "tests/windows/ScriptedAudio.h"
#include "tests/windows/SoundScene.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iomanip>
#include <mutex>
#include <sstream>
#include <wil/result.h>

using Microsoft::WRL::ComPtr;
using Microsoft::WRL::Make;

namespace {

constexpr std::uint32_t kProcess = 5151;
constexpr std::uint32_t kTone = 77;

// The reports of failed steps, as "file hresult".
class FailureReports {
public:
    FailureReports() {
        take();
        wil::SetResultLoggingCallback([](const wil::FailureInfo& failure) noexcept {
            std::ostringstream text;
            text << failure.pszFile << " 0x" << std::hex << static_cast<std::uint32_t>(failure.hr);
            const std::lock_guard lock(mutex);
            reports.push_back(text.str());
        });
    }
    ~FailureReports() { wil::SetResultLoggingCallback(nullptr); }
    FailureReports(const FailureReports&) = delete;
    FailureReports& operator=(const FailureReports&) = delete;

    static std::vector<std::string> take() {
        const std::lock_guard lock(mutex);
        return std::exchange(reports, {});
    }

private:
    inline static std::mutex mutex;
    inline static std::vector<std::string> reports;
};

class CaptureTest : public testing::Test {
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
        microphone = endpointNamed(EndpointFlow::Capture, L"Cable Microphone");
        ASSERT_NE(microphone, nullptr);
    }

    ComPtr<CLoopbackCapture> makeCapture() { return makeCapture(script); }
    ComPtr<CLoopbackCapture> makeCapture(const std::shared_ptr<AudioScript>& given) {
        ComPtr<CLoopbackCapture> capture =
            Make<CLoopbackCapture>(scene.buffers, callsWithProcessLoopback(given, microphone));
        capture->setBufferDuration(200000);
        return capture;
    }

    static bool reaches(const ComPtr<CLoopbackCapture>& capture, CaptureState state) {
        return comesTrue([&] { return capture->captureState() == state; }, std::chrono::seconds(5));
    }

    SoundScene scene;
    AudioEndpointPointer microphone;
    std::shared_ptr<AudioScript> script = std::make_shared<AudioScript>();
};

// Plays a tone into the sink that the microphone hears.
class ToneInTheCable {
public:
    ToneInTheCable() : channel(windowsAudioSystemCalls()) {
        tones.addSource(kTone);
        player = std::make_unique<TonePlayer>(tones.buffers, kTone, 1000, 1500, 0.25f);
        const AudioEndpointPointer cable = endpointNamed(EndpointFlow::Render, L"VEXO Virtual Cable");
        if (cable == nullptr || !channel.open(*cable)) {
            ADD_FAILURE() << "the cable cannot be opened";
            return;
        }
        thread = std::thread([this] {
            channel.run(running, [this](float* output, std::uint32_t frames) {
                tones.buffers.mixBus(output, frames, 1);
            });
        });
    }
    ~ToneInTheCable() {
        running = false;
        channel.wake();
        if (thread.joinable()) {
            thread.join();
        }
    }
    ToneInTheCable(const ToneInTheCable&) = delete;
    ToneInTheCable& operator=(const ToneInTheCable&) = delete;

private:
    SoundScene tones;
    std::unique_ptr<TonePlayer> player;
    WasapiRenderChannel channel;
    std::atomic<bool> running{true};
    std::thread thread;
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
        EXPECT_EQ(script->streamFlags, 0x88060000u);
        EXPECT_EQ(script->bufferDuration, 200000);
        ASSERT_TRUE(reaches(capture, CaptureState::Capturing));
        EXPECT_EQ(capture->stopCapture(), S_OK);
    }
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
    const bool arrived = comesTrue([&] {
        std::vector<float> block(2 * 4800);
        scene.buffers.mixBus(block.data(), 4800, 1);
        std::vector<float> leftChannel;
        std::vector<float> rightChannel;
        for (std::size_t at = 0; at < block.size(); at += 2) {
            leftChannel.push_back(block[at]);
            rightChannel.push_back(block[at + 1]);
        }
        left = amplitudeOf(leftChannel, 1000, 48000);
        right = amplitudeOf(rightChannel, 1500, 48000);
        std::this_thread::sleep_for(std::chrono::milliseconds(90));
        return left > 0.236 && left < 0.265 && right > 0.236 && right < 0.265;
    });
    EXPECT_TRUE(arrived) << "left " << left << ", right " << right;
    EXPECT_GT(scene.buffers.getProcessLevels(kProcess).left, 0.1f);
    EXPECT_EQ(capture->stopCapture(), S_OK);
    EXPECT_EQ(capture->captureState(), CaptureState::Stopped);
    EXPECT_TRUE(log.contains(L"[INFO] Capturing from process loopback (PID: 5151)"));
    const Lines lines = log.take();
    EXPECT_TRUE(std::ranges::any_of(lines, [](const std::wstring& line) {
        return line.starts_with(L"[INFO] Audio capture started for PID 5151, buffer size: ");
    }));
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
    EXPECT_EQ(first->stopCapture(), S_OK);
    const int before = other->count("GetBuffer");
    EXPECT_TRUE(comesTrue([&] { return other->count("GetBuffer") > before + 3; }));
    EXPECT_EQ(second->stopCapture(), S_OK);
}

TEST_F(CaptureTest, SecondStopIsRefusedAtOnce) {
    const ComPtr<CLoopbackCapture> capture = makeCapture();
    ASSERT_EQ(capture->startCapture(kProcess, true), S_OK);
    ASSERT_TRUE(reaches(capture, CaptureState::Capturing));
    EXPECT_EQ(capture->stopCapture(), S_OK);
    const FailureReports reports;
    EXPECT_EQ(capture->stopCapture(), kHResultInvalidState);
    EXPECT_EQ(FailureReports::take(),
              std::vector<std::string>{"platform/windows/routerAudio/LoopbackCapture.cpp 0x8007139f"});
    EXPECT_EQ(capture->captureState(), CaptureState::Stopped);
}

TEST_F(CaptureTest, StopBeforeTheStartIsRefused) {
    const ComPtr<CLoopbackCapture> capture = makeCapture();
    EXPECT_EQ(capture->stopCapture(), kHResultInvalidState);
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

namespace {

// One call that fails, and what comes of it.
struct CaptureFault {
    const char* call;
    int nth;
    HRESULT failure;
    HRESULT started;      // what startCapture() gives
    CaptureState state;   // in which the capture then stays
    HRESULT stopped;      // what stopCapture() gives then
    bool reported = true; // through wil
};

constexpr HRESULT kMemory = static_cast<HRESULT>(0x8007000E);
constexpr HRESULT kRefused = static_cast<HRESULT>(0x80070005);
constexpr HRESULT kInvalidState = static_cast<HRESULT>(0x8007139F);
constexpr HRESULT kInvalidated = static_cast<HRESULT>(0x88890004);

const CaptureFault kCaptureFaults[] = {
    {"CreateEvent", 1, kMemory, kMemory, CaptureState::Uninitialized, kInvalidState},
    {"CreateEvent", 2, kMemory, kMemory, CaptureState::Uninitialized, kInvalidState},
    {"CreateEvent", 3, kMemory, kMemory, CaptureState::Uninitialized, kInvalidState},
    {"MFStartup", 1, kRefused, kRefused, CaptureState::Uninitialized, kInvalidState},
    {"MFLockSharedWorkQueue", 1, kRefused, kRefused, CaptureState::Uninitialized, kInvalidState},
    {"ActivateAudioInterfaceAsync", 1, kRefused, kRefused, CaptureState::Error, S_OK},
    {"GetActivateResult", 1, kRefused, S_OK, CaptureState::Error, S_OK},
    {"activation", 1, kRefused, S_OK, CaptureState::Error, S_OK},
    {"QueryInterface", 1, E_NOINTERFACE, S_OK, CaptureState::Error, S_OK},
    {"Initialize", 1, kInvalidated, S_OK, CaptureState::Error, S_OK},
    {"GetBufferSize", 1, kInvalidated, S_OK, CaptureState::Error, S_OK},
    {"GetService", 1, kInvalidated, S_OK, CaptureState::Error, S_OK},
    {"MFCreateAsyncResult", 1, kMemory, S_OK, CaptureState::Error, S_OK},
    {"SetEventHandle", 1, kInvalidated, S_OK, CaptureState::Error, S_OK},
    {"MFPutWorkItem2", 1, kRefused, kRefused, CaptureState::Starting, kInvalidState},
    {"Start", 1, kInvalidated, S_OK, CaptureState::Error, S_OK},
    {"GetBuffer", 1, kInvalidated, S_OK, CaptureState::Error, S_OK},
    {"MFPutWaitingWorkItem", 1, kMemory, S_OK, CaptureState::Capturing, S_OK},
    {"GetNextPacketSize", 1, kInvalidated, S_OK, CaptureState::Capturing, S_OK, false},
    {"Stop", 1, kInvalidated, S_OK, CaptureState::Capturing, S_OK, false},
};

} // namespace

TEST_F(CaptureTest, EachCallThatFailsHasItsReturnItsStateAndItsReport) {
    scene.addSource(kProcess);
    const ToneInTheCable tone;
    for (const CaptureFault& fault : kCaptureFaults) {
        SCOPED_TRACE(std::string(fault.call) + ", time " + std::to_string(fault.nth));
        const auto faulty = std::make_shared<AudioScript>();
        faulty->fail(fault.call, fault.failure, fault.nth);
        const FailureReports reports;
        const ComPtr<CLoopbackCapture> capture = makeCapture(faulty);
        EXPECT_EQ(capture->startCapture(kProcess, true), fault.started);
        EXPECT_TRUE(reaches(capture, fault.state)) << static_cast<int>(capture->captureState());
        std::ostringstream report;
        report << "platform/windows/routerAudio/LoopbackCapture.cpp 0x" << std::hex
               << static_cast<std::uint32_t>(fault.failure);
        std::vector<std::string> seen;
        const bool wasReported = comesTrue(
            [&] {
                const std::vector<std::string> more = FailureReports::take();
                seen.insert(seen.end(), more.begin(), more.end());
                return !seen.empty();
            },
            std::chrono::milliseconds(fault.reported ? 5000 : 100));
        EXPECT_EQ(wasReported, fault.reported);
        for (const std::string& line : seen) {
            EXPECT_EQ(line, report.str());
        }
        EXPECT_EQ(capture->stopCapture(), fault.stopped);
    }
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
        L"[WARNING] GetMixFormat failed (0x80004001), using default format (48000 Hz, 32-bit float)"));
}
