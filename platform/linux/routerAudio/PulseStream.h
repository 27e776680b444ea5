#pragma once

#include <pulse/pulseaudio.h>

/// Ends a stream and lets go of it: no callback of its owner's comes any more. One that the server is only
/// just making cannot be ended yet; it is kept until it is made, or the connection goes. The main loop's
/// thread, or under its lock. Null does nothing.
void retireStream(pa_stream* stream);
