#pragma once

/// Names the calling thread, as debuggers and process lists show it. At most 15 bytes are kept on Linux. A
/// thread that has a name also reports an overflow of its stack (CrashReports.h).
void nameThisThread(const char* name);
