#pragma once

#include <functional>
#include <memory>

/// Watches for outputs and inputs that the sound server did not have before: `devicesCame` runs whenever the
/// server comes or comes back, and whenever an output or input appears or has something plugged into it; once
/// at the beginning, too, where the server is there already. On another thread, often several times in a row;
/// it may not wait. The watch lasts as long as what is returned; null where there is nothing to watch for, as
/// on systems whose sound service is always there.
[[nodiscard]] std::shared_ptr<void> watchSoundDevices(std::function<void()> devicesCame);
