#include "platform/windows/applications/WindowInventory.h"

#include "inventory/ProgramFiles.h"
#include "platform/windows/applications/AudioSessions.h"
#include "platform/windows/applications/IconExtraction.h"
#include "platform/windows/applications/VersionName.h"

#include <QBuffer>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QThreadPool>

#include <array>
#include <windows.h>

namespace {

BOOL CALLBACK noteWindow(HWND window, LPARAM list) {
    const bool isToolWindow = (GetWindowLongPtrW(window, GWL_EXSTYLE) & WS_EX_TOOLWINDOW) != 0;
    if (IsWindowVisible(window) == 0 || GetWindow(window, GW_OWNER) != nullptr || isToolWindow) {
        return TRUE;
    }
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    std::array<wchar_t, 512> title{};
    GetWindowTextW(window, title.data(), static_cast<int>(title.size()));
    reinterpret_cast<QList<TopLevelWindow>*>(list)->append(
        {static_cast<std::uint32_t>(processId), QString::fromWCharArray(title.data())});
    return TRUE;
}

// The icon as PNG, in text; empty, with its line, when there is none.
QByteArray iconAsBase64(const InventorySystemCalls& calls, const QString& exePath) {
    QImage picture;
    switch (drawIcon(calls, exePath.toStdWString(), true, picture)) {
    case IconStep::GdiPlus:
        qWarning() << "GDI+ 初始化失败";
        return {};
    case IconStep::Icon:
        qWarning() << "ExtractIconExW/SHGetFileInfo 失败, 无法获取图标";
        return {};
    case IconStep::Bitmap:
        qWarning() << "GDI+ Bitmap 创建失败";
        return {};
    case IconStep::Done:
        break;
    }
    QByteArray png;
    QBuffer buffer(&png);
    return buffer.open(QIODevice::WriteOnly) && picture.save(&buffer, "PNG") ? png.toBase64() : QByteArray();
}

} // namespace

QList<TopLevelWindow> topLevelWindows(const InventorySystemCalls& calls) {
    QList<TopLevelWindow> windows;
    calls.enumWindows(noteWindow, reinterpret_cast<LPARAM>(&windows));
    return windows;
}

QVariantList windowApplicationMaps(const InventorySystemCalls& calls) {
    QVariantList maps;
    QSet<std::uint32_t> seen;
    for (const TopLevelWindow& window : topLevelWindows(calls)) {
        if (seen.contains(window.processId)) {
            continue;
        }
        seen.insert(window.processId);
        const QString path = processImagePath(calls, window.processId);
        const QString ownName = QString::fromStdWString(versionDisplayName(calls, path.toStdWString()));
        const QString iconPath = sessionIconPath(temporaryFolder(calls), path, window.processId);
        if (!path.isEmpty() && !iconPath.isEmpty()) {
            makeIconFolder(calls, QFileInfo(iconPath).path());
            saveIconAsyncToFile(calls, path, window.processId, iconPath);
        }
        maps.append(QVariantMap{
            {QStringLiteral("processIdentifier"), QString::number(window.processId)},
            {QStringLiteral("bundleIdentifier"), fileUrl(path)},
            {QStringLiteral("iconFilePath"), fileUrl(iconPath)},
            {QStringLiteral("name"), ownName.isEmpty() ? window.title : ownName},
            {QStringLiteral("type"), QStringLiteral("app")},
            {QStringLiteral("isActive"), true},
            {QStringLiteral("isHidden"), false},
        });
    }
    return maps;
}

void saveIconAsyncToFile(const InventorySystemCalls& calls, const QString& exePath, std::uint32_t,
                         const QString& iconPath) {
    QThreadPool::globalInstance()->start([&calls, exePath, iconPath] {
        if (QFileInfo(iconPath).size() > 0) {
            return;
        }
        const QByteArray png = QByteArray::fromBase64(iconAsBase64(calls, exePath));
        QFile file(iconPath);
        if (!png.isEmpty() && file.open(QIODevice::WriteOnly)) {
            file.write(png);
        }
    });
}
