#pragma once

#include "mixer/router/AudioRouterAPI.h"

/// Declared after what a level callback writes to, so that no thread calls it later, whatever ends the test.
class ShutdownAtEnd {
public:
    explicit ShutdownAtEnd(AudioRouterAPI& router) : api(router) {}
    ~ShutdownAtEnd() { api.shutdownAudioRouter(); }
    ShutdownAtEnd(const ShutdownAtEnd&) = delete;
    ShutdownAtEnd& operator=(const ShutdownAtEnd&) = delete;

private:
    AudioRouterAPI& api;
};
