#include "platform/windows/routerAudio/AudioSystemCalls.h"

#include <avrt.h>
#include <devicetopology.h>
#include <objbase.h>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace {

HRESULT topologyConnectors(IMMDevice* device, UINT* count) {
    ComPtr<IDeviceTopology> topology;
    const HRESULT result = device->Activate(__uuidof(IDeviceTopology), CLSCTX_ALL, nullptr,
                                            reinterpret_cast<void**>(topology.GetAddressOf()));
    return FAILED(result) ? result : topology->GetConnectorCount(count);
}

} // namespace

AudioSystemCalls windowsAudioSystemCalls() {
    return {
        .initializeCom = [](DWORD model) { return CoInitializeEx(nullptr, model); },
        .uninitializeCom = CoUninitialize,
        .createInstance =
            [](REFCLSID type, REFIID interfaceId, void** object) {
                return CoCreateInstance(type, nullptr, CLSCTX_ALL, interfaceId, object);
            },
        .createEvent = [] { return CreateEventW(nullptr, FALSE, FALSE, nullptr); },
        .waitForEvent = [](HANDLE event) { return WaitForSingleObject(event, INFINITE); },
        .connectorCount = topologyConnectors,
        .startMediaFoundation = MFStartup,
        .lockSharedWorkQueue = MFLockSharedWorkQueue,
        .unlockWorkQueue = MFUnlockWorkQueue,
        .putWorkItem = MFPutWorkItem2,
        .createAsyncResult = MFCreateAsyncResult,
        .putWaitingWorkItem = MFPutWaitingWorkItem,
        .cancelWorkItem = MFCancelWorkItem,
        .activateAudioInterface = ActivateAudioInterfaceAsync,
        .setThreadCharacteristics = AvSetMmThreadCharacteristicsW,
        .setThreadPriority =
            [](HANDLE task, int priority) {
                return AvSetMmThreadPriority(task, static_cast<AVRT_PRIORITY>(priority));
            },
        .revertThreadCharacteristics = AvRevertMmThreadCharacteristics,
    };
}

HRESULT lastErrorResult() {
    const DWORD error = GetLastError();
    return error == ERROR_SUCCESS ? E_FAIL : HRESULT_FROM_WIN32(error);
}
