#include "platform/DesktopOpener.h"
#include "platform/linux/system/FileDescriptor.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <utility>

namespace {

// Programs of a desktop that note how they are called.
class LinuxDesktopOpener : public testing::Test {
protected:
    void SetUp() override { qputenv("PATH", folder.path().toLocal8Bit() + ":/usr/bin:/bin"); }
    void TearDown() override { qputenv("PATH", path); }

    QString newFile(const QString& name, const QByteArray& content, bool isExecutable) {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner |
                            (isExecutable ? QFile::ExeOwner : QFile::Permission{}));
        return file.fileName();
    }

    // A program that writes its words and its folder; its note is there as a whole or not at all.
    QString newProgram(const QString& name, int exitCode = 0) {
        const QByteArray notes = noteOf(name).toLocal8Bit();
        return newFile(name,
                       "#!/bin/sh\nfor word in \"$@\"; do echo \"$word\"; done > '" + notes +
                           ".new'\npwd >> '" + notes + ".new'\nmv '" + notes + ".new' '" + notes +
                           "'\nexit " + QByteArray::number(exitCode) + "\n",
                       true);
    }

    [[nodiscard]] QString noteOf(const QString& name) const { return folder.filePath(name + ".note"); }

    // What the program has written, once it has.
    QStringList noted(const QString& name) {
        QFile file(noteOf(name));
        EXPECT_TRUE(await([&file] { return file.exists(); })) << name.toStdString();
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        QStringList lines = QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
        file.remove();
        return lines;
    }

    const QByteArray path = qgetenv("PATH");
    const QTemporaryDir folder;
    const QString home = QDir::homePath();
};

QString encoded(const QString& file) {
    return QString::fromLatin1(QUrl::fromLocalFile(file).toEncoded());
}

} // namespace

TEST_F(LinuxDesktopOpener, AddressThatIsNoneIsRefused) {
    const LogCapture log;
    EXPECT_FALSE(openUrlByDesktop("--help").isOpened()) << "no option of the opener";
    EXPECT_FALSE(openUrlByDesktop(" ").isOpened());
    EXPECT_EQ(log.count("This is no address:"), 2);
}

TEST_F(LinuxDesktopOpener, AddressGoesEncodedToTheDesktopsOpener) {
    newProgram("xdg-open");
    const QList<std::pair<const char*, const char*>> addresses{
        {"https://vexo.example/a b?c=d e", "https://vexo.example/a%20b?c=d%20e"},
        {"http://vexo.example/热键", "http://vexo.example/%E7%83%AD%E9%94%AE"},
        {"mailto:help@vexo.example", "mailto:help@vexo.example"},
        {"steam://run/1", "steam://run/1"},
        {"vexo.example", "http://vexo.example"},
        {"/", "file:///"},
        {"http://vexo.example/';reboot;$(x)`y`", "http://vexo.example/';reboot;$(x)%60y%60"},
    };
    for (const auto& [given, opened] : addresses) {
        EXPECT_TRUE(openUrlByDesktop(given).isOpened()) << given;
        EXPECT_EQ(noted("xdg-open"), (QStringList{opened, home})) << given;
    }
}

TEST_F(LinuxDesktopOpener, AddressOf10000CharactersIsOpenedWhole) {
    newProgram("xdg-open");
    const QString address = "http://vexo.example/" + QString(10000, 'x');
    EXPECT_TRUE(openUrlByDesktop(address).isOpened());
    EXPECT_EQ(noted("xdg-open").first(), address);
}

TEST_F(LinuxDesktopOpener, AddressThatIsTooLongForACommandIsRefused) {
    newProgram("xdg-open");
    const OpenResult result = openUrlByDesktop("http://vexo.example/" + QString(1 << 20, 'x'));
    EXPECT_FALSE(result.isOpened());
    EXPECT_EQ(result.systemError, static_cast<std::uint32_t>(E2BIG));
}

TEST_F(LinuxDesktopOpener, WithoutAnOpenerALineSaysSo) {
    qputenv("PATH", "/nowhere");
    const LogCapture log;
    const OpenResult result = openUrlByDesktop("http://vexo.example");
    EXPECT_EQ(result.code, 31);
    EXPECT_EQ(log.count("neither xdg-open nor gio is installed"), 1);
}

TEST_F(LinuxDesktopOpener, OpenerThatFailsLaterIsAWarning) {
    newProgram("xdg-open", 3);
    const LogCapture log;
    EXPECT_TRUE(openUrlByDesktop("http://vexo.example").isOpened());
    EXPECT_TRUE(await([&log] { return log.count("\"xdg-open\" could not do it: exit code 3") == 1; }));
}

TEST_F(LinuxDesktopOpener, ProgramStartsInTheGivenFolderAndFolderGoesToTheOpener) {
    const QString program = newProgram("tool");
    EXPECT_TRUE(openFileByDesktop(program, folder.path()).isOpened());
    EXPECT_EQ(noted("tool"), QStringList(folder.path()));
    newProgram("xdg-open");
    EXPECT_TRUE(openFileByDesktop(folder.path(), "/").isOpened());
    EXPECT_EQ(noted("xdg-open").first(), encoded(folder.path()));
}

TEST_F(LinuxDesktopOpener, DocumentGoesToTheOpener) {
    newProgram("xdg-open");
    const QString document = newFile("my notes.txt", "text", false);
    EXPECT_TRUE(openFileByDesktop(document, folder.path()).isOpened());
    EXPECT_EQ(noted("xdg-open").first(), encoded(document));
}

TEST_F(LinuxDesktopOpener, DocumentOnADiskWhereEverythingMayBeExecutedGoesToTheOpener) {
    newProgram("xdg-open");
    const QString document = newFile("notes.txt", "text", true);
    EXPECT_TRUE(openFileByDesktop(document, folder.path()).isOpened());
    EXPECT_EQ(noted("xdg-open").first(), encoded(document));
}

TEST_F(LinuxDesktopOpener, ProgramThatMayNotBeExecutedIsRefused) {
    newProgram("xdg-open");
    const LogCapture log;
    for (const QByteArray& content : {QByteArray("#!/bin/sh\n"), QByteArray("\x7F"
                                                                            "ELF\2")}) {
        const OpenResult result = openFileByDesktop(newFile("setup", content, false), folder.path());
        EXPECT_EQ(result.code, 5);
        EXPECT_EQ(result.systemError, static_cast<std::uint32_t>(EACCES));
    }
    EXPECT_EQ(log.count("This program may not be executed"), 2);
}

TEST_F(LinuxDesktopOpener, FileThatVanishesOrIsNoneIsRefused) {
    const LogCapture log;
    EXPECT_EQ(openFileByDesktop(folder.filePath("gone"), folder.path()).code, 2);
    EXPECT_EQ(openFileByDesktop("/dev/null", "/dev").code, 2);
    EXPECT_EQ(log.count("This is neither a file nor a folder"), 2);
    EXPECT_EQ(openFileByDesktop(newProgram("tool"), "/nowhere").code, 2) << "the folder";
}

TEST_F(LinuxDesktopOpener, DesktopEntryStartsItsCommandInItsFolder) {
    const QString tool = newProgram("tool");
    const QString entry = newFile("tool.desktop",
                                  "[Desktop Entry]\nType=Application\nName=My Tool\nIcon=tool\nExec=\"" +
                                      tool.toUtf8() + "\" %i -t %c 100%% %U \"a b\" file:%k\nPath=/usr\n",
                                  false);
    EXPECT_TRUE(openFileByDesktop(entry, folder.path()).isOpened());
    EXPECT_EQ(noted("tool"),
              (QStringList{"--icon", "tool", "-t", "My Tool", "100%", "a b", "file:" + entry, "/usr"}));
}

TEST_F(LinuxDesktopOpener, DesktopEntryWithoutAFolderRunsInTheHome) {
    newProgram("tool");
    EXPECT_TRUE(openFileByDesktop(newFile("t.desktop", "[Desktop Entry]\nName=T\nExec=tool\n", false), "/")
                    .isOpened());
    EXPECT_EQ(noted("tool"), QStringList(home));
}

TEST_F(LinuxDesktopOpener, DesktopEntryOfATerminalProgramStartsInOne) {
    newProgram("xdg-terminal-exec");
    EXPECT_TRUE(
        openFileByDesktop(
            newFile("t.desktop", "[Desktop Entry]\nName=T\nExec=tool -x\nTerminal=true\n", false), "/")
            .isOpened());
    EXPECT_EQ(noted("xdg-terminal-exec"), (QStringList{"tool", "-x", home}));
}

TEST_F(LinuxDesktopOpener, DesktopEntryThatStartsNothingIsRefused) {
    const LogCapture log;
    EXPECT_EQ(openFileByDesktop(newFile("l.desktop", "[Desktop Entry]\nType=Link\n", false), "/").code, 31);
    EXPECT_EQ(log.count("The desktop entry starts nothing"), 1);
    EXPECT_EQ(
        openFileByDesktop(newFile("g.desktop", "[Desktop Entry]\nName=G\nExec=/gone/tool\n", false), "/")
            .code,
        2);
}

TEST_F(LinuxDesktopOpener, DesktopEntryThatIsDeletedOrNoApplicationAnyMoreIsRefused) {
    const LogCapture log;
    const QByteArray entry = "[Desktop Entry]\nName=T\nExec=tool\n";
    EXPECT_EQ(
        openFileByDesktop(newFile("h.desktop", entry + "Type=Application\nHidden=true\n", false), "/").code,
        31);
    EXPECT_EQ(openFileByDesktop(newFile("l.desktop", entry + "Type=Link\n", false), "/").code, 31);
    EXPECT_EQ(log.count("The desktop entry starts nothing"), 2);
}

TEST_F(LinuxDesktopOpener, StartedProgramIsItsOwnSessionWithoutOurFilesAndEndsWithoutATrace) {
    const QByteArray notes = noteOf("session").toLocal8Bit();
    const QString program = newFile("session",
                                    "#!/bin/sh\necho \"$(ps -o sid= -p $$)\" $$ $(ls /proc/$$/fd) > '" +
                                        notes + ".new'\nmv '" + notes + ".new' '" + notes + "'\n",
                                    true);
    constexpr int kLikeNoOther = 77;
    const FileDescriptor ours(fcntl(STDERR_FILENO, F_DUPFD, kLikeNoOther)); // passed on to processes
    ASSERT_TRUE(ours.isOpen());
    ASSERT_TRUE(openFileByDesktop(program, folder.path()).isOpened());
    const QStringList words = noted("session").first().split(' ', Qt::SkipEmptyParts);
    ASSERT_GE(words.size(), 5);
    EXPECT_EQ(words[0], words[1]) << "the leader of its session";
    EXPECT_FALSE(words.mid(2).contains(QString::number(ours.get())));
    const pid_t process = words[1].toInt();
    EXPECT_TRUE(await([process] { return kill(process, 0) != 0; })) << "not left in the list of processes";
}
