// The udev rule of the package and the devices that the scan knows are the same.

#include "device/UsbIdentity.h"

#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <gtest/gtest.h>

namespace {

const QString kRule = QStringLiteral(VEXO_UDEV_RULE);

/// The lines that are no comments.
QStringList ruleLines() {
    QFile file(kRule);
    if (!file.open(QIODevice::ReadOnly)) {
        ADD_FAILURE() << kRule.toStdString() << ": " << file.errorString().toStdString();
        return {};
    }
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    lines.removeIf([](const QString& line) { return line.startsWith(QLatin1Char('#')); });
    return lines;
}

TEST(UdevRule, GivesAccessToEveryKnownDeviceAndToNoOther) {
    QStringList wanted;
    for (const UsbIdentity& identity : kKnownDevices) {
        wanted.append(QStringLiteral(R"(SUBSYSTEM=="hidraw", ATTRS{idVendor}=="%1", ATTRS{idProduct}=="%2", )"
                                     R"(TAG+="uaccess")")
                          .arg(identity.vendorId, 4, 16, QLatin1Char('0'))
                          .arg(identity.productId, 4, 16, QLatin1Char('0')));
    }
    QStringList lines = ruleLines();
    lines.sort();
    wanted.sort();
    EXPECT_EQ(lines.join(QLatin1Char('\n')).toStdString(), wanted.join(QLatin1Char('\n')).toStdString());
}

TEST(UdevRule, ComesBeforeTheRuleThatActsOnItsTag) {
    EXPECT_LT(QFileInfo(kRule).fileName().toStdString(), "73-seat-late.rules");
}

} // namespace
