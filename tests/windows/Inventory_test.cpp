#include "platform/InventorySources.h"
#include "platform/windows/AudioSessions.h"
#include "platform/windows/IconExtraction.h"
#include "platform/windows/WindowInventory.h"
#include "tests/windows/ScriptedAudio.h"
#include "tests/windows/SoundScene.h"

#include <QColor>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThreadPool>

#include <gtest/gtest.h>

namespace {

QString ownProgram() {
    return QDir::toNativeSeparators(QCoreApplication::applicationFilePath());
}

} // namespace

TEST(Icons, LargestIconOfAProgramFillsThePicture) {
    const QImage picture = extractIcon(ownProgram().toStdWString());
    ASSERT_EQ(picture.size(), QSize(128, 128));
    // The ground is opaque and dark, its bars are blue, its corners round.
    EXPECT_EQ(picture.pixelColor(0, 0).alpha(), 0);
    EXPECT_EQ(picture.pixelColor(64, 20).alpha(), 255);
    const QColor bar = picture.pixelColor(64, 64);
    EXPECT_GT(bar.blue(), 200) << bar.name().toStdString();
    EXPECT_LT(bar.red(), 100) << bar.name().toStdString();
}

TEST(Icons, FileThatIsNotThereHasNoIcon) {
    EXPECT_TRUE(extractIcon(L"C:\\no such folder\\no such program.exe").isNull());
}

TEST(Icons, DamagedIconsGiveNoCrash) {
    QFile whole(ownProgram());
    ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
    const QByteArray bytes = whole.readAll();
    // The largest icon is a PNG; the smaller ones begin with the size of their header, 40.
    const qsizetype png = bytes.indexOf("\x89PNG");
    ASSERT_GT(png, 0);
    const QTemporaryDir folder;
    for (const qsizetype at : {png, png + 16, png + 24, png + 60, png - 2000, png - 40000}) {
        QByteArray copy = bytes;
        copy.replace(at, 24, QByteArray(24, '\xFF'));
        const QString path = folder.filePath(QStringLiteral("damaged.exe"));
        QFile damaged(path);
        ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
        damaged.write(copy);
        damaged.close();
        const QImage picture = extractIcon(QDir::toNativeSeparators(path).toStdWString());
        EXPECT_TRUE(picture.isNull() || picture.size() == QSize(128, 128)) << "damaged at " << at;
        QFile::remove(path);
    }
}

TEST(Windows, VisibleWindowsWithoutOwnerCountAndOthersDoNot) {
    const auto makeWindow = [](const wchar_t* title, DWORD extendedStyle, DWORD style, HWND owner) {
        return CreateWindowExW(extendedStyle, L"STATIC", title, style, 0, 0, 100, 100, owner, nullptr,
                               nullptr, nullptr);
    };
    const HWND shown = makeWindow(L"vexo shown", 0, WS_OVERLAPPEDWINDOW | WS_VISIBLE, nullptr);
    const std::vector<HWND> windows{
        shown, makeWindow(L"vexo hidden", 0, WS_OVERLAPPEDWINDOW, nullptr),
        makeWindow(L"vexo tool", WS_EX_TOOLWINDOW, WS_OVERLAPPEDWINDOW | WS_VISIBLE, nullptr),
        makeWindow(L"vexo owned", 0, WS_POPUP | WS_VISIBLE, shown)};
    QStringList titles;
    for (const TopLevelWindow& window : topLevelWindows()) {
        if (window.title.startsWith(QLatin1String("vexo "))) {
            EXPECT_EQ(window.processId, GetCurrentProcessId());
            titles.append(window.title);
        }
    }
    EXPECT_EQ(titles.join(QLatin1Char(';')).toStdString(), "vexo shown");

    int own = 0;
    for (const QVariant& map : windowApplicationMaps()) {
        const QVariantMap record = map.toMap();
        if (record[QStringLiteral("processIdentifier")] == QString::number(GetCurrentProcessId())) {
            ++own;
            EXPECT_EQ(record[QStringLiteral("name")].toString().toStdString(), "Vexo Deck");
            EXPECT_EQ(record[QStringLiteral("isHidden")], QVariant(false));
            EXPECT_TRUE(record[QStringLiteral("bundleIdentifier")].toString().startsWith(
                QLatin1String("file:///Z:/")));
            EXPECT_TRUE(record[QStringLiteral("iconFilePath")].toString().endsWith(
                QLatin1String("/VexoDeck/icons/windows_system_test.png")));
        }
    }
    EXPECT_EQ(own, 1);
    for (const HWND window : windows) {
        DestroyWindow(window);
    }
}

TEST(Windows, IconIsWrittenOnceAndAgainOverAnEmptyFile) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("icon.png"));
    ASSERT_TRUE(QFile(path).open(QIODevice::WriteOnly)); // empty
    saveIconAsyncToFile(ownProgram(), 0, path);
    ASSERT_TRUE(comesTrue([&] { return QImage(path).size() == QSize(128, 128); }));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("kept");
    file.close();
    saveIconAsyncToFile(ownProgram(), 0, path);
    QThreadPool::globalInstance()->waitForDone();
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("kept"));
}

TEST(Sessions, ProgramThatPlaysIsListedWithItsPathAndState) {
    SoundScene scene;
    // The sessions are those of the default output.
    const ProgramThatPlays playing;
    const auto ownSession = []() -> RawAudioSession {
        for (const RawAudioSession& session : audioSessions(windowsAudioSystemCalls())) {
            if (session.processId == GetCurrentProcessId()) {
                return session;
            }
        }
        return {};
    };
    // Wine calls the session of a client that plays expired.
    EXPECT_TRUE(comesTrue([&] {
        const QString state = ownSession().state;
        return state == QLatin1String("Active") || state == QLatin1String("Expired");
    })) << ownSession().state.toStdString();
    const RawAudioSession session = ownSession();
    EXPECT_EQ(session.executablePath.toLower().toStdString(), ownProgram().toLower().toStdString());
    EXPECT_EQ(session.processFileName.toStdString(), "windows_system_test.exe");
}

TEST(Sessions, WithoutTheSoundSystemThereAreNone) {
    const auto script = std::make_shared<AudioScript>();
    script->fail("CoCreateInstance", static_cast<HRESULT>(0x80040154));
    EXPECT_TRUE(audioSessions(scriptedCalls(script)).isEmpty());
}

TEST(Sessions, ProcessThatMayNotBeReadHasNoPath) {
    // 4 is the system's own process.
    EXPECT_EQ(processImagePath(4), QString());
    EXPECT_EQ(processImagePath(0), QString());
}

TEST(Installed, ProgramsHaveTheirFilesAsPathAndName) {
    // Every Windows, and Wine, brings programs along there.
    const QList<InstalledProgram> programs = installedPrograms();
    EXPECT_FALSE(programs.isEmpty());
    for (const InstalledProgram& program : programs) {
        EXPECT_TRUE(QFile::exists(program.path)) << program.path.toStdString();
        EXPECT_TRUE(program.path.endsWith(QLatin1String(".exe"), Qt::CaseInsensitive));
        EXPECT_EQ(program.name, program.baseName);
    }
}
