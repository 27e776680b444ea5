#pragma once

// The running programs by their top-level windows: an inventory with the same keys as that of the sound
// sessions. The bridge does not use it.

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
/// "isHidden", false. The icons are written later, on the global thread pool.
[[nodiscard]] QVariantList windowApplicationMaps(const InventorySystemCalls& calls);

/// Writes the icon of a program as PNG on the global thread pool, unless the file exists with a size above 0.
/// `calls` outlives that.
void saveIconAsyncToFile(const InventorySystemCalls& calls, const QString& exePath, std::uint32_t processId,
                         const QString& iconPath);
