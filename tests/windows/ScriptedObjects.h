#pragma once

// The objects that ScriptedAudio.h puts before the real ones, for its own sources. Each is made with one
// reference, which the caller owns.

#include "platform/windows/routerAudio/PolicyConfig.h"
#include "tests/windows/ScriptedAudio.h"

#include <atomic>
#include <audioclient.h>
#include <audiopolicy.h>
#include <mmdeviceapi.h>
#include <wrl/client.h>

using Script = std::shared_ptr<AudioScript>;

template <typename Interface>
const IID& interfaceId() {
    return __uuidof(Interface);
}
/// Not published, so that no header says it.
template <>
inline const IID& interfaceId<IPolicyConfig>() {
    return kPolicyConfigInterface;
}

/// Counting and the one interface of an object.
template <typename Interface>
class Counted : public Interface {
public:
    Counted() = default;
    virtual ~Counted() = default;
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (iid != __uuidof(IUnknown) && iid != interfaceId<Interface>()) {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        *object = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references;
        if (left == 0) {
            delete this;
        }
        return left;
    }

private:
    std::atomic<ULONG> references{1};
};

[[nodiscard]] IAudioClient* scriptedClient(const Script& script,
                                           const Microsoft::WRL::ComPtr<IAudioClient>& behind);
[[nodiscard]] IMMDevice* scriptedDevice(const Script& script,
                                        const Microsoft::WRL::ComPtr<IMMDevice>& behind);
[[nodiscard]] IMMDeviceEnumerator*
scriptedEnumerator(const Script& script, const Microsoft::WRL::ComPtr<IMMDeviceEnumerator>& behind);
[[nodiscard]] IAudioSessionManager2*
scriptedSessionManager(const Script& script, const Microsoft::WRL::ComPtr<IAudioSessionManager2>& behind);
/// Accepts every endpoint as the default, and changes nothing: the machine keeps its own.
[[nodiscard]] IPolicyConfig* scriptedPolicy(const Script& script);
