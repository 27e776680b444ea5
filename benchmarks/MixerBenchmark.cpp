// What the mixer and the equaliser cost, as ratios against a reference in the same run and as shares of the
// block's duration at 48000 Hz. Ends with 1 when a budget is missed.

#include "audio/equalizer/EqualizerBands.h"
#include "benchmarks/BenchmarkTable.h"
#include "benchmarks/CostFit.h"
#include "mixer/AppAudioConfigStore.h"
#include "mixer/DenormalsAreZero.h"
#include "mixer/MixKernels.h"
#include "mixer/PerAppInputBuffers.h"
#include "mixer/Resampler.h"
#include "mixer/SampleConversion.h"
#include "tests/support/equalizer/ScalarEqualizer.h"
#include "tests/support/mixer/ScalarReference.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
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
constexpr std::uint32_t kRingFloats = InputBuffer::kFloatCount;
constexpr float kVolume = 0.8f;
constexpr float kQuiet = 0.018f;
static_assert(64 * kQuiet * kVolume < kLimiterKnee,
              "all sources at their peaks stay below the limiter's curve");
constexpr float kLoud = 0.9f; // eight of it: five samples of six lie beyond the knee

enum class Sound { Quiet, Loud, NotANumber, Infinity, Denormal };
constexpr std::array<Sound, 5> kSounds{Sound::Quiet, Sound::Loud, Sound::NotANumber, Sound::Infinity,
                                       Sound::Denormal};

std::string nameOf(Sound sound) {
    constexpr std::array<const char*, 5> kNames{"quiet", "loud", "NaN", "infinity", "denormal"};
    return kNames[static_cast<std::size_t>(sound)];
}

std::vector<float> samplesOf(Sound sound, std::size_t count, std::uint32_t seed = 1) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> values(-1.0f, 1.0f);
    std::vector<float> samples(count);
    for (float& sample : samples) {
        const float value = values(random);
        switch (sound) {
        case Sound::Quiet:
            sample = kQuiet * value;
            break;
        case Sound::Loud:
            sample = kLoud * value;
            break;
        case Sound::NotANumber:
            sample = std::numeric_limits<float>::quiet_NaN();
            break;
        case Sound::Infinity:
            sample = std::copysign(std::numeric_limits<float>::infinity(), value);
            break;
        case Sound::Denormal:
            sample = 1e-39f * value;
            break;
        }
    }
    return samples;
}

const std::uint8_t* bytesOf(const std::vector<float>& samples) {
    return reinterpret_cast<const std::uint8_t*>(samples.data());
}

AppAudioConfig everywhere(std::uint32_t processID, bool solo) {
    AppAudioConfig config;
    config.processID = processID;
    config.input1Enabled = true;
    config.input1Volume = kVolume;
    config.input2Enabled = true;
    config.input2Volume = 0.7f;
    config.solo = solo;
    return config;
}

// Rings that are full of sound, no two the same.
template <typename Mixer>
void fillRings(Mixer& mixer, AppAudioConfigStore& store, std::uint32_t sources, Sound sound) {
    for (std::uint32_t source = kFirstSource; source < kFirstSource + sources; ++source) {
        store.putConfig(source, everywhere(source, false));
        const std::vector<float> samples = samplesOf(sound, kRingFloats, source);
        mixer.addInputData(source, bytesOf(samples), kRingFloats * 4, floatWaveFormat(2, 48000));
    }
}

std::vector<std::shared_ptr<InputBuffer>> ringsOfBus1(PerAppInputBuffers& buffers, std::uint32_t sources) {
    std::vector<std::shared_ptr<InputBuffer>> rings;
    for (std::uint32_t source = kFirstSource; source < kFirstSource + sources; ++source) {
        rings.push_back(buffers.getInputBuffer(source, 1));
    }
    return rings;
}

std::vector<std::shared_ptr<reference::Ring>> ringsOfBus1(reference::Mixer& mixer, std::uint32_t sources) {
    std::vector<std::shared_ptr<reference::Ring>> rings;
    for (std::uint32_t source = kFirstSource; source < kFirstSource + sources; ++source) {
        rings.push_back(mixer.ringMap().at(std::to_string(source) + ":1"));
    }
    return rings;
}

// The same block again, as warm in the caches as sound that a capture has just written.
void makeReadableAgain(InputBuffer& ring, bool wholeBusSolo, std::uint32_t floats) {
    (wholeBusSolo ? ring.soloReadPos : ring.busReadPos).store(0, std::memory_order_relaxed);
    ring.writePos.store(floats, std::memory_order_relaxed);
}

// The next block comes from where the last ended.
void makeReadable(InputBuffer& ring, bool wholeBusSolo, std::uint32_t floats) {
    const std::atomic<std::uint32_t>& from = wholeBusSolo ? ring.soloReadPos : ring.busReadPos;
    ring.writePos.store((from.load(std::memory_order_relaxed) + floats) % kRingFloats,
                        std::memory_order_relaxed);
}

void makeReadable(reference::Ring& ring, bool wholeBusSolo, std::uint32_t floats) {
    ring.writePos = ((wholeBusSolo ? ring.soloReadPos : ring.busReadPos) + floats) % kRingFloats;
}

// A mix of Bus 1, by its own output or by Solo's.
template <typename Mixer>
void mixBus(benchmark::State& state, Sound sound, bool wholeBusSolo) {
    const auto sources = static_cast<std::uint32_t>(state.range(0));
    const auto frames = static_cast<std::uint32_t>(state.range(1));
    AppAudioConfigStore store;
    store.putConfig(kBus1MasterProcessId, {.processID = kBus1MasterProcessId, .solo = wholeBusSolo});
    Mixer mixer(store);
    fillRings(mixer, store, sources, sound);
    const auto rings = ringsOfBus1(mixer, sources);
    std::vector<float> output(std::size_t{frames} * 2);
    for (auto _ : state) {
        for (const auto& ring : rings) {
            makeReadable(*ring, wholeBusSolo, frames * 2);
        }
        if (wholeBusSolo) {
            mixer.mixSolo(output.data(), frames);
        } else {
            mixer.mixBus(output.data(), frames, 1);
        }
        benchmark::DoNotOptimize(output.data());
    }
}

// The same for how the cost grows: with a new block each time, many rings together exceed the caches, and it
// grows with the memory.
void mixWarmBus(benchmark::State& state, bool wholeBusSolo) {
    const auto sources = static_cast<std::uint32_t>(state.range(0));
    const auto frames = static_cast<std::uint32_t>(state.range(1));
    AppAudioConfigStore store;
    store.putConfig(kBus1MasterProcessId, {.processID = kBus1MasterProcessId, .solo = wholeBusSolo});
    PerAppInputBuffers mixer(store);
    fillRings(mixer, store, sources, Sound::Quiet);
    const auto rings = ringsOfBus1(mixer, sources);
    std::vector<float> output(std::size_t{frames} * 2);
    for (auto _ : state) {
        for (const auto& ring : rings) {
            makeReadableAgain(*ring, wholeBusSolo, frames * 2);
        }
        if (wholeBusSolo) {
            mixer.mixSolo(output.data(), frames);
        } else {
            mixer.mixBus(output.data(), frames, 1);
        }
        benchmark::DoNotOptimize(output.data());
    }
}

// The mix of Bus 1 where the drift of clocks is corrected: with none, or while all sources have too long a
// delay, which is pinned here so that the correction goes on for ever.
void mixBusInStep(benchmark::State& state, bool drifting) {
    const auto sources = static_cast<std::uint32_t>(state.range(0));
    const auto frames = static_cast<std::uint32_t>(state.range(1));
    AppAudioConfigStore store;
    PerAppInputBuffers mixer(store);
    mixer.correctDrift(true);
    fillRings(mixer, store, sources, Sound::Quiet);
    const auto rings = ringsOfBus1(mixer, sources);
    std::vector<float> output(std::size_t{frames} * 2);
    const auto mixWith = [&](std::uint32_t delayFrames) {
        for (const auto& ring : rings) {
            makeReadable(*ring, false, 2 * delayFrames);
        }
        mixer.mixBus(output.data(), frames, 1);
    };
    const std::uint32_t delay = 3 * frames;
    for (std::uint32_t asked = 0; asked < 10 * kMixSampleRate; asked += frames) {
        mixWith(delay);
    }
    const std::uint32_t laterDelay = drifting ? 6 * frames : delay;
    for (std::uint32_t asked = 0; asked < 10 * kMixSampleRate; asked += frames) {
        mixWith(laterDelay);
    }
    for (auto _ : state) {
        mixWith(laterDelay);
        benchmark::DoNotOptimize(output.data());
    }
}

// Solo's mix of the sources that carry it.
template <typename Mixer>
void mixSoloRing(benchmark::State& state) {
    constexpr std::uint32_t kFrames = 480;
    constexpr std::size_t kBlockFloats = 2 * std::size_t{kFrames};
    AppAudioConfigStore store;
    Mixer mixer(store);
    store.putConfig(kFirstSource, everywhere(kFirstSource, true));
    const std::vector<float> samples = samplesOf(Sound::Quiet, kRingFloats - kBlockFloats);
    std::vector<float> output(kBlockFloats);
    std::size_t left = 0; // blocks in the ring
    for (auto _ : state) {
        if (left == 0) {
            state.PauseTiming();
            mixer.addInputData(kFirstSource, bytesOf(samples), static_cast<std::uint32_t>(samples.size() * 4),
                               floatWaveFormat(2, 48000));
            left = samples.size() / kBlockFloats;
            state.ResumeTiming();
        }
        mixer.mixSolo(output.data(), kFrames);
        benchmark::DoNotOptimize(output.data());
        --left;
    }
}

// The same bytes, from rings of the same size to as many blocks.
void mixBusMemcpy(benchmark::State& state) {
    const auto sources = static_cast<std::size_t>(state.range(0));
    const auto floats = static_cast<std::size_t>(state.range(1)) * 2;
    std::vector<std::vector<float>> rings(sources, std::vector<float>(kRingFloats, kQuiet));
    std::vector<float> output(sources * floats);
    std::size_t position = 0;
    for (auto _ : state) {
        position = position + floats > kRingFloats ? 0 : position;
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
void updateBusLevels(benchmark::State& state) {
    AppAudioConfigStore store;
    Mixer mixer(store);
    fillRings(mixer, store, static_cast<std::uint32_t>(state.range(0)), Sound::Quiet);
    for (auto _ : state) {
        mixer.updateBusLevels();
        benchmark::ClobberMemory();
    }
}

template <typename Mixer>
void addInputData(benchmark::State& state, Sound sound) {
    AppAudioConfigStore store;
    Mixer mixer(store);
    store.putConfig(kFirstSource, everywhere(kFirstSource, true));
    const std::vector<float> packet = samplesOf(sound, 2 * static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        mixer.addInputData(kFirstSource, bytesOf(packet), static_cast<std::uint32_t>(packet.size() * 4),
                           floatWaveFormat(2, 48000));
        benchmark::ClobberMemory();
    }
}

// What it writes: one block to three rings.
void addInputDataMemcpy(benchmark::State& state) {
    std::vector<std::vector<float>> rings(3, std::vector<float>(kRingFloats));
    const std::vector<float> packet = samplesOf(Sound::Quiet, 2 * static_cast<std::size_t>(state.range(0)));
    std::size_t position = 0;
    for (auto _ : state) {
        position = position + packet.size() > kRingFloats ? 0 : position;
        for (std::vector<float>& ring : rings) {
            std::memcpy(ring.data() + position, packet.data(), packet.size() * sizeof(float));
        }
        benchmark::ClobberMemory();
        position += packet.size();
    }
}

constexpr std::size_t kLimited = 960; // samples: a block of 480 frames

// The gain, then the limiter, over what eight sources of that sound can add up to; in the mixer's mode.
void limit(benchmark::State& state, Sound sound) {
    const DenormalsAreZero mode;
    const std::vector<float> input = samplesOf(sound, kLimited);
    std::vector<float> block(input);
    for (auto _ : state) {
        std::memcpy(block.data(), input.data(), kLimited * sizeof(float));
        applyGainAndLimit(block, 8 * kVolume);
        benchmark::DoNotOptimize(block.data());
        benchmark::ClobberMemory();
    }
}

void limitLiteral(benchmark::State& state, Sound sound) {
    const std::vector<float> input = samplesOf(sound, kLimited);
    std::vector<float> block(input);
    for (auto _ : state) {
        for (std::size_t at = 0; at < kLimited; ++at) {
            block[at] = reference::softLimit(input[at] * (8 * kVolume));
        }
        benchmark::DoNotOptimize(block.data());
        benchmark::ClobberMemory();
    }
}

void limitMemcpy(benchmark::State& state) {
    const std::vector<float> input = samplesOf(Sound::Quiet, kLimited);
    std::vector<float> block(input);
    for (auto _ : state) {
        std::memcpy(block.data(), input.data(), kLimited * sizeof(float));
        benchmark::DoNotOptimize(block.data());
        benchmark::ClobberMemory();
    }
}

struct Packing {
    const char* name;
    WaveFormat format;
};
constexpr std::array<Packing, 4> kPackings{{{"PCM 16", {kWaveFormatPcm, 2, 48000, 4, 16}},
                                            {"PCM 32", {kWaveFormatPcm, 2, 48000, 8, 32}},
                                            {"mono float", {kWaveFormatIeeeFloat, 1, 48000, 4, 32}},
                                            {"6-channel float", {kWaveFormatIeeeFloat, 6, 48000, 24, 32}}}};

void convert(benchmark::State& state, const WaveFormat& format) {
    const std::vector<float> bytes = samplesOf(Sound::Quiet, 480 * std::size_t{6});
    std::vector<float> scratch;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            convertToStereoFloat(bytes.data(), 480u * format.blockAlign, format, scratch).data());
        benchmark::ClobberMemory();
    }
}

void convertLiteral(benchmark::State& state, const WaveFormat& format) {
    const std::vector<float> bytes = samplesOf(Sound::Quiet, 480 * std::size_t{6});
    for (auto _ : state) {
        const std::vector<float> result =
            reference::convertToStereoFloat(bytesOf(bytes), 480u * format.blockAlign, format);
        benchmark::DoNotOptimize(result.data());
    }
}

// 10 ms of each.
constexpr std::array<std::uint32_t, 5> kRates{8000, 16000, 44100, 96000, 192'000};

void resample(benchmark::State& state) {
    const auto rate = static_cast<std::uint32_t>(state.range(0));
    const std::vector<float> input = samplesOf(Sound::Loud, 2 * std::size_t{rate / 100});
    std::vector<float> output(2 * resampledFrameCount(rate / 100, rate));
    for (auto _ : state) {
        resampleTo48k(input, rate, 0, output);
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
}

void resampleLiteral(benchmark::State& state) {
    const auto rate = static_cast<std::uint32_t>(state.range(0));
    const std::vector<float> input = samplesOf(Sound::Loud, 2 * std::size_t{rate / 100});
    for (auto _ : state) {
        const std::vector<float> output = reference::resampleTo48k(input, rate);
        benchmark::DoNotOptimize(output.data());
    }
}

#ifdef VEXO_HAS_SAMPLERATE
void resampleLibsamplerateLinear(benchmark::State& state) {
    const auto rate = static_cast<std::uint32_t>(state.range(0));
    const std::vector<float> input = samplesOf(Sound::Loud, 2 * std::size_t{rate / 100});
    std::vector<float> output(1200);
    int error = 0;
    SRC_STATE* const converter = src_new(SRC_LINEAR, 2, &error);
    SRC_DATA data{};
    data.data_in = input.data();
    data.input_frames = static_cast<long>(rate / 100);
    data.data_out = output.data();
    data.output_frames = 600;
    data.src_ratio = 48000.0 / rate;
    for (auto _ : state) {
        src_process(converter, &data);
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    src_delete(converter);
}
constexpr const char* kLibsamplerate = "libsamplerate's linear converter";
#else
constexpr const char* kLibsamplerate = "libsamplerate missing";
#endif

constexpr std::array<float, 12> kTwelveGains{3, -2, 1, 4, -3, 2, -1, 5, -4, 2, 3, -6};
constexpr std::size_t kEqualizerFrames = 256;

void equalizer(benchmark::State& state, Sound sound) {
    FBiquadChain chain;
    chain.init(48000.0f, 12, 2);
    applyEqualizerGains(chain, kTwelveGains);
    const std::vector<float> input = samplesOf(sound, 2 * kEqualizerFrames);
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
    const std::vector<float> input = samplesOf(Sound::Quiet, 2 * kEqualizerFrames);
    std::vector<float> block(input);
    for (auto _ : state) {
        std::memcpy(block.data(), input.data(), input.size() * sizeof(float));
        reference::process(bands, block.data(), kEqualizerFrames, 2);
        benchmark::DoNotOptimize(block.data());
    }
}

std::string at(const std::string& name, std::int64_t first) {
    return name + "/" + std::to_string(first);
}
std::string at(const std::string& name, std::int64_t first, std::int64_t second) {
    return at(at(name, first), second);
}

// A function with some of its arguments, under a name.
template <typename Function, typename... Values>
benchmark::internal::Benchmark* add(const std::string& name, Function function, Values... values) {
    return benchmark::RegisterBenchmark(name, [=](benchmark::State& state) { function(state, values...); });
}

template <typename Mixer>
void addMixer(const std::string& suffix) {
    for (const Sound sound : kSounds) {
        auto* const mix = add("mixBus " + nameOf(sound) + suffix, mixBus<Mixer>, sound, false);
        auto* const packet = add("addInputData " + nameOf(sound) + suffix, addInputData<Mixer>, sound);
        if (sound == Sound::Quiet) {
            mix->ArgsProduct({{1, 8, 64}, {64, 480, 4800}});
            packet->Arg(64)->Arg(480)->Arg(4800);
        } else {
            mix->Args({8, 480});
            packet->Arg(480);
        }
    }
    add("mixSolo Bus 1" + suffix, mixBus<Mixer>, Sound::Quiet, true)->Args({8, 480});
    add("mixSolo ring" + suffix, mixSoloRing<Mixer>);
    add("updateBusLevels" + suffix, updateBusLevels<Mixer>)->Arg(8)->Arg(64);
}

void addAll() {
    addMixer<PerAppInputBuffers>("");
    addMixer<reference::Mixer>(" literal");
    add("mixBus in step", mixBusInStep, false)->Args({8, 480});
    add("mixBus drifting", mixBusInStep, true)->Args({8, 480});
    add("mixBus warm", mixWarmBus, false)->ArgsProduct({{1, 8, 64}, {64, 480, 4800}});
    add("mixSolo warm", mixWarmBus, true)->ArgsProduct({{1, 8, 64}, {64, 480, 4800}});
    add("mixBus memcpy", mixBusMemcpy)->ArgsProduct({{1, 8, 64}, {64, 480, 4800}});
    add("addInputData memcpy", addInputDataMemcpy)->Arg(64)->Arg(480)->Arg(4800);
    for (const Sound sound : kSounds) {
        add("limit " + nameOf(sound), limit, sound);
        add("limit " + nameOf(sound) + " literal", limitLiteral, sound);
        add("equalizer " + nameOf(sound), equalizer, sound);
    }
    add("limit memcpy", limitMemcpy);
    add("equalizer literal", equalizerLiteral);
    for (const Packing& packing : kPackings) {
        add(std::string("convert ") + packing.name, convert, packing.format);
        add(std::string("convert ") + packing.name + " literal", convertLiteral, packing.format);
    }
    for (const std::uint32_t rate : kRates) {
        add("resample", resample)->Arg(rate);
        add("resample literal", resampleLiteral)->Arg(rate);
#ifdef VEXO_HAS_SAMPLERATE
        add("resample libsamplerate", resampleLibsamplerateLinear)->Arg(rate);
#endif
    }
}

// Whether the cost grows linearly with sources and frames.
void printFits(BenchmarkTable& table) {
    constexpr double kResidualPercent = 25;
    for (const std::string name : {"mixBus warm", "mixSolo warm"}) {
        std::vector<FitPoint> points;
        for (const int sources : kSourceCounts) {
            for (const int frames : kFrameCounts) {
                points.push_back({at(name, sources, frames),
                                  {static_cast<double>(sources), static_cast<double>(frames),
                                   static_cast<double>(sources) * frames}});
            }
        }
        printCostFit(table, name, {"a source", "a frame", "a source and frame"}, points, kResidualPercent);
    }
    std::vector<FitPoint> packets;
    packets.reserve(kFrameCounts.size());
    for (const int frames : kFrameCounts) {
        packets.push_back({at("addInputData quiet", frames), {static_cast<double>(frames)}});
    }
    printCostFit(table, "addInputData quiet", {"a frame"}, packets, kResidualPercent);
}

// Sound that is no sound, beside quiet sound: it must not be what a listener hears an overload from.
void printOddSounds(BenchmarkTable& table, const std::string& name, const std::string& arguments,
                    double blockUs, bool withLiteral, std::optional<double> budget) {
    for (const Sound sound : kSounds) {
        if (sound != Sound::Quiet) {
            const std::string ofSound = std::string(name).append(" ").append(nameOf(sound));
            table.print(
                {.what = ofSound,
                 .measured = ofSound + arguments,
                 .literal = withLiteral ? std::string(ofSound).append(" literal").append(arguments) : "",
                 .against = std::string(name).append(" quiet").append(arguments),
                 .againstWhat = "quiet",
                 .atMost = sound == Sound::Loud ? std::nullopt : budget,
                 .blockUs = blockUs});
        }
    }
}

constexpr double kBlockUs = 10'000; // 480 frames

void printMixes(BenchmarkTable& table) {
    for (const int sources : kSourceCounts) {
        for (const int frames : kFrameCounts) {
            const bool budgeted = sources == 8 && frames == 480;
            table.print({.what = "mixBus " + std::to_string(sources) + " x " + std::to_string(frames),
                         .measured = at("mixBus quiet", sources, frames),
                         .literal = at("mixBus quiet literal", sources, frames),
                         .atLeast = budgeted ? std::optional(6.0) : std::nullopt,
                         .against = at("mixBus memcpy", sources, frames),
                         .againstWhat = "memcpy",
                         .atMost = budgeted ? std::optional(4.0) : std::nullopt,
                         .blockUs = frames / 0.048});
        }
    }
    printOddSounds(table, "mixBus", "/8/480", kBlockUs, true, 2.0);
    table.print({.what = "mixBus 8 x 480, drift looked for",
                 .measured = at("mixBus in step", 8, 480),
                 .against = at("mixBus quiet", 8, 480),
                 .againstWhat = "not looked for",
                 .atMost = 1.3,
                 .blockUs = kBlockUs});
    table.print({.what = "mixBus 8 x 480, all sources drifting",
                 .measured = at("mixBus drifting", 8, 480),
                 .against = at("mixBus quiet literal", 8, 480),
                 .againstWhat = "literal without",
                 .blockUs = kBlockUs,
                 .percentAtMost = 1.5});
    table.print({.what = "mixSolo, all of Bus 1, 8 x 480",
                 .measured = at("mixSolo Bus 1", 8, 480),
                 .literal = at("mixSolo Bus 1 literal", 8, 480),
                 .against = at("mixBus memcpy", 8, 480),
                 .againstWhat = "memcpy",
                 .blockUs = kBlockUs});
    table.print({.what = "mixSolo, the sources with solo, 480",
                 .measured = "mixSolo ring",
                 .literal = "mixSolo ring literal",
                 .against = at("mixBus memcpy", 1, 480),
                 .againstWhat = "memcpy",
                 .blockUs = kBlockUs});
    for (const int sources : {8, 64}) {
        table.print({.what = "updateBusLevels, " + std::to_string(sources) + " sources",
                     .measured = at("updateBusLevels", sources),
                     .literal = at("updateBusLevels literal", sources),
                     .blockUs = kBlockUs});
    }
}

void printKernels(BenchmarkTable& table) {
    table.print({.what = "gain and softLimit, 960 samples",
                 .measured = "limit quiet",
                 .literal = "limit quiet literal",
                 .against = "limit memcpy",
                 .againstWhat = "memcpy",
                 .blockUs = kBlockUs});
    printOddSounds(table, "limit", "", kBlockUs, true, std::nullopt);
    for (const Packing& packing : kPackings) {
        table.print({.what = std::string("convertToStereoFloat ") + packing.name + ", 480 frames",
                     .measured = std::string("convert ") + packing.name,
                     .literal = std::string("convert ") + packing.name + " literal",
                     .against = "limit memcpy",
                     .againstWhat = "memcpy of the result",
                     .blockUs = kBlockUs});
    }
}

void printInputs(BenchmarkTable& table) {
    for (const int frames : kFrameCounts) {
        table.print({.what = "addInputData " + std::to_string(frames) + ", both buses and solo",
                     .measured = at("addInputData quiet", frames),
                     .literal = at("addInputData quiet literal", frames),
                     .against = at("addInputData memcpy", frames),
                     .againstWhat = "memcpy",
                     .atMost = frames == 480 ? std::optional(10.0) : std::nullopt,
                     .blockUs = frames / 0.048});
    }
    printOddSounds(table, "addInputData", "/480", kBlockUs, true, 2.0);
    for (const std::uint32_t rate : kRates) {
        const bool compared = table.bestNs(at("resample libsamplerate", rate)) > 0;
        table.print({.what = "resampleTo48k 10 ms of " + std::to_string(rate) + " Hz",
                     .measured = at("resample", rate),
                     .literal = at("resample literal", rate),
                     .against = compared ? at("resample libsamplerate", rate) : "",
                     .againstWhat = kLibsamplerate,
                     .atMost = rate == 44100 ? std::optional(1.0) : std::nullopt,
                     .blockUs = kBlockUs});
    }
}

void printEqualizer(BenchmarkTable& table) {
    table.print({.what = "equaliser, 12 bands, 256 frames",
                 .measured = "equalizer quiet",
                 .literal = "equalizer literal",
                 .atLeast = 1.5,
                 .blockUs = kEqualizerFrames / 0.048,
                 .percentAtMost = 1.0});
    printOddSounds(table, "equalizer", "", kEqualizerFrames / 0.048, false, 2.0);
}

} // namespace

int main(int argc, char* argv[]) {
    addAll();
    BenchmarkTable table;
    if (!table.run(argc, argv)) {
        return 2;
    }
    printMixes(table);
    printKernels(table);
    printInputs(table);
    printEqualizer(table);
    printFits(table);
    return table.allKept() ? 0 : 1;
}
