// The router of the process, apart from the class: a program with bodies of its own needs none of the
// system's.

#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"
#include "mixer/router/AudioRouterAPI.h"

AudioRouterAPI& AudioRouterAPI::instance() {
    static auto* const router = new AudioRouterAPI(systemRouterPlatform(), AppAudioConfigStore::instance(),
                                                   PerAppInputBuffers::instance());
    return *router;
}
