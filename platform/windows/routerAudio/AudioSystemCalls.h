#pragma once

// The free functions of Windows whose result matters to the bodies of this folder. They stand in a table so
// that tests can make each fail in turn, and can supply what a machine lacks: a process loopback, a device
// topology. Everything behind an interface pointer is real.

#include <functional>
#include <mfapi.h>
#include <mmdeviceapi.h>
#include <windows.h>

struct AudioSystemCalls {
    std::function<HRESULT(DWORD model)> initializeCom;
    std::function<void()> uninitializeCom;
    /// CoCreateInstance with class context 23.
    std::function<HRESULT(REFCLSID type, REFIID interfaceId, void** object)> createInstance;
    /// An auto-reset event that is not signalled; null on failure, with the last error set.
    std::function<HANDLE()> createEvent;
    /// WaitForSingleObject without a limit.
    std::function<DWORD(HANDLE event)> waitForEvent;
    /// IDeviceTopology of the device, and its GetConnectorCount.
    std::function<HRESULT(IMMDevice* device, UINT* count)> connectorCount;

    std::function<HRESULT(ULONG version, DWORD flags)> startMediaFoundation;
    std::function<HRESULT(PCWSTR name, LONG priority, DWORD* taskId, DWORD* queueId)> lockSharedWorkQueue;
    std::function<HRESULT(DWORD queueId)> unlockWorkQueue;
    std::function<HRESULT(DWORD queueId, LONG priority, IMFAsyncCallback* callback, IUnknown* state)>
        putWorkItem;
    std::function<HRESULT(IUnknown* object, IMFAsyncCallback* callback, IUnknown* state,
                          IMFAsyncResult** result)>
        createAsyncResult;
    std::function<HRESULT(HANDLE event, LONG priority, IMFAsyncResult* result, MFWORKITEM_KEY* key)>
        putWaitingWorkItem;
    std::function<HRESULT(MFWORKITEM_KEY key)> cancelWorkItem;
    std::function<HRESULT(LPCWSTR path, REFIID interfaceId, PROPVARIANT* parameters,
                          IActivateAudioInterfaceCompletionHandler* handler,
                          IActivateAudioInterfaceAsyncOperation** operation)>
        activateAudioInterface;

    std::function<HANDLE(LPCWSTR task, DWORD* taskIndex)> setThreadCharacteristics;
    std::function<BOOL(HANDLE task, int priority)> setThreadPriority;
    std::function<BOOL(HANDLE task)> revertThreadCharacteristics;
};

/// Windows' own functions.
[[nodiscard]] AudioSystemCalls windowsAudioSystemCalls();

/// The calling thread's last error as a result code; E_FAIL where it is none.
[[nodiscard]] HRESULT lastErrorResult();
