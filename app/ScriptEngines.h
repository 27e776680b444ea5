#pragma once

/// Lets every JavaScript engine of the process collect its garbage in one go, whatever the environment says.
/// Main thread, before the first engine; it writes the environment, which no other thread may read meanwhile.
void collectGarbageInOneGo();
