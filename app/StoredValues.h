#pragma once

#include <QByteArray>

/// Which values of the settings file QSettings may read. It decodes those of the forms "@Variant(bytes)" and
/// "@DateTime(bytes)" as soon as it reads the file, and believes the numbers in them: a damaged one makes it
/// ask for more memory than there is, or go as deep as the bytes say, and so ends the program. No state; any
/// thread.

/// How deep lists and maps of a value may lie within each other.
constexpr int kDeepestValue = 64;

/// The text of a settings file without the settings that QSettings must not decode; the rest byte for byte.
///
/// Left in are values in that form that are wholly, to the last byte, one of: no value, null, a truth value,
/// a number of 32 or 64 bits, a text, bytes, a list of texts, a list or a map of such values. Every other
/// type goes, dates among them: the program stores none. Values of any other form stay.
[[nodiscard]] QByteArray withoutUnreadableValues(const QByteArray& text);
