#include "tests/windows/ScriptedAudio.h"

#include "platform/windows/routerAudio/CoreAudioEndpoints.h"
#include "platform/windows/routerAudio/PolicyConfig.h"
#include "tests/windows/ScriptedObjects.h"

#include <audiosessiontypes.h>
#include <mmreg.h>
#include <objbase.h>
#include <span>
#include <utility>

using Microsoft::WRL::ComPtr;

void AudioScript::fail(const std::string& call, HRESULT result, int nth) {
    const std::lock_guard lock(mutex);
    failures[call] = {result, nth};
}

std::optional<HRESULT> AudioScript::meet(const std::string& call) {
    const std::lock_guard lock(mutex);
    const int time = ++counts[call];
    const auto failure = failures.find(call);
    return failure != failures.end() && time >= failure->second.second ? std::optional(failure->second.first)
                                                                       : std::nullopt;
}

int AudioScript::count(const std::string& call) const {
    const std::lock_guard lock(mutex);
    const auto found = counts.find(call);
    return found == counts.end() ? 0 : found->second;
}

std::string AudioScript::given(const std::string& call) const {
    const std::lock_guard lock(mutex);
    const auto found = arguments.find(call);
    return found == arguments.end() ? "nothing" : found->second;
}

std::vector<std::uint64_t> AudioScript::allocationsOfPackets() const {
    const std::lock_guard lock(mutex);
    return allocations;
}

void AudioScript::noteAllocations(std::uint64_t count) {
    const std::lock_guard lock(mutex);
    allocations.push_back(count);
}

namespace {

class ScriptedCaptureClient final : public Counted<IAudioCaptureClient> {
public:
    ScriptedCaptureClient(Script given, ComPtr<IAudioCaptureClient> behind)
        : script(std::move(given)), real(std::move(behind)) {}

    HRESULT STDMETHODCALLTYPE GetBuffer(BYTE** data, UINT32* frames, DWORD* flags, UINT64* position,
                                        UINT64* time) override {
        if (const auto failure = script->meet("GetBuffer")) {
            return *failure;
        }
        const HRESULT result = real->GetBuffer(data, frames, flags, position, time);
        script->note("GetBuffer", result);
        before = allocationsOfThisThread();
        return result;
    }
    HRESULT STDMETHODCALLTYPE ReleaseBuffer(UINT32 frames) override {
        script->noteAllocations(allocationsOfThisThread() - before);
        const HRESULT released = real->ReleaseBuffer(frames);
        return script->meet("ReleaseBuffer").value_or(released);
    }
    HRESULT STDMETHODCALLTYPE GetNextPacketSize(UINT32* frames) override {
        script->note("GetNextPacketSize", GetCurrentThreadId());
        if (const auto failure = script->meet("GetNextPacketSize")) {
            return *failure;
        }
        if (script->processIsSilent) {
            *frames = 0;
            return S_OK;
        }
        return real->GetNextPacketSize(frames);
    }

private:
    const Script script;
    const ComPtr<IAudioCaptureClient> real;
    std::uint64_t before = 0;
};

class ScriptedRenderClient final : public Counted<IAudioRenderClient> {
public:
    ScriptedRenderClient(Script given, ComPtr<IAudioRenderClient> behind)
        : script(std::move(given)), real(std::move(behind)) {}

    HRESULT STDMETHODCALLTYPE GetBuffer(UINT32 frames, BYTE** data) override {
        if (const auto failure = script->meet("GetBuffer")) {
            return *failure;
        }
        return real->GetBuffer(frames, data);
    }
    HRESULT STDMETHODCALLTYPE ReleaseBuffer(UINT32 frames, DWORD flags) override {
        script->note("ReleaseBuffer", flags);
        const HRESULT released = real->ReleaseBuffer(frames, flags);
        return script->meet("ReleaseBuffer").value_or(released);
    }

private:
    const Script script;
    const ComPtr<IAudioRenderClient> real;
};

// All fields in their order, then the bytes that lie behind them.
std::string textOf(const WAVEFORMATEX& format) {
    std::ostringstream text;
    text << format.wFormatTag << ", " << format.nChannels << ", " << format.nSamplesPerSec << ", "
         << format.nAvgBytesPerSec << ", " << format.nBlockAlign << ", " << format.wBitsPerSample << ", "
         << format.cbSize << " behind:" << std::hex;
    const std::span behind(reinterpret_cast<const BYTE*>(&format + 1), format.cbSize);
    for (const BYTE byte : behind) {
        text << ' ' << static_cast<int>(byte);
    }
    return text.str();
}

class ScriptedClient final : public Counted<IAudioClient> {
public:
    ScriptedClient(Script given, ComPtr<IAudioClient> behind)
        : script(std::move(given)), real(std::move(behind)) {}
    ~ScriptedClient() override {
        DWORD flags = 0;
        script->note("last Release", event == nullptr                           ? "no event"
                                     : GetHandleInformation(event, &flags) != 0 ? "its event is open"
                                                                                : "its event is closed");
    }
    ScriptedClient(const ScriptedClient&) = delete;
    ScriptedClient& operator=(const ScriptedClient&) = delete;

    HRESULT STDMETHODCALLTYPE Initialize(AUDCLNT_SHAREMODE mode, DWORD flags, REFERENCE_TIME duration,
                                         REFERENCE_TIME period, const WAVEFORMATEX* format,
                                         LPCGUID session) override {
        script->note("Initialize", static_cast<int>(mode), flags, duration, period,
                     session == nullptr ? "no session" : "a session", textOf(*format));
        const auto failure = script->meet("Initialize");
        return failure ? *failure
                       : real->Initialize(mode, flags & ~static_cast<DWORD>(AUDCLNT_STREAMFLAGS_LOOPBACK),
                                          duration, period, format, session);
    }
    HRESULT STDMETHODCALLTYPE GetBufferSize(UINT32* frames) override {
        const auto failure = script->meet("GetBufferSize");
        return failure ? *failure : real->GetBufferSize(frames);
    }
    HRESULT STDMETHODCALLTYPE GetStreamLatency(REFERENCE_TIME* latency) override {
        return real->GetStreamLatency(latency);
    }
    HRESULT STDMETHODCALLTYPE GetCurrentPadding(UINT32* frames) override {
        const auto failure = script->meet("GetCurrentPadding");
        return failure ? *failure : real->GetCurrentPadding(frames);
    }
    HRESULT STDMETHODCALLTYPE IsFormatSupported(AUDCLNT_SHAREMODE mode, const WAVEFORMATEX* format,
                                                WAVEFORMATEX** closest) override {
        return real->IsFormatSupported(mode, format, closest);
    }
    HRESULT STDMETHODCALLTYPE GetMixFormat(WAVEFORMATEX** format) override {
        if (const auto failure = script->meet("GetMixFormat")) {
            return *failure;
        }
        const HRESULT result = real->GetMixFormat(format);
        if (SUCCEEDED(result) && !script->formatIsExtensible &&
            (*format)->wFormatTag == WAVE_FORMAT_EXTENSIBLE) {
            (*format)->wFormatTag = WAVE_FORMAT_IEEE_FLOAT;
            (*format)->cbSize = 0;
        }
        return result;
    }
    HRESULT STDMETHODCALLTYPE GetDevicePeriod(REFERENCE_TIME* usual, REFERENCE_TIME* least) override {
        return real->GetDevicePeriod(usual, least);
    }
    HRESULT STDMETHODCALLTYPE Start() override {
        const auto failure = script->meet("Start");
        return failure ? *failure : real->Start();
    }
    HRESULT STDMETHODCALLTYPE Stop() override {
        const auto failure = script->meet("Stop");
        return failure ? *failure : real->Stop();
    }
    HRESULT STDMETHODCALLTYPE Reset() override { return real->Reset(); }
    HRESULT STDMETHODCALLTYPE SetEventHandle(HANDLE handle) override {
        event = handle;
        const auto failure = script->meet("SetEventHandle");
        return failure ? *failure : real->SetEventHandle(handle);
    }
    HRESULT STDMETHODCALLTYPE GetService(REFIID iid, void** service) override {
        if (const auto failure = script->meet("GetService")) {
            return *failure;
        }
        if (iid == __uuidof(IAudioCaptureClient)) {
            ComPtr<IAudioCaptureClient> behind;
            const HRESULT result = real->GetService(iid, reinterpret_cast<void**>(behind.GetAddressOf()));
            if (SUCCEEDED(result)) {
                *service = static_cast<IAudioCaptureClient*>(new ScriptedCaptureClient(script, behind));
            }
            return result;
        }
        ComPtr<IAudioRenderClient> behind;
        const HRESULT result = real->GetService(iid, reinterpret_cast<void**>(behind.GetAddressOf()));
        if (SUCCEEDED(result)) {
            *service = static_cast<IAudioRenderClient*>(new ScriptedRenderClient(script, behind));
        }
        return result;
    }

private:
    const Script script;
    const ComPtr<IAudioClient> real;
    HANDLE event = nullptr;
};

// What an activation came to.
class ScriptedActivation final : public Counted<IActivateAudioInterfaceAsyncOperation> {
public:
    ScriptedActivation(Script given, AudioEndpointPointer source)
        : script(std::move(given)), microphone(std::move(source)) {}

    HRESULT STDMETHODCALLTYPE GetActivateResult(HRESULT* result, IUnknown** object) override {
        if (const auto failure = script->meet("GetActivateResult")) {
            return *failure;
        }
        if (const auto failure = script->meet("activation")) {
            *result = *failure;
            return S_OK;
        }
        if (script->meet("QueryInterface")) {
            // An object, but no client.
            AddRef();
            *object = static_cast<IActivateAudioInterfaceAsyncOperation*>(this);
            *result = S_OK;
            return S_OK;
        }
        ComPtr<IAudioClient> client;
        *result = deviceOf(*microphone)
                      ->Activate(__uuidof(IAudioClient), CLSCTX_ALL, nullptr,
                                 reinterpret_cast<void**>(client.GetAddressOf()));
        if (SUCCEEDED(*result)) {
            *object = scriptedClient(script, client);
        }
        return S_OK;
    }

private:
    const Script script;
    const AudioEndpointPointer microphone;
};

} // namespace

IAudioClient* scriptedClient(const Script& script, const ComPtr<IAudioClient>& behind) {
    return new ScriptedClient(script, behind);
}

// NOLINTNEXTLINE(readability-function-size): one entry after the other
AudioSystemCalls scriptedCalls(const Script& script) {
    const AudioSystemCalls real = windowsAudioSystemCalls();
    AudioSystemCalls calls = real;
    calls.initializeCom = [script, real](DWORD model) {
        script->note("CoInitializeEx", model);
        const auto failure = script->meet("CoInitializeEx");
        return failure ? *failure : real.initializeCom(model);
    };
    calls.uninitializeCom = [script, real] {
        static_cast<void>(script->meet("CoUninitialize"));
        real.uninitializeCom();
    };
    calls.createInstance = [script, real](REFCLSID type, REFIID iid, void** object) -> HRESULT {
        if (const auto failure = script->meet("CoCreateInstance")) {
            return *failure;
        }
        if (type == kPolicyConfigClass) {
            *object = scriptedPolicy(script);
            return S_OK;
        }
        if (type != __uuidof(MMDeviceEnumerator)) {
            return real.createInstance(type, iid, object);
        }
        ComPtr<IMMDeviceEnumerator> behind;
        const HRESULT created =
            real.createInstance(type, iid, reinterpret_cast<void**>(behind.GetAddressOf()));
        if (SUCCEEDED(created)) {
            *object = scriptedEnumerator(script, behind);
        }
        return created;
    };
    calls.createEvent = [script, real]() -> HANDLE {
        if (const auto failure = script->meet("CreateEvent")) {
            SetLastError(HRESULT_CODE(*failure));
            return nullptr;
        }
        return real.createEvent();
    };
    calls.startMediaFoundation = [script, real](ULONG version, DWORD flags) {
        script->note("MFStartup", version, flags);
        const auto failure = script->meet("MFStartup");
        return failure ? *failure : real.startMediaFoundation(version, flags);
    };
    calls.lockSharedWorkQueue = [script, real](PCWSTR name, LONG priority, DWORD* task, DWORD* queue) {
        script->note("MFLockSharedWorkQueue", name == std::wstring(L"Capture") ? "Capture" : "another",
                     priority);
        if (const auto failure = script->meet("MFLockSharedWorkQueue")) {
            return *failure;
        }
        const HRESULT locked = real.lockSharedWorkQueue(name, priority, task, queue);
        script->note("locked queue", *queue);
        return locked;
    };
    // What ends something is done in any case, and then said to have failed: nothing shall be left behind.
    calls.unlockWorkQueue = [script, real](DWORD queue) {
        const HRESULT unlocked = real.unlockWorkQueue(queue);
        return script->meet("MFUnlockWorkQueue").value_or(unlocked);
    };
    calls.putWorkItem = [script, real](DWORD queue, LONG priority, IMFAsyncCallback* callback,
                                       IUnknown* state) {
        script->note("MFPutWorkItem2", queue, priority, state == nullptr ? "no state" : "a state");
        const auto failure = script->meet("MFPutWorkItem2");
        return failure ? *failure : real.putWorkItem(queue, priority, callback, state);
    };
    calls.createAsyncResult = [script, real](IUnknown* object, IMFAsyncCallback* callback, IUnknown* state,
                                             IMFAsyncResult** result) {
        script->note("MFCreateAsyncResult", object == nullptr ? "no object" : "an object",
                     state == nullptr ? "no state" : "a state");
        DWORD flags = 0;
        DWORD queue = 0;
        callback->GetParameters(&flags, &queue);
        script->note("queue of the packets", queue);
        const auto failure = script->meet("MFCreateAsyncResult");
        return failure ? *failure : real.createAsyncResult(object, callback, state, result);
    };
    calls.putWaitingWorkItem = [script, real](HANDLE event, LONG priority, IMFAsyncResult* result,
                                              MFWORKITEM_KEY* key) {
        script->note("MFPutWaitingWorkItem", priority);
        const auto failure = script->meet("MFPutWaitingWorkItem");
        return failure ? *failure : real.putWaitingWorkItem(event, priority, result, key);
    };
    calls.cancelWorkItem = [script, real](MFWORKITEM_KEY key) {
        const HRESULT cancelled = real.cancelWorkItem(key);
        return script->meet("MFCancelWorkItem").value_or(cancelled);
    };
    calls.activateAudioInterface = [script, real](LPCWSTR path, REFIID iid, PROPVARIANT* parameters,
                                                  IActivateAudioInterfaceCompletionHandler* handler,
                                                  IActivateAudioInterfaceAsyncOperation** operation) {
        const auto failure = script->meet("ActivateAudioInterfaceAsync");
        return failure ? *failure : real.activateAudioInterface(path, iid, parameters, handler, operation);
    };
    calls.setThreadCharacteristics = [script, real](LPCWSTR task, DWORD* index) -> HANDLE {
        script->note("AvSetMmThreadCharacteristicsW",
                     task == std::wstring(L"Pro Audio") ? "Pro Audio" : "another");
        return script->meet("AvSetMmThreadCharacteristicsW") ? nullptr
                                                             : real.setThreadCharacteristics(task, index);
    };
    calls.setThreadPriority = [script, real](HANDLE task, int priority) -> BOOL {
        script->note("AvSetMmThreadPriority", priority);
        return script->meet("AvSetMmThreadPriority") ? FALSE : real.setThreadPriority(task, priority);
    };
    calls.revertThreadCharacteristics = [script, real](HANDLE task) -> BOOL {
        const BOOL reverted = real.revertThreadCharacteristics(task);
        return script->meet("AvRevertMmThreadCharacteristics") ? FALSE : reverted;
    };
    return calls;
}

AudioSystemCalls callsWithProcessLoopback(const Script& script, const AudioEndpointPointer& microphone) {
    AudioSystemCalls calls = scriptedCalls(script);
    calls.activateAudioInterface = [script, microphone](LPCWSTR path, REFIID, PROPVARIANT* parameters,
                                                        IActivateAudioInterfaceCompletionHandler* handler,
                                                        IActivateAudioInterfaceAsyncOperation** operation) {
        script->activationPath = path;
        script->activationType = parameters->vt;
        script->activationBytes.assign(parameters->blob.pBlobData,
                                       parameters->blob.pBlobData + parameters->blob.cbSize);
        if (const auto failure = script->meet("ActivateAudioInterfaceAsync")) {
            return *failure;
        }
        ComPtr<IActivateAudioInterfaceAsyncOperation> made;
        made.Attach(new ScriptedActivation(script, microphone));
        *operation = made.Get();
        (*operation)->AddRef();
        std::thread([counted = ComPtr<IActivateAudioInterfaceCompletionHandler>(handler), made] {
            static_cast<void>(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
            counted->ActivateCompleted(made.Get());
        }).detach();
        return S_OK;
    };
    return calls;
}

AudioEndpoint scriptedEndpoint(const Script& script, const AudioEndpoint& endpoint) {
    AudioEndpoint scripted = endpoint;
    scripted.handle = std::shared_ptr<void>(scriptedDevice(script, deviceOf(endpoint)),
                                            [](void* held) { static_cast<IMMDevice*>(held)->Release(); });
    return scripted;
}
