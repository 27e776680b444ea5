// What a list of records costs the user interface: it comes at each step of a slider. Ends with 1 when a
// budget is missed.

#include "benchmarks/BenchmarkTable.h"
#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"
#include "mixer/RouterLog.h"
#include "mixer/router/AudioRouterAPI.h"
#include "tests/support/mixer/FakeRouterPlatform.h"

#include <QVariantList>
#include <QVariantMap>

#include <cstdint>
#include <string_view>
#include <vector>

namespace {

constexpr std::uint32_t kFirstListed = 1'000;
constexpr std::uint32_t kFirstLeft = 2'000;
constexpr std::uint32_t kListed = 8;

QVariantMap recordOf(std::uint32_t processID) {
    const QVariantMap input{
        {QStringLiteral("enabled"), true}, {QStringLiteral("volume"), 0.8}, {QStringLiteral("muted"), false}};
    return {{QStringLiteral("processID"), processID},
            {QStringLiteral("input1"), input},
            {QStringLiteral("input2"), input},
            {QStringLiteral("solo"), false}};
}

QVariantList listOf(std::uint32_t first, std::uint32_t count) {
    QVariantList list{recordOf(kBus1MasterProcessId), recordOf(kBus2MasterProcessId)};
    for (std::uint32_t processID = first; processID < first + count; ++processID) {
        list.append(recordOf(processID));
    }
    return list;
}

// A list of the sources that were in the last one too, among others that have played and left.
void setAudioConfig(benchmark::State& state) {
    const auto left = static_cast<std::uint32_t>(state.range(0));
    FakeRouterPlatform system;
    AppAudioConfigStore store;
    PerAppInputBuffers buffers(store);
    AudioRouterAPI router(system.platform(), store, buffers);
    static_cast<void>(router.startAudioRouter({}, {}, {}, {}));
    const std::vector<float> packet(960, 0.1f);
    const auto play = [&](std::uint32_t first, std::uint32_t count) {
        router.setAudioConfig(listOf(first, count));
        for (std::uint32_t processID = first; processID < first + count; ++processID) {
            buffers.addInputData(processID, packet.data(), 480 * 8, floatWaveFormat(2, 48'000));
        }
    };
    play(kFirstLeft, left);
    play(kFirstListed, kListed);
    const QVariantList list = listOf(kFirstListed, kListed);
    for (auto _ : state) {
        router.setAudioConfig(list);
    }
}

} // namespace

int main(int argc, char* argv[]) {
    setRouterLogSink([](std::string_view) {});
    benchmark::RegisterBenchmark("setAudioConfig", setAudioConfig)->Arg(0)->Arg(200);
    BenchmarkTable table;
    if (!table.run(argc, argv)) {
        return 2;
    }
    // Of one frame of 60 in a second; 0.3 % of it are 50 us.
    constexpr double kFrameUs = 1e6 / 60.0;
    table.print({.what = "setAudioConfig, 8 sources", .measured = "setAudioConfig/0", .blockUs = kFrameUs});
    table.print({.what = "setAudioConfig, 8 sources, 200 that have left",
                 .measured = "setAudioConfig/200",
                 .against = "setAudioConfig/0",
                 .againstWhat = "without these",
                 .atMost = 10.0,
                 .blockUs = kFrameUs,
                 .percentAtMost = 0.3});
    return table.allKept() ? 0 : 1;
}
