#pragma once

#include <QLocale>
#include <QString>
#include <QStringList>

/// Which of the program's languages a system speaks. No state; any thread.

/// The codes of the program's languages. The order is that of the language index, which the screens and the
/// names of files rely on.
[[nodiscard]] const QStringList& programLanguages();

/// The code of programLanguages() for a system whose user wants `uiLanguages`, best first, as
/// QLocale::uiLanguages() writes them. The first entry that is one of the program's languages decides;
/// "en_US" otherwise. Kept: where that gives "en_US", from an entry of English too, the language of `locale`
/// decides. Logs what it looks at.
[[nodiscard]] QString systemLanguage(const QStringList& uiLanguages, const QLocale& locale);
