#include "tests/unit/platform/linux/sound/SoundServerTools.h"

#include "tests/support/Await.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

struct ClosePipe {
    void operator()(std::FILE* pipe) const { static_cast<void>(pclose(pipe)); }
};
using Pipe = std::unique_ptr<std::FILE, ClosePipe>;

std::string outputOf(const std::string& command) {
    const Pipe pipe(popen(command.c_str(), "r"));
    std::string output;
    std::array<char, 4096> block{};
    while (pipe) {
        const std::size_t count = std::fread(block.data(), 1, block.size(), pipe.get());
        if (count == 0) {
            break;
        }
        output.append(block.data(), count);
    }
    return output;
}

} // namespace

std::string pactl(const std::string& words) {
    return outputOf("pactl " + words + " 2>/dev/null");
}

ServerSink::ServerSink(const std::string& sinkName)
    : module(pactl("load-module module-null-sink sink_name=" + sinkName +
                   " rate=48000 channels=2 norewinds=1 "
                   "'sink_properties=\"device.bus=pci device.form_factor=speaker\"'")) {}

ServerSink::~ServerSink() {
    static_cast<void>(pactl("unload-module " + module));
}

float peakOf(const std::string& source) {
    const Pipe pipe(popen(("timeout 5 parec --raw --format=float32le --rate=48000 --channels=2 "
                           "--latency-msec=20 --device=" +
                           source + " 2>/dev/null")
                              .c_str(),
                          "r"));
    std::vector<float> samples(9600);
    const std::size_t count =
        pipe ? std::fread(samples.data(), sizeof(float), samples.size(), pipe.get()) : 0;
    float peak = 0.0f;
    for (std::size_t at = 0; at < count; ++at) {
        peak = std::max(peak, std::abs(samples[at]));
    }
    return peak;
}

bool awaitPeak(const std::string& source, float peak) {
    return awaitThread([&] { return std::abs(peakOf(source) - peak) < 1e-4f; }, 3 * kAwaitLimitMs);
}

ConstantOutput::ConstantOutput(std::unique_ptr<OutputStream> outputStream, const AudioEndpoint& endpoint,
                               float value)
    : stream(std::move(outputStream)), render([value](float* output, std::uint32_t frameCount) {
          std::fill_n(output, std::size_t{frameCount} * 2, value);
      }) {
    running = stream->open(endpoint);
    if (running) {
        thread = std::thread([this] { stream->run(running, render); });
    }
}

ConstantOutput::~ConstantOutput() {
    running = false;
    stream->wake();
    if (thread.joinable()) {
        thread.join();
    }
    stream->stopClient();
}
