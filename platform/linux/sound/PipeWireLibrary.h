#pragma once

// PipeWire's client library, loaded at run time: a system that has PulseAudio alone needs none of it. What
// the library declares as inline functions is called as it stands; the rest goes through this table.

#include <pipewire/pipewire.h>

struct PipeWireLibrary {
    decltype(&pw_context_new) contextNew = nullptr;
    decltype(&pw_context_destroy) contextDestroy = nullptr;
    decltype(&pw_context_connect) contextConnect = nullptr;
    decltype(&pw_core_disconnect) coreDisconnect = nullptr;
    decltype(&pw_properties_new_dict) propertiesNewDict = nullptr;
    decltype(&pw_stream_new) streamNew = nullptr;
    decltype(&pw_stream_destroy) streamDestroy = nullptr;
    decltype(&pw_stream_add_listener) streamAddListener = nullptr;
    decltype(&pw_stream_connect) streamConnect = nullptr;
    decltype(&pw_stream_dequeue_buffer) streamDequeueBuffer = nullptr;
    decltype(&pw_stream_queue_buffer) streamQueueBuffer = nullptr;
    decltype(&pw_thread_loop_new) threadLoopNew = nullptr;
    decltype(&pw_thread_loop_destroy) threadLoopDestroy = nullptr;
    decltype(&pw_thread_loop_get_loop) threadLoopGetLoop = nullptr;
    decltype(&pw_thread_loop_start) threadLoopStart = nullptr;
    decltype(&pw_thread_loop_stop) threadLoopStop = nullptr;
    decltype(&pw_thread_loop_lock) threadLoopLock = nullptr;
    decltype(&pw_thread_loop_unlock) threadLoopUnlock = nullptr;

    /// Loaded and initialised at the first call, for the rest of the process; null where it is not installed.
    /// Any thread.
    [[nodiscard]] static const PipeWireLibrary* get();
};
