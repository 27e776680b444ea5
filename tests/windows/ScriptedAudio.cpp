#include "tests/windows/ScriptedAudio.h"

#include "platform/windows/routerAudio/CoreAudioEndpoints.h"

#include <audiosessiontypes.h>
#include <mmreg.h>
#include <objbase.h>
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

std::vector<std::uint64_t> AudioScript::allocationsOfPackets() const {
    const std::lock_guard lock(mutex);
    return allocations;
}

void AudioScript::noteAllocations(std::uint64_t count) {
    const std::lock_guard lock(mutex);
    allocations.push_back(count);
}

namespace {

using Script = std::shared_ptr<AudioScript>;

// Counting and the one interface of an object.
template <typename Interface>
class Counted : public Interface {
public:
    Counted() = default;
    virtual ~Counted() = default;
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (iid != __uuidof(IUnknown) && iid != __uuidof(Interface)) {
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
        before = allocationsOfThisThread();
        return result;
    }
    HRESULT STDMETHODCALLTYPE ReleaseBuffer(UINT32 frames) override {
        script->noteAllocations(allocationsOfThisThread() - before);
        return real->ReleaseBuffer(frames);
    }
    HRESULT STDMETHODCALLTYPE GetNextPacketSize(UINT32* frames) override {
        if (const auto failure = script->meet("GetNextPacketSize")) {
            return *failure;
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
        return real->ReleaseBuffer(frames, flags);
    }

private:
    const Script script;
    const ComPtr<IAudioRenderClient> real;
};

class ScriptedClient final : public Counted<IAudioClient> {
public:
    ScriptedClient(Script given, ComPtr<IAudioClient> behind)
        : script(std::move(given)), real(std::move(behind)) {}

    HRESULT STDMETHODCALLTYPE Initialize(AUDCLNT_SHAREMODE mode, DWORD flags, REFERENCE_TIME duration,
                                         REFERENCE_TIME period, const WAVEFORMATEX* format,
                                         LPCGUID session) override {
        script->streamFlags = flags;
        script->bufferDuration = duration;
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
        if (SUCCEEDED(result) && (*format)->wFormatTag == WAVE_FORMAT_EXTENSIBLE) {
            // A process loopback, where it has a format, says it in the fixed bytes.
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
    HRESULT STDMETHODCALLTYPE SetEventHandle(HANDLE event) override {
        const auto failure = script->meet("SetEventHandle");
        return failure ? *failure : real->SetEventHandle(event);
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
};

class ScriptedDevice final : public Counted<IMMDevice> {
public:
    ScriptedDevice(Script given, IMMDevice* behind) : script(std::move(given)), real(behind) {}

    HRESULT STDMETHODCALLTYPE Activate(REFIID iid, DWORD context, PROPVARIANT* parameters,
                                       void** object) override {
        if (const auto failure = script->meet("Activate")) {
            return *failure;
        }
        ComPtr<IAudioClient> client;
        const HRESULT result =
            real->Activate(iid, context, parameters, reinterpret_cast<void**>(client.GetAddressOf()));
        if (SUCCEEDED(result)) {
            *object = static_cast<IAudioClient*>(new ScriptedClient(script, client));
        }
        return result;
    }
    HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD access, IPropertyStore** store) override {
        return real->OpenPropertyStore(access, store);
    }
    HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) override { return real->GetId(id); }
    HRESULT STDMETHODCALLTYPE GetState(DWORD* state) override { return real->GetState(state); }

private:
    const Script script;
    const ComPtr<IMMDevice> real;
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
            *object = static_cast<IAudioClient*>(new ScriptedClient(script, client));
        }
        return S_OK;
    }

private:
    const Script script;
    const AudioEndpointPointer microphone;
};

} // namespace

AudioSystemCalls scriptedCalls(const std::shared_ptr<AudioScript>& script) {
    const AudioSystemCalls real = windowsAudioSystemCalls();
    AudioSystemCalls calls = real;
    calls.createInstance = [script, real](REFCLSID type, REFIID iid, void** object) {
        const auto failure = script->meet("CoCreateInstance");
        return failure ? *failure : real.createInstance(type, iid, object);
    };
    calls.createEvent = [script, real]() -> HANDLE {
        if (const auto failure = script->meet("CreateEvent")) {
            SetLastError(HRESULT_CODE(*failure));
            return nullptr;
        }
        return real.createEvent();
    };
    calls.startMediaFoundation = [script, real](ULONG version, DWORD flags) {
        const auto failure = script->meet("MFStartup");
        return failure ? *failure : real.startMediaFoundation(version, flags);
    };
    calls.lockSharedWorkQueue = [script, real](PCWSTR name, LONG priority, DWORD* task, DWORD* queue) {
        const auto failure = script->meet("MFLockSharedWorkQueue");
        return failure ? *failure : real.lockSharedWorkQueue(name, priority, task, queue);
    };
    calls.unlockWorkQueue = [script, real](DWORD queue) {
        static_cast<void>(script->meet("MFUnlockWorkQueue"));
        return real.unlockWorkQueue(queue);
    };
    calls.putWorkItem = [script, real](DWORD queue, LONG priority, IMFAsyncCallback* callback,
                                       IUnknown* state) {
        const auto failure = script->meet("MFPutWorkItem2");
        return failure ? *failure : real.putWorkItem(queue, priority, callback, state);
    };
    calls.createAsyncResult = [script, real](IUnknown* object, IMFAsyncCallback* callback, IUnknown* state,
                                             IMFAsyncResult** result) {
        const auto failure = script->meet("MFCreateAsyncResult");
        return failure ? *failure : real.createAsyncResult(object, callback, state, result);
    };
    calls.putWaitingWorkItem = [script, real](HANDLE event, LONG priority, IMFAsyncResult* result,
                                              MFWORKITEM_KEY* key) {
        const auto failure = script->meet("MFPutWaitingWorkItem");
        return failure ? *failure : real.putWaitingWorkItem(event, priority, result, key);
    };
    calls.cancelWorkItem = [script, real](MFWORKITEM_KEY key) {
        static_cast<void>(script->meet("MFCancelWorkItem"));
        return real.cancelWorkItem(key);
    };
    calls.activateAudioInterface = [script, real](LPCWSTR path, REFIID iid, PROPVARIANT* parameters,
                                                  IActivateAudioInterfaceCompletionHandler* handler,
                                                  IActivateAudioInterfaceAsyncOperation** operation) {
        const auto failure = script->meet("ActivateAudioInterfaceAsync");
        return failure ? *failure : real.activateAudioInterface(path, iid, parameters, handler, operation);
    };
    calls.setThreadCharacteristics = [script, real](LPCWSTR task, DWORD* index) -> HANDLE {
        return script->meet("AvSetMmThreadCharacteristicsW") ? nullptr
                                                             : real.setThreadCharacteristics(task, index);
    };
    calls.setThreadPriority = [script, real](HANDLE task, int priority) -> BOOL {
        return script->meet("AvSetMmThreadPriority") ? FALSE : real.setThreadPriority(task, priority);
    };
    calls.revertThreadCharacteristics = [script, real](HANDLE task) {
        static_cast<void>(script->meet("AvRevertMmThreadCharacteristics"));
        return real.revertThreadCharacteristics(task);
    };
    return calls;
}

AudioSystemCalls callsWithProcessLoopback(const std::shared_ptr<AudioScript>& script,
                                          const AudioEndpointPointer& microphone) {
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

AudioEndpoint scriptedEndpoint(const std::shared_ptr<AudioScript>& script, const AudioEndpoint& endpoint) {
    AudioEndpoint scripted = endpoint;
    auto* const device = new ScriptedDevice(script, deviceOf(endpoint));
    scripted.handle = std::shared_ptr<void>(static_cast<IMMDevice*>(device),
                                            [](void* held) { static_cast<IMMDevice*>(held)->Release(); });
    return scripted;
}
