#include "platform/windows/routerAudio/WasapiOutputStream.h"

#include "platform/windows/routerAudio/CoreAudioEndpoints.h"
#include "platform/windows/routerAudio/ReferenceTime.h"
#include "platform/windows/routerAudio/WaveFormats.h"
#include "platform/windows/routerAudio/WindowsResult.h"

#include <audiosessiontypes.h>
#include <avrt.h>
#include <objbase.h>
#include <optional>
#include <utility>

namespace {

constexpr DWORD kRenderFlags = AUDCLNT_STREAMFLAGS_EVENTCALLBACK | AUDCLNT_STREAMFLAGS_SRC_DEFAULT_QUALITY |
                               AUDCLNT_STREAMFLAGS_AUTOCONVERTPCM;
static_assert(kRenderFlags == 0x88040000);

// True when the step went well; its line otherwise.
bool succeeded(OutputStep step, HRESULT result) {
    if (FAILED(result)) {
        logOutputFailure(step, soundResult(result));
        return false;
    }
    return true;
}

// The format that the endpoint is opened with.
WAVEFORMATEX formatFor(IAudioClient* client) {
    WAVEFORMATEX* mixFormat = nullptr;
    const HRESULT result = client->GetMixFormat(&mixFormat);
    if (FAILED(result) || mixFormat == nullptr) {
        return nativeFormat(chooseOutputFormat(soundResult(result), std::nullopt));
    }
    const WaveFormat own = waveFormat(*mixFormat);
    const WaveFormat chosen = chooseOutputFormat(soundResult(result), own);
    WAVEFORMATEX format = nativeFormat(chosen);
    if (chosen == own) {
        format.nAvgBytesPerSec = mixFormat->nAvgBytesPerSec;
    }
    CoTaskMemFree(mixFormat);
    return format;
}

} // namespace

WasapiOutputStream::WasapiOutputStream(AudioSystemCalls systemCalls) : calls(std::move(systemCalls)) {}

bool WasapiOutputStream::open(const AudioEndpoint& endpoint) {
    IMMDevice* const device = deviceOf(endpoint);
    const HRESULT activated = device == nullptr
                                  ? E_POINTER
                                  : device->Activate(__uuidof(IAudioClient), CLSCTX_ALL, nullptr,
                                                     reinterpret_cast<void**>(client.GetAddressOf()));
    if (!succeeded(OutputStep::Activate, activated)) {
        return false;
    }
    const WAVEFORMATEX format = formatFor(client.Get());
    if (!succeeded(OutputStep::Initialize,
                   client->Initialize(AUDCLNT_SHAREMODE_SHARED, kRenderFlags,
                                      referenceTime(kOutputBufferDuration), 0, &format, nullptr)) ||
        !succeeded(OutputStep::GetService,
                   client->GetService(__uuidof(IAudioRenderClient),
                                      reinterpret_cast<void**>(renderClient.GetAddressOf()))) ||
        !succeeded(OutputStep::GetBufferSize, client->GetBufferSize(&bufferFrames))) {
        return false;
    }
    event.reset(calls.createEvent());
    return succeeded(OutputStep::EventCreate, event ? S_OK : lastErrorResult()) &&
           succeeded(OutputStep::SetEventHandle, client->SetEventHandle(event.get()));
}

void WasapiOutputStream::run(const std::atomic<bool>& running, const RenderCallback& render) {
    DWORD taskIndex = 0;
    const HANDLE task = calls.setThreadCharacteristics(L"Pro Audio", &taskIndex);
    if (task != nullptr) {
        calls.setThreadPriority(task, AVRT_PRIORITY_HIGH);
    }
    if (succeeded(OutputStep::Start, client->Start())) {
        while (running) {
            if (calls.waitForEvent(event.get()) == WAIT_OBJECT_0) {
                renderPeriod(render);
            }
        }
        client->Stop();
    }
    if (task != nullptr) {
        calls.revertThreadCharacteristics(task);
    }
}

void WasapiOutputStream::renderPeriod(const RenderCallback& render) {
    UINT32 padding = 0;
    if (FAILED(client->GetCurrentPadding(&padding)) || padding >= bufferFrames) {
        return;
    }
    const UINT32 frames = bufferFrames - padding;
    BYTE* data = nullptr;
    if (FAILED(renderClient->GetBuffer(frames, &data))) {
        return;
    }
    render(reinterpret_cast<float*>(data), frames);
    renderClient->ReleaseBuffer(frames, 0);
}

void WasapiOutputStream::wake() {
    if (event) {
        SetEvent(event.get());
    }
}

void WasapiOutputStream::stopClient() {
    if (client) {
        client->Stop();
    }
}
