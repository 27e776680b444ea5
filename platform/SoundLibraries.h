#pragma once

// Linking this also keeps the program from ever becoming a client of JACK; sound comes by way of PulseAudio
// or PipeWire. The JACK library would look into a database that all programs of a user share, and a program
// killed while it looks leaves a lock there on which every later one waits for ever.

/// Prepares the sound libraries below PortAudio, before that is initialised; may be called again. Nothing
/// where there are none.
///
/// Takes what they write to standard error on their own: while they look for devices they complain of every
/// one that the machine does not have. Each line becomes a debug line of the logging category
/// "vexo.soundlibraries", which is off unless QT_LOGGING_RULES turns it on. PortAudio's own lines
/// ("Expression '...' failed in ...", when a device does not open or goes while it is read) still reach
/// standard error: the library has no way to take them.
void prepareSoundLibraries();
