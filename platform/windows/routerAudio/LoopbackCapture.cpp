#include "platform/windows/routerAudio/LoopbackCapture.h"

#include "mixer/PerAppInputBuffers.h"
#include "platform/windows/routerAudio/ReferenceTime.h"
#include "platform/windows/routerAudio/WaveFormats.h"
#include "platform/windows/routerAudio/WindowsResult.h"

#include <audioclientactivationparams.h>
#include <audiosessiontypes.h>
#include <mfapi.h>
#include <mmreg.h>
#include <optional>
#include <propidl.h>
#include <utility>
#include <wil/result.h>

using Microsoft::WRL::ComPtr;

namespace {

constexpr DWORD kMultithreadedQueue = MFASYNC_CALLBACK_QUEUE_MULTITHREADED;
// Media Foundation 2.0 on Windows 7 and newer.
constexpr ULONG kMediaFoundationVersion = 0x20070;
constexpr DWORD kMediaFoundationLite = 1;
constexpr DWORD kStreamFlags = AUDCLNT_STREAMFLAGS_LOOPBACK | AUDCLNT_STREAMFLAGS_EVENTCALLBACK |
                               AUDCLNT_STREAMFLAGS_SRC_DEFAULT_QUALITY | AUDCLNT_STREAMFLAGS_AUTOCONVERTPCM;
static_assert(kStreamFlags == 0x88060000);

} // namespace

CLoopbackCapture::CLoopbackCapture(PerAppInputBuffers& inputBuffers, AudioSystemCalls systemCalls)
    : buffers(inputBuffers), calls(std::move(systemCalls)) {}

CLoopbackCapture::~CLoopbackCapture() {
    // The client signals its event to the end, and must not meet another one in the place of the closed
    // handle.
    captureClient.Reset();
    audioClient.Reset();
    if (workQueueId != 0) {
        calls.unlockWorkQueue(workQueueId);
    }
}

HRESULT CLoopbackCapture::startCapture(DWORD targetProcessId, bool includeProcessTree) {
    processId = targetProcessId;
    RETURN_IF_FAILED(prepare());
    const HRESULT activation = activate(includeProcessTree);
    if (FAILED(activation)) {
        state = CaptureState::Error;
        return activation;
    }
    // An activation that failed on the platform's thread is no failure of the start; it shows in the state.
    if (state != CaptureState::Initialized) {
        return S_OK;
    }
    state = CaptureState::Starting;
    RETURN_HR(calls.putWorkItem(kMultithreadedQueue, 0, &startCallback, nullptr));
}

HRESULT CLoopbackCapture::prepare() {
    sampleEvent.reset(calls.createEvent());
    RETURN_IF_FAILED(sampleEvent ? S_OK : lastErrorResult());
    RETURN_IF_FAILED(calls.startMediaFoundation(kMediaFoundationVersion, kMediaFoundationLite));
    DWORD taskId = 0;
    RETURN_IF_FAILED(calls.lockSharedWorkQueue(L"Capture", 0, &taskId, &workQueueId));
    sampleCallback.setQueue(workQueueId);
    activationEvent.reset(calls.createEvent());
    RETURN_IF_FAILED(activationEvent ? S_OK : lastErrorResult());
    stoppedEvent.reset(calls.createEvent());
    RETURN_IF_FAILED(stoppedEvent ? S_OK : lastErrorResult());
    return S_OK;
}

HRESULT CLoopbackCapture::activate(bool includeProcessTree) {
    AUDIOCLIENT_ACTIVATION_PARAMS parameters{};
    parameters.ActivationType = AUDIOCLIENT_ACTIVATION_TYPE_PROCESS_LOOPBACK;
    parameters.ProcessLoopbackParams.TargetProcessId = processId;
    parameters.ProcessLoopbackParams.ProcessLoopbackMode =
        includeProcessTree ? PROCESS_LOOPBACK_MODE_INCLUDE_TARGET_PROCESS_TREE
                           : PROCESS_LOOPBACK_MODE_EXCLUDE_TARGET_PROCESS_TREE;
    static_assert(sizeof(parameters) == 12);

    PROPVARIANT wrapped{};
    wrapped.vt = VT_BLOB;
    wrapped.blob.cbSize = sizeof(parameters);
    wrapped.blob.pBlobData = reinterpret_cast<BYTE*>(&parameters);

    ComPtr<IActivateAudioInterfaceAsyncOperation> operation;
    RETURN_IF_FAILED(calls.activateAudioInterface(VIRTUAL_AUDIO_DEVICE_PROCESS_LOOPBACK,
                                                  __uuidof(IAudioClient), &wrapped, this,
                                                  operation.GetAddressOf()));
    calls.waitForEvent(activationEvent.get());
    return S_OK;
}

HRESULT CLoopbackCapture::ActivateCompleted(IActivateAudioInterfaceAsyncOperation* operation) {
    activationResult = completeActivation(operation);
    if (FAILED(activationResult)) {
        state = CaptureState::Error;
    }
    SetEvent(activationEvent.get());
    return S_OK;
}

HRESULT CLoopbackCapture::completeActivation(IActivateAudioInterfaceAsyncOperation* operation) {
    HRESULT activated = E_UNEXPECTED;
    ComPtr<IUnknown> object;
    RETURN_IF_FAILED(operation->GetActivateResult(&activated, object.GetAddressOf()));
    RETURN_IF_FAILED(activated);
    RETURN_IF_FAILED(object ? object.As(&audioClient) : E_POINTER);

    readCaptureFormat();
    logCapturingProcess(processId);
    RETURN_IF_FAILED(audioClient->Initialize(AUDCLNT_SHAREMODE_SHARED, kStreamFlags, bufferDuration, 0,
                                             &captureFormat, nullptr));
    RETURN_IF_FAILED(audioClient->GetBufferSize(&bufferFrames));
    RETURN_IF_FAILED(audioClient->GetService(__uuidof(IAudioCaptureClient),
                                             reinterpret_cast<void**>(captureClient.GetAddressOf())));
    RETURN_IF_FAILED(calls.createAsyncResult(nullptr, &sampleCallback, nullptr, sampleResult.GetAddressOf()));
    RETURN_IF_FAILED(audioClient->SetEventHandle(sampleEvent.get()));
    state = CaptureState::Initialized;
    return S_OK;
}

void CLoopbackCapture::readCaptureFormat() {
    WAVEFORMATEX* mixFormat = nullptr;
    const HRESULT result = audioClient->GetMixFormat(&mixFormat);
    if (FAILED(result) || mixFormat == nullptr) {
        captureFormat = nativeFormat(chooseCaptureFormat(soundResult(result), std::nullopt));
        return;
    }
    captureFormat = captureFormatOf(*mixFormat);
    CoTaskMemFree(mixFormat);
    logCaptureFormat(waveFormat(captureFormat));
}

HRESULT CLoopbackCapture::onStartCapture() {
    const HRESULT started = audioClient->Start();
    if (FAILED(started)) {
        state = CaptureState::Error;
        RETURN_HR(started);
    }
    logCaptureStarted(processId, bufferFrames);
    state = CaptureState::Capturing;
    RETURN_HR(awaitSample());
}

HRESULT CLoopbackCapture::awaitSample() {
    const auto held = armLock.lock();
    if (state != CaptureState::Capturing) {
        return S_OK;
    }
    return calls.putWaitingWorkItem(sampleEvent.get(), 0, sampleResult.Get(), &sampleKey);
}

HRESULT CLoopbackCapture::onSampleReady() {
    const HRESULT drained = drain();
    if (FAILED(drained)) {
        // A stop may have begun meanwhile, and then keeps its state.
        CaptureState expected = CaptureState::Capturing;
        state.compare_exchange_strong(expected, CaptureState::Error);
        return drained;
    }
    RETURN_HR(awaitSample());
}

HRESULT CLoopbackCapture::drain() {
    const auto held = lock.lock();
    if (state == CaptureState::Stopping) {
        return S_OK;
    }
    while (true) {
        UINT32 frames = 0;
        if (FAILED(captureClient->GetNextPacketSize(&frames)) || frames == 0) {
            return S_OK;
        }
        const UINT32 byteCount = frames * captureFormat.nBlockAlign;
        BYTE* data = nullptr;
        DWORD flags = 0; // ignored: a silent packet is passed on like any other
        RETURN_IF_FAILED(captureClient->GetBuffer(&data, &frames, &flags, nullptr, nullptr));
        buffers.addInputData(processId, data, byteCount, waveFormat(captureFormat));
        buffers.updateBusLevels();
        captureClient->ReleaseBuffer(frames);
    }
}

HRESULT CLoopbackCapture::stopCapture() {
    if (state != CaptureState::Capturing && state != CaptureState::Error) {
        RETURN_HR(HRESULT_FROM_WIN32(ERROR_INVALID_STATE));
    }
    state = CaptureState::Stopping;
    RETURN_IF_FAILED(calls.putWorkItem(kMultithreadedQueue, 0, &stopCallback, nullptr));
    calls.waitForEvent(stoppedEvent.get());
    return S_OK;
}

HRESULT CLoopbackCapture::onStopCapture() {
    {
        const auto held = armLock.lock();
        if (sampleKey != 0) {
            calls.cancelWorkItem(sampleKey);
            sampleKey = 0;
        }
    }
    // A capture in error may have got no client.
    if (audioClient) {
        audioClient->Stop();
    }
    // Nobody arms any more.
    sampleResult.Reset();
    calls.putWorkItem(kMultithreadedQueue, 0, &finishCallback, nullptr);
    return S_OK;
}

HRESULT CLoopbackCapture::onFinishCapture() {
    state = CaptureState::Stopped;
    SetEvent(stoppedEvent.get());
    return S_OK;
}

namespace {

// The router's face of a counted capture.
class CountedCapture final : public ProcessCapture {
public:
    explicit CountedCapture(ComPtr<CLoopbackCapture> made) : capture(std::move(made)) {}

    void setBufferDuration(std::chrono::milliseconds duration) override {
        capture->setBufferDuration(referenceTime(duration));
    }
    SoundResult startCapture(std::uint32_t processId, bool includeProcessTree) override {
        return soundResult(capture->startCapture(processId, includeProcessTree));
    }
    SoundResult stopCapture() override { return soundResult(capture->stopCapture()); }

private:
    const ComPtr<CLoopbackCapture> capture;
};

} // namespace

std::shared_ptr<ProcessCapture> makeLoopbackCapture(PerAppInputBuffers& buffers,
                                                    const AudioSystemCalls& calls) {
    ComPtr<CLoopbackCapture> capture = Microsoft::WRL::Make<CLoopbackCapture>(buffers, calls);
    return capture ? std::make_shared<CountedCapture>(std::move(capture)) : nullptr;
}
