#include <QCoreApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

/// GoogleTest with a Qt application object and a home folder of its own: nothing that a test stores or logs
/// meets the user's files.
int main(int argc, char* argv[]) {
    const QTemporaryDir home;
    if (!home.isValid()) {
        return 1;
    }
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("XDG_CACHE_HOME", home.filePath("cache").toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", home.filePath("config").toLocal8Bit());
    qputenv("XDG_DATA_HOME", home.filePath("data").toLocal8Bit());
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Vexo Deck"));
    QCoreApplication::setOrganizationName(QStringLiteral("VEXO"));
    return RUN_ALL_TESTS();
}
