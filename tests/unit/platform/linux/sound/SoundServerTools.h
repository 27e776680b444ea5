#pragma once

// What the tests on a live sound server do to it from outside: by its command line tools, as a user would.

#include "mixer/OutputStream.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

/// The output of pactl with these words.
[[nodiscard]] std::string pactl(const std::string& words);

/// A null sink that counts as a real output and can be taken away again.
class ServerSink {
public:
    explicit ServerSink(const std::string& sinkName);
    ~ServerSink();
    ServerSink(const ServerSink&) = delete;
    ServerSink& operator=(const ServerSink&) = delete;

private:
    const std::string module;
};

/// The highest sample of the next 100 ms of a source, as a plain program records it; 0 where there is none.
[[nodiscard]] float peakOf(const std::string& source);

/// Whether the source is heard at this peak within the time that tests wait.
[[nodiscard]] bool awaitPeak(const std::string& source, float peak);

/// An output stream that plays a constant until it ends.
class ConstantOutput {
public:
    ConstantOutput(std::unique_ptr<OutputStream> outputStream, const AudioEndpoint& endpoint, float value);
    ~ConstantOutput();
    ConstantOutput(const ConstantOutput&) = delete;
    ConstantOutput& operator=(const ConstantOutput&) = delete;

    [[nodiscard]] bool isOpen() const { return running; }

private:
    const std::unique_ptr<OutputStream> stream;
    const RenderCallback render;
    std::atomic<bool> running{false};
    std::thread thread;
};
