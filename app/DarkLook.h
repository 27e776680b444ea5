#pragma once

#include <QPalette>

class QGuiApplication;

/// The one look of the program: dark, whatever the desktop's theme is.

[[nodiscard]] QPalette darkPalette();

/// Sets the Quick Controls style "Material", the palette, the application's property `darkMode` and the dark
/// colour scheme. Before the first document is loaded.
void applyDarkLook(QGuiApplication& application);
