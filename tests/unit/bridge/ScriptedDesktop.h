#pragma once

// Bodies of the desktop's services for tests of what stands above them: they note what they are asked for and
// answer as the test says.

#include "platform/DesktopOpener.h"
#include "platform/KeyInjection.h"
#include "platform/PowerMonitor.h"

#include <QStringList>

#include <optional>
#include <vector>

struct ScriptedDesktop {
    // What was asked for, in order: "url ADDRESS", "file PATH in FOLDER", "monitor", "no monitor".
    QStringList asked;
    std::vector<KeyEvent> keys;

    OpenResult openResult{OpenResult::kOpened, 0};
    std::optional<std::size_t> keysTaken; // none: all
    bool monitorStarts = true;
    bool isThrowing = false; // the opener and the keys
    ScreenStateCallback screenState;
};

/// The one that the bodies speak to. The main thread.
[[nodiscard]] ScriptedDesktop& scriptedDesktop();
