#include "platform/WideOutput.h"

#include <iostream>

// Qt's application object sets a locale with UTF-8, whatever the environment says.
void makeWideOutputUtf8() {}

void writeWide(char32_t character) {
    std::wcout.put(static_cast<wchar_t>(character));
}
