#include "app/SettingsManager.h"
#include "app/TranslationManager.h"
#include "tests/support/LogCapture.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

// The application object of this program has no screen.
TEST(TranslationWithoutScreenTest, NothingIsLoadedAndTheLogTellsWhy) {
    const LogCapture log;
    SettingsManager::instance()->removeValue("language");
    TranslationManager manager("de_DE", TranslationManager::usualFolders());
    manager.setEngine(nullptr);
    EXPECT_EQ(log.count("QGuiApplication not available"), 1);
    manager.setLanguage("fr_FR");
    EXPECT_EQ(manager.getCurrentLanguage(), "de_DE");
    EXPECT_EQ(QCoreApplication::translate("MessageDialog", "取消"), QString::fromUtf8("取消"));
    EXPECT_EQ(log.count(R"(Failed to change language to: "fr_FR")"), 1);
    SettingsManager::instance()->removeValue("language");
}
