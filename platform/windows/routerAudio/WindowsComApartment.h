#pragma once

#include "mixer/ComApartment.h"
#include "platform/windows/routerAudio/AudioSystemCalls.h"

#include <objbase.h>
#include <utility>

/// The multithreaded apartment of COM, for the calling thread.
class WindowsComApartment final : public ComApartment {
public:
    explicit WindowsComApartment(AudioSystemCalls systemCalls) : calls(std::move(systemCalls)) {}

    HResult initialize() override { return calls.initializeCom(COINIT_MULTITHREADED); }
    void uninitialize() override { calls.uninitializeCom(); }

private:
    const AudioSystemCalls calls;
};
