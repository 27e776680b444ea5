#pragma once

/// Lets the process's wide standard output (std::wcout) express every character, as UTF-8, wherever it is
/// led: on Windows the C locale would refuse whatever is not Latin. What is written goes out when the stream
/// is flushed. The narrow standard output stays as it is, and the two may be mixed. Nothing on Linux, where
/// Qt sees to a locale with UTF-8.
///
/// Once, at the start of main, before anything is written; without a standard output it does no harm.
void makeWideOutputUtf8();
