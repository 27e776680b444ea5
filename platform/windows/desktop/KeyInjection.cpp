#include "platform/windows/desktop/KeyInjection.h"

#include <vector>

std::size_t injectKeysBy(const SendInputCall& sendInput, std::span<const KeyEvent> keys) {
    std::vector<INPUT> records;
    records.reserve(keys.size());
    for (const KeyEvent& event : keys) {
        INPUT record{};
        record.type = INPUT_KEYBOARD;
        record.ki.wVk = event.key;
        record.ki.dwFlags = event.isRelease ? KEYEVENTF_KEYUP : 0;
        records.push_back(record);
    }
    return sendInput(static_cast<UINT>(records.size()), records.data(), static_cast<int>(sizeof(INPUT)));
}

std::size_t injectKeys(std::span<const KeyEvent> keys) {
    return injectKeysBy(SendInput, keys);
}
