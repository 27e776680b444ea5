#pragma once

// Windows' own object for the choice of default endpoints. Its interface is not published; what stands here
// is the order of its methods as far as this program calls one.

#include <mmdeviceapi.h>
#include <unknwn.h>

inline constexpr CLSID kPolicyConfigClass = {
    0x294935CE, 0xF637, 0x4E7C, {0xA4, 0x1B, 0xAB, 0x25, 0x54, 0x60, 0xB8, 0x62}};
inline constexpr IID kPolicyConfigInterface = {
    0xF8679F50, 0x850A, 0x41CF, {0x9C, 0x72, 0x43, 0x0F, 0x29, 0x02, 0x90, 0xC8}};

struct IPolicyConfig : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE unusedMethod4() = 0;
    virtual HRESULT STDMETHODCALLTYPE unusedMethod5() = 0;
    virtual HRESULT STDMETHODCALLTYPE unusedMethod6() = 0;
    virtual HRESULT STDMETHODCALLTYPE unusedMethod7() = 0;
    virtual HRESULT STDMETHODCALLTYPE unusedMethod8() = 0;
    virtual HRESULT STDMETHODCALLTYPE unusedMethod9() = 0;
    virtual HRESULT STDMETHODCALLTYPE unusedMethod10() = 0;
    virtual HRESULT STDMETHODCALLTYPE unusedMethod11() = 0;
    virtual HRESULT STDMETHODCALLTYPE unusedMethod12() = 0;
    /// The thirteenth method, QueryInterface being the first.
    virtual HRESULT STDMETHODCALLTYPE SetDefaultEndpoint(LPCWSTR endpointId, ERole role) = 0;
};
