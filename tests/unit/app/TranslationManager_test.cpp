#include "app/SettingsManager.h"
#include "app/SystemLanguage.h"
#include "app/TranslationManager.h"
#include "tests/support/LogCapture.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <ostream>

namespace {

const QString kKey = QStringLiteral("language");
const QString kSourceText = QString::fromUtf8("取消");

/// What the program shows for a text of the question bar.
QString shownText() {
    return QCoreApplication::translate("MessageDialog", "取消");
}

QByteArray resourceOf(const QString& code) {
    QFile file(":/translations/VexoDeck_" + code + ".qm");
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString& path, const QByteArray& content) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(content), content.size());
}

/// A store without a language, folders of the test's own, and a log that is not printed.
class TranslationManagerTest : public testing::Test {
protected:
    void SetUp() override {
        SettingsManager::instance()->removeValue(kKey);
        ASSERT_TRUE(folder.isValid());
        for (const QString& name : {own, bundle, qt})
            ASSERT_TRUE(QDir().mkpath(name));
        log.clear();
    }
    void TearDown() override { SettingsManager::instance()->removeValue(kKey); }

    [[nodiscard]] std::unique_ptr<TranslationManager> manager(const QString& systemCode) const {
        return std::make_unique<TranslationManager>(systemCode, TranslationManager::usualFolders());
    }
    /// Looks for files in the folders of the test.
    [[nodiscard]] std::unique_ptr<TranslationManager> managerOfFiles(const QString& systemCode) const {
        return std::make_unique<TranslationManager>(systemCode, TranslationManager::Folders{own, bundle, qt});
    }
    static QString stored() { return SettingsManager::instance()->getValue(kKey).toString(); }

    const QTemporaryDir folder;
    const QString own = folder.filePath("own");
    const QString bundle = folder.filePath("bundle");
    const QString qt = folder.filePath("qt");
    LogCapture log;
    QQmlEngine engine;
};

struct Damage {
    const char* name;
    QByteArray (*apply)(const QByteArray& whole);
};

class DamagedTranslation : public TranslationManagerTest, public testing::WithParamInterface<Damage> {};

void PrintTo(const Damage& damage, std::ostream* out) {
    *out << damage.name;
}

const Damage kDamages[] = {
    {"Empty",
     [](const QByteArray&) {
         return QByteArray();
     }},
    {"CutInHalf",
     [](const QByteArray& whole) {
         return whole.left(whole.size() / 2);
     }},
    {"CutInItsHead",
     [](const QByteArray& whole) {
         return whole.left(10);
     }},
    {"Noise",
     [](const QByteArray& whole) {
         return QByteArray(whole.size(), '\x5a');
     }},
    {"Text",
     [](const QByteArray&) {
         return QByteArray("<?xml version=\"1.0\"?><TS/>");
     }},
};

struct Code {
    const char* name;
    QString text;
};

class NoLanguage : public TranslationManagerTest, public testing::WithParamInterface<Code> {};

const Code kCodes[] = {
    {"Unknown", "xx_XX"},
    {"InAnotherCase", "DE_de"},
    {"WithoutTerritory", "fr"},
    {"PathUpwards", "../../x"},
    {"PathFromTheRoot", "/etc/passwd"},
    {"TenThousandLetters", QString("de_DE").repeated(2000)},
    {"WithAZero", QString::fromUtf8("zh_CN\0", 6)},
    {"Chinese", QString::fromUtf8("德语")},
    {"LineBreak", "\n"},
};

void PrintTo(const Code& code, std::ostream* out) {
    *out << code.name;
}

} // namespace

TEST_F(TranslationManagerTest, WithoutAStoredLanguageTheSystemsCountsAndIsNotStored) {
    const auto subject = manager("fr_FR");
    EXPECT_EQ(subject->getCurrentLanguage(), "fr_FR");
    EXPECT_EQ(subject->getCurrentLanguageIndex(), 6);
    EXPECT_FALSE(SettingsManager::instance()->contains(kKey));
    EXPECT_EQ(log.count(R"(Detected system language: "fr_FR")"), 1);
}

TEST_F(TranslationManagerTest, AStoredLanguageGoesBeforeTheSystems) {
    SettingsManager::instance()->setValue(kKey, "ru_RU");
    const auto subject = manager("fr_FR");
    EXPECT_EQ(subject->getCurrentLanguage(), "ru_RU");
    subject->setEngine(&engine);
    EXPECT_EQ(shownText(), QString::fromUtf8("Отмена"));
}

TEST_F(TranslationManagerTest, TheTextsAreThereOnceTheEngineIsSet) {
    const auto subject = manager("de_DE");
    EXPECT_EQ(shownText(), kSourceText);
    subject->setEngine(&engine);
    EXPECT_EQ(shownText(), "Abbrechen");
    EXPECT_EQ(log.count(R"(Loaded app translation for: "de_DE")"), 1);
    EXPECT_EQ(log.count("QML Engine set for TranslationManager"), 1);
}

TEST_F(TranslationManagerTest, EveryLanguageHasItsTexts) {
    const auto subject = manager("xx_XX");
    subject->setEngine(&engine);
    QStringList texts;
    for (const QString& code : subject->getAvailableLanguages()) {
        subject->setLanguage(code);
        EXPECT_EQ(subject->getCurrentLanguage(), code);
        EXPECT_EQ(stored(), code);
        texts.append(shownText());
    }
    EXPECT_EQ(texts, (QStringList{"取消", "取消", "Cancel", "キャンセル", "Отмена", "Abbrechen", "Annuler",
                                  "Cancelar", "Annulla"}));
}

TEST_F(TranslationManagerTest, SettingThePresentLanguageNeitherStoresNorEmits) {
    const auto subject = manager("de_DE");
    const QSignalSpy changes(subject.get(), &TranslationManager::languageChanged);
    subject->setLanguage("de_DE");
    EXPECT_EQ(changes.size(), 0);
    EXPECT_FALSE(SettingsManager::instance()->contains(kKey));
}

TEST_F(TranslationManagerTest, AChangeIsStoredToldAndLogged) {
    const auto subject = manager("de_DE");
    subject->setEngine(&engine);
    const QSignalSpy changes(subject.get(), &TranslationManager::languageChanged);
    log.clear();
    subject->setLanguage("it_IT");
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes.at(0).at(0).toString(), "it_IT");
    EXPECT_EQ(stored(), "it_IT");
    const QStringList lines = log.texts(QtDebugMsg);
    EXPECT_EQ(lines.first(), R"(Changing language from "de_DE" to "it_IT")");
    EXPECT_EQ(lines.sliced(lines.size() - 2), (QStringList{"Called QQmlApplicationEngine::retranslate()",
                                                           R"(Language changed successfully to: "it_IT")"}));
}

TEST_F(TranslationManagerTest, LanguageChangedComesBeforeTheDocumentsAreTranslated) {
    const auto subject = manager("de_DE");
    subject->setEngine(&engine);
    QQmlComponent component(&engine);
    component.setData(
        "import QtQml\nQtObject { property string text: qsTranslate(\"MessageDialog\", \"取消\") }", QUrl());
    const std::unique_ptr<QObject> document(component.create());
    ASSERT_NE(document, nullptr);
    ASSERT_EQ(document->property("text").toString(), "Abbrechen");
    QString before;
    QObject::connect(subject.get(), &TranslationManager::languageChanged, subject.get(),
                     [&] { before = document->property("text").toString(); });
    subject->setLanguage("fr_FR");
    EXPECT_EQ(before, "Abbrechen");
    EXPECT_EQ(document->property("text").toString(), "Annuler");
}

TEST_F(TranslationManagerTest, AChangeWithoutAnEngineIsTold) {
    const auto subject = manager("de_DE");
    subject->setLanguage("fr_FR");
    EXPECT_EQ(shownText(), "Annuler");
    EXPECT_EQ(log.count("QML Engine not available for retranslate"), 1);
}

TEST_F(TranslationManagerTest, AnEngineThatIsGoneIsNoEngine) {
    const auto subject = manager("de_DE");
    subject->setEngine(std::make_unique<QQmlEngine>().get());
    subject->setLanguage("fr_FR");
    EXPECT_EQ(log.count("QML Engine not available for retranslate"), 1);
}

TEST_F(TranslationManagerTest, AStoredCodeThatIsNoneOfTheListHasNoTranslationAndNoIndex) {
    SettingsManager::instance()->setValue(kKey, "xx_XX");
    const auto subject = manager("de_DE");
    subject->setEngine(&engine);
    EXPECT_EQ(shownText(), kSourceText);
    EXPECT_EQ(subject->getCurrentLanguage(), "xx_XX");
    EXPECT_EQ(subject->getCurrentLanguageIndex(), -1);
    EXPECT_EQ(log.count(R"(Failed to load app translation for: "xx_XX")"), 1);
    EXPECT_EQ(log.count(R"(Failed to load app translation from bundle for: "xx_XX")"), 1);
    subject->setLanguage("it_IT");
    EXPECT_EQ(shownText(), "Annulla");
}

TEST_P(NoLanguage, LeavesTheSourceTextsAndTheLanguageAsItWas) {
    const auto subject = manager("de_DE");
    subject->setEngine(&engine);
    const QSignalSpy changes(subject.get(), &TranslationManager::languageChanged);
    subject->setLanguage(GetParam().text);
    EXPECT_EQ(stored(), GetParam().text);
    EXPECT_EQ(subject->getCurrentLanguage(), "de_DE");
    EXPECT_EQ(shownText(), kSourceText);
    EXPECT_EQ(changes.size(), 0);
    EXPECT_EQ(log.count("Failed to change language to:"), 1);
}

INSTANTIATE_TEST_SUITE_P(Codes, NoLanguage, testing::ValuesIn(kCodes),
                         [](const auto& row) { return row.param.name; });

TEST_F(TranslationManagerTest, ACodeThatIsAPathLeadsToNoFile) {
    ASSERT_TRUE(QDir().mkpath(own + "/VexoDeck_.."));
    writeFile(own + "/VexoDeck_../x.qm", resourceOf("fr_FR"));
    const auto subject = managerOfFiles("de_DE");
    subject->setLanguage("../x");
    EXPECT_EQ(shownText(), kSourceText);
}

TEST_F(TranslationManagerTest, ALanguageWithoutItsFileLeavesTheSourceTexts) {
    writeFile(own + "/VexoDeck_de_DE.qm", resourceOf("de_DE"));
    const auto subject = managerOfFiles("de_DE");
    subject->setEngine(&engine);
    ASSERT_EQ(shownText(), "Abbrechen");
    subject->setLanguage("fr_FR");
    EXPECT_EQ(stored(), "fr_FR");
    EXPECT_EQ(subject->getCurrentLanguage(), "de_DE");
    EXPECT_EQ(shownText(), kSourceText);
}

TEST_F(TranslationManagerTest, AfterALanguageThatFailsTheFormerOneCanBeChosenAgain) {
    writeFile(own + "/VexoDeck_de_DE.qm", resourceOf("de_DE"));
    const auto subject = managerOfFiles("de_DE");
    subject->setEngine(&engine);
    const QSignalSpy changes(subject.get(), &TranslationManager::languageChanged);
    subject->setLanguage("fr_FR");
    subject->setLanguage("de_DE");
    EXPECT_EQ(shownText(), "Abbrechen");
    EXPECT_EQ(stored(), "de_DE");
    EXPECT_EQ(changes.size(), 1);
    subject->setLanguage("de_DE");
    EXPECT_EQ(changes.size(), 1);
}

TEST_F(TranslationManagerTest, AFolderInThePlaceOfAFileIsNone) {
    ASSERT_TRUE(QDir().mkpath(own + "/VexoDeck_fr_FR.qm"));
    const auto subject = managerOfFiles("de_DE");
    subject->setLanguage("fr_FR");
    EXPECT_EQ(shownText(), kSourceText);
    EXPECT_EQ(log.count("Failed to change language to:"), 1);
}

TEST_P(DamagedTranslation, LeavesTheSourceTexts) {
    writeFile(own + "/VexoDeck_fr_FR.qm", GetParam().apply(resourceOf("fr_FR")));
    const auto subject = managerOfFiles("de_DE");
    subject->setLanguage("fr_FR");
    EXPECT_EQ(stored(), "fr_FR");
    EXPECT_EQ(subject->getCurrentLanguage(), "de_DE");
    EXPECT_EQ(shownText(), kSourceText);
}

TEST_P(DamagedTranslation, IsReplacedByTheOneOfTheBundle) {
    writeFile(own + "/VexoDeck_fr_FR.qm", GetParam().apply(resourceOf("fr_FR")));
    writeFile(bundle + "/VexoDeck_fr_FR.qm", resourceOf("fr_FR"));
    const auto subject = managerOfFiles("de_DE");
    subject->setLanguage("fr_FR");
    EXPECT_EQ(shownText(), "Annuler");
    EXPECT_EQ(log.count(R"(Failed to load app translation for: "fr_FR")"), 1);
    EXPECT_EQ(log.count(R"(Loaded app translation from bundle for: "fr_FR")"), 1);
}

INSTANTIATE_TEST_SUITE_P(Files, DamagedTranslation, testing::ValuesIn(kDamages),
                         [](const auto& row) { return row.param.name; });

TEST_F(TranslationManagerTest, TheTextsOfQtComeWithThoseOfTheProgram) {
    writeFile(own + "/VexoDeck_de_DE.qm", resourceOf("de_DE"));
    // Qt's files have the short names of most languages.
    writeFile(qt + "/qt_de.qm", resourceOf("de_DE"));
    const auto subject = managerOfFiles("de_DE");
    subject->setEngine(&engine);
    EXPECT_EQ(log.count(R"(Loaded Qt translation for: "de_DE")"), 1);
}

TEST_F(TranslationManagerTest, MissingTextsOfQtAreLoggedAndNothingElse) {
    writeFile(own + "/VexoDeck_de_DE.qm", resourceOf("de_DE"));
    const auto subject = managerOfFiles("en_US");
    subject->setLanguage("de_DE");
    EXPECT_EQ(subject->getCurrentLanguage(), "de_DE");
    EXPECT_EQ(log.count(R"(Failed to load Qt translation for: "de_DE")"), 1);
}

TEST_F(TranslationManagerTest, ALanguageThatFailsTakesTheTextsOfQtWithIt) {
    // Under the name of Qt's texts, those of the program: they would show if they stayed.
    writeFile(qt + "/qt_fr.qm", resourceOf("fr_FR"));
    const auto subject = managerOfFiles("de_DE");
    subject->setLanguage("fr_FR");
    EXPECT_EQ(shownText(), kSourceText);
}

TEST_F(TranslationManagerTest, EachIndexStandsForALanguage) {
    const auto subject = manager("xx_XX");
    for (int8_t index = 0; index < 9; index++) {
        subject->setLanguageIndex(index);
        EXPECT_EQ(subject->getCurrentLanguageIndex(), index);
    }
    EXPECT_EQ(subject->getAvailableLanguages(), programLanguages());
}

TEST_F(TranslationManagerTest, AnIndexOutsideOfTheListChangesNothing) {
    const auto subject = manager("de_DE");
    subject->setEngine(&engine);
    for (const int index : {-128, -1, 9, 127})
        subject->setLanguageIndex(static_cast<int8_t>(index));
    EXPECT_EQ(subject->getCurrentLanguage(), "de_DE");
    EXPECT_EQ(shownText(), "Abbrechen");
    EXPECT_FALSE(SettingsManager::instance()->contains(kKey));
    EXPECT_EQ(log.count("No language has the index"), 4);
}

TEST_F(TranslationManagerTest, DocumentsSetTheLanguageByItsIndex) {
    const auto subject = manager("de_DE");
    subject->setEngine(&engine);
    engine.rootContext()->setContextProperty("manager", subject.get());
    QQmlComponent component(&engine);
    component.setData(R"(
        import QtQml
        QtObject {
            function choose(index) {
                manager.setLanguageIndex(index);
                return manager.getCurrentLanguageIndex();
            }
        })",
                      QUrl());
    const std::unique_ptr<QObject> document(component.create());
    ASSERT_NE(document, nullptr);
    const auto choose = [&document](const QVariant& index) {
        QVariant result;
        QMetaObject::invokeMethod(document.get(), "choose", Q_RETURN_ARG(QVariant, result),
                                  Q_ARG(QVariant, index));
        return result.toInt();
    };
    EXPECT_EQ(choose(4), 4);
    EXPECT_EQ(choose(2.0), 2);
    EXPECT_EQ(choose(-1), 2);
    EXPECT_EQ(choose(9), 2);
    EXPECT_EQ(choose(200), 2);
    EXPECT_EQ(choose(0), 0);
}

TEST_F(TranslationManagerTest, TheIndexKnowsACodeInItsOwnCaseOnly) {
    SettingsManager::instance()->setValue(kKey, "DE_DE");
    EXPECT_EQ(manager("fr_FR")->getCurrentLanguageIndex(), -1);
}

TEST_F(TranslationManagerTest, ItsEndTakesTheTextsAway) {
    auto subject = manager("de_DE");
    subject->setEngine(&engine);
    ASSERT_EQ(shownText(), "Abbrechen");
    subject.reset();
    EXPECT_EQ(shownText(), kSourceText);
}

int main(int argc, char* argv[]) {
    const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.filePath("config").toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleTest(&argc, argv);
    const QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Vexo Deck Languages Test"));
    return RUN_ALL_TESTS();
}
