// Icons that a process of its own reads: this test program, called with another word.

#include "platform/IconHelper.h"
#include "platform/linux/applications/IconHelper.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"

#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <cstddef>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

namespace {

// A small drawing of a square that is drawn `count` * `count` * `count` times.
QByteArray drawingOf(int count) {
    QByteArray text = "<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' "
                      "width='128' height='128'><defs>"
                      "<g id='level0'><rect width='128' height='128' fill='#0000ff'/></g>";
    for (int level = 1; level <= 3; ++level) {
        const QByteArray below = "<use xlink:href='#level" + QByteArray::number(level - 1) + "'/>";
        text += "<g id='level" + QByteArray::number(level) + "'>" + below.repeated(count) + "</g>";
    }
    return text + "</defs><use xlink:href='#level3'/></svg>";
}

// Whether this process has a child, be it one that has ended and waits to be seen.
bool hasChild() {
    siginfo_t information{};
    return waitid(P_ALL, 0, &information, WEXITED | WNOHANG | WNOWAIT) == 0;
}

class IconHelperTest : public testing::Test {
protected:
    void SetUp() override {
        QImage picture(48, 24, QImage::Format_RGB32);
        picture.fill(Qt::red);
        ASSERT_TRUE(picture.save(path("picture.png")));
        write("drawing.svg", drawingOf(1));
        write("endless.svg", drawingOf(1000));
    }
    [[nodiscard]] QString path(const char* name) const { return folder.filePath(name); }
    void write(const char* name, const QByteArray& text) const {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }
    void expectPicture() const {
        const QImage picture = loadIconInHelper(path("picture.png"));
        EXPECT_EQ(picture.size(), QSize(48, 24));
        EXPECT_EQ(picture.pixelColor(5, 5), QColor(Qt::red));
    }

    QTemporaryDir folder;
    LogCapture log;
};

} // namespace

TEST_F(IconHelperTest, PictureAndDrawingArrive) {
    expectPicture();
    const QImage drawing = loadIconInHelper(path("drawing.svg"));
    EXPECT_EQ(drawing.size(), QSize(128, 128));
    EXPECT_EQ(drawing.pixelColor(64, 64), QColor(Qt::blue));
}

TEST_F(IconHelperTest, LargePictureArrivesSmaller) {
    QImage large(1024, 512, QImage::Format_RGB32);
    large.fill(Qt::red);
    ASSERT_TRUE(large.save(path("large.png")));
    EXPECT_EQ(loadIconInHelper(path("large.png")).size(), QSize(256, 128));
}

TEST_F(IconHelperTest, WhatIsNoPictureIsNullAndNoFault) {
    write("rubbish.png", "rubbish");
    ASSERT_EQ(mkfifo(path("pipe.png").toLocal8Bit().constData(), 0600), 0);
    const std::shared_ptr<void> helper = holdIconHelper();
    for (const QString& name : {path("rubbish.png"), path("none.png"), path("pipe.png"), folder.path(),
                                QStringLiteral("no-such-icon-name"), QString(), QString(5000, 'x')}) {
        EXPECT_TRUE(loadIconInHelper(name).isNull()) << name.toStdString();
    }
    expectPicture();
    EXPECT_EQ(log.texts(QtWarningMsg), QStringList());
}

TEST_F(IconHelperTest, DrawingWithoutEndIsGivenUpAndNotReadAgain) {
    const std::shared_ptr<void> helper = holdIconHelper();
    EXPECT_TRUE(loadIconInHelper(path("endless.svg")).isNull());
    EXPECT_EQ(log.count("Icon left out, it cannot be read in time:"), 1);
    expectPicture();
    EXPECT_TRUE(loadIconInHelper(path("endless.svg")).isNull());
    EXPECT_EQ(log.count("Icon left out, it cannot be read in time:"), 1);
    expectPicture();
}

TEST_F(IconHelperTest, WhoWaitsGoesOnWhenIconsAreGivenUp) {
    std::vector<std::thread> threads;
    for (int at = 0; at < 3; ++at) {
        const QString name = path(at == 0 ? "endless.svg" : "picture.png");
        threads.emplace_back([name] { EXPECT_TRUE(loadIconInHelper(name).isNull()); });
        if (at == 0) {
            EXPECT_TRUE(await([] { return hasChild(); }));
        }
    }
    giveUpIcons(true);
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(log.texts(QtWarningMsg), QStringList()) << "nothing took too long";
    EXPECT_TRUE(loadIconInHelper(path("drawing.svg")).isNull());
    giveUpIcons(false);
    expectPicture();
}

TEST_F(IconHelperTest, ProcessLastsAsLongAsItIsHeld) {
    {
        const std::shared_ptr<void> helper = holdIconHelper();
        EXPECT_FALSE(hasChild()) << "it starts with the first icon";
        expectPicture();
        EXPECT_TRUE(hasChild());
        expectPicture();
    }
    EXPECT_FALSE(hasChild());
    expectPicture();
    EXPECT_FALSE(hasChild());
}

TEST_F(IconHelperTest, ManyThreadsGetTheirIcons) {
    constexpr std::size_t kThreads = 8;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (std::size_t at = 0; at < kThreads; ++at) {
        threads.emplace_back([this] { expectPicture(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

int main(int argc, char* argv[]) {
    if (const std::optional<int> served = serveAsIconHelper(argc, argv)) {
        return *served;
    }
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
