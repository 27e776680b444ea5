#include "tests/windows/SoundScene.h"

#include "tests/support/Await.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <objbase.h>
#include <stdexcept>

namespace {

std::string setting(const std::string& name) {
    const char* const value = std::getenv(name.c_str());
    if (value == nullptr) {
        throw std::runtime_error(name + " is not set: this program is started by with_sound.py");
    }
    return value;
}

// A path of the system around Wine.
std::string outside(const std::string& path) {
    return "Z:" + path;
}

} // namespace

bool comesTrue(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    // What is looked at is often a file of sound, which takes a while to read.
    return awaitStepping(
        condition, [] { std::this_thread::sleep_for(std::chrono::milliseconds(10)); },
        static_cast<int>(limit.count()));
}

RecordedSink::RecordedSink(const std::string& name, std::uint32_t channelCount, double sampleRate)
    : channels(channelCount), rate(sampleRate) {
    std::string upper = name;
    std::ranges::transform(upper, upper.begin(), [](unsigned char c) { return std::toupper(c); });
    path = outside(setting("VEXO_RECORDED_" + upper));
}

std::vector<float> RecordedSink::latest(std::uint32_t channel, double seconds) const {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const std::size_t frameBytes = channels * sizeof(float);
    const auto frames = static_cast<std::size_t>(std::max<std::streamoff>(file.tellg(), 0)) / frameBytes;
    const std::size_t count = std::min(frames, static_cast<std::size_t>(seconds * rate));
    std::vector<float> all(count * channels);
    file.seekg(static_cast<std::streamoff>((frames - count) * frameBytes));
    file.read(reinterpret_cast<char*>(all.data()), static_cast<std::streamsize>(count * frameBytes));
    std::vector<float> one(count);
    for (std::size_t frame = 0; frame < count; ++frame) {
        one[frame] = all[frame * channels + channel];
    }
    return one;
}

double RecordedSink::seconds() const {
    return static_cast<double>(std::filesystem::file_size(path)) / (channels * sizeof(float) * rate);
}

double RecordedSink::amplitude(std::uint32_t channel, double frequency) const {
    return amplitudeOf(latest(channel, 0.1), frequency, rate);
}

double amplitudeOf(const std::vector<float>& signal, double frequency, double sampleRate) {
    if (signal.empty()) {
        return 0.0;
    }
    std::complex<double> sum = 0.0;
    double weights = 0.0;
    for (std::size_t at = 0; at < signal.size(); ++at) {
        const double turn = 2 * std::numbers::pi * static_cast<double>(at);
        const double weight = 0.5 - 0.5 * std::cos(turn / static_cast<double>(signal.size()));
        sum += weight * static_cast<double>(signal[at]) * std::polar(1.0, -turn * frequency / sampleRate);
        weights += weight;
    }
    return 2 * std::abs(sum) / weights;
}

bool unload(const std::string& name) {
    const std::string requests = outside(setting("VEXO_SOUND_REQUESTS"));
    const std::string request = "unload " + name;
    std::ofstream(requests, std::ios::app | std::ios::binary) << request << '\n';
    return comesTrue([&] {
        std::ifstream answers(requests + ".done");
        for (std::string line; std::getline(answers, line);) {
            if (line == request) {
                return true;
            }
        }
        return false;
    });
}

TonePlayer::TonePlayer(PerAppInputBuffers& buffers, std::uint32_t processId, double leftHz, double rightHz,
                       float amplitude)
    : thread([this, &buffers, processId, leftHz, rightHz, amplitude] {
          constexpr std::size_t kFrames = 480;
          constexpr double kRate = 48000;
          std::vector<float> block(kFrames * 2);
          auto next = std::chrono::steady_clock::now();
          for (double frame = 0; running; next += std::chrono::milliseconds(10)) {
              for (std::size_t at = 0; at < kFrames; ++at, ++frame) {
                  const double turn = 2 * std::numbers::pi * frame / kRate;
                  block[2 * at] = amplitude * static_cast<float>(std::sin(turn * leftHz));
                  block[2 * at + 1] = amplitude * static_cast<float>(std::sin(turn * rightHz));
              }
              buffers.addInputData(processId, block.data(),
                                   static_cast<std::uint32_t>(block.size() * sizeof(float)),
                                   floatWaveFormat(2, 48000));
              std::this_thread::sleep_until(next);
          }
      }) {}

TonePlayer::~TonePlayer() {
    running = false;
    thread.join();
}

SoundScene::SoundScene() {
    static_cast<void>(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
}

SoundScene::~SoundScene() {
    CoUninitialize();
}

void SoundScene::addSource(std::uint32_t processId) {
    AppAudioConfig config;
    config.processID = processId;
    config.input1Enabled = true;
    config.input2Enabled = true;
    config.solo = true;
    store.putConfig(processId, config);
}

ProgramThatPlays::ProgramThatPlays() : stream(windowsAudioSystemCalls()) {
    CoreAudioEndpoints endpoints(windowsAudioSystemCalls());
    const std::string defaultId = endpoints.defaultRenderEndpointId();
    const std::vector<AudioEndpointPointer> outputs =
        endpoints.activeEndpoints(EndpointFlow::Render).endpoints;
    const auto output =
        std::ranges::find_if(outputs, [&](const auto& endpoint) { return endpoint->id == defaultId; });
    if (output == outputs.end() || !stream.open(**output)) {
        throw std::runtime_error("the default output does not open");
    }
    thread = std::thread([this] { stream.run(running, [](float*, std::uint32_t) {}); });
}

ProgramThatPlays::~ProgramThatPlays() {
    running = false;
    stream.wake();
    thread.join();
}

AudioEndpointPointer endpointNamed(EndpointFlow flow, const std::string& part) {
    CoreAudioEndpoints endpoints(windowsAudioSystemCalls());
    for (const AudioEndpointPointer& endpoint : endpoints.activeEndpoints(flow).endpoints) {
        if (endpoint != nullptr && endpoint->friendlyName.value_or("").find(part) != std::string::npos) {
            return endpoint;
        }
    }
    return nullptr;
}
