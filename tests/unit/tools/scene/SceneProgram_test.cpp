// The scene tool as its user meets it.

#include "tools/scene/WaveFile.h"

#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

struct Outcome {
    int exitCode = -1;
    QString output;
    QString errors;
};

class SceneProgram : public testing::Test {
protected:
    [[nodiscard]] Outcome run(const QStringList& arguments) const {
        QProcess process;
        process.start(QStringLiteral(VEXO_SCENE_PROGRAM), arguments);
        if (!process.waitForFinished()) {
            return {-1, {}, process.errorString()};
        }
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }

    [[nodiscard]] QString scene(const QByteArray& text) const {
        QFile file(path("test.scene"));
        EXPECT_TRUE(file.open(QFile::WriteOnly) && file.write(text) == text.size());
        return file.fileName();
    }

    [[nodiscard]] QString path(const char* name) const { return folder.filePath(QString::fromLatin1(name)); }

    QTemporaryDir folder;
};

} // namespace

TEST_F(SceneProgram, WritesWhatEachOutputPlayedAndAPicture) {
    const Outcome outcome =
        run({scene("length 100ms\nendpoint Speakers id=spk\nendpoint Port id=p virtual rate=44100\n"
                   "start input2=p\nsource 20 constant=0.5\n"
                   "at 0s\nrecord 20 input1=0.5 input2=1 solo\n"),
             path("out")});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors.toStdString();
    EXPECT_TRUE(outcome.output.contains(QStringLiteral("[INFO] Started capture for PID: 20\n")));
    const WaveFile solo = readWaveFile(path("out/solo.wav").toStdString());
    EXPECT_EQ(solo.format.samplesPerSecond, 48000u);
    EXPECT_EQ(solo.data.size(), 4800u * 8u);
    const WaveFile bus2 = readWaveFile(path("out/bus2.wav").toStdString());
    EXPECT_EQ(bus2.format.samplesPerSecond, 44100u);
    EXPECT_EQ(bus2.data.size(), 4410u * 8u);
    EXPECT_FALSE(QFile::exists(path("out/bus1.wav")));
    EXPECT_FALSE(QImage(path("out/scene.png")).isNull());
}

TEST_F(SceneProgram, AWrongSceneGivesOneLineWithItsPlaceAndPlaysNothing) {
    const QString file = scene("length 1s\nsource 20 sine=1 rate=0\n");
    const Outcome outcome = run({file, path("out")});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.errors, file + QStringLiteral(":2: '0' is no whole number from 1 to 768000\n"));
    EXPECT_TRUE(outcome.output.isEmpty());
    EXPECT_FALSE(QFile::exists(path("out")));
}

TEST_F(SceneProgram, MissingFilesFoldersAndWordsAreNamed) {
    EXPECT_EQ(run({path("none.scene"), path("out")}).errors,
              QStringLiteral("vexo-mixer-scene: %1: cannot be opened\n").arg(path("none.scene")));
    const Outcome usage = run({});
    EXPECT_EQ(usage.exitCode, 1);
    EXPECT_EQ(usage.errors, QStringLiteral("vexo-mixer-scene: usage: vexo-mixer-scene SCENE FOLDER\n"));
    const QString file = scene("length 1s\n");
    const Outcome blocked = run({file, file + QStringLiteral("/out")});
    EXPECT_EQ(blocked.exitCode, 1);
    EXPECT_TRUE(blocked.errors.startsWith(QStringLiteral("vexo-mixer-scene: ") + file));
}
