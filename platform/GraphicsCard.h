#pragma once

#include <QString>

/// Whether the machine has a graphics card that draws for programs. Without one OpenGL is computed by the
/// processor, which paints the whole window for each frame, while Qt's software scene graph paints what has
/// changed and keeps half the memory.
/// Linux: whether deviceFolder ("/dev") holds a render node (dri/renderD*) or the device of a driver that has
/// none (nvidia0, dxg, mali0, kgsl-3d0); a folder that cannot be read holds nothing. Windows: always true,
/// since Direct3D brings its own fast substitute. Reads two folders; any thread.
bool hasGraphicsCard(const QString& deviceFolder = QStringLiteral("/dev"));
