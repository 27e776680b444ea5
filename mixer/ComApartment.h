#pragma once

#include "mixer/HResult.h"

/// Membership of the calling thread in Windows' multithreaded apartment. Other systems have nothing of the
/// kind: there initialize() gives kHResultOk and uninitialize() does nothing.
class ComApartment {
public:
    ComApartment() = default;
    virtual ~ComApartment() = default;
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

    /// CoInitializeEx with the multithreaded model, on the calling thread.
    [[nodiscard]] virtual HResult initialize() = 0;
    /// CoUninitialize, on the calling thread.
    virtual void uninitialize() = 0;
};
