// A program that restarts itself once: each run writes its arguments into the file that VEXO_RESTART_PROBE
// names, one line a run.

#include "bridge/SystemBridge.h"

#include <QCoreApplication>
#include <QFile>
#include <QTimer>

int main(int argc, char* argv[]) {
    const QCoreApplication application(argc, argv);
    QFile file(qEnvironmentVariable("VEXO_RESTART_PROBE"));
    const bool isFirst = !file.exists();
    if (!file.open(QIODevice::Append)) {
        return 2;
    }
    file.write(QCoreApplication::arguments().mid(1).join(QLatin1Char('|')).toUtf8() + '\n');
    file.close();
    if (!isFirst) {
        return 0;
    }
    SystemBridge bridge;
    QTimer::singleShot(0, &bridge, &SystemBridge::restartApplication);
    return QCoreApplication::exec();
}
