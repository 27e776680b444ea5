// How fast the link parser takes bytes, beside two plain loops over the same bytes in the same run: a copy
// and a sum. Budget: at least 200 MB/s on valid frames; linear in the input for any input.

#include "device/link/Link.h"
#include "device/link/LinkInspection.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kReportLength = 64;
constexpr std::size_t kFrameCount = 100; // what one measured round feeds: it fits in the receive queue

int ignoreSent(std::uint32_t, std::uint32_t, const std::uint8_t*, void*) {
    return 1;
}

// Notifications of an id that nobody handles.
Bytes validFrames(std::size_t payloadLength) {
    std::mt19937 random(1);
    Bytes stream;
    for (std::size_t sequence = 0; sequence < kFrameCount; ++sequence) {
        Bytes frame{0x55,
                    0x12,
                    static_cast<std::uint8_t>(payloadLength),
                    static_cast<std::uint8_t>(payloadLength >> 8),
                    static_cast<std::uint8_t>(sequence),
                    static_cast<std::uint8_t>(sequence >> 8),
                    7,
                    3,
                    0x34,
                    0x12, // source
                    1,
                    1,
                    28,
                    0, // destination: the host
                    0x00,
                    0x90}; // messageId
        for (std::size_t index = 0; index < payloadLength; ++index) {
            frame.push_back(static_cast<std::uint8_t>(random()));
        }
        std::uint8_t sum = 0;
        for (const std::uint8_t byte : frame) {
            sum = static_cast<std::uint8_t>(sum + byte);
        }
        frame.push_back(sum);
        stream.insert(stream.end(), frame.begin(), frame.end());
    }
    return stream;
}

double secondsOf(const auto& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void feed(std::uint32_t channel, const Bytes& stream, std::size_t reportLength) {
    for (std::size_t offset = 0; offset < stream.size(); offset += reportLength) {
        const std::size_t count = std::min(reportLength, stream.size() - offset);
        linkFeed(channel, static_cast<std::uint32_t>(count), stream.data() + offset);
    }
}

void drain() {
    while (linkInspect().receiveQueueLength > 0) {
        linkPoll();
    }
}

// The parser from the bytes to the receive queue: payloads of range(0) bytes in reports of range(1) bytes.
// The references take the same bytes in the same round; the counters say how many times longer the parser
// takes.
void parseValidFrames(benchmark::State& state) {
    linkInit();
    const std::uint32_t channel = linkOpenChannel(ignoreSent);
    const Bytes stream = validFrames(static_cast<std::size_t>(state.range(0)));
    const auto reportLength = static_cast<std::size_t>(state.range(1));
    Bytes copy(stream.size());
    // The best round of each: the least disturbed by other programs.
    double parseSeconds = 1;
    double copySeconds = 1;
    double sumSeconds = 1;
    for (auto _ : state) {
        const double seconds = secondsOf([&] { feed(channel, stream, reportLength); });
        if (linkInspect().receiveQueueLength != kFrameCount) {
            state.SkipWithError("not all frames were found");
            return;
        }
        drain();
        copySeconds = std::min(copySeconds, secondsOf([&] {
                                   std::memcpy(copy.data(), stream.data(), stream.size());
                                   benchmark::ClobberMemory();
                               }));
        sumSeconds = std::min(sumSeconds, secondsOf([&] {
                                  std::uint8_t sum = 0;
                                  for (const std::uint8_t byte : stream) {
                                      sum = static_cast<std::uint8_t>(sum + byte);
                                      benchmark::DoNotOptimize(sum); // byte by byte
                                  }
                              }));
        parseSeconds = std::min(parseSeconds, seconds);
        state.SetIterationTime(seconds);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stream.size()));
    state.counters["best_MB_per_s"] = static_cast<double>(stream.size()) / parseSeconds / 1e6;
    state.counters["x_memcpy"] = parseSeconds / copySeconds;
    state.counters["x_bytewise_sum"] = parseSeconds / sumSeconds;
}
BENCHMARK(parseValidFrames)
    ->ArgNames({"payload", "report"})
    ->ArgsProduct({{0, 13, 47, 200, 500}, {64, 1 << 20}})
    ->UseManualTime();

// The whole way of received frames, reports of 64 bytes and a poll for each frame.
void parseAndPollValidFrames(benchmark::State& state) {
    linkInit();
    const std::uint32_t channel = linkOpenChannel(ignoreSent);
    const Bytes stream = validFrames(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        feed(channel, stream, kReportLength);
        for (std::size_t polls = 0; polls < kFrameCount; ++polls) {
            linkPoll();
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stream.size()));
}
BENCHMARK(parseAndPollValidFrames)->ArgName("payload")->Arg(0)->Arg(47)->Arg(500);

// Linearity. "noise" is any bytes; "headers" is the worst there is: beginnings of frames without an end.
void parseBadBytes(benchmark::State& state, bool isHeaders) {
    linkInit();
    const std::uint32_t channel = linkOpenChannel(ignoreSent);
    std::mt19937 random(2);
    Bytes stream(static_cast<std::size_t>(state.range(0)));
    for (std::size_t index = 0; index < stream.size(); ++index) {
        const auto any = static_cast<std::uint8_t>(random());
        stream[index] = !isHeaders       ? any
                        : index % 2 == 0 ? 0x55
                                         : static_cast<std::uint8_t>(0x10 | (any & 1));
    }
    for (auto _ : state) {
        feed(channel, stream, kReportLength);
    }
    drain();
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stream.size()));
    state.SetComplexityN(state.range(0));
}
BENCHMARK_CAPTURE(parseBadBytes, noise, false)
    ->RangeMultiplier(8)
    ->Range(1 << 12, 1 << 21)
    ->Complexity(benchmark::oN);
BENCHMARK_CAPTURE(parseBadBytes, headers, true)
    ->RangeMultiplier(8)
    ->Range(1 << 12, 1 << 21)
    ->Complexity(benchmark::oN);

} // namespace

BENCHMARK_MAIN();
