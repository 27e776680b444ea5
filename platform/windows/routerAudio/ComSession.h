#pragma once

#include "mixer/SoundSession.h"
#include "platform/windows/routerAudio/AudioSystemCalls.h"

#include <objbase.h>
#include <utility>

/// A sound session is COM's multithreaded apartment, which the calling thread enters.
class ComSession final : public SoundSession {
public:
    explicit ComSession(AudioSystemCalls systemCalls) : calls(std::move(systemCalls)) {}

    SessionEntry enter() override {
        const HRESULT entered = calls.initializeCom(COINIT_MULTITHREADED);
        if (entered == RPC_E_CHANGED_MODE) {
            return SessionEntry::Foreign;
        }
        if (FAILED(entered)) {
            return SessionEntry::Refused;
        }
        return entered == S_FALSE ? SessionEntry::Again : SessionEntry::Entered;
    }
    void leave() override { calls.uninitializeCom(); }

private:
    const AudioSystemCalls calls;
};
