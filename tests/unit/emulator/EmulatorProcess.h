// A real emulator as a child process, with its socket in a folder of its own. While one exists the
// environment of the test names its socket, so that the drop-in hidapi finds it.
#pragma once

#include "emulator/Json.h"

#include <sys/types.h>

namespace vexo::emulator {

struct ProgramResult {
    // The exit status; 1000 and the signal's number for a program that a signal ended.
    int status = -1;
    std::string output;
    std::string errors;
};

// Runs a program to its end. Variables are NAME=VALUE and added to the environment.
ProgramResult runProgram(const std::vector<std::string>& words, const std::string& input = {},
                         const std::vector<std::string>& variables = {});

// A new folder, removed with everything in it at the end.
class TestFolder {
public:
    TestFolder();
    ~TestFolder();
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    std::string file(std::string_view name) const { return path + "/" + std::string(name); }

    std::string path;
};

class EmulatorProcess {
public:
    enum class Input { Pipe, Null };

    // Starts it and waits for its ready line. The words follow "--socket PATH".
    explicit EmulatorProcess(const std::vector<std::string>& words, Input input = Input::Pipe);
    ~EmulatorProcess();
    EmulatorProcess(const EmulatorProcess&) = delete;
    EmulatorProcess& operator=(const EmulatorProcess&) = delete;

    // A command through standard input, and its answer; a test failure when there is none within ten seconds.
    Json command(const std::string& line);
    void closeInput();
    void signal(int number) const;
    // Waits for the end; the status as in ProgramResult.
    int waitForEnd();
    std::size_t openFiles() const;

    TestFolder folder;
    std::string socket;
    Json ready;

private:
    std::string readLine();

    pid_t child = -1;
    int inputHandle = -1;
    int outputHandle = -1;
    std::string buffered;
};

// Open files of a process, from /proc.
std::size_t countOpenFiles(pid_t process);

} // namespace vexo::emulator
