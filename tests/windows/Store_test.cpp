// The program's own store in the registry, which other parts of the program, and its users, read back.

#include "app/SettingsManager.h"
#include "tests/support/qml/FakeHIDHotplugManager.h"
#include "tests/support/qml/FakeNetworkManager.h"
#include "tests/support/qml/FakeProgram.h"
#include "tests/support/qml/FakeSystemBridge.h"

#include <QCoreApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QSettings>
#include <QSignalSpy>

#include <gtest/gtest.h>
#include <memory>
#include <windows.h>

namespace {

// A product of its own for each test: the user's store is not touched.
class Store : public testing::Test {
protected:
    Store() {
        QCoreApplication::setApplicationName(QStringLiteral("Vexo Deck Store Test"));
        RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Vexo Deck Store Test");
    }
    ~Store() override {
        RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Vexo Deck Store Test");
        QCoreApplication::setApplicationName({});
    }

    // What the registry has under a name, and of which type.
    static std::pair<DWORD, std::wstring> inRegistry(const wchar_t* name) {
        DWORD type = REG_NONE;
        std::wstring text(256, L'\0');
        auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
        if (RegGetValueW(HKEY_CURRENT_USER, L"Software\\Vexo Deck Store Test\\Settings", name, RRF_RT_ANY,
                         &type, text.data(), &size) != ERROR_SUCCESS) {
            return {REG_NONE, {}};
        }
        text.resize(size / sizeof(wchar_t));
        text.resize(std::min(text.size(), text.find(L'\0')));
        return {type, text};
    }
};

} // namespace

TEST_F(Store, LiesInTheRegistryUnderTheProductsOwnName) {
    SettingsManager store;
    store.setValue(QStringLiteral("language"), QStringLiteral("zh_CN"));
    store.sync();
    EXPECT_EQ(inRegistry(L"language"), (std::pair<DWORD, std::wstring>(REG_SZ, L"zh_CN")));
}

TEST_F(Store, SwitchIsTextInTheRegistryAndComesBackAsText) {
    {
        SettingsManager store;
        store.setValue(QStringLiteral("consent"), true);
        store.setValue(QStringLiteral("mute"), false);
    }
    EXPECT_EQ(inRegistry(L"consent"), (std::pair<DWORD, std::wstring>(REG_SZ, L"true")));
    EXPECT_EQ(inRegistry(L"mute"), (std::pair<DWORD, std::wstring>(REG_SZ, L"false")));
    SettingsManager again;
    EXPECT_EQ(again.getValue(QStringLiteral("consent")).toString(), QStringLiteral("true"));
    EXPECT_EQ(again.getValue(QStringLiteral("mute")).toString(), QStringLiteral("false"));
}

TEST_F(Store, FreshStoreHasNoKeyAndGivesTheDefault) {
    SettingsManager store;
    EXPECT_TRUE(store.getAllKeys().isEmpty());
    EXPECT_FALSE(store.contains(QStringLiteral("consent")));
    EXPECT_FALSE(store.getValue(QStringLiteral("consent")).isValid());
    EXPECT_EQ(store.getValue(QStringLiteral("gain"), 15), QVariant(15));
}

TEST_F(Store, NumbersColoursAndListsComeBack) {
    {
        SettingsManager store;
        store.setValue(QStringLiteral("gain"), 15);
        store.setColor(QStringLiteral("color"), QColor(0x12, 0x34, 0x56, 0x78));
        store.setStringList(QStringLiteral("presets"), {QStringLiteral("原声"), QStringLiteral("平坦")});
    }
    SettingsManager again;
    EXPECT_EQ(again.getValue(QStringLiteral("gain")).toInt(), 15);
    EXPECT_EQ(inRegistry(L"color"), (std::pair<DWORD, std::wstring>(REG_SZ, L"#123456")));
    EXPECT_EQ(again.getColor(QStringLiteral("color")), QColor(0x12, 0x34, 0x56));
    EXPECT_EQ(again.getStringList(QStringLiteral("presets")),
              (QStringList{QStringLiteral("原声"), QStringLiteral("平坦")}));
}

TEST_F(Store, ArrayOfTheScriptLanguageComesBackAsTextsWhichCountAsAnother) {
    SettingsManager store;
    const QVariant array(QVariantList{QStringLiteral("a"), QStringLiteral("b")});
    store.setValue(QStringLiteral("list"), array);
    EXPECT_EQ(store.getValue(QStringLiteral("list")),
              QVariant(QStringList{QStringLiteral("a"), QStringLiteral("b")}));
    const QSignalSpy changes(&store, &SettingsManager::valueChanged);
    store.setValue(QStringLiteral("list"), array);
    EXPECT_EQ(changes.size(), 1);
    store.setStringList(QStringLiteral("list"), {QStringLiteral("a"), QStringLiteral("b")});
    EXPECT_EQ(changes.size(), 1);
}

TEST_F(Store, ClearEmptiesTheRegistry) {
    SettingsManager store;
    store.setValue(QStringLiteral("gain"), QStringLiteral("15"));
    store.sync();
    store.clear();
    store.sync();
    EXPECT_EQ(inRegistry(L"gain").first, static_cast<DWORD>(REG_NONE));
}

namespace {

// What the screens read of a switch, in a program that starts anew.
QVariant readByTheScreens(const QString& key) {
    QQmlEngine engine;
    QQmlComponent document(&engine);
    document.setData("import QtQml\nimport MediaControls\n"
                     "QtObject { function read(key: string): var { return ConfigMgr.getValue(key); } }",
                     QUrl());
    const std::unique_ptr<QObject> root(document.create());
    if (root == nullptr) {
        ADD_FAILURE() << document.errorString().toStdString();
        return {};
    }
    QVariant value;
    EXPECT_TRUE(QMetaObject::invokeMethod(root.get(), "read", Q_RETURN_ARG(QVariant, value), key));
    return value;
}

} // namespace

TEST_F(Store, ConsentIsClearOnAFreshStoreAndAsTheUserLeftItAfterwards) {
    registerFakeHIDHotplugManager();
    registerFakeNetworkManager();
    registerTemporaryEvents();
    registerFakeSystemBridge();
    registerTranslations();
    // Each engine owns its store.
    qmlRegisterSingletonType<SettingsManager>(
        "VexoDeckSettings", 1, 0, "SettingsManager",
        [](QQmlEngine*, QJSEngine*) -> QObject* { return new SettingsManager; });
    const QString consent = QStringLiteral("share_data");
    // Although its default is true: the registry's text alone is consent.
    EXPECT_EQ(inRegistry(L"share_data").first, static_cast<DWORD>(REG_NONE));
    EXPECT_EQ(readByTheScreens(consent), QVariant(false));
    EXPECT_EQ(readByTheScreens(QStringLiteral("auto_install")), QVariant(false));
    for (const bool given : {true, false}) {
        SettingsManager().setValue(consent, given);
        EXPECT_EQ(inRegistry(L"share_data"),
                  (std::pair<DWORD, std::wstring>(REG_SZ, given ? L"true" : L"false")));
        EXPECT_EQ(readByTheScreens(consent), QVariant(given));
    }
}
