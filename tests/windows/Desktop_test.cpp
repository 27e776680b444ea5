// What the program does on the desktop in the user's place, and what it hears of screen and session.

#include "bridge/Launching.h"
#include "platform/ScreenCapture.h"
#include "platform/windows/desktop/DesktopOpener.h"
#include "platform/windows/desktop/KeyInjection.h"
#include "platform/windows/desktop/PowerMonitor.h"
#include "tests/support/Await.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <array>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace {

// ---- the power window

constexpr GUID kConsoleDisplay = {
    0x6FE69556, 0x704A, 0x47A0, {0x8F, 0x24, 0xC2, 0x8D, 0x93, 0x6F, 0xDA, 0x47}};
constexpr GUID kSessionDisplay = {
    0x2B84C20E, 0xAD23, 0x4DDF, {0x93, 0xDB, 0x05, 0xFF, 0xBD, 0x7E, 0xFC, 0xA5}};

HWND powerWindow() {
    return FindWindowExW(HWND_MESSAGE, nullptr, kPowerWindowClass, nullptr);
}

class WindowsPowerMonitor : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(startPowerMonitor([this](bool screenOn) { states.push_back(screenOn); }));
        window = powerWindow();
        ASSERT_NE(window, nullptr);
    }
    void TearDown() override { stopPowerMonitor(); }

    LRESULT broadcast(WPARAM event, const void* data = nullptr) const {
        return SendMessageW(window, WM_POWERBROADCAST, event, reinterpret_cast<LPARAM>(data));
    }

    void changeSetting(const GUID& setting, DWORD value, DWORD length = sizeof(DWORD)) const {
        alignas(POWERBROADCAST_SETTING) std::array<char, sizeof(POWERBROADCAST_SETTING) + sizeof(DWORD)>
            bytes{};
        POWERBROADCAST_SETTING head{setting, length, {}};
        std::memcpy(bytes.data(), &head, sizeof(head));
        std::memcpy(bytes.data() + offsetof(POWERBROADCAST_SETTING, Data), &value, sizeof(value));
        EXPECT_EQ(broadcast(PBT_POWERSETTINGCHANGE, bytes.data()), 1);
    }

    std::vector<bool> states;
    HWND window = nullptr;
};

} // namespace

TEST_F(WindowsPowerMonitor, SuspendIsOffAndEachResumeIsOn) {
    EXPECT_EQ(broadcast(4), 1);
    EXPECT_EQ(broadcast(7), 1);
    EXPECT_EQ(broadcast(18), 1);
    EXPECT_EQ(broadcast(10), 1) << "a change of the battery";
    EXPECT_EQ(states, (std::vector<bool>{false, true, true}));
}

TEST_F(WindowsPowerMonitor, LockIsOffWithTheScreenStillOn) {
    EXPECT_EQ(SendMessageW(window, WM_WTSSESSION_CHANGE, 7, 0), 0);
    EXPECT_EQ(SendMessageW(window, WM_WTSSESSION_CHANGE, 8, 0), 0);
    EXPECT_EQ(SendMessageW(window, WM_WTSSESSION_CHANGE, 5, 0), 0) << "a logon";
    EXPECT_EQ(states, (std::vector<bool>{false, true}));
}

TEST_F(WindowsPowerMonitor, DimmedConsoleIsOffAndDimmedSessionSaysNothing) {
    for (const DWORD value : {0U, 1U, 2U}) {
        changeSetting(kConsoleDisplay, value);
    }
    EXPECT_EQ(states, (std::vector<bool>{false, true, false}));
    states.clear();
    for (const DWORD value : {0U, 1U, 2U}) {
        changeSetting(kSessionDisplay, value);
    }
    EXPECT_EQ(states, (std::vector<bool>{false, true}));
}

TEST_F(WindowsPowerMonitor, SettingWithThreeBytesOrNoneSaysNothing) {
    changeSetting(kConsoleDisplay, 1, 3);
    EXPECT_EQ(broadcast(PBT_POWERSETTINGCHANGE, nullptr), 1);
    changeSetting(GUID{}, 1);
    EXPECT_TRUE(states.empty());
}

TEST_F(WindowsPowerMonitor, AnotherStartReplacesItAndAStopEndsItsWindow) {
    ASSERT_TRUE(startPowerMonitor([this](bool screenOn) { states.push_back(!screenOn); }));
    EXPECT_EQ(FindWindowExW(HWND_MESSAGE, powerWindow(), kPowerWindowClass, nullptr), nullptr)
        << "one window";
    SendMessageW(powerWindow(), WM_POWERBROADCAST, PBT_APMSUSPEND, 0);
    EXPECT_EQ(states, std::vector<bool>{true});
    stopPowerMonitor();
    EXPECT_EQ(powerWindow(), nullptr);
    stopPowerMonitor();
}

TEST(WindowsPowerMonitorFaults, EachCallThatFailsLeavesNothingBehind) {
    int windows = 0;
    int sessions = 0;
    int settings = 0;
    PowerSystemCalls counted = windowsPowerSystemCalls();
    counted.createWindow = [&](HINSTANCE module, const wchar_t* name, void* parameter) {
        ++windows;
        return windowsPowerSystemCalls().createWindow(module, name, parameter);
    };
    counted.destroyWindow = [&](HWND window) {
        --windows;
        return DestroyWindow(window);
    };
    counted.registerSessionNotification = [&](HWND, DWORD flags) {
        EXPECT_EQ(flags, 0U);
        ++sessions;
        return TRUE;
    };
    counted.unregisterSessionNotification = [&](HWND) {
        --sessions;
        return TRUE;
    };
    counted.registerPowerSetting = [&](HANDLE, const GUID*, DWORD flags) {
        EXPECT_EQ(flags, 0U);
        return reinterpret_cast<HPOWERNOTIFY>(static_cast<INT_PTR>(++settings));
    };
    counted.unregisterPowerSetting = [&](HPOWERNOTIFY) {
        --settings;
        return TRUE;
    };
    const std::vector<std::pair<const char*, std::function<void(PowerSystemCalls&)>>> faults{
        {"module",
         [](PowerSystemCalls& calls) {
             calls.getModuleHandle = [] {
                 return HMODULE();
             };
         }},
        {"class",
         [](PowerSystemCalls& calls) {
             calls.getClassInfo = [](HINSTANCE, const wchar_t*, WNDCLASSEXW*) {
                 return FALSE;
             };
             calls.registerClass = [](const WNDCLASSEXW*) {
                 return ATOM();
             };
         }},
        {"window",
         [](PowerSystemCalls& calls) {
             calls.createWindow = [](HINSTANCE, const wchar_t*, void*) {
                 return HWND();
             };
         }},
        {"first setting",
         [](PowerSystemCalls& calls) {
             calls.registerPowerSetting = [](HANDLE, const GUID*, DWORD) {
                 return HPOWERNOTIFY();
             };
         }},
        {"second setting",
         [&](PowerSystemCalls& calls) {
             calls.registerPowerSetting = [&settings](HANDLE, const GUID* setting, DWORD) {
                 return *setting == kSessionDisplay
                            ? HPOWERNOTIFY()
                            : reinterpret_cast<HPOWERNOTIFY>(static_cast<INT_PTR>(++settings));
             };
         }},
    };
    for (const auto& [name, breakCall] : faults) {
        PowerSystemCalls calls = counted;
        breakCall(calls);
        EXPECT_FALSE(startPowerMonitorBy(calls, [](bool) {})) << name;
        EXPECT_EQ(std::vector<int>({windows, sessions, settings}), std::vector<int>({0, 0, 0})) << name;
        EXPECT_EQ(powerWindow(), nullptr) << name;
    }
    EXPECT_TRUE(startPowerMonitorBy(counted, [](bool) {}));
    EXPECT_EQ(std::vector<int>({windows, sessions, settings}), std::vector<int>({1, 1, 2}));
    stopPowerMonitorBy(counted);
    EXPECT_EQ(std::vector<int>({windows, sessions, settings}), std::vector<int>({0, 0, 0}));
}

TEST(WindowsPowerMonitorFaults, SessionThatIsNotRegisteredFailsTheStart) {
    PowerSystemCalls calls = windowsPowerSystemCalls();
    calls.registerSessionNotification = [](HWND, DWORD) {
        return FALSE;
    };
    EXPECT_FALSE(startPowerMonitorBy(calls, [](bool) {}));
    EXPECT_EQ(powerWindow(), nullptr);
    EXPECT_TRUE(startPowerMonitor([](bool) {})) << "a later start";
    stopPowerMonitor();
}

// ---- keys

TEST(WindowsKeyInjection, AllRecordsGoInOneCallWithKeyAndFlagsAlone) {
    std::vector<INPUT> sent;
    const std::vector<KeyEvent> keys{{0x11, false}, {0, false}, {0, true}, {0x11, true}};
    const std::size_t taken = injectKeysBy(
        [&sent](UINT count, const INPUT* records, int size) {
            EXPECT_EQ(size, 40);
            sent.assign(records, records + count);
            return 3U;
        },
        keys);
    EXPECT_EQ(taken, 3U);
    ASSERT_EQ(sent.size(), 4U);
    for (std::size_t at = 0; at < sent.size(); ++at) {
        const INPUT& record = sent[at];
        EXPECT_EQ(record.type, 1U) << at;
        EXPECT_EQ(record.ki.wVk, keys[at].key) << at;
        EXPECT_EQ(record.ki.wScan, 0) << at;
        EXPECT_EQ(record.ki.dwFlags, keys[at].isRelease ? 2U : 0U) << at;
        EXPECT_EQ(record.ki.time, 0U) << at;
        EXPECT_EQ(record.ki.dwExtraInfo, 0U) << at;
    }
}

TEST(WindowsKeyInjection, SystemTakesAllKeys) {
    const std::vector<KeyEvent> keys{{0x10, false}, {0x41, false}, {0x41, true}, {0x10, true}};
    EXPECT_EQ(injectKeys(keys), 4U);
}

TEST(WindowsScreenCapture, PressesTheSystemsHotkeys) {
    QStringList pressed;
    const HotkeyPress press = [&pressed](const QString& hotkey) {
        pressed.append(hotkey);
        return pressed.size() == 1;
    };
    EXPECT_TRUE(takeDesktopScreenshot(press));
    EXPECT_FALSE(startDesktopRecording(press));
    EXPECT_EQ(pressed, (QStringList{"Meta+Shift+S", "Meta+G"}));
}

// ---- opening

TEST(WindowsDesktopOpener, AddressGoesWithTheVerbOpenAndFileWithNone) {
    std::vector<std::wstring> words;
    const auto note = [&words](HWND owner, LPCWSTR verb, LPCWSTR target, LPCWSTR parameters, LPCWSTR folder,
                               INT showMode) {
        EXPECT_EQ(owner, nullptr);
        EXPECT_EQ(parameters, nullptr);
        EXPECT_EQ(showMode, 1);
        words = {verb != nullptr ? verb : L"-", target, folder != nullptr ? folder : L"-"};
        return reinterpret_cast<HINSTANCE>(INT_PTR{33});
    };
    EXPECT_TRUE(openUrlBy(note, "http://vexo.example/a b").isOpened());
    EXPECT_EQ(words, (std::vector<std::wstring>{L"open", L"http://vexo.example/a b", L"-"}));
    EXPECT_TRUE(openFileBy(note, "C:/x/y.exe", "C:/x").isOpened());
    EXPECT_EQ(words, (std::vector<std::wstring>{L"-", L"C:/x/y.exe", L"C:/x"}));
}

TEST(WindowsDesktopOpener, FailureHasTheResultAndTheLastError) {
    const auto fail = [](HWND, LPCWSTR, LPCWSTR, LPCWSTR, LPCWSTR, INT) {
        SetLastError(1155);
        return reinterpret_cast<HINSTANCE>(INT_PTR{32});
    };
    const OpenResult result = openUrlBy(fail, "x");
    EXPECT_FALSE(result.isOpened());
    EXPECT_EQ(result.code, 32);
    EXPECT_EQ(result.systemError, 1155U);
}

TEST(WindowsDesktopOpener, FileThatIsNotThereDoesNotOpen) {
    EXPECT_EQ(openFileByDesktop("C:/nowhere/at/all.exe", "C:/").code, 2);
}

TEST(WindowsDesktopOpener, ProgramBehindTheFileSchemeRunsInItsOwnFolder) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("where am i.bat");
    QFile program(path);
    ASSERT_TRUE(program.open(QIODevice::WriteOnly));
    program.write("@cd>where.txt\r\n@echo end>>where.txt\r\n");
    program.close();
    ASSERT_EQ(path.sliced(1, 2), ":/") << path.toStdString();
    ASSERT_TRUE(openWindowsApplication("file:///" + path));
    const auto said = [&folder] {
        QFile file(folder.filePath("where.txt"));
        return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
    };
    ASSERT_TRUE(await([&said] { return said().endsWith("end\r\n"); })) << said().toStdString();
    EXPECT_EQ(said(), QDir::toNativeSeparators(folder.path()) + "\r\nend\r\n");
    EXPECT_FALSE(openWindowsApplication("file://" + path + ".not"));
}
