#include "platform/windows/routerAudio/WasapiRenderChannel.h"

#include "platform/windows/routerAudio/CoreAudioEndpoints.h"
#include "platform/windows/routerAudio/WaveFormats.h"

#include <audiosessiontypes.h>
#include <avrt.h>
#include <objbase.h>
#include <utility>

namespace {

constexpr DWORD kRenderFlags = AUDCLNT_STREAMFLAGS_EVENTCALLBACK | AUDCLNT_STREAMFLAGS_SRC_DEFAULT_QUALITY |
                               AUDCLNT_STREAMFLAGS_AUTOCONVERTPCM;
static_assert(kRenderFlags == 0x88040000);

// True when the step went well; its line otherwise.
bool succeeded(RenderStep step, HRESULT result) {
    if (FAILED(result)) {
        logRenderFailure(step, result);
        return false;
    }
    return true;
}

// The format that the endpoint works in, as far as it says one.
RenderFormat formatFor(IAudioClient* client) {
    WAVEFORMATEX* mixFormat = nullptr;
    const HRESULT result = client->GetMixFormat(&mixFormat);
    std::optional<RenderFormat> format;
    if (SUCCEEDED(result) && mixFormat != nullptr) {
        format = renderFormat(*mixFormat);
        CoTaskMemFree(mixFormat);
    }
    return chooseRenderFormat(result, format);
}

} // namespace

WasapiRenderChannel::WasapiRenderChannel(AudioSystemCalls systemCalls) : calls(std::move(systemCalls)) {}

bool WasapiRenderChannel::open(const AudioEndpoint& endpoint) {
    IMMDevice* const device = deviceOf(endpoint);
    const HRESULT activated = device == nullptr
                                  ? E_POINTER
                                  : device->Activate(__uuidof(IAudioClient), CLSCTX_ALL, nullptr,
                                                     reinterpret_cast<void**>(client.GetAddressOf()));
    if (!succeeded(RenderStep::Activate, activated)) {
        return false;
    }
    const WAVEFORMATEX format = nativeFormat(formatFor(client.Get()));
    if (!succeeded(RenderStep::Initialize, client->Initialize(AUDCLNT_SHAREMODE_SHARED, kRenderFlags,
                                                              kRenderBufferDuration, 0, &format, nullptr)) ||
        !succeeded(RenderStep::GetService,
                   client->GetService(__uuidof(IAudioRenderClient),
                                      reinterpret_cast<void**>(renderClient.GetAddressOf()))) ||
        !succeeded(RenderStep::GetBufferSize, client->GetBufferSize(&bufferFrames))) {
        return false;
    }
    event.reset(calls.createEvent());
    return succeeded(RenderStep::EventCreate, event ? S_OK : lastErrorResult()) &&
           succeeded(RenderStep::SetEventHandle, client->SetEventHandle(event.get()));
}

void WasapiRenderChannel::run(const std::atomic<bool>& running, const RenderCallback& render) {
    DWORD taskIndex = 0;
    const HANDLE task = calls.setThreadCharacteristics(L"Pro Audio", &taskIndex);
    if (task != nullptr) {
        calls.setThreadPriority(task, AVRT_PRIORITY_HIGH);
    }
    if (succeeded(RenderStep::Start, client->Start())) {
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

void WasapiRenderChannel::renderPeriod(const RenderCallback& render) {
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

void WasapiRenderChannel::wake() {
    if (event) {
        SetEvent(event.get());
    }
}

void WasapiRenderChannel::stopClient() {
    if (client) {
        client->Stop();
    }
}
