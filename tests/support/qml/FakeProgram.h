#pragma once

#include <functional>

// What every program over the real documents with fake services does, be it a test, a benchmark or one that
// takes pictures. Main thread, after the application object.

/// Gives the program its look and registers the fake services and a temporary settings store. Before the
/// first engine, once in a process.
void setUpFakeProgram();

/// Runs the event loop for so many milliseconds; it sleeps between the events, as the program does. Meanwhile
/// `everyPeriod`, where one is given, runs at the pace of the level reports, at once for the first time.
void runEventLoop(int milliseconds, const std::function<void()>& everyPeriod = {});
