// What the program shows by the system's own means, and what its file says of it to the system.

#include "platform/windows/applications/Notification.h"
#include "tests/support/LogCapture.h"
#include "tests/windows/SoundScene.h"

#include <QCoreApplication>
#include <QDir>

#include <gtest/gtest.h>
#include <string>
#include <thread>

TEST(Notification, ShowsItsTextUntilTheUserClosesIt) {
    const QString title = QStringLiteral("Vexo 通知");
    std::wstring shown;
    std::thread user([&] {
        HWND window = nullptr;
        EXPECT_TRUE(comesTrue([&] {
            window = FindWindowW(L"#32770", title.toStdWString().c_str());
            return window != nullptr && IsWindowVisible(window) != 0;
        }));
        EnumChildWindows(
            window,
            [](HWND child, LPARAM texts) -> BOOL {
                std::wstring text(256, L'\0');
                text.resize(static_cast<std::size_t>(GetWindowTextW(child, text.data(), 256)));
                *reinterpret_cast<std::wstring*>(texts) += text + L';';
                return TRUE;
            },
            reinterpret_cast<LPARAM>(&shown));
        PostMessageW(window, WM_COMMAND, IDOK, 0);
    });
    const LogCapture log;
    EXPECT_TRUE(showWindowsNotification(title, QStringLiteral("麦克风已连接")));
    user.join();
    EXPECT_NE(shown.find(L"麦克风已连接;"), std::wstring::npos)
        << QString::fromStdWString(shown).toStdString();
    EXPECT_TRUE(log.texts(QtWarningMsg).isEmpty());
}

TEST(Notification, BoxThatCannotBeShownIsToldInTheLog) {
    const LogCapture log;
    EXPECT_FALSE(showWindowsNotification(QStringLiteral("a"), QStringLiteral("b"),
                                         [](HWND, LPCWSTR text, LPCWSTR title, UINT) {
                                             EXPECT_STREQ(text, L"b");
                                             EXPECT_STREQ(title, L"a");
                                             return 0;
                                         }));
    EXPECT_EQ(log.texts(QtWarningMsg), QStringList(QStringLiteral("Failed to show Windows notification")));
}

TEST(Manifest, ProgramsFileSaysDpiAwarenessCodePageAndSupportedSystems) {
    const QString path =
        QDir::toNativeSeparators(QCoreApplication::applicationDirPath() + "/../../app/VexoDeck.exe");
    const HMODULE program = LoadLibraryExW(path.toStdWString().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    ASSERT_NE(program, nullptr) << path.toStdString();
    const HRSRC resource = FindResourceW(program, MAKEINTRESOURCEW(1), RT_MANIFEST);
    ASSERT_NE(resource, nullptr);
    const HGLOBAL loaded = LoadResource(program, resource);
    const std::string text(static_cast<const char*>(LockResource(loaded)), SizeofResource(program, resource));
    for (const char* const part :
         {">PerMonitorV2</dpiAwareness>", ">UTF-8</activeCodePage>", ">true</longPathAware>",
          "<supportedOS Id=\"{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}\"/>", "level=\"asInvoker\""}) {
        EXPECT_NE(text.find(part), std::string::npos) << part << " is not in\n" << text;
    }
    FreeLibrary(program);
}

TEST(Manifest, CodePageOfAProgramWithItIsUtf8) {
    // This test has the program's manifest.
    EXPECT_EQ(GetACP(), 65001u);
}
