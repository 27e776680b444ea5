#include "platform/WideOutput.h"

// The application object of Qt takes a locale with UTF-8, whatever the environment says.
void makeWideOutputUtf8() {}
