#include "platform/GraphicsCard.h"

#include <QDir>

bool hasGraphicsCard(const QString& deviceFolder) {
    const auto holds = [](const QString& folder, const QStringList& names) {
        return !QDir(folder).entryList(names, QDir::System | QDir::Files).isEmpty();
    };
    return holds(deviceFolder + QStringLiteral("/dri"), {QStringLiteral("renderD*")}) ||
           holds(deviceFolder, {QStringLiteral("nvidia[0-9]*"), QStringLiteral("dxg"),
                                QStringLiteral("mali[0-9]*"), QStringLiteral("kgsl-3d[0-9]*")});
}
