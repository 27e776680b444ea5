#include "app/SystemLanguage.h"
#include "tests/support/LogCapture.h"

#include <QLocale>

#include <gtest/gtest.h>
#include <ostream>

namespace {

struct SystemRow {
    const char* name;
    QStringList uiLanguages;
    const char* locale;
    const char* code;
};

void PrintTo(const SystemRow& row, std::ostream* out) {
    *out << row.name;
}

class SystemLanguageTest : public testing::TestWithParam<SystemRow> {};

const SystemRow kRows[] = {
    {"TheFirstEntryDecides", {"fr-CA", "en-US"}, "fr_CA", "fr_FR"},
    {"EntriesOfOtherLanguagesAreSkipped", {"pt-BR", "ko", "es-MX", "de"}, "pt_BR", "es_ES"},
    {"SimplifiedScript", {"zh-Hans-SG"}, "zh_SG", "zh_CN"},
    {"ChinaByName", {"zh-CN"}, "en_US", "zh_CN"},
    {"BareChineseInChina", {"zh"}, "zh_CN", "zh_CN"},
    {"TraditionalScript", {"zh-Hant-HK"}, "zh_HK", "zh_TW"},
    {"TaiwanByName", {"zh_TW"}, "en_US", "zh_TW"},
    {"HongKongByName", {"zh-HK"}, "en_US", "zh_TW"},
    {"BareChineseInTaiwan", {"zh"}, "zh_TW", "zh_TW"},
    {"BareChineseInHongKong", {"zh"}, "zh_HK", "zh_TW"},
    {"BareChineseElsewhereGoesByTheLocale", {"zh"}, "zh_SG", "zh_CN"},
    {"ChineseOfMacaoIsNoEntryOfTheTable", {"zh-MO"}, "zh_MO", "zh_CN"},
    {"BareChineseIsSkippedForTheNextEntry", {"zh", "ja-JP"}, "zh_SG", "ja_JP"},
    {"English", {"en-GB"}, "en_GB", "en_US"},
    {"Japanese", {"ja"}, "en_US", "ja_JP"},
    {"Russian", {"ru-UA"}, "en_US", "ru_RU"},
    {"German", {"de-AT"}, "en_US", "de_DE"},
    {"French", {"fr-BE"}, "en_US", "fr_FR"},
    {"Spanish", {"es-419"}, "en_US", "es_ES"},
    {"Italian", {"it-CH"}, "en_US", "it_IT"},
    {"CapitalsDoNotCount", {"DE-ch"}, "en_US", "de_DE"},
    {"AnEntryThatBeginsLikeALanguageCounts", {"rue"}, "en_US", "ru_RU"},
    {"EnglishFirstOnAGermanSystemGoesByTheLocale", {"en", "fr"}, "de_DE", "de_DE"},
    {"EnglishFirstOnAChineseSystemGoesByTheLocale", {"en-US"}, "zh_CN", "zh_CN"},
    {"NoEntriesGoByTheLocale", {}, "it_IT", "it_IT"},
    {"NoEntriesInTaiwan", {}, "zh_TW", "zh_TW"},
    {"NoEntriesInHongKong", {}, "zh_HK", "zh_TW"},
    {"NoEntriesInJapan", {}, "ja_JP", "ja_JP"},
    {"NoEntriesInRussia", {}, "ru_RU", "ru_RU"},
    {"NoEntriesInFrance", {}, "fr_FR", "fr_FR"},
    {"NoEntriesInSpain", {}, "es_ES", "es_ES"},
    {"AForeignLanguageIsEnglish", {"ko-KR"}, "ko_KR", "en_US"},
    {"AForeignLanguageOnASystemOfTheTableGoesByTheLocale", {"ko-KR"}, "ru_RU", "ru_RU"},
    {"NothingAtAllIsEnglish", {}, "C", "en_US"},
    {"EntriesThatAreNoLanguagesAreSkipped", {"", "C", "POSIX", "*", "fr"}, "C", "fr_FR"},
};

} // namespace

TEST_P(SystemLanguageTest, IsTheProgramsLanguageOfTheSystem) {
    const LogCapture log;
    EXPECT_EQ(systemLanguage(GetParam().uiLanguages, QLocale(GetParam().locale)), GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(Rows, SystemLanguageTest, testing::ValuesIn(kRows),
                         [](const auto& row) { return row.param.name; });

TEST(SystemLanguageLogTest, TellsEachEntryUpToTheOneThatDecides) {
    const LogCapture log;
    ASSERT_EQ(systemLanguage({"ko-KR", "fr-CA", "de"}, QLocale("ko_KR")), "fr_FR");
    EXPECT_EQ(log.texts(QtDebugMsg), (QStringList{R"(Checking UI language: "ko-KR" -> normalized: "ko_kr")",
                                                  R"(Checking UI language: "fr-CA" -> normalized: "fr_ca")",
                                                  R"(System UI languages: QList("ko-KR", "fr-CA", "de"))"}));
}

TEST(SystemLanguageLogTest, TellsThatTheLocaleDecides) {
    const LogCapture log;
    ASSERT_EQ(systemLanguage({"en"}, QLocale("de_AT")), "de_DE");
    EXPECT_EQ(log.texts(QtDebugMsg).last(),
              "Fallback to locale - Language: QLocale::German Country: QLocale::Austria");
}

TEST(ProgramLanguagesTest, StandInTheOrderOfTheirIndex) {
    EXPECT_EQ(programLanguages(),
              (QStringList{"zh_CN", "zh_TW", "en_US", "ja_JP", "ru_RU", "de_DE", "fr_FR", "es_ES", "it_IT"}));
}
