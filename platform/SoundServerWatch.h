#pragma once

// The sound server as the bridge sees it. On Windows, whose sound service is always there, nothing is watched
// and everything is known.

#include <functional>
#include <memory>

/// Begins the connection to the sound server and keeps it for as long as what is returned lasts, so that what
/// the server has is known when it is asked for. Waits for nothing. May be null.
[[nodiscard]] std::shared_ptr<void> holdSoundServer();

/// Whether it is known what outputs and inputs there are, be it that there are none for want of a server.
/// False only while a server has not answered yet. Any thread.
[[nodiscard]] bool soundDevicesKnown();

/// Calls `devicesCame` when the server appears or returns and when an endpoint appears or is plugged. If a
/// server is already there, also once at the start. Runs on another thread, often several times in a row, and
/// must not block. The watch lasts as long as the returned object; null where there is nothing to watch for.
[[nodiscard]] std::shared_ptr<void> watchSoundDevices(std::function<void()> devicesCame);
