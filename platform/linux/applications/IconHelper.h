#pragma once

#include <QImage>
#include <QString>

/// loadIcon() of kIconFileSize in the helper process (see platform/IconHelper.h), at most 256 pixels wide and
/// high. Null when there is no such icon, and when reading it takes longer than 5 s, 2 s of a processor or
/// 512 MB: then the helper is ended, a warning names the icon, and it is not asked for again. Any thread; one
/// icon at a time.
[[nodiscard]] QImage loadIconInHelper(const QString& nameOrPath);
