#include "platform/linux/applications/DesktopEntries.h"
#include "tests/support/Await.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <future>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

DesktopEntry parse(const QByteArray& lines, const QStringList& languages = {},
                   const QStringList& desktops = {}) {
    return parseDesktopEntry("[Desktop Entry]\nType=Application\nName=Player\nExec=player %U\n" + lines,
                             languages, desktops);
}

} // namespace

TEST(DesktopEntry, NameIsThatOfTheFirstLanguageThatHasOne) {
    const QByteArray names = "Name[zh]=播放器\nName[zh_TW]=播放程式\nName[de]=Spieler\n";
    EXPECT_EQ(parse(names, {"zh_CN", "zh"}).name, QStringLiteral("播放器"));
    EXPECT_EQ(parse(names, {"zh_TW", "zh"}).name, QStringLiteral("播放程式"));
    EXPECT_EQ(parse(names, {"fr"}).name, "Player");
}

TEST(DesktopEntry, HiddenOnesAreNotShown) {
    EXPECT_TRUE(parse("").shown);
    EXPECT_FALSE(parse("NoDisplay=true\n").shown);
    EXPECT_FALSE(parse("Hidden=true\n").shown);
    EXPECT_FALSE(parse("TryExec=/no/such/program\n").shown);
    EXPECT_TRUE(parse("TryExec=sh\n").shown);
    EXPECT_FALSE(parse("OnlyShowIn=KDE;XFCE;\n", {}, {"GNOME"}).shown);
    EXPECT_TRUE(parse("OnlyShowIn=KDE;XFCE;\n", {}, {"XFCE"}).shown);
    EXPECT_FALSE(parse("NotShowIn=GNOME;\n", {}, {"GNOME"}).shown);
}

TEST(DesktopEntry, LinksFoldersAndNamelessOnesAreNotShown) {
    EXPECT_FALSE(parseDesktopEntry("[Desktop Entry]\nType=Link\nName=a\n", {}, {}).shown);
    EXPECT_FALSE(parseDesktopEntry("[Desktop Entry]\nType=Application\n", {}, {}).shown);
    EXPECT_FALSE(parseDesktopEntry("", {}, {}).shown);
    EXPECT_FALSE(parseDesktopEntry(QByteArray(4096, '\xff'), {}, {}).shown);
}

TEST(DesktopEntry, NameIsOneCleanLine) {
    const auto nameOf = [](const QByteArray& name) {
        return parse("Name=" + name + "\n").name;
    };
    EXPECT_EQ(nameOf("a\\nb\\r\\tc  d\\n"), "a b c d");
    EXPECT_EQ(nameOf("a\x01\x7F\xC2\x85z\x1B[1m"), "a z[1m") << "control characters";
    EXPECT_EQ(nameOf("\u202Egpj.exe\u202C \u2067x\u2069\u200F\u061C"), "gpj.exe x") << "direction marks";
    EXPECT_EQ(nameOf("\u2028a\u2029b"), "a b") << "separators of lines and paragraphs";
    EXPECT_EQ(nameOf("می\u200Cخواهم"), QStringLiteral("می\u200Cخواهم")) << "a joiner is part of a word";
    EXPECT_FALSE(parse("Name=\\n\u202E\n").shown) << "nothing is left";
}

TEST(DesktopEntry, LongNameIsCutBetweenCharacters) {
    EXPECT_EQ(parse("Name=" + QByteArray(1000000, 'x') + "\n").name, QString(200, 'x'));
    const QString cut = parse("Name=" + QByteArray(199, 'x') + "😀😀\n").name;
    EXPECT_EQ(cut, QString(199, 'x')) << "no half of a pair";
}

TEST(DesktopEntry, OnlyAnApplicationThatIsNotDeletedStarts) {
    EXPECT_TRUE(parse("").startable);
    EXPECT_TRUE(parse("NoDisplay=true\n").startable);
    EXPECT_TRUE(parseDesktopEntry("[Desktop Entry]\nExec=a\n", {}, {}).startable) << "without a type";
    EXPECT_FALSE(parse("Hidden=true\n").startable);
    EXPECT_FALSE(parse("Type=Link\n").startable);
}

TEST(DesktopEntry, OtherGroupsAndCommentsDoNotCount) {
    const DesktopEntry entry =
        parse("# Icon=no\nIcon=player\n[Desktop Action New]\nName=New window\nIcon=window\n");
    EXPECT_EQ(entry.name, "Player");
    EXPECT_EQ(entry.icon, "player");
}

TEST(DesktopEntry, KeysThatOnlyBeginLikeAUsedOneDoNotCount) {
    const DesktopEntry entry = parse("NameX=no\nName[de=no\nX-Name=no\nIcon =player\nIconX[de]=no\n", {"de"});
    EXPECT_EQ(entry.name, "Player");
    EXPECT_EQ(entry.icon, "player");
}

TEST(DesktopEntry, TheLastLineNeedsNoEnd) {
    EXPECT_EQ(parse("Icon=player").icon, "player");
}

TEST(DesktopEntry, FileIsReadUpToItsLimitAndAPipeIsNot) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("a.desktop");
    EXPECT_EQ(desktopEntryText(path), std::nullopt);
    for (const qsizetype size : {0, 1 << 20, (1 << 20) + 1}) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(size, '#'));
        file.close();
        EXPECT_EQ(desktopEntryText(path).has_value(), size <= 1 << 20) << size;
    }
    ASSERT_TRUE(QFile::remove(path));
    ASSERT_EQ(mkfifo(path.toLocal8Bit().constData(), 0600), 0);
    EXPECT_EQ(desktopEntryText(path), std::nullopt);
}

TEST(DesktopEntry, EscapesOfAValueAreUndone) {
    EXPECT_EQ(parse("Icon=a\\sb\\\\c\\n\\q\\\n").icon, "a b\\c\nq\\");
}

TEST(ProgramOfExec, IsTheFirstWordBehindEnv) {
    EXPECT_EQ(programOfExec("player %U"), "player");
    EXPECT_EQ(programOfExec("/opt/a/player --x"), "/opt/a/player");
    EXPECT_EQ(programOfExec("\"/opt/a b/player\" %f"), "/opt/a b/player");
    EXPECT_EQ(programOfExec("\"/opt/\\\"q/player\""), "/opt/\"q/player");
    EXPECT_EQ(programOfExec("env LANG=C -i player"), "player");
    EXPECT_EQ(programOfExec("/usr/bin/env A=b /opt/player x"), "/opt/player");
    EXPECT_EQ(programOfExec(""), "");
    EXPECT_EQ(programOfExec("env A=b"), "");
    EXPECT_EQ(programOfExec("\"open"), "open");
}

TEST(EntryOfExecutable, PathComesBeforeFileNameAndAShownOneBeforeAHidden) {
    DesktopEntry hidden{"1", "Hidden", {}, "player", false, {}, {}};
    DesktopEntry shown{"2", "Shown", {}, "player", true, {}, {}};
    DesktopEntry exact{"3", "Exact", {}, "/opt/player", true, {}, {}};
    EXPECT_EQ(entryOfExecutable({hidden, shown, exact}, "/opt/player")->name, "Exact");
    EXPECT_EQ(entryOfExecutable({hidden, shown, exact}, "/usr/bin/player")->name, "Shown");
    EXPECT_EQ(entryOfExecutable({hidden}, "/usr/bin/player")->name, "Hidden");
    EXPECT_EQ(entryOfExecutable({hidden, shown}, "/usr/bin/other"), nullptr);
    EXPECT_EQ(entryOfExecutable({hidden, shown}, ""), nullptr);
}

TEST(DesktopEntries, LinkToAPipeDoesNotKeepTheReader) {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation);
    ASSERT_TRUE(QDir().mkpath(folder));
    const QByteArray pipe = QFile::encodeName(folder + "/pipe");
    ASSERT_EQ(mkfifo(pipe.constData(), S_IRUSR | S_IWUSR), 0);
    const QString link = folder + "/link.desktop";
    ASSERT_TRUE(QFile::link(QFile::decodeName(pipe), link));
    QFile file(folder + "/player.desktop");
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[Desktop Entry]\nType=Application\nName=Player behind the pipe\n");
    file.close();

    auto answer = std::async(std::launch::async, readDesktopEntries);
    EXPECT_TRUE(await([&] { return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    // Ends a reader that waits.
    close(open(pipe.constData(), O_WRONLY | O_NONBLOCK));
    const QList<DesktopEntry> entries = answer.get();
    EXPECT_TRUE(std::ranges::any_of(
        entries, [](const DesktopEntry& entry) { return entry.name == "Player behind the pipe"; }));
    EXPECT_FALSE(std::ranges::any_of(entries, [&](const DesktopEntry& entry) { return entry.path == link; }));
    for (const QString& made : {QFile::decodeName(pipe), link, file.fileName()}) {
        EXPECT_TRUE(QFile::remove(made));
    }
}
