#pragma once

/// Lets the process outlive who reads its output: from now on a write to a pipe or socket that nobody reads
/// any more fails, and does not end the process. Programs that it starts are ended as ever. A signal that was
/// ignored when the process started stays ignored. Does nothing on Windows, where such a write only fails.
///
/// Once, at the start of main.
void outliveBrokenPipes();
