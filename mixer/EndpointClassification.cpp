#include "mixer/EndpointClassification.h"

#include "mixer/ComApartment.h"
#include "mixer/RouterLog.h"

#include <algorithm>
#include <cwctype>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace {

// Longer than any friendly name is taken for: such a text is an id.
constexpr std::size_t kLongestName = 50;

using Words = std::initializer_list<std::wstring_view>;

bool contains(const std::wstring& text, std::wstring_view word) {
    return text.find(word) != std::wstring::npos;
}

bool containsAny(const std::wstring& text, Words words) {
    return std::ranges::any_of(words, [&](std::wstring_view word) { return contains(text, word); });
}

const wchar_t* yesOrNo(bool value) {
    return value ? L"YES" : L"NO";
}

// What FindFirstRealHardwareDevice says of one endpoint, without the bracket at its end.
std::wstring deviceLine(std::size_t index, const AudioEndpoint* endpoint, bool real, bool builtIn) {
    return L"[DEBUG] Device " + std::to_wstring(index) + L": " + GetDeviceFriendlyName(endpoint) +
           L" (Real: " + yesOrNo(real) + L", BuiltIn: " + yesOrNo(builtIn) + L", GUID: " +
           GetDeviceId(endpoint);
}

bool looksLikeId(const std::wstring& value) {
    return contains(value, L"{") || contains(value, L"-") || value.size() > kLongestName;
}

// Leaves the apartment again if, and only if, the caller was not in it before.
class ApartmentScope {
public:
    explicit ApartmentScope(ComApartment& comApartment)
        : com(comApartment), entered(com.initialize() == kHResultOk) {}
    ~ApartmentScope() {
        if (entered) {
            com.uninitialize();
        }
    }
    ApartmentScope(const ApartmentScope&) = delete;
    ApartmentScope& operator=(const ApartmentScope&) = delete;

private:
    ComApartment& com;
    const bool entered;
};

} // namespace

std::wstring lowerCased(std::wstring text) {
    std::ranges::transform(text, text.begin(), [](wchar_t character) {
        return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(character)));
    });
    return text;
}

std::wstring GetDeviceFriendlyName(const AudioEndpoint* endpoint) {
    return endpoint != nullptr ? endpoint->friendlyName.value_or(std::wstring()) : std::wstring();
}

std::wstring GetDeviceId(const AudioEndpoint* endpoint) {
    return endpoint != nullptr ? endpoint->id.value_or(std::wstring()) : std::wstring();
}

bool IsRealHardwareDevice(const AudioEndpoint* endpoint) {
    if (endpoint == nullptr) {
        return false;
    }
    const std::wstring name = lowerCased(GetDeviceFriendlyName(endpoint));
    if (containsAny(name, {L"virtual", L"cable", L"vb-audio", L"voicemeeter", L"loopback"})) {
        return false;
    }
    const std::wstring id = lowerCased(GetDeviceId(endpoint));
    if (containsAny(id, {L"swd\\", L"root\\"})) {
        return false;
    }
    return endpoint->connectorCount.value_or(0) > 0;
}

bool IsBuiltInDevice(const AudioEndpoint* endpoint) {
    if (endpoint == nullptr) {
        return false;
    }
    if (endpoint->id) {
        routerLog(L"[IsBuiltInDevice] Device ID: " + *endpoint->id);
        const std::wstring id = lowerCased(*endpoint->id);
        if (containsAny(id, {L"usb\\", L"usb#", L"bthenum\\", L"bthenum#", L"bluetooth"})) {
            routerLog(L"[IsBuiltInDevice] Detected as EXTERNAL (USB/Bluetooth)");
            return false;
        }
        if (containsAny(id, {L"hdaudio\\", L"hdaudio#", L"hdaudfunc", L"intelaudio\\", L"intelaudio#",
                             L"realtek", L"msmmdev"})) {
            routerLog(L"[IsBuiltInDevice] Detected as BUILT-IN (HDAudio/Intel Audio)");
            return true;
        }
        if (containsAny(id, {L"func_01", L"func_02"})) {
            routerLog(L"[IsBuiltInDevice] Detected as BUILT-IN (HDAudio Function)");
            return true;
        }
        const std::wstring name = lowerCased(GetDeviceFriendlyName(endpoint));
        if (containsAny(name, {L"speaker", L"扬声器"}) && !containsAny(id, {L"usb", L"bluetooth", L"bth"}) &&
            !containsAny(name, {L"virtual", L"cable"})) {
            routerLog(L"[IsBuiltInDevice] Detected as BUILT-IN (Speaker name heuristic)");
            return true;
        }
    }
    routerLog(L"[IsBuiltInDevice] Cannot determine, defaulting to EXTERNAL");
    return false;
}

std::wstring FindFirstRealHardwareDevice(AudioEndpointSystem& system, bool preferBuiltIn) {
    const EndpointEnumeration list = system.activeEndpoints(EndpointFlow::Render);
    switch (list.reached) {
    case EnumerationStep::Enumerator:
        routerLog(L"[DEBUG] Failed to create device enumerator.");
        return {};
    case EnumerationStep::Enumeration:
        routerLog(L"[DEBUG] Failed to enumerate audio endpoints.");
        return {};
    case EnumerationStep::Count:
        routerLog(L"[DEBUG] Failed to get device count.");
        return {};
    case EnumerationStep::Done:
        break;
    }
    const std::wstring count = std::to_wstring(list.endpoints.size());
    routerLog(L"[DEBUG] Enumerating " + count + L" audio devices...");

    if (preferBuiltIn) {
        for (std::size_t index = 0; index < list.endpoints.size(); ++index) {
            const AudioEndpoint* const endpoint = list.endpoints[index].get();
            const std::wstring guid = GetDeviceId(endpoint);
            const bool real = IsRealHardwareDevice(endpoint);
            const bool builtIn = IsBuiltInDevice(endpoint);
            routerLog(deviceLine(index, endpoint, real, builtIn) + L", DeviceID: " + guid + L")");
            if (real && builtIn && !guid.empty()) {
                routerLog(L"[INFO] Found built-in hardware device: " + GetDeviceFriendlyName(endpoint) +
                          L" (" + guid + L")");
                return guid;
            }
        }
        routerLog(L"[DEBUG] No built-in device found, searching for any real hardware device...");
    }
    for (std::size_t index = 0; index < list.endpoints.size(); ++index) {
        const AudioEndpoint* const endpoint = list.endpoints[index].get();
        const std::wstring guid = GetDeviceId(endpoint);
        const bool real = IsRealHardwareDevice(endpoint);
        // After the first pass none that is real and has an id is built in.
        const bool builtIn = !preferBuiltIn && IsBuiltInDevice(endpoint);
        if (!preferBuiltIn) {
            routerLog(deviceLine(index, endpoint, real, builtIn) + L")");
        }
        if (real && !guid.empty()) {
            routerLog(L"[INFO] Found real hardware device: " + GetDeviceFriendlyName(endpoint) + L" (" +
                      (builtIn ? L"Built-in" : L"External") + L", " + guid + L")");
            return guid;
        }
    }
    routerLog(L"[WARNING] No real hardware device found among " + count + L" devices.");
    return {};
}

std::wstring GetDefaultDeviceGuid(AudioEndpointSystem& system) {
    return system.defaultRenderEndpointId();
}

std::wstring FindDeviceGuidByNameOrGuid(AudioEndpointSystem& system, const std::wstring& value,
                                        bool virtualOnly) {
    if (value.empty() || looksLikeId(value)) {
        return value;
    }
    const std::wstring wanted = lowerCased(value);
    for (const EndpointFlow flow : {EndpointFlow::Render, EndpointFlow::Capture}) {
        const EndpointEnumeration list = system.activeEndpoints(flow);
        // The enumerator was there for the outputs: one that fails for the inputs alone is a flow skipped.
        if (list.reached == EnumerationStep::Enumerator && flow == EndpointFlow::Render) {
            routerLog(L"[FindDeviceGuidByNameOrGuid] Failed to create device enumerator");
            return {};
        }
        for (const AudioEndpointPointer& endpoint : list.endpoints) {
            if (virtualOnly && IsRealHardwareDevice(endpoint.get())) {
                continue;
            }
            const std::wstring name = GetDeviceFriendlyName(endpoint.get());
            if (contains(lowerCased(name), wanted)) {
                std::wstring guid = GetDeviceId(endpoint.get());
                std::wstring line = L"[FindDeviceGuidByNameOrGuid] Found device by name: \"";
                line.append(name).append(L"\" -> GUID: ").append(guid);
                routerLog(line);
                return guid;
            }
        }
    }
    routerLog(L"[FindDeviceGuidByNameOrGuid] Device not found by name/GUID: " + value);
    return {};
}

bool SetDefaultAudioDevice(AudioEndpointSystem& system, ComApartment& com, const std::wstring& deviceGuid,
                           bool isRender) {
    if (deviceGuid.empty()) {
        routerLog(L"[SetDefaultAudioDevice] Error: deviceGuid is empty");
        return false;
    }
    const ApartmentScope apartment(com);
    const EndpointFlow flow = isRender ? EndpointFlow::Render : EndpointFlow::Capture;
    const EndpointEnumeration list = system.activeEndpoints(flow);
    if (list.reached == EnumerationStep::Enumerator) {
        routerLog(L"[SetDefaultAudioDevice] Failed to create device enumerator: 0x" + hexDigits(list.result));
        return false;
    }
    if (list.reached != EnumerationStep::Done) {
        routerLog(L"[SetDefaultAudioDevice] Failed to enumerate devices: 0x" + hexDigits(list.result));
        return false;
    }
    const std::wstring wanted = lowerCased(deviceGuid);
    const auto found = std::ranges::find_if(list.endpoints, [&](const AudioEndpointPointer& endpoint) {
        const std::wstring id = GetDeviceId(endpoint.get());
        return lowerCased(id) == wanted || contains(id, deviceGuid);
    });
    if (found == list.endpoints.end()) {
        routerLog(L"[SetDefaultAudioDevice] Error: Device not found with GUID: " + deviceGuid);
        return false;
    }
    const AudioEndpoint& endpoint = **found;
    routerLog(L"[SetDefaultAudioDevice] Found target device: " + GetDeviceFriendlyName(&endpoint) +
              L" (ID: " + GetDeviceId(&endpoint) + L")");

    const SetDefaultOutcome outcome = system.setDefaultEndpoint(flow, endpoint);
    switch (outcome.reached) {
    case SetDefaultStep::Policy:
        routerLog(L"[SetDefaultAudioDevice] Failed to create IPolicyConfig: 0x" + hexDigits(outcome.result));
        routerLog(L"[SetDefaultAudioDevice] Note: This operation may require administrator privileges");
        routerLog(L"[SetDefaultAudioDevice] Note: Make sure polstore.dll is available on your system");
        return false;
    case SetDefaultStep::Set:
        routerLog(L"[SetDefaultAudioDevice] Failed to set default endpoint: 0x" + hexDigits(outcome.result));
        routerLog(L"[SetDefaultAudioDevice] Error code: " + std::to_wstring(outcome.result));
        return false;
    case SetDefaultStep::Done:
        break;
    }
    routerLog(L"[SetDefaultAudioDevice] Successfully set device as default: " + deviceGuid);
    return true;
}
