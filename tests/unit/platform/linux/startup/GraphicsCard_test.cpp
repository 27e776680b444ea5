#include "platform/GraphicsCard.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class GraphicsCard : public testing::TestWithParam<const char*> {
protected:
    void putDevice(const QString& path) const {
        ASSERT_TRUE(QDir().mkpath(QFileInfo(folder.filePath(path)).path()));
        ASSERT_TRUE(QFile(folder.filePath(path)).open(QIODevice::WriteOnly));
    }

    QTemporaryDir folder;
};

TEST_P(GraphicsCard, IsThereWithTheDeviceOfItsDriver) {
    ASSERT_FALSE(hasGraphicsCard(folder.path()));
    putDevice(QString::fromLatin1(GetParam()));
    EXPECT_TRUE(hasGraphicsCard(folder.path()));
}

INSTANTIATE_TEST_SUITE_P(EachDriver, GraphicsCard,
                         testing::Values("dri/renderD128", "dri/renderD129", "nvidia0", "dxg", "mali0",
                                         "kgsl-3d0"));

// A frame buffer alone has a card and no render node.
TEST_F(GraphicsCard, IsNotThereWithAScreenThatOnlyShows) {
    for (const char* const name : {"dri/card0", "dri/by-path/renderD128", "nvidiactl", "fb0", "tty1"}) {
        putDevice(QString::fromLatin1(name));
    }
    EXPECT_FALSE(hasGraphicsCard(folder.path()));
}

TEST_F(GraphicsCard, IsNotThereWithoutTheFolder) {
    EXPECT_FALSE(hasGraphicsCard(folder.filePath(QStringLiteral("none"))));
}

} // namespace
