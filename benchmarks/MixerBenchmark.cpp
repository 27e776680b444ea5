// What the mixer and the equaliser cost, as ratios against a reference in the same run and as shares of the
// block's duration at 48000 Hz.

#include "audio/EqualizerBands.h"
#include "benchmarks/BenchmarkTable.h"
#include "platform/routerAudio/AppAudioConfigStore.h"
#include "platform/routerAudio/PerAppInputBuffers.h"
#include "platform/routerAudio/Resampler.h"
#include "tests/unit/audio/ScalarEqualizer.h"
#include "tests/unit/platform/routerAudio/ScalarReference.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#ifdef VEXO_HAS_SAMPLERATE
#include <samplerate.h>
#endif

namespace {

constexpr std::uint32_t kFirstSource = 100;
constexpr std::array<int, 3> kSourceCounts{1, 8, 64};
constexpr std::array<int, 3> kFrameCounts{64, 480, 4800};
constexpr float kQuiet = 0.02f; // 64 of it stay below the limiter's knee
constexpr float kLoud = 0.9f;

std::vector<float> noise(std::size_t count, float amplitude) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> values(-amplitude, amplitude);
    std::vector<float> samples(count);
    for (float& sample : samples) {
        sample = values(random);
    }
    return samples;
}

AppAudioConfig everywhere(std::uint32_t processID, bool solo) {
    AppAudioConfig config;
    config.processID = processID;
    config.input1Enabled = true;
    config.input1Volume = 0.8f;
    config.input2Enabled = true;
    config.input2Volume = 0.7f;
    config.solo = solo;
    return config;
}

// Rings of Bus 1 that are full of sound; makeReadable() lets the next block come from where the last ended.
template <typename Mixer>
void fillRings(Mixer& mixer, AppAudioConfigStore& store, int sources, float amplitude) {
    const std::vector<float> sound = noise(57600, amplitude);
    for (std::uint32_t source = kFirstSource; source < kFirstSource + static_cast<std::uint32_t>(sources);
         ++source) {
        store.putConfig(source, everywhere(source, false));
        mixer.addInputData(source, reinterpret_cast<const std::uint8_t*>(sound.data()), 57600 * 4,
                           floatWaveFormat(2, 48000));
    }
}

void mixBusWith(benchmark::State& state, float amplitude) {
    const auto sources = static_cast<int>(state.range(0));
    const auto frames = static_cast<std::uint32_t>(state.range(1));
    AppAudioConfigStore store;
    PerAppInputBuffers buffers(store);
    fillRings(buffers, store, sources, amplitude);
    std::vector<std::shared_ptr<InputBuffer>> rings;
    rings.reserve(static_cast<std::size_t>(sources));
    for (int source = 0; source < sources; ++source) {
        rings.push_back(buffers.getInputBuffer(kFirstSource + static_cast<std::uint32_t>(source), 1));
    }
    std::vector<float> output(std::size_t{frames} * 2);
    for (auto _ : state) {
        for (const auto& ring : rings) {
            ring->writePos.store((ring->busReadPos.load(std::memory_order_relaxed) + frames * 2) % 57600,
                                 std::memory_order_relaxed);
        }
        buffers.mixBus(output.data(), frames, 1);
        benchmark::DoNotOptimize(output.data());
    }
}

void mixBus(benchmark::State& state) {
    mixBusWith(state, kQuiet);
}
// Nearly every sample of the mix lies beyond the limiter's knee.
void mixBusLoud(benchmark::State& state) {
    mixBusWith(state, kLoud);
}

void mixBusLiteral(benchmark::State& state) {
    const auto frames = static_cast<std::uint32_t>(state.range(1));
    AppAudioConfigStore store;
    reference::Mixer mixer(store);
    fillRings(mixer, store, static_cast<int>(state.range(0)), kQuiet);
    std::vector<float> output(std::size_t{frames} * 2);
    for (auto _ : state) {
        for (auto& [key, ring] : mixer.ringMap()) {
            ring->writePos = (ring->busReadPos + frames * 2) % 57600;
        }
        mixer.mixBus(output.data(), frames, 1);
        benchmark::DoNotOptimize(output.data());
    }
}

// The same bytes, from rings of the same size to as many blocks.
void mixBusMemcpy(benchmark::State& state) {
    const auto sources = static_cast<std::size_t>(state.range(0));
    const auto floats = static_cast<std::size_t>(state.range(1)) * 2;
    std::vector<std::vector<float>> rings(sources, std::vector<float>(57600, kQuiet));
    std::vector<float> output(sources * floats);
    std::size_t position = 0;
    for (auto _ : state) {
        position = position + floats > 57600 ? 0 : position;
        for (std::size_t source = 0; source < sources; ++source) {
            std::memcpy(output.data() + source * floats, rings[source].data() + position,
                        floats * sizeof(float));
        }
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
        position += floats;
    }
}

template <typename Mixer>
void addInputDataWith(benchmark::State& state) {
    AppAudioConfigStore store;
    Mixer mixer(store);
    store.putConfig(kFirstSource, everywhere(kFirstSource, true));
    const std::vector<float> packet = noise(960, 0.5f);
    for (auto _ : state) {
        mixer.addInputData(kFirstSource, reinterpret_cast<const std::uint8_t*>(packet.data()), 960 * 4,
                           floatWaveFormat(2, 48000));
        benchmark::ClobberMemory();
    }
}

void addInputData(benchmark::State& state) {
    addInputDataWith<PerAppInputBuffers>(state);
}
void addInputDataLiteral(benchmark::State& state) {
    addInputDataWith<reference::Mixer>(state);
}

// What it writes: one block to three rings.
void addInputDataMemcpy(benchmark::State& state) {
    std::vector<std::vector<float>> rings(3, std::vector<float>(57600));
    const std::vector<float> packet = noise(960, 0.5f);
    std::size_t position = 0;
    for (auto _ : state) {
        for (std::vector<float>& ring : rings) {
            std::memcpy(ring.data() + position, packet.data(), 960 * sizeof(float));
        }
        benchmark::ClobberMemory();
        position = (position + 960) % 57600;
    }
}

void resample44100(benchmark::State& state) {
    const std::vector<float> input = noise(882, 0.5f);
    std::vector<float> output(960);
    for (auto _ : state) {
        resampleTo48k(input, 44100, 0, output);
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
}

void resample44100Literal(benchmark::State& state) {
    const std::vector<float> input = noise(882, 0.5f);
    for (auto _ : state) {
        std::vector<float> output = reference::resampleTo48k(input, 44100);
        benchmark::DoNotOptimize(output.data());
    }
}

#ifdef VEXO_HAS_SAMPLERATE
void resample44100LibsamplerateLinear(benchmark::State& state) {
    const std::vector<float> input = noise(882, 0.5f);
    std::vector<float> output(1200);
    int error = 0;
    SRC_STATE* const converter = src_new(SRC_LINEAR, 2, &error);
    SRC_DATA data{};
    data.data_in = input.data();
    data.input_frames = 441;
    data.data_out = output.data();
    data.output_frames = 600;
    data.src_ratio = 48000.0 / 44100.0;
    for (auto _ : state) {
        src_process(converter, &data);
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    src_delete(converter);
}
BENCHMARK(resample44100LibsamplerateLinear);
#endif

constexpr std::array<float, 12> kTwelveGains{3, -2, 1, 4, -3, 2, -1, 5, -4, 2, 3, -6};
constexpr std::size_t kEqualizerFrames = 256;

void equalizer(benchmark::State& state) {
    FBiquadChain chain;
    chain.init(48000.0f, 12, 2);
    applyEqualizerGains(chain, kTwelveGains);
    const std::vector<float> input = noise(2 * kEqualizerFrames, 0.5f);
    std::vector<float> block(input);
    for (auto _ : state) {
        std::memcpy(block.data(), input.data(), input.size() * sizeof(float));
        chain.processBlock(block.data(), kEqualizerFrames);
        benchmark::DoNotOptimize(block.data());
    }
}

void equalizerLiteral(benchmark::State& state) {
    std::vector<reference::Band> bands(12);
    for (std::size_t band = 0; band < bands.size(); ++band) {
        bands[band].sections.resize(2);
        reference::design(bands[band], static_cast<int>(kEqualizerBands[band].type),
                          kEqualizerBands[band].frequencyHz, 1.0f, kTwelveGains[band], 48000.0f);
    }
    const std::vector<float> input = noise(2 * kEqualizerFrames, 0.5f);
    std::vector<float> block(input);
    for (auto _ : state) {
        std::memcpy(block.data(), input.data(), input.size() * sizeof(float));
        reference::process(bands, block.data(), kEqualizerFrames, 2);
        benchmark::DoNotOptimize(block.data());
    }
}

void everyGrid(benchmark::internal::Benchmark* benchmark) {
    for (const int sources : kSourceCounts) {
        for (const int frames : kFrameCounts) {
            benchmark->Args({sources, frames});
        }
    }
}

BENCHMARK(mixBus)->Apply(everyGrid);
BENCHMARK(mixBusLiteral)->Apply(everyGrid);
BENCHMARK(mixBusMemcpy)->Apply(everyGrid);
BENCHMARK(mixBusLoud)->Args({8, 480});
BENCHMARK(addInputData);
BENCHMARK(addInputDataLiteral);
BENCHMARK(addInputDataMemcpy);
BENCHMARK(resample44100);
BENCHMARK(resample44100Literal);
BENCHMARK(equalizer);
BENCHMARK(equalizerLiteral);

std::string at(const char* name, int sources, int frames) {
    return std::string(name) + "/" + std::to_string(sources) + "/" + std::to_string(frames);
}

// Least squares of cost = fixed + perSource * sources + perFrame * frames + perSourceFrame * sources *
// frames, each point weighted by its own cost, so that the small ones count as much as the large.
void printFit(const BenchmarkTable& table) {
    std::array<std::array<double, 5>, 4> system{};
    for (const int sources : kSourceCounts) {
        for (const int frames : kFrameCounts) {
            const double cost = table.bestNs(at("mixBus", sources, frames));
            if (cost <= 0) {
                return;
            }
            const std::array<double, 5> row{1.0 / cost, sources / cost, frames / cost,
                                            static_cast<double>(sources) * frames / cost, 1.0};
            for (std::size_t i = 0; i < 4; ++i) {
                for (std::size_t j = 0; j < 5; ++j) {
                    system[i][j] += row[i] * row[j];
                }
            }
        }
    }
    for (std::size_t pivot = 0; pivot < 4; ++pivot) {
        for (std::size_t i = 0; i < 4; ++i) {
            if (i != pivot) {
                const double factor = system[i][pivot] / system[pivot][pivot];
                for (std::size_t j = pivot; j < 5; ++j) {
                    system[i][j] -= factor * system[pivot][j];
                }
            }
        }
    }
    std::array<double, 4> fit{};
    for (std::size_t i = 0; i < 4; ++i) {
        fit[i] = system[i][4] / system[i][i];
    }
    std::printf(
        "\nmixBus costs about %.0f ns + %.1f ns a source + %.2f ns a frame + %.3f ns a source and frame\n",
        fit[0], fit[1], fit[2], fit[3]);
    for (const int sources : kSourceCounts) {
        for (const int frames : kFrameCounts) {
            const double cost = table.bestNs(at("mixBus", sources, frames));
            const double fitted = fit[0] + fit[1] * sources + fit[2] * frames + fit[3] * sources * frames;
            std::printf("  %2d sources x %4d frames: %8.0f ns (fit %8.0f)\n", sources, frames, cost, fitted);
        }
    }
}

} // namespace

int main(int argc, char* argv[]) {
    BenchmarkTable table;
    if (!table.run(argc, argv)) {
        return 1;
    }
    for (const int sources : kSourceCounts) {
        for (const int frames : kFrameCounts) {
            const std::string what = std::to_string(sources) + " x " + std::to_string(frames);
            const bool budgeted = sources == 8 && frames == 480;
            table.printAtLeast("mixBus " + what + ", against the literal loop",
                               at("mixBusLiteral", sources, frames), at("mixBus", sources, frames),
                               budgeted ? std::optional(6.0) : std::nullopt);
            table.printAtMost("mixBus " + what + ", against memcpy of the same bytes",
                              at("mixBus", sources, frames), at("mixBusMemcpy", sources, frames),
                              budgeted ? std::optional(4.0) : std::nullopt);
            table.printShare("mixBus " + what + ", of the block", at("mixBus", sources, frames),
                             frames / 0.048);
        }
    }
    table.printShare("mixBus 8 x 480 far beyond the knee, of the block", at("mixBusLoud", 8, 480), 10'000);
    table.printAtMost("addInputData 480 frames, both buses and solo, against memcpy", "addInputData",
                      "addInputDataMemcpy", 10.0);
    table.printAtLeast("addInputData, against the literal loops", "addInputDataLiteral", "addInputData");
    table.printShare("addInputData, of the block", "addInputData", 10'000);
    table.printAtLeast("resampleTo48k 441 frames, against the literal loop", "resample44100Literal",
                       "resample44100");
    table.printAtMost("resampleTo48k 441 frames, against libsamplerate's linear converter", "resample44100",
                      "resample44100LibsamplerateLinear", 1.0);
    table.printAtLeast("equaliser 12 bands, 256 frames, against the literal loop", "equalizerLiteral",
                       "equalizer", 1.5);
    table.printShare("equaliser 12 bands, of the block", "equalizer", 256 / 0.048, 1.0);
    printFit(table);
    return 0;
}
