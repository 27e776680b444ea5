#include "platform/routerAudio/HResult.h"

#include <sstream>

std::wstring hexText(HResult result) {
    std::wostringstream text;
    text << L"0x" << std::hex << static_cast<std::uint32_t>(result);
    return text.str();
}
