#include "app/SystemLanguage.h"

#include <QDebug>

#include <array>
#include <utility>

namespace {

struct Beginning {
    QLatin1StringView text; // of an entry in lower case, with underscores
    QLatin1StringView code;
};

constexpr QLatin1StringView kSimplifiedChinese("zh_CN");
constexpr QLatin1StringView kTraditionalChinese("zh_TW");
constexpr QLatin1StringView kEnglish("en_US");

// Tried in this order. Two letters are enough: an entry of another language that begins alike counts, too.
constexpr std::array kBeginnings{
    Beginning{QLatin1StringView("zh_hans"), kSimplifiedChinese},
    Beginning{QLatin1StringView("zh_cn"), kSimplifiedChinese},
    Beginning{QLatin1StringView("zh_hant"), kTraditionalChinese},
    Beginning{QLatin1StringView("zh_tw"), kTraditionalChinese},
    Beginning{QLatin1StringView("zh_hk"), kTraditionalChinese},
    Beginning{QLatin1StringView("en"), kEnglish},
    Beginning{QLatin1StringView("ja"), QLatin1StringView("ja_JP")},
    Beginning{QLatin1StringView("ru"), QLatin1StringView("ru_RU")},
    Beginning{QLatin1StringView("de"), QLatin1StringView("de_DE")},
    Beginning{QLatin1StringView("fr"), QLatin1StringView("fr_FR")},
    Beginning{QLatin1StringView("es"), QLatin1StringView("es_ES")},
    Beginning{QLatin1StringView("it"), QLatin1StringView("it_IT")},
};

constexpr std::array kLanguages{
    std::pair{QLocale::English, kEnglish},
    std::pair{QLocale::Japanese, QLatin1StringView("ja_JP")},
    std::pair{QLocale::Russian, QLatin1StringView("ru_RU")},
    std::pair{QLocale::German, QLatin1StringView("de_DE")},
    std::pair{QLocale::French, QLatin1StringView("fr_FR")},
    std::pair{QLocale::Spanish, QLatin1StringView("es_ES")},
    std::pair{QLocale::Italian, QLatin1StringView("it_IT")},
};

bool writesTraditionalChinese(QLocale::Territory territory) {
    return territory == QLocale::Taiwan || territory == QLocale::HongKong;
}

// Nothing where the entry is none of the program's languages.
QString codeOfEntry(const QString& entry, QLocale::Territory territory) {
    for (const Beginning& beginning : kBeginnings) {
        if (entry.startsWith(beginning.text)) {
            return beginning.code;
        }
    }
    if (entry == QLatin1StringView("zh") && territory == QLocale::China) {
        return kSimplifiedChinese;
    }
    if (entry == QLatin1StringView("zh") && writesTraditionalChinese(territory)) {
        return kTraditionalChinese;
    }
    return {};
}

QString codeOfLocale(const QLocale& locale) {
    if (locale.language() == QLocale::Chinese) {
        return writesTraditionalChinese(locale.territory()) ? kTraditionalChinese : kSimplifiedChinese;
    }
    for (const auto& [language, code] : kLanguages) {
        if (locale.language() == language) {
            return code;
        }
    }
    return kEnglish;
}

} // namespace

const QStringList& programLanguages() {
    static const QStringList codes{"zh_CN", "zh_TW", "en_US", "ja_JP", "ru_RU",
                                   "de_DE", "fr_FR", "es_ES", "it_IT"};
    return codes;
}

QString systemLanguage(const QStringList& uiLanguages, const QLocale& locale) {
    QString candidate = kEnglish;
    for (const QString& uiLanguage : uiLanguages) {
        const QString entry = QString(uiLanguage).replace(u'-', u'_').toLower();
        qDebug() << "Checking UI language:" << uiLanguage << "-> normalized:" << entry;
        const QString code = codeOfEntry(entry, locale.territory());
        if (!code.isEmpty()) {
            candidate = code;
            break;
        }
    }
    qDebug() << "System UI languages:" << uiLanguages;
    if (candidate == kEnglish) {
        qDebug() << "Fallback to locale - Language:" << locale.language() << "Country:" << locale.territory();
        candidate = codeOfLocale(locale);
    }
    return candidate;
}
