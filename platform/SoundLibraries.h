#pragma once

// Linking this also keeps the program from ever becoming a client of JACK; sound comes by way of PulseAudio
// or PipeWire. The JACK library would look into a database that all programs of a user share, and a program
// killed while it looks leaves a lock there on which every later one waits for ever.

/// Prepares the sound libraries below PortAudio, before that is initialised; may be called again. Nothing
/// where there are none.
///
/// Redirects the libraries' messages to the logging category `vexo.soundlibraries`, as debug lines (off by
/// default). PortAudio's own lines cannot be redirected ("Expression '...' failed in ...", when a device does
/// not open or goes while it is read).
void prepareSoundLibraries();
