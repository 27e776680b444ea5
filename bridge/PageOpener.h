#pragma once

#include <QPointer>

#include <memory>

class SystemBridge;

/// From now on what the documents open with Qt.openUrlExternally() goes to SystemBridge::openUrl() where it
/// is a page of the web: the user's browser gets an environment of its own, and the log tells what came of
/// it. Not on Windows, whose shell Qt asks as the bridge does. Ends with the returned object, which is null
/// on Windows. Main thread.
[[nodiscard]] std::shared_ptr<void> openPagesWith(QPointer<SystemBridge> bridge);
