#include "platform/InventorySources.h"
#include "platform/windows/applications/AudioSessions.h"
#include "platform/windows/applications/IconExtraction.h"
#include "platform/windows/applications/WindowInventory.h"
#include "tests/windows/ScriptedAudio.h"
#include "tests/windows/SoundScene.h"

#include <QColor>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QThreadPool>

#include <gtest/gtest.h>

namespace {

const InventorySystemCalls& kCalls = windowsInventorySystemCalls();

QString ownProgram() {
    return QDir::toNativeSeparators(QCoreApplication::applicationFilePath());
}

// The icon as it is written into a file; null where none is.
QImage writtenIcon(const QString& program) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("图标.png"));
    const bool written =
        writeIcon(kCalls, program.toStdWString(), QDir::toNativeSeparators(path).toStdWString());
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files).size(), written ? 1 : 0);
    QImage picture;
    EXPECT_EQ(picture.load(path, "PNG"), written);
    return picture;
}

} // namespace

TEST(Icons, LargestIconOfAProgramFillsThePicture) {
    const QImage picture = writtenIcon(ownProgram());
    ASSERT_EQ(picture.size(), QSize(128, 128));
    // The ground is opaque and dark, its bars are blue, its corners round.
    EXPECT_EQ(picture.pixelColor(0, 0).alpha(), 0);
    EXPECT_EQ(picture.pixelColor(64, 20).alpha(), 255);
    const QColor bar = picture.pixelColor(64, 64);
    EXPECT_GT(bar.blue(), 200) << bar.name().toStdString();
    EXPECT_LT(bar.red(), 100) << bar.name().toStdString();
}

TEST(Icons, FileThatIsNotThereHasNoIcon) {
    EXPECT_TRUE(writtenIcon(QStringLiteral("C:\\no such folder\\no such program.exe")).isNull());
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
        const QImage picture = writtenIcon(QDir::toNativeSeparators(path));
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
    for (const TopLevelWindow& window : topLevelWindows(kCalls)) {
        if (window.title.startsWith(QLatin1String("vexo "))) {
            EXPECT_EQ(window.processId, GetCurrentProcessId());
            titles.append(window.title);
        }
    }
    EXPECT_EQ(titles.join(QLatin1Char(';')).toStdString(), "vexo shown");

    int own = 0;
    for (const QVariant& map : windowApplicationMaps(kCalls)) {
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
    saveIconAsyncToFile(kCalls, ownProgram(), 0, path);
    ASSERT_TRUE(comesTrue([&] { return QImage(path).size() == QSize(128, 128); }));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("kept");
    file.close();
    saveIconAsyncToFile(kCalls, ownProgram(), 0, path);
    QThreadPool::globalInstance()->waitForDone();
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("kept"));
}

TEST(Sessions, ProgramThatPlaysIsListedWithItsPathAndState) {
    SoundScene scene;
    // The sessions are those of the default output.
    const ProgramThatPlays playing;
    const auto ownSession = []() -> RawAudioSession {
        for (const RawAudioSession& session : audioSessions(windowsAudioSystemCalls(), kCalls)) {
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
    EXPECT_TRUE(audioSessions(scriptedCalls(script), kCalls).isEmpty());
}

TEST(Sessions, ProcessThatMayNotBeReadOrHasEndedHasNoPathAndNoName) {
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    // It waits for a first step that it is never let take. Nobody has a right to it but by its handle.
    SECURITY_DESCRIPTOR nobody{};
    ACL noEntries{};
    ASSERT_NE(InitializeAcl(&noEntries, sizeof(noEntries), ACL_REVISION), 0);
    ASSERT_NE(InitializeSecurityDescriptor(&nobody, SECURITY_DESCRIPTOR_REVISION), 0);
    ASSERT_NE(SetSecurityDescriptorDacl(&nobody, TRUE, &noEntries, FALSE), 0);
    SECURITY_ATTRIBUTES attributes{sizeof(attributes), &nobody, FALSE};
    for (const bool denied : {false, true}) {
        PROCESS_INFORMATION process{};
        std::wstring command = L'"' + ownProgram().toStdWString() + L'"';
        ASSERT_NE(CreateProcessW(nullptr, command.data(), denied ? &attributes : nullptr, nullptr, FALSE,
                                 CREATE_SUSPENDED, nullptr, nullptr, &startup, &process),
                  0);
        const HANDLE opened =
            OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, process.dwProcessId);
        const DWORD error = opened == nullptr ? GetLastError() : ERROR_SUCCESS;
        CloseHandle(opened);
        EXPECT_EQ(error, denied ? ERROR_ACCESS_DENIED : ERROR_SUCCESS);
        EXPECT_EQ(processImagePath(kCalls, process.dwProcessId).isEmpty(), denied);
        // Without having run a process has no module either.
        EXPECT_EQ(processFileName(kCalls, process.dwProcessId), QString());
        TerminateProcess(process.hProcess, 0);
        WaitForSingleObject(process.hProcess, INFINITE);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
        // Nothing keeps the process now.
        EXPECT_TRUE(comesTrue([&] { return processImagePath(kCalls, process.dwProcessId).isEmpty(); }));
        EXPECT_EQ(processFileName(kCalls, process.dwProcessId), QString());
    }
    EXPECT_EQ(processImagePath(kCalls, 0), QString());
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

TEST(Installed, IconHasTheSizeOfItsFileOnADisplayWithScaling) {
    QProcess reader;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QStringLiteral("2"));
    reader.setProcessEnvironment(environment);
    reader.start(QCoreApplication::applicationDirPath() + QStringLiteral("/installedIcon.exe"),
                 {ownProgram()});
    EXPECT_TRUE(reader.waitForFinished()) << reader.errorString().toStdString();
    // The shell's next larger picture; the file takes it scaled down.
    EXPECT_EQ(reader.readAllStandardOutput().trimmed().toStdString(), "display 2: 256x256 at 1")
        << reader.readAllStandardError().toStdString();
}
