#include "tests/unit/emulator/EmulatorProcess.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vexo::emulator {
namespace {

constexpr int kPatienceMs = 20000;

struct Pipe {
    Pipe() {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
    }
    std::array<int, 2> ends{-1, -1};
};

// Starts a program with these standard handles.
pid_t start(const std::vector<std::string>& words, const std::vector<std::string>& variables, int input,
            int output, int errors) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        // From here on only what is allowed between fork and exec, but for putenv in this copy of a process
        // whose other threads are gone.
        for (const std::string& variable : variables) {
            putenv(const_cast<char*>(variable.c_str()));
        }
        dup2(input, STDIN_FILENO);
        dup2(output, STDOUT_FILENO);
        dup2(errors, STDERR_FILENO);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    return child;
}

int waitFor(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFSIGNALED(status) ? 1000 + WTERMSIG(status) : WEXITSTATUS(status);
}

bool waitReadable(int handle) {
    pollfd entry{.fd = handle, .events = POLLIN, .revents = 0};
    return poll(&entry, 1, kPatienceMs) > 0;
}

} // namespace

ProgramResult runProgram(const std::vector<std::string>& words, const std::string& input,
                         const std::vector<std::string>& variables) {
    Pipe in;
    Pipe out;
    Pipe err;
    const pid_t child = start(words, variables, in.ends[0], out.ends[1], err.ends[1]);
    close(in.ends[0]);
    close(out.ends[1]);
    close(err.ends[1]);
    // Inputs of tests fit into a pipe.
    EXPECT_EQ(write(in.ends[1], input.data(), input.size()), static_cast<ssize_t>(input.size()));
    close(in.ends[1]);
    ProgramResult result;
    const auto readAll = [](int handle, std::string& text) {
        std::array<char, 4096> buffer{};
        while (waitReadable(handle)) {
            const ssize_t count = read(handle, buffer.data(), buffer.size());
            if (count <= 0) {
                break;
            }
            text.append(buffer.data(), static_cast<std::size_t>(count));
        }
        close(handle);
    };
    readAll(out.ends[0], result.output);
    readAll(err.ends[0], result.errors);
    result.status = waitFor(child);
    return result;
}

TestFolder::TestFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vexo-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no folder: " + pattern);
    }
    path = pattern;
}

TestFolder::~TestFolder() {
    std::error_code error;
    std::filesystem::remove_all(path, error);
}

EmulatorProcess::EmulatorProcess(const std::vector<std::string>& words, Input input)
    : socket(folder.file("socket")) {
    std::vector<std::string> all{VEXO_EMULATOR_PROGRAM, "--socket", socket};
    all.insert(all.end(), words.begin(), words.end());
    Pipe in;
    Pipe out;
    if (input == Input::Null) {
        close(in.ends[0]);
        in.ends[0] = open("/dev/null", O_RDONLY | O_CLOEXEC);
    }
    child = start(all, {}, in.ends[0], out.ends[1], STDERR_FILENO);
    close(in.ends[0]);
    close(out.ends[1]);
    inputHandle = in.ends[1];
    outputHandle = out.ends[0];
    setenv("VEXO_EMULATOR_SOCKET", socket.c_str(), 1);
    ready = Json::parse(readLine(), nullptr, false);
    EXPECT_TRUE(ready.is_object() && ready.value("ready", false)) << ready.dump();
}

EmulatorProcess::~EmulatorProcess() {
    if (child > 0) {
        kill(child, SIGKILL);
        waitForEnd();
    }
    closeInput();
    close(outputHandle);
    unsetenv("VEXO_EMULATOR_SOCKET");
}

std::string EmulatorProcess::readLine() {
    while (true) {
        const std::size_t end = buffered.find('\n');
        if (end != std::string::npos) {
            const std::string line = buffered.substr(0, end);
            buffered.erase(0, end + 1);
            return line;
        }
        std::array<char, 4096> buffer{};
        const ssize_t count =
            waitReadable(outputHandle) ? read(outputHandle, buffer.data(), buffer.size()) : 0;
        if (count <= 0) {
            ADD_FAILURE() << "the emulator does not answer";
            return "null";
        }
        buffered.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

Json EmulatorProcess::command(const std::string& line) {
    const std::string text = line + "\n";
    if (write(inputHandle, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        ADD_FAILURE() << "the emulator takes no commands";
        return {};
    }
    return Json::parse(readLine(), nullptr, false);
}

void EmulatorProcess::closeInput() {
    if (inputHandle >= 0) {
        close(inputHandle);
        inputHandle = -1;
    }
}

void EmulatorProcess::signal(int number) const {
    kill(child, number);
}

int EmulatorProcess::waitForEnd() {
    const int status = waitFor(child);
    child = -1;
    return status;
}

std::size_t EmulatorProcess::openFiles() const {
    return countOpenFiles(child);
}

std::size_t countOpenFiles(pid_t process) {
    const std::filesystem::directory_iterator files("/proc/" + std::to_string(process) + "/fd");
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

} // namespace vexo::emulator
