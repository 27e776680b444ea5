#pragma once

#include <functional>

// What every program does that runs the real documents with fake services: tests, benchmarks and those that
// take pictures. Main thread, after the application object.

/// Sets the program's look and registers the fake services and a temporary settings store. Before the first
/// engine, once in a process.
void setUpFakeProgram();

/// Registers the real TranslationManager, with Chinese as the system's language, one for each engine. A part
/// of setUpFakeProgram(), for programs that register services of their own. Once in a process.
void registerTranslations();

/// Registers the real store of the events, on a file of its own, one for each engine. Part of
/// setUpFakeProgram().
void registerTemporaryEvents();

/// Runs the event loop for the given milliseconds; it sleeps between events, as the program does. Meanwhile
/// calls `everyPeriod`, where one is given, as often as level reports come, the first time at once.
void runEventLoop(int milliseconds, const std::function<void()>& everyPeriod = {});
