#pragma once

#include <functional>
#include <memory>

/// Watches for the sound server where there is none, or none that answers, at the time of the call: `arrived`
/// runs once, on another thread, when it is there. The watch lasts as long as what is returned; null where
/// there is nothing to wait for, as on systems whose sound service is always there.
[[nodiscard]] std::shared_ptr<void> watchForSoundServer(std::function<void()> arrived);
