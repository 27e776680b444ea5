// The router of the process, apart from the class: a program with bodies of its own needs none of the
// system's.

#include "platform/routerAudio/AppAudioConfigStore.h"
#include "platform/routerAudio/AudioRouterAPI.h"
#include "platform/routerAudio/PerAppInputBuffers.h"

AudioRouterAPI& AudioRouterAPI::instance() {
    static auto* const router = new AudioRouterAPI(systemRouterPlatform(), AppAudioConfigStore::instance(),
                                                   PerAppInputBuffers::instance());
    return *router;
}
