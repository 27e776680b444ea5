#include "tests/windows/ScriptedObjects.h"

#include <utility>

using Microsoft::WRL::ComPtr;

namespace {

class ScriptedSession final : public Counted<IAudioSessionControl2> {
public:
    ScriptedSession(Script given, ComPtr<IAudioSessionControl2> behind)
        : script(std::move(given)), real(std::move(behind)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (iid == __uuidof(IAudioSessionControl2)) {
            if (const auto failure = script->meet("QueryInterface IAudioSessionControl2")) {
                *object = nullptr;
                return *failure;
            }
        }
        return Counted::QueryInterface(iid == __uuidof(IAudioSessionControl) ? __uuidof(IUnknown) : iid,
                                       object);
    }
    HRESULT STDMETHODCALLTYPE GetState(AudioSessionState* state) override {
        const auto failure = script->meet("GetState");
        return failure ? *failure : real->GetState(state);
    }
    HRESULT STDMETHODCALLTYPE GetDisplayName(LPWSTR* name) override {
        const auto failure = script->meet("GetDisplayName");
        return failure ? *failure : real->GetDisplayName(name);
    }
    HRESULT STDMETHODCALLTYPE SetDisplayName(LPCWSTR, LPCGUID) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIconPath(LPWSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetIconPath(LPCWSTR, LPCGUID) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetGroupingParam(GUID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetGroupingParam(LPCGUID, LPCGUID) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RegisterAudioSessionNotification(IAudioSessionEvents*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE UnregisterAudioSessionNotification(IAudioSessionEvents*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetSessionIdentifier(LPWSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSessionInstanceIdentifier(LPWSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetProcessId(DWORD* processId) override {
        const auto failure = script->meet("GetProcessId");
        return failure ? *failure : real->GetProcessId(processId);
    }
    HRESULT STDMETHODCALLTYPE IsSystemSoundsSession() override { return real->IsSystemSoundsSession(); }
    HRESULT STDMETHODCALLTYPE SetDuckingPreference(WINBOOL) override { return E_NOTIMPL; }

private:
    const Script script;
    const ComPtr<IAudioSessionControl2> real;
};

class ScriptedSessionList final : public Counted<IAudioSessionEnumerator> {
public:
    ScriptedSessionList(Script given, ComPtr<IAudioSessionEnumerator> behind)
        : script(std::move(given)), real(std::move(behind)) {}

    HRESULT STDMETHODCALLTYPE GetCount(int* count) override {
        const auto failure = script->meet("GetCount");
        return failure ? *failure : real->GetCount(count);
    }
    HRESULT STDMETHODCALLTYPE GetSession(int index, IAudioSessionControl** session) override {
        if (const auto failure = script->meet("GetSession")) {
            return *failure;
        }
        ComPtr<IAudioSessionControl> behind;
        ComPtr<IAudioSessionControl2> process;
        HRESULT result = real->GetSession(index, behind.GetAddressOf());
        if (SUCCEEDED(result)) {
            result = behind.As(&process);
        }
        if (SUCCEEDED(result)) {
            *session = new ScriptedSession(script, process);
        }
        return result;
    }

private:
    const Script script;
    const ComPtr<IAudioSessionEnumerator> real;
};

class ScriptedSessionManager final : public Counted<IAudioSessionManager2> {
public:
    ScriptedSessionManager(Script given, ComPtr<IAudioSessionManager2> behind)
        : script(std::move(given)), real(std::move(behind)) {}

    HRESULT STDMETHODCALLTYPE GetAudioSessionControl(LPCGUID, DWORD, IAudioSessionControl**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetSimpleAudioVolume(LPCGUID, DWORD, ISimpleAudioVolume**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetSessionEnumerator(IAudioSessionEnumerator** sessions) override {
        if (const auto failure = script->meet("GetSessionEnumerator")) {
            return *failure;
        }
        ComPtr<IAudioSessionEnumerator> behind;
        const HRESULT result = real->GetSessionEnumerator(behind.GetAddressOf());
        if (SUCCEEDED(result)) {
            *sessions = new ScriptedSessionList(script, behind);
        }
        return result;
    }
    HRESULT STDMETHODCALLTYPE RegisterSessionNotification(IAudioSessionNotification*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE UnregisterSessionNotification(IAudioSessionNotification*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE RegisterDuckNotification(LPCWSTR, IAudioVolumeDuckNotification*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE UnregisterDuckNotification(IAudioVolumeDuckNotification*) override {
        return E_NOTIMPL;
    }

private:
    const Script script;
    const ComPtr<IAudioSessionManager2> real;
};

} // namespace

IAudioSessionManager2* scriptedSessionManager(const Script& script,
                                              const ComPtr<IAudioSessionManager2>& behind) {
    return new ScriptedSessionManager(script, behind);
}
