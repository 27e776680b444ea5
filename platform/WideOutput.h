#pragma once

/// Makes the process's wide standard output (std::wcout) write UTF-8. On Windows the C locale refuses all but
/// Latin characters. What is written goes out when the stream is flushed. The narrow standard output stays as
/// it is, and the two may be mixed. Does nothing on Linux, where Qt sets a locale with UTF-8.
///
/// Once, at the start of main, before anything is written; without a standard output it does no harm.
void makeWideOutputUtf8();

/// Writes one Unicode character to the wide standard output, in as many wide characters as the system needs.
/// As with any output, std::wcout fails where it cannot express the character. One thread at a time.
void writeWide(char32_t character);
