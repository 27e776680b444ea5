// The router over Windows' own bodies, and the sessions that it can capture: what comes of refused calls.

#include "mixer/router/AudioRouterAPI.h"
#include "platform/windows/applications/AudioSessions.h"
#include "platform/windows/routerAudio/WindowsRouterPlatform.h"
#include "tests/support/mixer/RouterLogCapture.h"
#include "tests/windows/ScriptedAudio.h"
#include "tests/windows/SoundScene.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint32_t kProcess = 7171;

AppAudioConfig sourceOf(std::uint32_t processId) {
    AppAudioConfig config;
    config.processID = processId;
    config.input1Enabled = true;
    return config;
}

class Router : public testing::Test {
protected:
    void SetUp() override {
        // One lock more keeps Wine's shared queue.
        DWORD task = 0;
        DWORD queue = 0;
        ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK);
        ASSERT_EQ(MFLockSharedWorkQueue(L"Capture", 0, &task, &queue), S_OK);
        microphone = endpointNamed(EndpointFlow::Capture, "Cable Microphone");
        ASSERT_NE(microphone, nullptr);
    }

    // A thread that is in no apartment, as the user interface's is before the start.
    static void onFreshThread(const std::function<void()>& work) { std::thread(work).join(); }

    SoundScene scene;
    AudioEndpointPointer microphone;
    std::shared_ptr<AudioScript> script = std::make_shared<AudioScript>();
    RouterLogCapture log;
};

} // namespace

TEST_F(Router, ApartmentThatCannotBeEnteredFailsTheStart) {
    script->fail("CoInitializeEx", E_OUTOFMEMORY);
    AudioRouterAPI router(windowsRouterPlatform(scriptedCalls(script)), scene.store, scene.buffers);
    EXPECT_FALSE(router.startAudioRouter({}, {}, {}, {}));
    EXPECT_FALSE(router.isAudioRouterRunning());
    EXPECT_EQ(script->count("CoUninitialize"), 0);
    EXPECT_EQ(script->count("CoCreateInstance"), 0);
    EXPECT_TRUE(log.take().empty());
}

TEST_F(Router, ApartmentIsEnteredAtTheStartAndLeftAtTheShutdown) {
    onFreshThread([this] {
        AudioRouterAPI router(windowsRouterPlatform(scriptedCalls(script)), scene.store, scene.buffers);
        EXPECT_TRUE(router.startAudioRouter({}, {}, {}, {}));
        EXPECT_EQ(script->count("CoUninitialize"), 0);
        router.shutdownAudioRouter();
        EXPECT_EQ(script->count("CoInitializeEx"), 1);
        EXPECT_EQ(script->given("CoInitializeEx"), "0"); // multithreaded
        EXPECT_EQ(script->count("CoUninitialize"), 1);
    });
}

TEST_F(Router, ThreadOfTheOtherApartmentStartsAndIsNotTakenOutOfIt) {
    onFreshThread([this] {
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        AudioRouterAPI router(windowsRouterPlatform(scriptedCalls(script)), scene.store, scene.buffers);
        EXPECT_TRUE(router.startAudioRouter({}, {}, {}, {}));
        router.shutdownAudioRouter();
        EXPECT_EQ(script->count("CoUninitialize"), 0);
        CoUninitialize();
    });
}

TEST_F(Router, StartThatThrowsLeavesTheApartment) {
    onFreshThread([this] {
        RouterPlatform platform = windowsRouterPlatform(scriptedCalls(script));
        script->connectorCount = 1;
        platform.makeOutputStream = [](std::uint32_t) -> std::unique_ptr<OutputStream> {
            throw std::bad_alloc();
        };
        AudioRouterAPI router(platform, scene.store, scene.buffers);
        EXPECT_THROW(static_cast<void>(router.startAudioRouter({}, {}, {}, {})), std::bad_alloc);
        EXPECT_FALSE(router.isAudioRouterRunning());
        EXPECT_EQ(script->count("CoInitializeEx"), 1);
        EXPECT_EQ(script->count("CoUninitialize"), 1);
    });
}

TEST_F(Router, ActivationRefusedOnThePlatformsThreadIsInvisibleAndTheCaptureStaysUntilItsSourceGoes) {
    script->fail("activation", static_cast<HRESULT>(0x80070005));
    AudioRouterAPI router(windowsRouterPlatform(callsWithProcessLoopback(script, microphone)), scene.store,
                          scene.buffers);
    ASSERT_TRUE(router.startAudioRouter({}, {}, {}, {}));
    for (int time = 0; time < 2; ++time) {
        EXPECT_TRUE(router.applyAudioConfigs({sourceOf(kProcess)}));
    }
    EXPECT_EQ(script->count("ActivateAudioInterfaceAsync"), 1);
    EXPECT_TRUE(log.contains("[INFO] Started capture for PID: 7171"));
    EXPECT_EQ(script->count("MFUnlockWorkQueue"), 0);
    EXPECT_TRUE(router.applyAudioConfigs({}));
    EXPECT_TRUE(comesTrue([&] { return script->count("MFUnlockWorkQueue") == 1; }));
    router.shutdownAudioRouter();
}

TEST_F(Router, RefusedActivationIsLoggedAndTriedAgainAtTheNextList) {
    script->fail("ActivateAudioInterfaceAsync", static_cast<HRESULT>(0x80070005));
    AudioRouterAPI router(windowsRouterPlatform(callsWithProcessLoopback(script, microphone)), scene.store,
                          scene.buffers);
    ASSERT_TRUE(router.startAudioRouter({}, {}, {}, {}));
    for (int time = 0; time < 2; ++time) {
        static_cast<void>(log.take());
        EXPECT_TRUE(router.applyAudioConfigs({sourceOf(kProcess)}));
        EXPECT_EQ(log.take(), Lines{"[ERROR] Failed to start capture for PID: 7171 (HRESULT: 0x80070005)"});
    }
    EXPECT_EQ(script->count("ActivateAudioInterfaceAsync"), 2);
    router.shutdownAudioRouter();
}

namespace {

// One call of the walk over the sessions that fails, and what the list then says of this program.
struct SessionFault {
    const char* call;
    const char* name;  ///< of the session; "none" where this program is not listed
    const char* state; ///< null: whatever the system says
};

const SessionFault kSessionFaults[] = {
    {"CoCreateInstance", "none", nullptr},
    {"GetDefaultAudioEndpoint", "none", nullptr},
    {"Activate IAudioSessionManager2", "none", nullptr},
    {"GetSessionEnumerator", "none", nullptr},
    {"GetCount", "none", nullptr},
    {"GetSession", "none", nullptr},
    {"QueryInterface IAudioSessionControl2", "none", nullptr},
    {"GetProcessId", "none", nullptr},
    {"GetDisplayName", "windows_system_test", nullptr},
    {"GetState", "windows_system_test", "Unknown"},
};

} // namespace

TEST(SessionFaults, EachCallThatFailsGivesAShorterListOrALesserEntry) {
    SoundScene scene;
    const ProgramThatPlays playing;

    const auto ownSession = [](const AudioSystemCalls& calls) -> std::optional<AudioSessionInfo> {
        for (const AudioSessionInfo& session :
             audioSessionsFrom(audioSessions(calls, windowsInventorySystemCalls()))) {
            if (session.processId == GetCurrentProcessId()) {
                return session;
            }
        }
        return std::nullopt;
    };
    EXPECT_TRUE(comesTrue([&] { return ownSession(windowsAudioSystemCalls()).has_value(); }));
    for (const SessionFault& fault : kSessionFaults) {
        SCOPED_TRACE(fault.call);
        const auto script = std::make_shared<AudioScript>();
        script->fail(fault.call, static_cast<HRESULT>(0x80070005));
        const std::optional<AudioSessionInfo> session = ownSession(scriptedCalls(script));
        EXPECT_GE(script->count(fault.call), 1);
        EXPECT_EQ(session ? session->name.toStdString() : "none", fault.name);
        if (session && fault.state != nullptr) {
            EXPECT_EQ(session->state.toStdString(), fault.state);
        }
    }
}
