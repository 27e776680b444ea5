#include "mixer/HResult.h"

#include <sstream>

std::wstring hexDigits(HResult result) {
    std::wostringstream text;
    text << std::hex << static_cast<std::uint32_t>(result);
    return text.str();
}
