#pragma once

// What the fuzz targets share that run the real documents.

#include <QtLogging>

namespace fuzz {

/// Makes the application object, with a screen that nobody sees and a home folder that goes with the process.
/// `onMessage` then gets each message until the process ends. Once in a process, from LLVMFuzzerInitialize().
void startScreens(int& argc, char** argv, QtMessageHandler onMessage);

} // namespace fuzz
