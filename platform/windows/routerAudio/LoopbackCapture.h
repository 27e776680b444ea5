#pragma once

// Captures what one process, with its child processes, sends to the audio system, by process loopback
// activation and Media Foundation work queues. Activation completes on a thread of the platform through the
// completion handler; the start, stop and finish steps run as work items on the platform's multithreaded
// queue; packets are drained on the shared queue "Capture", which all captures have in common. Each public
// operation waits where the router needs a finished result.
//
// Failed steps are reported through wil, with file and line, and are returned at once. Nothing is tried
// again.

#include "mixer/ProcessCapture.h"
#include "platform/windows/routerAudio/AudioSystemCalls.h"
#include "platform/windows/routerAudio/ReferenceTime.h"

#include <atomic>
#include <audioclient.h>
#include <memory>
#include <mmreg.h>
#include <wil/resource.h>
#include <wrl/client.h>
#include <wrl/implements.h>

class PerAppInputBuffers;

enum class CaptureState : std::uint32_t {
    Uninitialized = 0,
    Error = 1,       ///< a step failed; the capture is silent and can be stopped
    Initialized = 2, ///< ActivateCompleted() has finished with success
    Starting = 3,    ///< the start step is queued
    Capturing = 4,   ///< the client runs
    Stopping = 5,
    Stopped = 6 ///< final: a capture is never started again
};

class CLoopbackCapture
    : public Microsoft::WRL::RuntimeClass<Microsoft::WRL::RuntimeClassFlags<Microsoft::WRL::ClassicCom>,
                                          Microsoft::WRL::FtmBase, IActivateAudioInterfaceCompletionHandler> {
public:
    /// Packets go to `inputBuffers`, which outlives the capture.
    CLoopbackCapture(PerAppInputBuffers& inputBuffers, AudioSystemCalls systemCalls);

    /// In units of 100 ns; before startCapture().
    void setBufferDuration(REFERENCE_TIME duration) { bufferDuration = duration; }

    /// Blocks until activation has finished. The router's thread, once.
    HRESULT startCapture(DWORD targetProcessId, bool includeProcessTree);
    /// Blocks until stopped; HRESULT_FROM_WIN32(ERROR_INVALID_STATE) at once when neither capturing nor in
    /// error.
    HRESULT stopCapture();

    /// A thread of the platform.
    HRESULT STDMETHODCALLTYPE ActivateCompleted(IActivateAudioInterfaceAsyncOperation* operation) override;

    /// Any thread.
    [[nodiscard]] CaptureState captureState() const { return state; }
    /// E_UNEXPECTED until ActivateCompleted() has finished; any thread after that.
    [[nodiscard]] HRESULT lastActivationResult() const { return activationResult; }

protected:
    ~CLoopbackCapture() override;

private:
    // A work item: forwards its reference count to the owner and runs one of the owner's steps.
    template <HRESULT (CLoopbackCapture::*kStep)()>
    class StepCallback : public IMFAsyncCallback {
    public:
        explicit StepCallback(CLoopbackCapture& capture) : owner(capture) {}
        virtual ~StepCallback() = default;
        StepCallback(const StepCallback&) = delete;
        StepCallback& operator=(const StepCallback&) = delete;

        void setQueue(DWORD id) { queueId = id; }

        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
            if (object == nullptr) {
                return E_POINTER;
            }
            if (iid != __uuidof(IUnknown) && iid != __uuidof(IMFAsyncCallback)) {
                *object = nullptr;
                return E_NOINTERFACE;
            }
            *object = static_cast<IMFAsyncCallback*>(this);
            AddRef();
            return S_OK;
        }
        ULONG STDMETHODCALLTYPE AddRef() override { return owner.AddRef(); }
        ULONG STDMETHODCALLTYPE Release() override { return owner.Release(); }
        HRESULT STDMETHODCALLTYPE GetParameters(DWORD* flags, DWORD* queue) override {
            *flags = 0;
            *queue = queueId;
            return S_OK;
        }
        HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult*) override { return (owner.*kStep)(); }

    private:
        CLoopbackCapture& owner;
        DWORD queueId = MFASYNC_CALLBACK_QUEUE_MULTITHREADED;
    };

    HRESULT prepare();
    HRESULT activate(bool includeProcessTree);
    HRESULT completeActivation(IActivateAudioInterfaceAsyncOperation* operation);
    // That of the client, or the default one.
    void readCaptureFormat();
    // The steps of the work items.
    HRESULT onStartCapture();
    HRESULT onStopCapture();
    HRESULT onSampleReady();
    HRESULT onFinishCapture();
    // Hands over all packets that are there.
    HRESULT drain();
    // A waiting work item fires once: each event needs a new one. Nothing once the stop has begun.
    HRESULT awaitSample();

    using CallbackStartCapture = StepCallback<&CLoopbackCapture::onStartCapture>;
    using CallbackStopCapture = StepCallback<&CLoopbackCapture::onStopCapture>;
    using CallbackSampleReady = StepCallback<&CLoopbackCapture::onSampleReady>;
    using CallbackFinishCapture = StepCallback<&CLoopbackCapture::onFinishCapture>;

    PerAppInputBuffers& buffers;
    const AudioSystemCalls calls;

    CallbackStartCapture startCallback{*this};
    CallbackStopCapture stopCallback{*this};
    CallbackSampleReady sampleCallback{*this};
    CallbackFinishCapture finishCallback{*this};
    Microsoft::WRL::ComPtr<IAudioClient> audioClient;
    // What Initialize gets and addInputData() reads: the fixed bytes. Behind them stand zeros, for a client
    // that looks there because of the tag.
    WAVEFORMATEXTENSIBLE formatMemory{};
    WAVEFORMATEX& captureFormat = formatMemory.Format;
    UINT32 bufferFrames = 0;
    Microsoft::WRL::ComPtr<IAudioCaptureClient> captureClient;
    Microsoft::WRL::ComPtr<IMFAsyncResult> sampleResult;
    wil::unique_handle sampleEvent; // signalled by the client for each packet
    MFWORKITEM_KEY sampleKey = 0;   // of the waiting work item
    wil::critical_section lock;     // of the drain alone
    // Keeps the stop step from a packet step that is about to arm: an item that the stop does not see would
    // keep the capture alive for ever.
    wil::critical_section armLock;
    DWORD workQueueId = 0;
    REFERENCE_TIME bufferDuration = referenceTime(ProcessCapture::kDefaultBufferDuration);
    HRESULT activationResult = E_UNEXPECTED;
    std::atomic<CaptureState> state{CaptureState::Uninitialized};
    wil::unique_handle activationEvent; // ActivateCompleted() has finished
    wil::unique_handle stoppedEvent;    // the finish step ran
    DWORD processId = 0;
};

/// A capture, not started, as the router holds it.
[[nodiscard]] std::shared_ptr<ProcessCapture> makeLoopbackCapture(PerAppInputBuffers& buffers,
                                                                  const AudioSystemCalls& calls);
