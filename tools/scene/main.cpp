// vexo-mixer-scene SCENE FOLDER: plays a scene through the mixer and writes what came out.

#include "tools/scene/Scene.h"
#include "tools/scene/ScenePicture.h"
#include "tools/scene/SceneRenderer.h"
#include "tools/scene/WaveFile.h"

#include <QGuiApplication>

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <system_error>
#include <variant>

namespace {

std::string fileNameOf(const RenderedOutput& output) {
    return output.busId == 3 ? "solo.wav" : "bus" + std::to_string(output.busId) + ".wav";
}

int fail(const std::string& text) {
    std::cerr << "vexo-mixer-scene: " << text << '\n';
    return 1;
}

int run(const std::filesystem::path& scenePath, const std::filesystem::path& folder) {
    std::ifstream file(scenePath, std::ios::binary);
    if (!file) {
        return fail(scenePath.string() + ": cannot be opened");
    }
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const std::variant<Scene, SceneError> read = readScene(text, scenePath.parent_path());
    if (const auto* const error = std::get_if<SceneError>(&read)) {
        std::cerr << scenePath.string() << ':' << error->line << ": " << error->text << '\n';
        return 1;
    }
    const auto& scene = std::get<Scene>(read);
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        return fail(folder.string() + ": " + error.message());
    }
    const RenderedScene rendered = renderScene(scene);
    for (const RenderedOutput& output : rendered.outputs) {
        writeWaveFile(folder / fileNameOf(output), output.stereo, output.sampleRate);
    }
    const std::filesystem::path picture = folder / "scene.png";
    if (!drawScene(scene, rendered).save(QString::fromStdString(picture.string()))) {
        return fail(picture.string() + ": cannot be written");
    }
    return 0;
}

} // namespace

int main(int argc, char* argv[]) {
    // It draws into a file: no display is needed.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QGuiApplication application(argc, argv);
    if (argc != 3) {
        return fail("usage: vexo-mixer-scene SCENE FOLDER");
    }
    try {
        return run(argv[1], argv[2]);
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}
