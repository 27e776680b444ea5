#include "platform/windows/routerAudio/CoreAudioEndpoints.h"

#include "platform/windows/routerAudio/PolicyConfig.h"
#include "platform/windows/routerAudio/WindowsResult.h"
#include "platform/windows/system/WideText.h"

#include <audioclient.h>
#include <objbase.h>
#include <propidl.h>
#include <propsys.h>
#include <utility>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace {

// PKEY_Device_FriendlyName, whose header defines it in one translation unit alone.
constexpr PROPERTYKEY kFriendlyName = {
    {0xA45C254E, 0xDF1C, 0x4EFD, {0x80, 0x20, 0x67, 0xD1, 0x46, 0xA8, 0x50, 0xE0}}, 14};

// PKEY_Device_ContainerId, likewise.
constexpr PROPERTYKEY kContainerId = {
    {0x8C7ED206, 0x3F8A, 0x4827, {0xB3, 0xAB, 0xAE, 0x9E, 0x1F, 0xAE, 0xFC, 0x6C}}, 2};

std::optional<std::string> idOf(IMMDevice* device) {
    LPWSTR text = nullptr;
    if (FAILED(device->GetId(&text)) || text == nullptr) {
        return std::nullopt;
    }
    std::string id = utf8Of(text);
    CoTaskMemFree(text);
    return id;
}

std::optional<std::string> friendlyNameOf(IMMDevice* device) {
    ComPtr<IPropertyStore> store;
    PROPVARIANT value{};
    if (FAILED(device->OpenPropertyStore(STGM_READ, store.GetAddressOf())) ||
        FAILED(store->GetValue(kFriendlyName, &value))) {
        return std::nullopt;
    }
    std::optional<std::string> name;
    if (value.vt == VT_LPWSTR && value.pwszVal != nullptr) {
        name = utf8Of(value.pwszVal);
    }
    PropVariantClear(&value);
    return name;
}

// Kept: the container id is asked for and dropped again. No rule looks at it, and none may rely on it.
void readContainerId(IMMDevice* device) {
    ComPtr<IPropertyStore> store;
    PROPVARIANT value{};
    if (SUCCEEDED(device->OpenPropertyStore(STGM_READ, store.GetAddressOf())) &&
        SUCCEEDED(store->GetValue(kContainerId, &value))) {
        PropVariantClear(&value);
    }
}

std::optional<EndpointFlow> flowOf(IMMDevice* device) {
    ComPtr<IMMEndpoint> endpoint;
    EDataFlow flow = eRender;
    if (FAILED(device->QueryInterface(__uuidof(IMMEndpoint),
                                      reinterpret_cast<void**>(endpoint.GetAddressOf()))) ||
        FAILED(endpoint->GetDataFlow(&flow))) {
        return std::nullopt;
    }
    return flow == eCapture ? EndpointFlow::Capture : EndpointFlow::Render;
}

EDataFlow nativeFlow(EndpointFlow flow) {
    return flow == EndpointFlow::Capture ? eCapture : eRender;
}

HRESULT createEnumerator(const AudioSystemCalls& calls, ComPtr<IMMDeviceEnumerator>& enumerator) {
    return calls.createInstance(__uuidof(MMDeviceEnumerator), __uuidof(IMMDeviceEnumerator),
                                reinterpret_cast<void**>(enumerator.ReleaseAndGetAddressOf()));
}

} // namespace

IMMDevice* deviceOf(const AudioEndpoint& endpoint) {
    return static_cast<IMMDevice*>(endpoint.handle.get());
}

CoreAudioEndpoints::CoreAudioEndpoints(AudioSystemCalls systemCalls) : calls(std::move(systemCalls)) {}

AudioEndpointPointer CoreAudioEndpoints::read(IMMDevice* device) const {
    auto endpoint = std::make_shared<AudioEndpoint>();
    endpoint->id = idOf(device);
    endpoint->friendlyName = friendlyNameOf(device);
    UINT connectors = 0;
    if (SUCCEEDED(calls.connectorCount(device, &connectors))) {
        endpoint->connectorCount = connectors;
    }
    readContainerId(device);
    endpoint->flow = flowOf(device);
    device->AddRef();
    endpoint->handle =
        std::shared_ptr<void>(device, [](void* held) { static_cast<IMMDevice*>(held)->Release(); });
    return endpoint;
}

EndpointEnumeration CoreAudioEndpoints::activeEndpoints(EndpointFlow flow) {
    EndpointEnumeration found;
    ComPtr<IMMDeviceEnumerator> enumerator;
    ComPtr<IMMDeviceCollection> collection;
    UINT count = 0;
    found.reached = EnumerationStep::Enumerator;
    HRESULT result = createEnumerator(calls, enumerator);
    if (SUCCEEDED(result)) {
        found.reached = EnumerationStep::Enumeration;
        result =
            enumerator->EnumAudioEndpoints(nativeFlow(flow), DEVICE_STATE_ACTIVE, collection.GetAddressOf());
    }
    if (SUCCEEDED(result)) {
        found.reached = EnumerationStep::Count;
        result = collection->GetCount(&count);
    }
    found.result = soundResult(result);
    if (FAILED(result)) {
        return found;
    }
    found.reached = EnumerationStep::Done;
    for (UINT index = 0; index < count; ++index) {
        ComPtr<IMMDevice> device;
        const HRESULT handedOut = collection->Item(index, device.GetAddressOf());
        found.endpoints.push_back(SUCCEEDED(handedOut) && device ? read(device.Get()) : nullptr);
    }
    return found;
}

std::string CoreAudioEndpoints::defaultRenderEndpointId() {
    ComPtr<IMMDeviceEnumerator> enumerator;
    ComPtr<IMMDevice> device;
    if (FAILED(createEnumerator(calls, enumerator)) ||
        FAILED(enumerator->GetDefaultAudioEndpoint(eRender, eConsole, device.GetAddressOf()))) {
        return {};
    }
    return idOf(device.Get()).value_or(std::string());
}

SoundResult CoreAudioEndpoints::probeActivation(const AudioEndpoint& endpoint) {
    IMMDevice* const device = deviceOf(endpoint);
    if (device == nullptr) {
        return soundResult(E_POINTER);
    }
    ComPtr<IAudioClient> client;
    return soundResult(device->Activate(__uuidof(IAudioClient), CLSCTX_ALL, nullptr,
                                        reinterpret_cast<void**>(client.GetAddressOf())));
}

SetDefaultOutcome CoreAudioEndpoints::setDefaultEndpoint(EndpointFlow, const AudioEndpoint& endpoint) {
    ComPtr<IPolicyConfig> policy;
    const HRESULT created = calls.createInstance(kPolicyConfigClass, kPolicyConfigInterface,
                                                 reinterpret_cast<void**>(policy.GetAddressOf()));
    if (FAILED(created)) {
        return {SetDefaultStep::Policy, soundResult(created)};
    }
    const HRESULT set =
        policy->SetDefaultEndpoint(wideOf(endpoint.id.value_or(std::string())).c_str(), eConsole);
    return {FAILED(set) ? SetDefaultStep::Set : SetDefaultStep::Done, soundResult(set)};
}
