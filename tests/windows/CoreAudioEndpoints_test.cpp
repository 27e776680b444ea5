#include "mixer/EndpointClassification.h"
#include "platform/windows/routerAudio/ComSession.h"
#include "platform/windows/routerAudio/CoreAudioEndpoints.h"
#include "platform/windows/routerAudio/PolicyConfig.h"
#include "platform/windows/routerAudio/WindowsResult.h"
#include "platform/windows/system/WideText.h"
#include "tests/support/mixer/RouterLogCapture.h"
#include "tests/windows/ScriptedAudio.h"
#include "tests/windows/SoundScene.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

class EndpointsTest : public testing::Test {
protected:
    SoundScene scene;
};

// Stands where Windows has its policy object, and tells which of its methods was called.
class FakePolicy final : public IPolicyConfig {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE unusedMethod4() override { return wrong(); }
    HRESULT STDMETHODCALLTYPE unusedMethod5() override { return wrong(); }
    HRESULT STDMETHODCALLTYPE unusedMethod6() override { return wrong(); }
    HRESULT STDMETHODCALLTYPE unusedMethod7() override { return wrong(); }
    HRESULT STDMETHODCALLTYPE unusedMethod8() override { return wrong(); }
    HRESULT STDMETHODCALLTYPE unusedMethod9() override { return wrong(); }
    HRESULT STDMETHODCALLTYPE unusedMethod10() override { return wrong(); }
    HRESULT STDMETHODCALLTYPE unusedMethod11() override { return wrong(); }
    HRESULT STDMETHODCALLTYPE unusedMethod12() override { return wrong(); }
    HRESULT STDMETHODCALLTYPE SetDefaultEndpoint(LPCWSTR endpointId, ERole role) override {
        id = endpointId;
        roles.push_back(role);
        return result;
    }

    static HRESULT wrong() {
        ADD_FAILURE() << "a method that nobody needs was called";
        return E_NOTIMPL;
    }

    HRESULT result = S_OK;
    std::wstring id;
    std::vector<ERole> roles;
};

AudioSystemCalls callsWith(FakePolicy& policy) {
    AudioSystemCalls calls = windowsAudioSystemCalls();
    calls.createInstance = [&policy, real = calls.createInstance](REFCLSID type, REFIID iid, void** object) {
        if (type != kPolicyConfigClass) {
            return real(type, iid, object);
        }
        EXPECT_TRUE(iid == kPolicyConfigInterface);
        *object = &policy;
        return S_OK;
    };
    return calls;
}

} // namespace

TEST_F(EndpointsTest, ActiveEndpointsHaveIdNameAndDirection) {
    CoreAudioEndpoints endpoints(windowsAudioSystemCalls());
    for (const EndpointFlow flow : {EndpointFlow::Render, EndpointFlow::Capture}) {
        const EndpointEnumeration found = endpoints.activeEndpoints(flow);
        EXPECT_EQ(found.reached, EnumerationStep::Done);
        EXPECT_FALSE(found.endpoints.empty());
        for (const AudioEndpointPointer& endpoint : found.endpoints) {
            ASSERT_NE(endpoint, nullptr);
            EXPECT_TRUE(endpoint->id.value_or("").starts_with("{0.0.")) << "flow " << int(flow);
            EXPECT_NE(endpoint->friendlyName.value_or(""), "");
            EXPECT_EQ(endpoint->flow, flow);
        }
    }
    EXPECT_NE(endpointNamed(EndpointFlow::Render, "VEXO Virtual Cable"), nullptr);
}

TEST_F(EndpointsTest, ConnectorsAreThoseOfTheTopologyAndNoneWithoutOne) {
    AudioSystemCalls calls = windowsAudioSystemCalls();
    calls.connectorCount = [](IMMDevice*, UINT* count) {
        *count = 3;
        return S_OK;
    };
    for (const AudioEndpointPointer& endpoint :
         CoreAudioEndpoints(calls).activeEndpoints(EndpointFlow::Render).endpoints) {
        EXPECT_EQ(endpoint->connectorCount, 3u);
        EXPECT_EQ(IsRealHardwareDevice(endpoint.get()),
                  endpoint->friendlyName.value_or("").find("Virtual") == std::string::npos);
    }
    calls.connectorCount = [](IMMDevice*, UINT*) {
        return E_NOINTERFACE;
    };
    for (const AudioEndpointPointer& endpoint :
         CoreAudioEndpoints(calls).activeEndpoints(EndpointFlow::Render).endpoints) {
        EXPECT_FALSE(endpoint->connectorCount.has_value());
        EXPECT_FALSE(IsRealHardwareDevice(endpoint.get()));
    }
}

TEST_F(EndpointsTest, DefaultOutputIsOneOfTheActiveOnes) {
    CoreAudioEndpoints endpoints(windowsAudioSystemCalls());
    const std::string id = endpoints.defaultRenderEndpointId();
    const EndpointEnumeration found = endpoints.activeEndpoints(EndpointFlow::Render);
    EXPECT_TRUE(std::ranges::any_of(found.endpoints, [&](const auto& endpoint) {
        return endpoint->id == id;
    })) << id;
}

TEST_F(EndpointsTest, CaptureEndpointCanBeActivated) {
    const AudioEndpointPointer microphone = endpointNamed(EndpointFlow::Capture, "Cable Microphone");
    ASSERT_NE(microphone, nullptr);
    CoreAudioEndpoints endpoints(windowsAudioSystemCalls());
    EXPECT_EQ(endpoints.probeActivation(*microphone), kSoundDone);
    EXPECT_EQ(endpoints.probeActivation(AudioEndpoint{}), soundResult(E_POINTER));
}

TEST_F(EndpointsTest, EnumeratorThatCannotBeCreatedIsSaid) {
    const auto script = std::make_shared<AudioScript>();
    script->fail("CoCreateInstance", static_cast<HRESULT>(0x80040154));
    CoreAudioEndpoints endpoints(scriptedCalls(script));
    const EndpointEnumeration found = endpoints.activeEndpoints(EndpointFlow::Render);
    EXPECT_EQ(found.reached, EnumerationStep::Enumerator);
    EXPECT_EQ(found.result, (SoundResult{SoundError::Refused, 0x80040154}));
    EXPECT_TRUE(found.endpoints.empty());
    EXPECT_EQ(endpoints.defaultRenderEndpointId(), "");
    RouterLogCapture log;
    EXPECT_EQ(FindFirstRealHardwareDevice(endpoints, true), "");
    EXPECT_EQ(log.take(), Lines{"[DEBUG] Failed to create device enumerator."});
}

TEST_F(EndpointsTest, DefaultIsSetByTheThirteenthMethodForTheConsoleRoleAlone) {
    FakePolicy policy;
    CoreAudioEndpoints endpoints(callsWith(policy));
    ComSession session(windowsAudioSystemCalls());
    const AudioEndpointPointer old = endpointNamed(EndpointFlow::Render, "Old Virtual Speakers");
    ASSERT_NE(old, nullptr);
    const std::string id = old->id.value_or("");
    RouterLogCapture log;
    EXPECT_TRUE(SetDefaultAudioDevice(endpoints, session, id, true));
    EXPECT_EQ(policy.id, wideOf(id));
    EXPECT_EQ(policy.roles, std::vector<ERole>{eConsole});
    EXPECT_TRUE(log.contains("[SetDefaultAudioDevice] Successfully set device as default: " + id));
    // The place in the object's table of methods, whatever the class calls it.
    void** const methods = *reinterpret_cast<void***>(static_cast<IPolicyConfig*>(&policy));
    using Method = HRESULT(STDMETHODCALLTYPE*)(IPolicyConfig*, LPCWSTR, ERole);
    EXPECT_EQ(reinterpret_cast<Method>(methods[12])(&policy, L"by its place", eConsole), S_OK);
    EXPECT_EQ(policy.id, L"by its place");
}

TEST_F(EndpointsTest, PolicyThatRefusesIsSaidWithItsCode) {
    FakePolicy policy;
    policy.result = static_cast<HRESULT>(0x80070005);
    CoreAudioEndpoints endpoints(callsWith(policy));
    ComSession session(windowsAudioSystemCalls());
    const AudioEndpointPointer old = endpointNamed(EndpointFlow::Render, "Old Virtual Speakers");
    ASSERT_NE(old, nullptr);
    RouterLogCapture log;
    EXPECT_FALSE(SetDefaultAudioDevice(endpoints, session, old->id.value_or(""), true));
    EXPECT_TRUE(log.contains("[SetDefaultAudioDevice] Failed to set default endpoint: 0x80070005"));
    EXPECT_TRUE(log.contains("[SetDefaultAudioDevice] Error code: -2147024891"));
}

TEST_F(EndpointsTest, MissingPolicyObjectIsSaidWithItsNotes) {
    AudioSystemCalls calls = windowsAudioSystemCalls();
    calls.createInstance = [real = calls.createInstance](REFCLSID type, REFIID iid, void** object) {
        return type == kPolicyConfigClass ? REGDB_E_CLASSNOTREG : real(type, iid, object);
    };
    CoreAudioEndpoints endpoints(calls);
    ComSession session(windowsAudioSystemCalls());
    const AudioEndpointPointer old = endpointNamed(EndpointFlow::Render, "Old Virtual Speakers");
    ASSERT_NE(old, nullptr);
    RouterLogCapture log;
    EXPECT_FALSE(SetDefaultAudioDevice(endpoints, session, old->id.value_or(""), true));
    EXPECT_TRUE(log.contains("[SetDefaultAudioDevice] Failed to create IPolicyConfig: 0x80040154"));
    EXPECT_TRUE(
        log.contains("[SetDefaultAudioDevice] Note: This operation may require administrator privileges"));
}
