#include "platform/windows/applications/AudioSessions.h"

#include <array>
#include <audiopolicy.h>
#include <memory>
#include <objbase.h>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace {

// The rights to ask for a process's image.
constexpr DWORD kQueryRights = PROCESS_QUERY_INFORMATION | PROCESS_VM_READ;
static_assert(kQueryRights == 1040);

constexpr DWORD kLongestPath = 32768;

struct CloseProcess {
    using pointer = HANDLE;
    void operator()(HANDLE process) const { CloseHandle(process); }
};
using ProcessHandle = std::unique_ptr<HANDLE, CloseProcess>;

ProcessHandle openProcess(const InventorySystemCalls& calls, std::uint32_t processId) {
    return ProcessHandle(calls.openProcess(kQueryRights, processId));
}

QString displayNameOf(IAudioSessionControl* session) {
    LPWSTR text = nullptr;
    if (FAILED(session->GetDisplayName(&text)) || text == nullptr) {
        return {};
    }
    const QString name = QString::fromWCharArray(text);
    CoTaskMemFree(text);
    return name;
}

QString stateOf(IAudioSessionControl* session) {
    AudioSessionState state = AudioSessionStateInactive;
    if (FAILED(session->GetState(&state))) {
        return QStringLiteral("Unknown");
    }
    switch (state) {
    case AudioSessionStateInactive:
        return QStringLiteral("Inactive");
    case AudioSessionStateActive:
        return QStringLiteral("Active");
    case AudioSessionStateExpired:
        return QStringLiteral("Expired");
    }
    return QStringLiteral("Unknown");
}

} // namespace

QString processImagePath(const InventorySystemCalls& calls, std::uint32_t processId) {
    const ProcessHandle process = openProcess(calls, processId);
    std::wstring path(kLongestPath, L'\0');
    DWORD length = kLongestPath;
    if (process == nullptr || calls.queryFullProcessImageName(process.get(), path.data(), &length) == 0) {
        return {};
    }
    return QString::fromWCharArray(path.data(), static_cast<qsizetype>(length));
}

QString processFileName(const InventorySystemCalls& calls, std::uint32_t processId) {
    const ProcessHandle process = openProcess(calls, processId);
    std::array<wchar_t, MAX_PATH> name{};
    if (process == nullptr ||
        calls.getModuleBaseName(process.get(), name.data(), static_cast<DWORD>(name.size())) == 0) {
        return {};
    }
    return QString::fromWCharArray(name.data());
}

QList<RawAudioSession> audioSessions(const AudioSystemCalls& calls,
                                     const InventorySystemCalls& inventoryCalls) {
    ComPtr<IMMDeviceEnumerator> enumerator;
    ComPtr<IMMDevice> device;
    ComPtr<IAudioSessionManager2> manager;
    ComPtr<IAudioSessionEnumerator> sessions;
    int count = 0;
    if (FAILED(calls.createInstance(__uuidof(MMDeviceEnumerator), __uuidof(IMMDeviceEnumerator),
                                    reinterpret_cast<void**>(enumerator.GetAddressOf()))) ||
        FAILED(enumerator->GetDefaultAudioEndpoint(eRender, eConsole, device.GetAddressOf())) ||
        FAILED(device->Activate(__uuidof(IAudioSessionManager2), CLSCTX_ALL, nullptr,
                                reinterpret_cast<void**>(manager.GetAddressOf()))) ||
        FAILED(manager->GetSessionEnumerator(sessions.GetAddressOf())) ||
        FAILED(sessions->GetCount(&count))) {
        return {};
    }
    QList<RawAudioSession> found;
    for (int index = 0; index < count; ++index) {
        ComPtr<IAudioSessionControl> session;
        ComPtr<IAudioSessionControl2> process;
        DWORD processId = 0;
        if (FAILED(sessions->GetSession(index, session.GetAddressOf())) || FAILED(session.As(&process)) ||
            FAILED(process->GetProcessId(&processId)) || processId == 0) {
            continue;
        }
        found.append({static_cast<std::uint32_t>(processId), displayNameOf(session.Get()),
                      processImagePath(inventoryCalls, processId), processFileName(inventoryCalls, processId),
                      stateOf(session.Get())});
    }
    return found;
}
