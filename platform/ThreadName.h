#pragma once

/// Names the calling thread, as debuggers and process lists show it. At most 15 bytes are kept on Linux.
void nameThisThread(const char* name);
