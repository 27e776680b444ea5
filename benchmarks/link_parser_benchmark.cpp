// How fast the link parser takes bytes, beside two plain loops over the same bytes in the same run: a copy
// and a sum. Budget: at least 200 MB/s on valid frames; linear in the input for any input. Ends with 1 when a
// budget is missed, or when the parser did not find all frames.

#include "benchmarks/BenchmarkTable.h"
#include "device/link/Link.h"
#include "device/link/LinkInspection.h"
#include "tests/support/WireFrame.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using wireFrame::Bytes;

constexpr std::size_t kReportLength = 64;
constexpr std::size_t kFrameCount = 100; // what one measured round feeds: it fits in the receive queue
constexpr std::size_t kPayloadLengths[] = {0, 13, 47, 200, 500};
constexpr std::size_t kReportLengths[] = {kReportLength, 1U << 20};
constexpr std::size_t kBadByteCounts[] = {1U << 12, 1U << 15, 1U << 18, 1U << 21};

constexpr double kLeastMegabytesPerSecond = 200;
// A byte of a long input may cost this much more than one of a short input, which the processor's cache
// holds.
constexpr double kMostGrowth = 3;

bool framesWereMissed = false;

int ignoreSent(std::uint32_t, std::uint32_t, const std::uint8_t*, void*) {
    return 1;
}

// Notifications of an id that nobody handles.
Bytes validFrames(std::size_t payloadLength) {
    std::mt19937 random(1);
    Bytes stream;
    for (std::size_t sequence = 0; sequence < kFrameCount; ++sequence) {
        Bytes payload(payloadLength);
        std::ranges::generate(payload, [&random] { return static_cast<std::uint8_t>(random()); });
        const Bytes frame = wireFrame::encode({kLinkNotification,
                                               static_cast<std::uint16_t>(sequence),
                                               {7, 3, 0x1234},
                                               wireFrame::kHost,
                                               0x9000,
                                               std::move(payload)});
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

// The parser from the bytes to the receive queue. The references take the same bytes in the same round; the
// counters say how many times longer the parser takes.
void parseValidFrames(benchmark::State& state, std::size_t payloadLength, std::size_t reportLength) {
    linkInit();
    const std::uint32_t channel = linkOpenChannel(ignoreSent);
    const Bytes stream = validFrames(payloadLength);
    Bytes copy(stream.size());
    // The best round of each: the least disturbed by other programs.
    double parseSeconds = 1;
    double copySeconds = 1;
    double sumSeconds = 1;
    for (auto _ : state) {
        const double seconds = secondsOf([&] { feed(channel, stream, reportLength); });
        if (linkInspect().receiveQueueLength != kFrameCount) {
            framesWereMissed = true;
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
    state.counters["x_memcpy"] = parseSeconds / copySeconds;
    state.counters["x_bytewise_sum"] = parseSeconds / sumSeconds;
}

// The whole way of received frames, reports of 64 bytes and a poll for each frame.
void parseAndPollValidFrames(benchmark::State& state, std::size_t payloadLength) {
    linkInit();
    const std::uint32_t channel = linkOpenChannel(ignoreSent);
    const Bytes stream = validFrames(payloadLength);
    for (auto _ : state) {
        feed(channel, stream, kReportLength);
        for (std::size_t polls = 0; polls < kFrameCount; ++polls) {
            linkPoll();
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stream.size()));
}

// Linearity. "noise" is any bytes; "headers" is the worst there is: beginnings of frames without an end.
void parseBadBytes(benchmark::State& state, std::size_t byteCount, bool isHeaders) {
    linkInit();
    const std::uint32_t channel = linkOpenChannel(ignoreSent);
    std::mt19937 random(2);
    Bytes stream(byteCount);
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
}

std::string validName(std::size_t payloadLength, std::size_t reportLength) {
    return "valid, payload " + std::to_string(payloadLength) + ", reports of " + std::to_string(reportLength);
}

std::string badName(bool isHeaders, std::size_t byteCount) {
    return (isHeaders ? "headers, " : "noise, ") + std::to_string(byteCount) + " bytes";
}

void addAll() {
    for (const std::size_t reportLength : kReportLengths) {
        for (const std::size_t payloadLength : kPayloadLengths) {
            benchmark::RegisterBenchmark(validName(payloadLength, reportLength), parseValidFrames,
                                         payloadLength, reportLength)
                ->UseManualTime();
        }
    }
    for (const std::size_t payloadLength : kPayloadLengths) {
        benchmark::RegisterBenchmark("valid and polled, payload " + std::to_string(payloadLength),
                                     parseAndPollValidFrames, payloadLength);
    }
    for (const bool isHeaders : {false, true}) {
        for (const std::size_t byteCount : kBadByteCounts) {
            benchmark::RegisterBenchmark(badName(isHeaders, byteCount), parseBadBytes, byteCount, isHeaders);
        }
    }
}

bool judge(const std::string& what, double value, const char* unit, const char* relation, double budget) {
    const bool kept = relation[0] == '>' ? value >= budget : value <= budget;
    std::printf("%-40s %8.2f %-24s [%s %g: %s]\n", what.c_str(), value, unit, relation, budget,
                kept ? "kept" : "MISSED");
    return kept;
}

// Whether every budget was kept by the benchmarks that were run.
bool judgeAll(const BenchmarkTable& table) {
    bool allKept = !framesWereMissed;
    for (const std::size_t reportLength : kReportLengths) {
        for (const std::size_t payloadLength : kPayloadLengths) {
            const std::string name = validName(payloadLength, reportLength);
            // As the manual time is marked.
            const double ns = table.bestNs(name + "/manual_time");
            if (ns > 0) {
                const double megabytesPerSecond =
                    static_cast<double>((wireFrame::kFrameBytes + payloadLength) * kFrameCount) * 1e3 / ns;
                allKept &= judge(name, megabytesPerSecond, "MB/s", ">=", kLeastMegabytesPerSecond);
            }
        }
    }
    for (const bool isHeaders : {false, true}) {
        const double shortNs = table.bestNs(badName(isHeaders, kBadByteCounts[0]));
        for (const std::size_t byteCount : kBadByteCounts) {
            const std::string name = badName(isHeaders, byteCount);
            const double ns = table.bestNs(name);
            if (ns > 0 && shortNs > 0) {
                const double growth =
                    ns / static_cast<double>(byteCount) / (shortNs / static_cast<double>(kBadByteCounts[0]));
                allKept &= judge(name, growth, "x a byte of the shortest", "<=", kMostGrowth);
            }
        }
    }
    return allKept;
}

} // namespace

int main(int argc, char* argv[]) {
    addAll();
    BenchmarkTable table;
    if (!table.run(argc, argv)) {
        return 2;
    }
    return judgeAll(table) ? 0 : 1;
}
