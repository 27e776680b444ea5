#pragma once

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

/// A shell command in a process group of its own, which ends with this object.
class ShellCommand {
public:
    explicit ShellCommand(const std::string& command) : id(fork()) {
        if (id == 0) {
            setpgid(0, 0);
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            _exit(127);
        }
        setpgid(id, id);
    }
    ~ShellCommand() {
        if (id > 0) {
            kill(-id, SIGKILL);
            static_cast<void>(result());
        }
    }
    ShellCommand(const ShellCommand&) = delete;
    ShellCommand& operator=(const ShellCommand&) = delete;

    [[nodiscard]] std::uint32_t processId() const { return static_cast<std::uint32_t>(id); }

    /// Waits until it has ended by itself; whether with success.
    [[nodiscard]] bool succeeded() {
        const bool success = result() == 0;
        id = -1;
        return success;
    }

private:
    [[nodiscard]] int result() const {
        int status = -1;
        while (waitpid(id, &status, 0) < 0 && errno == EINTR) {
        }
        return status;
    }

    pid_t id;
};
