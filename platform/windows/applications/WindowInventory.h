#pragma once

// The running programs by their top-level windows: another way to an inventory than the sound sessions, with
// the same keys. The bridge does not ask for it.

#include "platform/windows/applications/InventorySystemCalls.h"

#include <QString>
#include <QVariantList>

#include <cstdint>

/// A window as a person switches to it.
struct TopLevelWindow {
    std::uint32_t processId = 0;
    QString title;
};

/// The visible windows without owner and without the tool-window style, in the system's order.
[[nodiscard]] QList<TopLevelWindow> topLevelWindows(const InventorySystemCalls& calls);

/// One map for each process that has such a window: the keys of getWindowsRunningApplicationsWithIcon(), and
/// "isHidden", false. Icons come later, from the global thread pool.
[[nodiscard]] QVariantList windowApplicationMaps(const InventorySystemCalls& calls);

/// Writes the icon of a program as PNG on the global thread pool, unless the file is there with a size above
/// 0. The calls outlive that.
void saveIconAsyncToFile(const InventorySystemCalls& calls, const QString& exePath, std::uint32_t processId,
                         const QString& iconPath);
