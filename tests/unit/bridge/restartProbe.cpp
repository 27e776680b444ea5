// A program that restarts itself once: each run writes its arguments into the file that VEXO_RESTART_PROBE
// names, one line a run. The first run calls, in one turn, what VEXO_RESTART_CALLS says: "restart" and
// "quit", with blanks between them.

#include "bridge/SystemBridge.h"

#include <QCoreApplication>
#include <QFile>
#include <QStringList>
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
    QTimer::singleShot(0, &bridge, [&bridge] {
        for (const QString& call : qEnvironmentVariable("VEXO_RESTART_CALLS").split(QLatin1Char(' '))) {
            if (call == QLatin1String("quit")) {
                bridge.quitApplication();
            } else {
                bridge.restartApplication();
            }
        }
    });
    return QCoreApplication::exec();
}
