#pragma once

// What a toolchain without the Windows SDK's header of this name lacks, as far as this program uses it: a
// class that implements one COM interface with free-threaded marshalling, counted, and made by Make().

#include <atomic>
#include <new>
#include <objidl.h>
#include <utility>
#include <wrl/client.h>

namespace Microsoft::WRL {

enum RuntimeClassType { ClassicCom = 2 };

template <unsigned int Flags>
struct RuntimeClassFlags {};

/// Among the bases of a RuntimeClass: calls from any apartment go straight to the object.
class FtmBase {};

template <typename... Bases>
class RuntimeClass;

template <unsigned int Flags, typename Interface>
class RuntimeClass<RuntimeClassFlags<Flags>, FtmBase, Interface> : public Interface {
public:
    RuntimeClass() {
        // Without a marshaller the object is still agile, and calls within this process need no other.
        static_cast<void>(CoCreateFreeThreadedMarshaler(static_cast<Interface*>(this), &marshaller));
    }
    RuntimeClass(const RuntimeClass&) = delete;
    RuntimeClass& operator=(const RuntimeClass&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = nullptr;
        if (iid == __uuidof(IUnknown) || iid == __uuidof(Interface) || iid == __uuidof(IAgileObject)) {
            // An agile object says so by answering; the answer has no methods of its own.
            *object = static_cast<Interface*>(this);
            AddRef();
            return S_OK;
        }
        if (iid == __uuidof(IMarshal) && marshaller) {
            return marshaller.CopyTo(iid, object);
        }
        return E_NOINTERFACE;
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }

    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references;
        if (left == 0) {
            delete this;
        }
        return left;
    }

protected:
    virtual ~RuntimeClass() = default;

private:
    std::atomic<ULONG> references{1};
    ComPtr<IUnknown> marshaller;
};

/// An object with one reference, which the pointer holds; null when there is no memory.
template <typename Class, typename... Arguments>
ComPtr<Class> Make(Arguments&&... arguments) {
    ComPtr<Class> made;
    made.Attach(new (std::nothrow) Class(std::forward<Arguments>(arguments)...));
    return made;
}

} // namespace Microsoft::WRL
