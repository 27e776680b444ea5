// The fake services have no operation that the real ones lack.

#include "bridge/SystemBridge.h"
#include "device/HIDHotplugManager.h"
#include "tests/support/qml/FakeHIDHotplugManager.h"
#include "tests/support/qml/FakeSystemBridge.h"

#include <QMetaMethod>
#include <QStringList>

#include <algorithm>
#include <gtest/gtest.h>

namespace {

bool takesTheSame(const QMetaMethod& one, const QMetaMethod& other) {
    if (one.parameterCount() != other.parameterCount() || one.returnMetaType() != other.returnMetaType())
        return false;
    for (int index = 0; index < one.parameterCount(); ++index) {
        if (one.parameterMetaType(index) != other.parameterMetaType(index))
            return false;
    }
    return true;
}

bool has(const QMetaObject& service, const QMetaMethod& wanted) {
    for (int index = service.methodOffset(); index < service.methodCount(); ++index) {
        const QMetaMethod method = service.method(index);
        if (method.name() == wanted.name() && method.methodType() == wanted.methodType() &&
            takesTheSame(method, wanted))
            return true;
    }
    return false;
}

// Signatures of the fake's methods and signals that the service does not have, apart from those with which
// tests control the fake.
QStringList inventedBy(const QMetaObject& fake, const QMetaObject& service, const QStringList& steering) {
    QStringList invented;
    for (int index = fake.methodOffset(); index < fake.methodCount(); ++index) {
        const QMetaMethod method = fake.method(index);
        if (!steering.contains(QString::fromUtf8(method.name())) && !has(service, method))
            invented.append(QString::fromUtf8(method.methodSignature()));
    }
    return invented;
}

TEST(Fakes, DeviceManagerOffersNothingThatTheRealOneLacks) {
    EXPECT_EQ(inventedBy(FakeHIDHotplugManager::staticMetaObject, HIDHotplugManager::staticMetaObject,
                         {"setDeviceInfo", "clearCalls", "callsChanged"})
                  .join(' ')
                  .toStdString(),
              "");
}

TEST(Fakes, BridgeOffersNothingThatTheRealOneLacks) {
    EXPECT_EQ(inventedBy(FakeSystemBridge::staticMetaObject, SystemBridge::staticMetaObject,
                         {"clearCalls", "callsChanged", "applicationsChanged", "openPage"})
                  .join(' ')
                  .toStdString(),
              "");
}

} // namespace
