// How long Solo's render callback takes while applications are captured from a running sound server.
//
//   vexo_render_callback_benchmark SECONDS PROCESS_ID...
//
// Prints one line of JSON: calls, and microseconds of the callback and of its period at the median and at the
// 99.9th percentile. benchmarks/sound.py runs it.

#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"
#include "mixer/RouterLog.h"
#include "mixer/router/AudioRouterAPI.h"

#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

struct Sample {
    double microseconds;
    double share; // of the time that the frames last
};

// The real stream, with a stopwatch around the callback.
class TimedStream final : public OutputStream {
public:
    TimedStream(std::unique_ptr<OutputStream> realStream, std::vector<Sample>& sampleList)
        : real(std::move(realStream)), samples(sampleList) {}

    bool open(const AudioEndpoint& endpoint) override { return real->open(endpoint); }
    void run(const std::atomic<bool>& running, const RenderCallback& render) override {
        real->run(running, [this, &render](float* output, std::uint32_t frameCount) {
            const Clock::time_point start = Clock::now();
            render(output, frameCount);
            const double took = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
            if (samples.size() < samples.capacity()) {
                samples.push_back({took, took / (frameCount * 1e6 / 48000.0)});
            }
        });
    }
    void wake() override { real->wake(); }
    void stopClient() override { real->stopClient(); }

private:
    std::unique_ptr<OutputStream> real;
    std::vector<Sample>& samples;
};

double quantile(std::vector<double> values, double share) {
    if (values.empty()) {
        return 0.0;
    }
    std::ranges::sort(values);
    return values[std::min(values.size() - 1,
                           static_cast<std::size_t>(share * static_cast<double>(values.size())))];
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc < 3) {
        std::fputs("seconds and process ids, please\n", stderr);
        return 2;
    }
    const QCoreApplication application(argc, argv);
    setRouterLogSink([](std::string_view) {});

    std::vector<Sample> samples;
    samples.reserve(1'000'000);
    RouterPlatform platform = systemRouterPlatform();
    platform.makeOutputStream = [make = platform.makeOutputStream, &samples](std::uint32_t busId) {
        return std::make_unique<TimedStream>(make(busId), samples);
    };
    AppAudioConfigStore store;
    PerAppInputBuffers buffers(store);
    AudioRouterAPI router(platform, store, buffers);
    router.initAudioRouter();

    std::vector<AppAudioConfig> records;
    for (int at = 2; at < argc; ++at) {
        AppAudioConfig record;
        record.processID = static_cast<std::uint32_t>(std::strtoul(argv[at], nullptr, 10));
        record.input1Enabled = true;
        record.input2Enabled = true;
        records.push_back(record);
    }
    AppAudioConfig listen;
    listen.processID = kBus1MasterProcessId;
    listen.input1Enabled = true;
    listen.solo = true;
    records.push_back(listen);
    router.applyAudioConfigs(records);
    std::this_thread::sleep_for(std::chrono::seconds(std::atoi(argv[1])));
    router.shutdownAudioRouter();

    std::vector<double> times;
    std::vector<double> shares;
    for (const Sample& sample : samples) {
        times.push_back(sample.microseconds);
        shares.push_back(sample.share);
    }
    std::printf("{\"calls\": %zu, \"median_us\": %.1f, \"p999_us\": %.1f, \"median_share\": %.4f, "
                "\"p999_share\": %.4f}\n",
                samples.size(), quantile(times, 0.5), quantile(times, 0.999), quantile(shares, 0.5),
                quantile(shares, 0.999));
    return samples.empty() ? 1 : 0;
}
