#pragma once

#include <functional>
#include <memory>

/// Calls `devicesCame` when the server appears or returns and when an endpoint appears or is plugged. If a
/// server is already there, also once at the start. Runs on another thread, often several times in a row, and
/// must not block. The watch lasts as long as the returned object; null where there is nothing to watch for,
/// as on systems whose sound service is always there.
[[nodiscard]] std::shared_ptr<void> watchSoundDevices(std::function<void()> devicesCame);
