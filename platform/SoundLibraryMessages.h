#pragma once

/// Takes what the sound libraries below PortAudio write to standard error on their own: while it looks for
/// devices they complain of every one that the machine does not have. Each line becomes a debug line of the
/// logging category "vexo.soundlibraries", which is off unless QT_LOGGING_RULES turns it on. Nothing where
/// there are no such libraries. Before PortAudio is initialised; may be called again.
///
/// PortAudio's own lines ("Expression '...' failed in ...", when a device does not open or goes while it is
/// read) still reach standard error: the library has no way to take them.
void takeSoundLibraryMessages();
