#pragma once

#include "tools/scene/Scene.h"
#include "tools/scene/SceneRenderer.h"

#include <QImage>

/// Draws a rendered scene over its time: what each source played when, the meters of sources and buses, and
/// the waveform of each output. Needs a QGuiApplication, for its fonts.
[[nodiscard]] QImage drawScene(const Scene& scene, const RenderedScene& rendered);
