#include "tests/windows/ScriptedObjects.h"

#include <devicetopology.h>
#include <propsys.h>
#include <utility>

using Microsoft::WRL::ComPtr;

namespace {

class ScriptedTopology final : public Counted<IDeviceTopology> {
public:
    explicit ScriptedTopology(Script given) : script(std::move(given)) {}

    HRESULT STDMETHODCALLTYPE GetConnectorCount(UINT* count) override {
        if (const auto failure = script->meet("GetConnectorCount")) {
            return *failure;
        }
        *count = script->connectorCount.value_or(0);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetConnector(UINT, IConnector**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSubunitCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSubunit(UINT, ISubUnit**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPartById(UINT, IPart**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDeviceId(LPWSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSignalPath(IPart*, IPart*, WINBOOL, IPartsList**) override {
        return E_NOTIMPL;
    }

private:
    const Script script;
};

class ScriptedFlow final : public Counted<IMMEndpoint> {
public:
    ScriptedFlow(Script given, ComPtr<IMMEndpoint> behind)
        : script(std::move(given)), real(std::move(behind)) {}

    HRESULT STDMETHODCALLTYPE GetDataFlow(EDataFlow* flow) override {
        const auto failure = script->meet("GetDataFlow");
        return failure ? *failure : real->GetDataFlow(flow);
    }

private:
    const Script script;
    const ComPtr<IMMEndpoint> real;
};

class ScriptedProperties final : public Counted<IPropertyStore> {
public:
    ScriptedProperties(Script given, ComPtr<IPropertyStore> behind)
        : script(std::move(given)), real(std::move(behind)) {}

    HRESULT STDMETHODCALLTYPE GetCount(DWORD* count) override { return real->GetCount(count); }
    HRESULT STDMETHODCALLTYPE GetAt(DWORD index, PROPERTYKEY* key) override {
        return real->GetAt(index, key);
    }
    HRESULT STDMETHODCALLTYPE GetValue(REFPROPERTYKEY key, PROPVARIANT* value) override {
        const auto failure = script->meet("GetValue");
        return failure ? *failure : real->GetValue(key, value);
    }
    HRESULT STDMETHODCALLTYPE SetValue(REFPROPERTYKEY, REFPROPVARIANT) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Commit() override { return E_NOTIMPL; }

private:
    const Script script;
    const ComPtr<IPropertyStore> real;
};

class ScriptedDevice final : public Counted<IMMDevice> {
public:
    ScriptedDevice(Script given, ComPtr<IMMDevice> behind)
        : script(std::move(given)), real(std::move(behind)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (iid != __uuidof(IMMEndpoint)) {
            return Counted::QueryInterface(iid, object);
        }
        if (const auto failure = script->meet("QueryInterface IMMEndpoint")) {
            *object = nullptr;
            return *failure;
        }
        ComPtr<IMMEndpoint> behind;
        const HRESULT result = real.As(&behind);
        *object = SUCCEEDED(result) ? new ScriptedFlow(script, behind) : nullptr;
        return result;
    }
    HRESULT STDMETHODCALLTYPE Activate(REFIID iid, DWORD context, PROPVARIANT* parameters,
                                       void** object) override {
        if (iid == __uuidof(IDeviceTopology)) {
            return activateTopology(context, parameters, object);
        }
        script->note("Activate", context, parameters == nullptr ? "no parameters" : "parameters");
        const bool sessions = iid == __uuidof(IAudioSessionManager2);
        if (const auto failure = script->meet(sessions ? "Activate IAudioSessionManager2" : "Activate")) {
            return *failure;
        }
        return sessions ? activateAs(context, parameters, object, scriptedSessionManager)
                        : activateAs(context, parameters, object, scriptedClient);
    }
    HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD access, IPropertyStore** store) override {
        if (const auto failure = script->meet("OpenPropertyStore")) {
            return *failure;
        }
        ComPtr<IPropertyStore> behind;
        const HRESULT result = real->OpenPropertyStore(access, behind.GetAddressOf());
        if (SUCCEEDED(result)) {
            *store = new ScriptedProperties(script, behind);
        }
        return result;
    }
    HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) override {
        const auto failure = script->meet("GetId");
        return failure ? *failure : real->GetId(id);
    }
    HRESULT STDMETHODCALLTYPE GetState(DWORD* state) override { return real->GetState(state); }

private:
    HRESULT activateTopology(DWORD context, PROPVARIANT* parameters, void** object) {
        if (const auto failure = script->meet("Activate IDeviceTopology")) {
            return *failure;
        }
        if (!script->connectorCount) {
            return real->Activate(__uuidof(IDeviceTopology), context, parameters, object);
        }
        *object = static_cast<IDeviceTopology*>(new ScriptedTopology(script));
        return S_OK;
    }

    template <typename Interface>
    HRESULT activateAs(DWORD context, PROPVARIANT* parameters, void** object,
                       Interface* (*wrap)(const Script&, const ComPtr<Interface>&)) {
        ComPtr<Interface> behind;
        const HRESULT result = real->Activate(__uuidof(Interface), context, parameters,
                                              reinterpret_cast<void**>(behind.GetAddressOf()));
        if (SUCCEEDED(result)) {
            *object = wrap(script, behind);
        }
        return result;
    }

    const Script script;
    const ComPtr<IMMDevice> real;
};

class ScriptedCollection final : public Counted<IMMDeviceCollection> {
public:
    ScriptedCollection(Script given, ComPtr<IMMDeviceCollection> behind)
        : script(std::move(given)), real(std::move(behind)) {}

    HRESULT STDMETHODCALLTYPE GetCount(UINT* count) override {
        const auto failure = script->meet("GetCount");
        return failure ? *failure : real->GetCount(count);
    }
    HRESULT STDMETHODCALLTYPE Item(UINT index, IMMDevice** device) override {
        if (const auto failure = script->meet("Item")) {
            return *failure;
        }
        ComPtr<IMMDevice> behind;
        const HRESULT result = real->Item(index, behind.GetAddressOf());
        if (SUCCEEDED(result)) {
            *device = scriptedDevice(script, behind);
        }
        return result;
    }

private:
    const Script script;
    const ComPtr<IMMDeviceCollection> real;
};

class ScriptedEnumerator final : public Counted<IMMDeviceEnumerator> {
public:
    ScriptedEnumerator(Script given, ComPtr<IMMDeviceEnumerator> behind)
        : script(std::move(given)), real(std::move(behind)) {}

    HRESULT STDMETHODCALLTYPE EnumAudioEndpoints(EDataFlow flow, DWORD states,
                                                 IMMDeviceCollection** devices) override {
        script->note("EnumAudioEndpoints", static_cast<int>(flow), states);
        if (const auto failure = script->meet("EnumAudioEndpoints")) {
            return *failure;
        }
        ComPtr<IMMDeviceCollection> behind;
        const HRESULT result = real->EnumAudioEndpoints(flow, states, behind.GetAddressOf());
        if (SUCCEEDED(result)) {
            *devices = new ScriptedCollection(script, behind);
        }
        return result;
    }
    HRESULT STDMETHODCALLTYPE GetDefaultAudioEndpoint(EDataFlow flow, ERole role,
                                                      IMMDevice** device) override {
        script->note("GetDefaultAudioEndpoint", static_cast<int>(flow), static_cast<int>(role));
        if (const auto failure = script->meet("GetDefaultAudioEndpoint")) {
            return *failure;
        }
        ComPtr<IMMDevice> behind;
        const HRESULT result = real->GetDefaultAudioEndpoint(flow, role, behind.GetAddressOf());
        if (SUCCEEDED(result)) {
            *device = scriptedDevice(script, behind);
        }
        return result;
    }
    HRESULT STDMETHODCALLTYPE GetDevice(LPCWSTR id, IMMDevice** device) override {
        return real->GetDevice(id, device);
    }
    HRESULT STDMETHODCALLTYPE RegisterEndpointNotificationCallback(IMMNotificationClient*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE UnregisterEndpointNotificationCallback(IMMNotificationClient*) override {
        return E_NOTIMPL;
    }

private:
    const Script script;
    const ComPtr<IMMDeviceEnumerator> real;
};

class ScriptedPolicy final : public Counted<IPolicyConfig> {
public:
    explicit ScriptedPolicy(Script given) : script(std::move(given)) {}

    HRESULT STDMETHODCALLTYPE unusedMethod4() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE unusedMethod5() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE unusedMethod6() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE unusedMethod7() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE unusedMethod8() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE unusedMethod9() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE unusedMethod10() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE unusedMethod11() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE unusedMethod12() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetDefaultEndpoint(LPCWSTR, ERole) override {
        return script->meet("SetDefaultEndpoint").value_or(S_OK);
    }

private:
    const Script script;
};

} // namespace

IMMDevice* scriptedDevice(const Script& script, const ComPtr<IMMDevice>& behind) {
    return new ScriptedDevice(script, behind);
}

IMMDeviceEnumerator* scriptedEnumerator(const Script& script, const ComPtr<IMMDeviceEnumerator>& behind) {
    return new ScriptedEnumerator(script, behind);
}

IPolicyConfig* scriptedPolicy(const Script& script) {
    return new ScriptedPolicy(script);
}
