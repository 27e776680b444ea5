#pragma once

/// Lets every JavaScript engine of the process collect its garbage in one go, whatever the environment says;
/// engines of processes that it starts are left alone. Main thread, before the first engine and before any
/// other thread runs: it writes the environment.
void collectGarbageInOneGo();
