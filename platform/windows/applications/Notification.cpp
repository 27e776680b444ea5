#include "platform/windows/applications/Notification.h"

#include <QDebug>

bool showWindowsNotification(const QString& title, const QString& message,
                             const MessageBoxCall& showMessageBox) {
    if (showMessageBox(nullptr, message.toStdWString().c_str(), title.toStdWString().c_str(),
                       MB_OK | MB_ICONINFORMATION) == 0) {
        qWarning() << "Failed to show Windows notification";
        return false;
    }
    return true;
}
