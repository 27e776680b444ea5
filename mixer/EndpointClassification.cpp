#include "mixer/EndpointClassification.h"

#include "mixer/RouterLog.h"
#include "mixer/SoundSession.h"
#include "mixer/Utf8.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

namespace {

// In characters; a longer text is taken for an id.
constexpr std::size_t kLongestName = 50;

using Words = std::initializer_list<std::string_view>;

bool contains(const std::string& text, std::string_view word) {
    return text.find(word) != std::string::npos;
}

bool containsAny(const std::string& text, Words words) {
    return std::ranges::any_of(words, [&](std::string_view word) { return contains(text, word); });
}

const char* yesOrNo(bool value) {
    return value ? "YES" : "NO";
}

bool looksLikeId(const std::string& value) {
    return contains(value, "{") || contains(value, "-") || characterCount(value) > kLongestName;
}

} // namespace

std::string GetDeviceFriendlyName(const AudioEndpoint* endpoint) {
    return endpoint != nullptr ? endpoint->friendlyName.value_or(std::string()) : std::string();
}

std::string GetDeviceId(const AudioEndpoint* endpoint) {
    return endpoint != nullptr ? endpoint->id.value_or(std::string()) : std::string();
}

bool IsRealHardwareDevice(const AudioEndpoint* endpoint) {
    if (endpoint == nullptr) {
        return false;
    }
    const std::string name = lowerCased(GetDeviceFriendlyName(endpoint));
    if (containsAny(name, {"virtual", "cable", "vb-audio", "voicemeeter", "loopback"})) {
        return false;
    }
    const std::string id = lowerCased(GetDeviceId(endpoint));
    if (containsAny(id, {"swd\\", "root\\"})) {
        return false;
    }
    return endpoint->connectorCount.value_or(0) > 0;
}

bool IsBuiltInDevice(const AudioEndpoint* endpoint) {
    if (endpoint == nullptr) {
        return false;
    }
    if (endpoint->id) {
        routerLog("[IsBuiltInDevice] Device ID: {}", *endpoint->id);
        const std::string id = lowerCased(*endpoint->id);
        if (containsAny(id, {"usb\\", "usb#", "bthenum\\", "bthenum#", "bluetooth"})) {
            routerLog("[IsBuiltInDevice] Detected as EXTERNAL (USB/Bluetooth)");
            return false;
        }
        if (containsAny(id, {"hdaudio\\", "hdaudio#", "hdaudfunc", "intelaudio\\", "intelaudio#", "realtek",
                             "msmmdev"})) {
            routerLog("[IsBuiltInDevice] Detected as BUILT-IN (HDAudio/Intel Audio)");
            return true;
        }
        if (containsAny(id, {"func_01", "func_02"})) {
            routerLog("[IsBuiltInDevice] Detected as BUILT-IN (HDAudio Function)");
            return true;
        }
        const std::string name = lowerCased(GetDeviceFriendlyName(endpoint));
        if (containsAny(name, {"speaker", "扬声器"}) && !containsAny(id, {"usb", "bluetooth", "bth"}) &&
            !containsAny(name, {"virtual", "cable"})) {
            routerLog("[IsBuiltInDevice] Detected as BUILT-IN (Speaker name heuristic)");
            return true;
        }
    }
    routerLog("[IsBuiltInDevice] Cannot determine, defaulting to EXTERNAL");
    return false;
}

std::string FindFirstRealHardwareDevice(AudioEndpointSystem& system, bool preferBuiltIn) {
    const EndpointEnumeration list = system.activeEndpoints(EndpointFlow::Render);
    switch (list.reached) {
    case EnumerationStep::Enumerator:
        routerLog("[DEBUG] Failed to create device enumerator.");
        return {};
    case EnumerationStep::Enumeration:
        routerLog("[DEBUG] Failed to enumerate audio endpoints.");
        return {};
    case EnumerationStep::Count:
        routerLog("[DEBUG] Failed to get device count.");
        return {};
    case EnumerationStep::Done:
        break;
    }
    routerLog("[DEBUG] Enumerating {} audio devices...", list.endpoints.size());

    if (preferBuiltIn) {
        for (std::size_t index = 0; index < list.endpoints.size(); ++index) {
            const AudioEndpoint* const endpoint = list.endpoints[index].get();
            const std::string guid = GetDeviceId(endpoint);
            const bool real = IsRealHardwareDevice(endpoint);
            const bool builtIn = IsBuiltInDevice(endpoint);
            routerLog("[DEBUG] Device {}: {} (Real: {}, BuiltIn: {}, GUID: {}, DeviceID: {})", index,
                      GetDeviceFriendlyName(endpoint), yesOrNo(real), yesOrNo(builtIn), guid, guid);
            if (real && builtIn && !guid.empty()) {
                routerLog("[INFO] Found built-in hardware device: {} ({})", GetDeviceFriendlyName(endpoint),
                          guid);
                return guid;
            }
        }
        routerLog("[DEBUG] No built-in device found, searching for any real hardware device...");
    }
    for (std::size_t index = 0; index < list.endpoints.size(); ++index) {
        const AudioEndpoint* const endpoint = list.endpoints[index].get();
        const std::string guid = GetDeviceId(endpoint);
        const bool real = IsRealHardwareDevice(endpoint);
        // After the first pass none that is real and has an id is built in.
        const bool builtIn = !preferBuiltIn && IsBuiltInDevice(endpoint);
        if (!preferBuiltIn) {
            routerLog("[DEBUG] Device {}: {} (Real: {}, BuiltIn: {}, GUID: {})", index,
                      GetDeviceFriendlyName(endpoint), yesOrNo(real), yesOrNo(builtIn), guid);
        }
        if (real && !guid.empty()) {
            routerLog("[INFO] Found real hardware device: {} ({}, {})", GetDeviceFriendlyName(endpoint),
                      builtIn ? "Built-in" : "External", guid);
            return guid;
        }
    }
    routerLog("[WARNING] No real hardware device found among {} devices.", list.endpoints.size());
    return {};
}

std::string GetDefaultDeviceGuid(AudioEndpointSystem& system) {
    return system.defaultRenderEndpointId();
}

std::string FindDeviceGuidByNameOrGuid(AudioEndpointSystem& system, const std::string& value,
                                       bool virtualOnly) {
    if (value.empty() || looksLikeId(value)) {
        return value;
    }
    const std::string wanted = lowerCased(value);
    for (const EndpointFlow flow : {EndpointFlow::Render, EndpointFlow::Capture}) {
        const EndpointEnumeration list = system.activeEndpoints(flow);
        // The enumerator was there for the outputs: one that fails for the inputs alone is a flow skipped.
        if (list.reached == EnumerationStep::Enumerator && flow == EndpointFlow::Render) {
            routerLog("[FindDeviceGuidByNameOrGuid] Failed to create device enumerator");
            return {};
        }
        for (const AudioEndpointPointer& endpoint : list.endpoints) {
            if (virtualOnly && IsRealHardwareDevice(endpoint.get())) {
                continue;
            }
            const std::string name = GetDeviceFriendlyName(endpoint.get());
            if (contains(lowerCased(name), wanted)) {
                std::string guid = GetDeviceId(endpoint.get());
                routerLog("[FindDeviceGuidByNameOrGuid] Found device by name: \"{}\" -> GUID: {}", name,
                          guid);
                return guid;
            }
        }
    }
    routerLog("[FindDeviceGuidByNameOrGuid] Device not found by name/GUID: {}", value);
    return {};
}

bool SetDefaultAudioDevice(AudioEndpointSystem& system, SoundSession& session, const std::string& deviceGuid,
                           bool isRender) {
    if (deviceGuid.empty()) {
        routerLog("[SetDefaultAudioDevice] Error: deviceGuid is empty");
        return false;
    }
    const SessionScope scope(session, SessionScope::Undoes::FirstEntry);
    const EndpointFlow flow = isRender ? EndpointFlow::Render : EndpointFlow::Capture;
    const EndpointEnumeration list = system.activeEndpoints(flow);
    if (list.reached == EnumerationStep::Enumerator) {
        routerLog("[SetDefaultAudioDevice] Failed to create device enumerator: 0x{:x}",
                  printedNumber(list.result));
        return false;
    }
    if (list.reached != EnumerationStep::Done) {
        routerLog("[SetDefaultAudioDevice] Failed to enumerate devices: 0x{:x}", printedNumber(list.result));
        return false;
    }
    const std::string wanted = lowerCased(deviceGuid);
    const auto found = std::ranges::find_if(list.endpoints, [&](const AudioEndpointPointer& endpoint) {
        const std::string id = GetDeviceId(endpoint.get());
        return lowerCased(id) == wanted || contains(id, deviceGuid);
    });
    if (found == list.endpoints.end()) {
        routerLog("[SetDefaultAudioDevice] Error: Device not found with GUID: {}", deviceGuid);
        return false;
    }
    const AudioEndpoint& endpoint = **found;
    routerLog("[SetDefaultAudioDevice] Found target device: {} (ID: {})", GetDeviceFriendlyName(&endpoint),
              GetDeviceId(&endpoint));

    const SetDefaultOutcome outcome = system.setDefaultEndpoint(flow, endpoint);
    switch (outcome.reached) {
    case SetDefaultStep::Policy:
        routerLog("[SetDefaultAudioDevice] Failed to create IPolicyConfig: 0x{:x}",
                  printedNumber(outcome.result));
        routerLog("[SetDefaultAudioDevice] Note: This operation may require administrator privileges");
        routerLog("[SetDefaultAudioDevice] Note: Make sure polstore.dll is available on your system");
        return false;
    case SetDefaultStep::Set:
        routerLog("[SetDefaultAudioDevice] Failed to set default endpoint: 0x{:x}",
                  printedNumber(outcome.result));
        routerLog("[SetDefaultAudioDevice] Error code: {}",
                  static_cast<std::int32_t>(printedNumber(outcome.result)));
        return false;
    case SetDefaultStep::Done:
        break;
    }
    routerLog("[SetDefaultAudioDevice] Successfully set device as default: {}", deviceGuid);
    return true;
}
