#pragma once

// A sound server of a test's own, with one null sink, and this process's connection to it.

#include "platform/linux/sound/PulseServer.h"
#include "tests/support/Await.h"
#include "tests/unit/platform/linux/ShellCommand.h"

#include <QDir>
#include <QStandardPaths>
#include <QString>
#include <QTemporaryDir>

#include <cstdlib>
#include <memory>
#include <string>

class LiveSoundServer {
public:
    enum class Kind { PulseAudio, PipeWire };

    [[nodiscard]] static bool isInstalled(Kind kind) {
        const auto found = [](const char* name) {
            return !QStandardPaths::findExecutable(name).isEmpty();
        };
        return kind == Kind::PulseAudio ? found("pulseaudio")
                                        : found("pipewire") && found("pipewire-pulse") &&
                                              found("wireplumber") && found("dbus-run-session");
    }

    /// Starts it, and sets the environment so that this process and its children find it.
    explicit LiveSoundServer(Kind kind) {
        const std::string folder = runtime.path().toStdString();
        for (const char* const name : {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_STATE_HOME",
                                       "PIPEWIRE_RUNTIME_DIR", "PULSE_RUNTIME_PATH", "PULSE_STATE_PATH"}) {
            setenv(name, folder.c_str(), 1);
        }
        setenv("PULSE_COOKIE", (folder + "/cookie").c_str(), 1);
        const std::string socket = folder + "/native";
        setenv("PULSE_SERVER", ("unix:" + socket).c_str(), 1);
        process = std::make_unique<ShellCommand>(kind == Kind::PulseAudio ? pulseAudio(socket) : kPipeWire);
        connection = PulseServer::shared();
    }

    /// Waits until it answers and has its sink.
    [[nodiscard]] bool isReady() const {
        return await([this] { return connection->isReady(); }) &&
               ShellCommand(
                   "exec pactl load-module module-null-sink sink_name=null norewinds=1 > /dev/null || "
                   "exec pactl load-module module-null-sink sink_name=null > /dev/null")
                   .succeeded() &&
               await([this] { return connection->sinks().size() == 1; });
    }

    // The server's module takes no space in the name of its socket.
    const QTemporaryDir runtime{QDir::tempPath() + QStringLiteral("/vexo-sound-XXXXXX")};
    std::unique_ptr<ShellCommand> process;
    std::shared_ptr<PulseServer> connection;

private:
    static std::string pulseAudio(const std::string& socket) {
        return "exec pulseaudio -n --daemonize=no --exit-idle-time=-1 --use-pid-file=no --high-priority=no "
               "--log-level=0 -L 'module-native-protocol-unix auth-anonymous=1 socket=" +
               socket + "'";
    }
    // The two others end at once if they cannot connect to the first.
    static constexpr const char* kPipeWire =
        "exec dbus-run-session -- sh -c 'pipewire & "
        "until pw-cli info 0 > /dev/null 2>&1; do sleep 0.05; done; wireplumber & pipewire-pulse & wait' "
        "> /dev/null 2>&1";
};
