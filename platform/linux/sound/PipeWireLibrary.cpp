#include "platform/linux/sound/PipeWireLibrary.h"

#include <dlfcn.h>
#include <optional>

namespace {

constexpr const char* kFileName = "libpipewire-0.3.so.0";

template <typename Function>
bool find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
}

std::optional<PipeWireLibrary> load() {
    void* const file = dlopen(kFileName, RTLD_NOW | RTLD_LOCAL);
    if (file == nullptr) {
        return std::nullopt;
    }
    PipeWireLibrary library;
    decltype(&pw_init) initialize = nullptr;
    if (!find(file, "pw_init", initialize) || !find(file, "pw_context_new", library.contextNew) ||
        !find(file, "pw_context_destroy", library.contextDestroy) ||
        !find(file, "pw_context_connect", library.contextConnect) ||
        !find(file, "pw_core_disconnect", library.coreDisconnect) ||
        !find(file, "pw_properties_new_dict", library.propertiesNewDict) ||
        !find(file, "pw_stream_new", library.streamNew) ||
        !find(file, "pw_stream_destroy", library.streamDestroy) ||
        !find(file, "pw_stream_add_listener", library.streamAddListener) ||
        !find(file, "pw_stream_connect", library.streamConnect) ||
        !find(file, "pw_stream_dequeue_buffer", library.streamDequeueBuffer) ||
        !find(file, "pw_stream_queue_buffer", library.streamQueueBuffer) ||
        !find(file, "pw_thread_loop_new", library.threadLoopNew) ||
        !find(file, "pw_thread_loop_destroy", library.threadLoopDestroy) ||
        !find(file, "pw_thread_loop_get_loop", library.threadLoopGetLoop) ||
        !find(file, "pw_thread_loop_start", library.threadLoopStart) ||
        !find(file, "pw_thread_loop_stop", library.threadLoopStop) ||
        !find(file, "pw_thread_loop_lock", library.threadLoopLock) ||
        !find(file, "pw_thread_loop_unlock", library.threadLoopUnlock)) {
        return std::nullopt;
    }
    initialize(nullptr, nullptr);
    return library;
}

} // namespace

const PipeWireLibrary* PipeWireLibrary::get() {
    static const std::optional<PipeWireLibrary> library = load();
    return library ? &*library : nullptr;
}
