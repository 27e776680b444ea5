#pragma once

class QQmlApplicationEngine;
class QQuickWindow;

/// Opens the window that shows every control of the library in all its states (tests/qml/gallery), with
/// running applications to choose from. Main thread, after setUpFakeProgram(). Null if a document fails to
/// load; the engine then prints the reason. The engine owns the window.
[[nodiscard]] QQuickWindow* openControlGallery(QQmlApplicationEngine& engine);
