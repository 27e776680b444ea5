#include "platform/WideOutput.h"

// Qt's application object sets a locale with UTF-8, whatever the environment says.
void makeWideOutputUtf8() {}
