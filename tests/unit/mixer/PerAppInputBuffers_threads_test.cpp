// The mixer in the hands of all its threads at once. Run it under the thread sanitizer.

#include "tests/support/RandomSeed.h"
#include "tests/support/mixer/MirroredSound.h"
#include "tests/support/mixer/MixerFixture.h"

#include <array>
#include <atomic>
#include <thread>

namespace {

constexpr std::uint32_t kProducers = 8;
constexpr std::uint32_t kFirstSource = 6; // some streams of the capture service, some processes

class PerAppInputBuffersThreads : public MixerFixture {
protected:
    static std::uint64_t rounds() { return longRun() ? 24'000 : 1'000; }

    // A thread that repeats its step from the beginning of run() to its end.
    template <typename Step>
    void start(Step step) {
        const auto number = static_cast<std::uint32_t>(threads.size());
        ++unfinished;
        threads.emplace_back([this, step, number] {
            Random random(seed + number);
            running.wait(false);
            for (std::uint64_t round = 1; unfinished.load(std::memory_order_relaxed) > 0; ++round) {
                step(random);
                if (round == rounds()) {
                    unfinished.fetch_sub(1, std::memory_order_relaxed);
                }
            }
        });
    }

    // Until each thread has had its rounds; who has goes on as long as others need.
    void run() {
        running = true;
        running.notify_all();
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    // Each thread's steps can be repeated, what the threads make of them together cannot.
    const std::uint32_t seed = newSeed();
    const testing::ScopedTrace trace{__FILE__, __LINE__, "seed " + std::to_string(seed)};
    std::atomic<bool> running{false};
    std::atomic<std::uint32_t> unfinished{0};
    std::vector<std::thread> threads;
};

} // namespace

TEST_F(PerAppInputBuffersThreads, ProducersConsumersLevelReaderAndRecordChangesGoOnTogether) {
    std::atomic<std::uint64_t> broken{0};
    std::atomic<std::uint64_t> heard{0};
    for (std::uint32_t source = kFirstSource; source < kFirstSource + kProducers; ++source) {
        AppAudioConfig config = onBothBuses(source);
        config.input1Volume = 0.5f;
        put(config);
    }
    for (std::uint32_t producer = 0; producer < kProducers; ++producer) {
        const std::uint32_t source = kFirstSource + producer;
        start([this, source](Random& random) {
            // Sometimes a whole ring and more, so that readers are lapped.
            const std::size_t frames = random() % 64 == 0 ? 30'000 : 1 + random() % 600;
            feed(source, mirrored(frames, random), random() % 3 == 0 ? 44100 : 48000);
            buffers.updateBusLevels();
        });
    }
    for (const std::uint32_t output : {1u, 2u, 3u}) {
        start([this, output, &broken, &heard](Random& random) {
            const std::uint32_t frames = 1 + random() % 960;
            const std::vector<float> mix = output == 3 ? solo(frames) : bus(output, frames);
            expectMirrored(mix, broken);
            heard.fetch_add(mix[0] != 0.0f ? 1 : 0, std::memory_order_relaxed);
        });
    }
    start([this, &broken](Random&) {
        for (const std::uint32_t processID : store.allProcessIds()) {
            const StereoLevel level = buffers.getProcessLevels(processID);
            if (!(level.left >= 0.0f && level.left <= 1.0f && level.right >= 0.0f && level.right <= 1.0f)) {
                broken.fetch_add(1, std::memory_order_relaxed);
            }
        }
        if (!(buffers.getBus1Levels().left >= 0.0f) || !(buffers.getBus2Levels().right >= 0.0f)) {
            broken.fetch_add(1, std::memory_order_relaxed);
        }
    });
    start([this](Random& random) {
        AppAudioConfig config = onBothBuses(kFirstSource + random() % kProducers);
        config.input1Volume = static_cast<float>(random() % 5) / 4.0f;
        config.input2Muted = random() % 4 == 0;
        config.solo = random() % 4 == 0;
        config.active = random() % 16 != 0;
        put(config);
        put({.processID = random() % 2 == 0 ? kBus1MasterProcessId : kBus2MasterProcessId,
             .solo = random() % 3 == 0});
        for (const std::uint32_t processID : buffers.collectProcessIds()) {
            if (random() % 64 == 0) {
                buffers.resetProcessBuffers(processID);
            }
        }
    });
    run();
    EXPECT_EQ(broken, 0u);
    EXPECT_GT(heard, 0u);
}

TEST_F(PerAppInputBuffersThreads,
       CorrectedReadersLeaveWholeFramesWhileSourcesAreResetAndTheCorrectionSwitched) {
    std::atomic<std::uint64_t> broken{0};
    std::atomic<std::uint64_t> heard{0};
    buffers.correctDrift(true);
    for (std::uint32_t producer = 0; producer < kProducers; ++producer) {
        const std::uint32_t source = kFirstSource + producer;
        AppAudioConfig config = onBothBuses(source);
        config.solo = producer == 0;
        put(config);
        start([this, source](Random& random) { feed(source, mirrored(1 + random() % 2'000, random)); });
    }
    for (const std::uint32_t output : {1u, 2u, 3u}) {
        start([this, output, &broken, &heard](Random& random) {
            const std::uint32_t frames = 1 + random() % 4'000;
            const std::vector<float> mix = output == 3 ? solo(frames) : bus(output, frames);
            expectMirrored(mix, broken);
            heard.fetch_add(mix[0] != 0.0f ? 1 : 0, std::memory_order_relaxed);
        });
    }
    start([this](Random& random) {
        put({.processID = kBus1MasterProcessId, .solo = random() % 2 == 0});
        if (random() % 256 == 0) {
            buffers.resetProcessBuffers(kFirstSource + random() % kProducers);
        }
        if (random() % 4'096 == 0) {
            buffers.correctDrift(random() % 4 != 0);
        }
    });
    run();
    EXPECT_EQ(broken, 0u);
    EXPECT_GT(heard, 0u);
}

TEST_F(PerAppInputBuffersThreads, TwoWritersOnTheSoloRingLeaveWholeFrames) {
    std::atomic<std::uint64_t> broken{0};
    for (const std::uint32_t source : {20u, 21u}) {
        AppAudioConfig config = onBothBuses(source);
        config.solo = true;
        put(config);
        start([this, source](Random& random) { feed(source, mirrored(1 + random() % 2000, random)); });
    }
    start([this, &broken](Random& random) { expectMirrored(solo(1 + random() % 960), broken); });
    run();
    EXPECT_EQ(broken, 0u);
}

TEST_F(PerAppInputBuffersThreads, RingsAreMadeAndForgottenWhileOthersMix) {
    std::atomic<std::uint64_t> broken{0};
    for (std::uint32_t producer = 0; producer < 3; ++producer) {
        start([this](Random& random) {
            const std::uint32_t source = 100 + random() % 24;
            put(onBothBuses(source));
            feed(source, mirrored(1 + random() % 64, random));
        });
    }
    for (const std::uint32_t output : {1u, 2u}) {
        start([this, output, &broken](Random& random) {
            expectMirrored(bus(output, 1 + random() % 64), broken);
        });
    }
    start([this](Random& random) {
        if (random() % 16 == 0) {
            buffers.clear();
        }
        static_cast<void>(buffers.collectProcessIds());
        static_cast<void>(buffers.getInputBuffer(100 + random() % 24, 1 + random() % 2));
    });
    run();
    EXPECT_EQ(broken, 0u);
}

// With one producer, one consumer and no lap nothing may be lost, doubled or out of order.
TEST_F(PerAppInputBuffersThreads, FramesArriveInOrderFromOneProducerToOneConsumer) {
    put(onBothBuses(20));
    constexpr std::uint32_t kRange = 1u << 19;
    const std::uint64_t frames = longRun() ? 200'000'000 : 3'000'000;
    std::atomic<std::uint64_t> taken{0};
    std::atomic<std::uint64_t> given{0};
    std::atomic<bool> finished{false};
    std::thread producer([&] {
        Random random(5);
        std::vector<float> stereo;
        while (given < frames) {
            const std::uint64_t count = 1 + random() % 900;
            if (given + count - taken > 20'000) {
                std::this_thread::yield();
                continue;
            }
            stereo.clear();
            for (std::uint64_t frame = given; frame < given + count; ++frame) {
                const float value = static_cast<float>(1 + frame % kRange) / (4.0f * kRange);
                stereo.insert(stereo.end(), {value, -value});
            }
            feed(20, stereo);
            given += count;
        }
        finished = true;
    });
    Random random(6);
    std::uint64_t wrong = 0;
    for (bool last = false; !last;) {
        const bool atEnd = finished;
        const std::vector<float> mix = bus(1, 1 + random() % 900);
        last = atEnd && mix[0] == 0.0f;
        for (std::size_t frame = 0; frame < mix.size() / 2 && mix[2 * frame] != 0.0f; ++frame) {
            const float wanted = static_cast<float>(1 + taken % kRange) / (4.0f * kRange);
            wrong += static_cast<std::uint64_t>(mix[2 * frame] != wanted || mix[2 * frame + 1] != -wanted);
            ++taken;
        }
    }
    producer.join();
    EXPECT_EQ(wrong, 0u);
    EXPECT_EQ(taken, given);
}
