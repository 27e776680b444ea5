// What the mixer may not do in a render call, and what the guard that finds out is worth.

#include "audio/equalizer/MonitorEqualizer.h"
#include "mixer/BusForwarder.h"
#include "mixer/RouterLog.h"
#include "tests/support/mixer/FakeRouterPlatform.h"
#include "tests/support/mixer/MixerFixture.h"
#include "tests/unit/mixer/RenderGuard.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <semaphore.h>
#include <shared_mutex>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

// What the other threads do while a render call is under watch.
struct Company {
    std::uint32_t sources = 8;
    float sample = 0.2f; // of all packets, and its negative
    // The master records that they put, in turns.
    std::vector<AppAudioConfig> masters{{.processID = kBus1MasterProcessId, .solo = true},
                                        {.processID = kBus1MasterProcessId}};
};

class RealTime : public MixerFixture {
protected:
    static constexpr int kRounds = 20'000;

    // Runs render calls under watch, in a process of their own, while other threads use the mixer's locks.
    [[noreturn]] void render(const RenderCallback& call, const Company& company = {}) {
        contend(company);
        renderUnderWatch(call);
    }

    // Render calls while the drift of a source is corrected, in a process of their own.
    [[noreturn]] void renderCorrected(const RenderCallback& call) {
        constexpr int kBlocks = 1'500;
        const std::vector<float> packet = constant(480, 0.25f, -0.25f);
        AppAudioConfig config = onBothBuses(20);
        config.solo = true;
        put(config);
        buffers.correctDrift(true);
        feed(20, constant(4'800, 0.25f, -0.25f)); // more than a reader begins with
        const auto ring = buffers.getInputBuffer(20, 1);
        std::array<float, 960> output{};
        renderGuard::watchThisThread(std::array{renderGuard::AllowedObject{&buffers, sizeof(buffers)},
                                                renderGuard::AllowedObject{&store, sizeof(store)}});
        for (int block = 0; block < kBlocks; ++block) {
            renderGuard::beginRender();
            call(output.data(), 480);
            renderGuard::endRender();
            feed(20, packet);
        }
        // It was corrected: more frames were read than asked for.
        const std::uint32_t read = std::max(ring->busReadPos.load(), ring->soloReadPos.load()) / 2;
        if (read <= kBlocks * 480u % InputBuffer::kFrameCount + 50) {
            std::abort();
        }
        renderGuard::finish();
    }

    // Sources, and two threads that feed them and change records for ever.
    void contend(const Company& company) {
        for (const AppAudioConfig& master : company.masters) {
            put(master);
        }
        for (std::uint32_t source = 20; source < 20 + company.sources; ++source) {
            AppAudioConfig config = onBothBuses(source);
            config.solo = source == 20;
            put(config);
            feed(source, constant(20'000, company.sample, -company.sample));
        }
        for (const std::uint32_t first : {0u, 1u}) {
            std::thread([this, first, company] {
                const std::vector<float> packet = constant(64, company.sample, -company.sample);
                for (std::uint32_t round = 0;; ++round) {
                    feed(20 + (2 * round + first) % company.sources, packet);
                    buffers.updateBusLevels();
                    put(company.masters[round % company.masters.size()]);
                }
            }).detach();
        }
    }

    // The calling thread's last work.
    [[noreturn]] void renderUnderWatch(const RenderCallback& call) {
        std::array<float, 960> output{};
        renderGuard::watchThisThread(std::array{renderGuard::AllowedObject{&buffers, sizeof(buffers)},
                                                renderGuard::AllowedObject{&store, sizeof(store)}});
        // Until locks were waited for too, which is the one reason for a system call.
        for (int round = 0; round < kRounds || (renderGuard::contendedLocks() < 10 && round < 1000 * kRounds);
             ++round) {
            renderGuard::beginRender();
            call(output.data(), 480);
            renderGuard::endRender();
        }
        renderGuard::finish();
    }
};

using RealTimeDeathTest = RealTime;

// An output whose render thread is under watch.
class WatchedOutput : public OfflineOutputStream {
public:
    explicit WatchedOutput(std::function<void(const RenderCallback&)> lastWork) : work(std::move(lastWork)) {}
    void run(const std::atomic<bool>& /*running*/, const RenderCallback& render) override { work(render); }

private:
    std::function<void(const RenderCallback&)> work;
};

std::mutex foreignMutex;

// Other gains with each round, in dB, and 0 dB among them.
std::array<float, kEqualizerBandCount> gainsOfRound(std::size_t round) {
    std::array<float, kEqualizerBandCount> gainsDb{};
    for (std::size_t band = 0; band < gainsDb.size(); ++band) {
        gainsDb[band] = static_cast<float>((round + band) % 7) - 3.0f;
    }
    return gainsDb;
}

} // namespace

TEST_F(RealTimeDeathTest, MixBusNeitherAllocatesNorTakesOtherLocksNorCallsTheSystem) {
    EXPECT_EXIT(render([this](float* output, std::uint32_t frames) {
                    buffers.mixBus(output, frames, 1);
                    buffers.mixBus(output, frames, 2);
                }),
                testing::ExitedWithCode(0), "[1-9][0-9]* locks, [1-9][0-9]* contended");
}

TEST_F(RealTimeDeathTest, MixSoloNeitherAllocatesNorTakesOtherLocksNorCallsTheSystem) {
    const AppAudioConfig bus1{.processID = kBus1MasterProcessId, .solo = true};
    const AppAudioConfig bus2{.processID = kBus2MasterProcessId, .solo = true};
    const AppAudioConfig none{.processID = kBus2MasterProcessId};
    // All of Bus 1, all of Bus 2, the sources that carry solo.
    for (const AppAudioConfig& master : {bus1, bus2, none}) {
        EXPECT_EXIT(render([this](float* output, std::uint32_t frames) { buffers.mixSolo(output, frames); },
                           {.masters = {master}}),
                    testing::ExitedWithCode(0), "[1-9][0-9]* locks, [1-9][0-9]* contended")
            << "master " << master.processID << ", solo " << master.solo;
    }
}

TEST_F(RealTimeDeathTest, NotANumberInfinityAndTheLimiterMakeNoDifference) {
    for (const float sample :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 1.5f, 1e-42f}) {
        EXPECT_EXIT(render(
                        [this](float* output, std::uint32_t frames) {
                            buffers.mixBus(output, frames, 1);
                            buffers.mixSolo(output, frames);
                        },
                        {.sample = sample}),
                    testing::ExitedWithCode(0), "[1-9][0-9]* locks, [1-9][0-9]* contended")
            << sample;
    }
}

TEST_F(RealTimeDeathTest, MoreSourcesThanABusFirstHasRoomForMakeNoDifference) {
    EXPECT_EXIT(render(
                    [this](float* output, std::uint32_t frames) {
                        buffers.mixBus(output, frames, 1);
                        buffers.mixBus(output, frames, 2);
                        buffers.mixSolo(output, frames);
                    },
                    {.sources = 80}),
                testing::ExitedWithCode(0), "[1-9][0-9]* locks, [1-9][0-9]* contended");
}

TEST_F(RealTimeDeathTest, CorrectedDriftMakesNoDifference) {
    EXPECT_EXIT(
        renderCorrected([this](float* output, std::uint32_t frames) { buffers.mixBus(output, frames, 1); }),
        testing::ExitedWithCode(0), "[1-9][0-9]* locks");
    put({.processID = kBus1MasterProcessId, .solo = true});
    EXPECT_EXIT(renderCorrected([this](float* output, std::uint32_t frames) {
                    buffers.mixSolo(output, frames);
                    buffers.mixBus(output, frames, 2);
                }),
                testing::ExitedWithCode(0), "[1-9][0-9]* locks");
}

// The whole way of a render thread: what the forwarder hands to an output.
TEST_F(RealTimeDeathTest, RenderCallbacksOfEveryOutputKeepToTheTwoLocks) {
    for (const std::uint32_t busId : {BusForwarder::kBus1Id, BusForwarder::kBus2Id, BusForwarder::kSoloId}) {
        const auto play = [&] {
            FakeRouterPlatform system;
            system.endpoints->add(EndpointFlow::Render, fakeEndpoint("Speakers", "{spk}"));
            system.endpoints->add(EndpointFlow::Render, fakeEndpoint("Port", "{port}", 0));
            RouterPlatform platform = system.platform();
            platform.makeOutputStream = [this](std::uint32_t) -> std::unique_ptr<OutputStream> {
                return std::make_unique<WatchedOutput>(
                    [this](const RenderCallback& call) { renderUnderWatch(call); });
            };
            BusForwarder forwarder(platform, buffers);
            if (busId == BusForwarder::kSoloId) {
                forwarder.setSoloDevice("{spk}");
            } else if (busId == BusForwarder::kBus1Id) {
                forwarder.setBus1Device("{port}");
            } else {
                forwarder.setBus2Device("{port}");
            }
            contend({});
            static_cast<void>(forwarder.start());
            forwarder.stop(); // waits for a thread that ends the process
        };
        EXPECT_EXIT(play(), testing::ExitedWithCode(0), "[1-9][0-9]* locks, [1-9][0-9]* contended")
            << "bus " << busId;
    }
}

TEST_F(RealTimeDeathTest, GuardFindsAnAllocation) {
    EXPECT_EXIT(render([](float* output, std::uint32_t frames) {
                    const auto list = std::make_unique<float[]>(frames);
                    output[0] = list[0];
                }),
                testing::KilledBySignal(SIGILL), "malloc in a render call");
}

TEST_F(RealTimeDeathTest, GuardFindsAForeignLock) {
    EXPECT_EXIT(render([](float* output, std::uint32_t) {
                    const std::lock_guard lock(foreignMutex);
                    output[0] = 0.0f;
                }),
                testing::KilledBySignal(SIGILL), "pthread_mutex_lock of a foreign lock in a render call");
}

TEST_F(RealTimeDeathTest, GuardFindsATryLockOfAForeignLockWhetherItIsFreeOrTaken) {
    const auto tryIt = [](float*, std::uint32_t) {
        if (foreignMutex.try_lock()) {
            foreignMutex.unlock();
        }
    };
    EXPECT_EXIT(render(tryIt), testing::KilledBySignal(SIGILL),
                "pthread_mutex_trylock of a foreign lock in a render call");
    const std::lock_guard taken(foreignMutex);
    EXPECT_EXIT(render(tryIt), testing::KilledBySignal(SIGILL),
                "pthread_mutex_trylock of a foreign lock in a render call");
}

TEST_F(RealTimeDeathTest, GuardFindsForeignLocksAndWaitsOfEveryKind) {
    using namespace std::chrono_literals;
    static std::timed_mutex timed;
    static std::shared_mutex shared;
    static std::shared_timed_mutex sharedTimed;
    static std::condition_variable condition;
    static std::mutex own;
    static pthread_spinlock_t spin;
    static sem_t semaphore;
    ASSERT_EQ(pthread_spin_init(&spin, PTHREAD_PROCESS_PRIVATE), 0);
    ASSERT_EQ(sem_init(&semaphore, 0, 1), 0);
    // Free all of them: what is found is the call, not a wait.
    const std::vector<std::pair<std::string, std::function<void()>>> kinds{
        {"pthread_mutex_clocklock",
         [] {
             static_cast<void>(timed.try_lock_for(1ms));
         }},
        {"pthread_mutex_timedlock",
         [] {
             static_cast<void>(timed.try_lock_until(std::chrono::system_clock::now() + 1ms));
         }},
        {"pthread_rwlock_rdlock",
         [] {
             shared.lock_shared();
         }},
        {"pthread_rwlock_wrlock",
         [] {
             shared.lock();
         }},
        {"pthread_rwlock_tryrdlock",
         [] {
             static_cast<void>(shared.try_lock_shared());
         }},
        {"pthread_rwlock_trywrlock",
         [] {
             static_cast<void>(shared.try_lock());
         }},
        {"pthread_rwlock_clockrdlock",
         [] {
             static_cast<void>(sharedTimed.try_lock_shared_for(1ms));
         }},
        {"pthread_rwlock_clockwrlock",
         [] {
             static_cast<void>(sharedTimed.try_lock_for(1ms));
         }},
        {"pthread_rwlock_timedrdlock",
         [] {
             static_cast<void>(sharedTimed.try_lock_shared_until(std::chrono::system_clock::now()));
         }},
        {"pthread_rwlock_timedwrlock",
         [] {
             static_cast<void>(sharedTimed.try_lock_until(std::chrono::system_clock::now()));
         }},
        {"pthread_spin_lock",
         [] {
             pthread_spin_lock(&spin);
         }},
        {"pthread_spin_trylock",
         [] {
             pthread_spin_trylock(&spin);
         }},
        {"sem_wait",
         [] {
             sem_wait(&semaphore);
         }},
        {"sem_trywait",
         [] {
             static_cast<void>(!sem_trywait(&semaphore));
         }},
        {"sem_timedwait",
         [] {
             const timespec end{};
             sem_timedwait(&semaphore, &end);
         }},
        {"sem_clockwait",
         [] {
             const timespec end{};
             sem_clockwait(&semaphore, CLOCK_MONOTONIC, &end);
         }},
    };
    for (const auto& [name, call] : kinds) {
        EXPECT_EXIT(render([&](float*, std::uint32_t) { call(); }), testing::KilledBySignal(SIGILL),
                    name + " of a foreign lock in a render call");
    }
    // Waits on a condition with a lock that was taken before the call.
    const std::vector<std::pair<std::string, std::function<void(std::unique_lock<std::mutex>&)>>> waits{
        {"pthread_cond_wait",
         [](auto& lock) {
             condition.wait(lock);
         }},
        {"pthread_cond_clockwait",
         [](auto& lock) {
             condition.wait_for(lock, 1ms);
         }},
        {"pthread_cond_timedwait",
         [](auto& lock) {
             condition.wait_until(lock, std::chrono::system_clock::now());
         }},
    };
    for (const auto& [name, wait] : waits) {
        const auto play = [&] {
            std::unique_lock lock(own);
            render([&](float*, std::uint32_t) { wait(lock); });
        };
        EXPECT_EXIT(play(), testing::KilledBySignal(SIGILL), name + " of a foreign lock in a render call");
    }
}

TEST_F(RealTimeDeathTest, GuardFindsASystemCall) {
    EXPECT_EXIT(render([](float* output, std::uint32_t) { output[0] = static_cast<float>(getppid()); }),
                testing::KilledBySignal(SIGILL), "system call [0-9]+ in a render call");
}

TEST_F(RealTimeDeathTest, GuardFindsALogLine) {
    EXPECT_EXIT(render([](float*, std::uint32_t) { routerLog("here"); }), testing::KilledBySignal(SIGILL),
                "in a render call");
}

TEST_F(RealTime, PacketsAllocateNothingAfterTheFirstOfASize) {
    AppAudioConfig config = onBothBuses(20);
    config.solo = true;
    put(config);
    const std::vector<std::int16_t> pcm(960, 1000);
    const std::vector<float> packet = constant(480, 0.25f, 0.25f);
    const auto all = [&] {
        feed(20, packet);
        feed(20, packet, 44100);
        buffers.addInputData(20, pcm.data(), 480 * 4, {kWaveFormatPcm, 2, 96000, 4, 16});
        buffers.addInputData(20, packet.data(), 480 * 4, floatWaveFormat(1, 48000));
        buffers.updateBusLevels();
    };
    const std::uint64_t atStart = renderGuard::allocationsOfThisThread();
    all();
    const std::uint64_t afterFirst = renderGuard::allocationsOfThisThread();
    EXPECT_GT(afterFirst, atStart); // the rings, at least: the count works
    for (int round = 0; round < 1000; ++round) {
        all();
    }
    EXPECT_EQ(renderGuard::allocationsOfThisThread(), afterFirst);
}

TEST_F(RealTime, PacketAtOneHertzAllocatesItsRingsAndNothingAsLarge) {
    put(onBothBuses(20));
    std::size_t largest = 0;
    // 4,800,000 frames, 38 MB.
    std::thread([&] {
        feed(20, constant(100, 0.25f, 0.25f), 1);
        largest = renderGuard::largestAllocationOfThisThread();
    }).join();
    EXPECT_EQ(buffers.getInputBuffer(20, 1)->writePos.load(), 9'600'000u % InputBuffer::kFloatCount);
    // Both rings at once.
    EXPECT_GE(largest, 2 * sizeof(InputBuffer)); // the count works
    EXPECT_LT(largest, 2 * sizeof(InputBuffer) + 1024);
}

TEST(RouterLogRealTime, LinesAllocateNothingAfterTheFirst) {
    const std::string name(200, 'n');
    const std::uint64_t atStart = renderGuard::allocationsOfThisThread();
    setRouterLogSink([](std::string_view) {});
    routerLog("first");
    const std::uint64_t afterFirst = renderGuard::allocationsOfThisThread();
    EXPECT_GT(afterFirst, atStart); // the count works
    for (int line = 0; line < 1000; ++line) {
        routerLog("line {}: {} at 0x{:x}, {}", line, name, 0xDEADBEEF, line % 2 == 0 ? "even" : "odd");
    }
    EXPECT_EQ(renderGuard::allocationsOfThisThread(), afterFirst);
    setRouterLogSink({});
}

TEST(EqualizerRealTime, GainsAndBlocksAllocateNothing) {
    const std::uint64_t atStart = renderGuard::allocationsOfThisThread();
    MonitorEqualizer equalizer;
    equalizer.prepare(48000.0, 2);
    const std::uint64_t afterPreparation = renderGuard::allocationsOfThisThread();
    EXPECT_GT(afterPreparation, atStart); // the count works
    equalizer.switchOn();
    std::array<float, 512> block{};
    for (std::size_t round = 0; round < 200; ++round) {
        equalizer.setGains(gainsOfRound(round));
        block.fill(round == 100 ? std::numeric_limits<float>::quiet_NaN() : 0.5f);
        equalizer.processBlock(block.data(), 2, 256);
        equalizer.processBlock(block.data(), 1, 512); // other channels than the chain's
    }
    EXPECT_EQ(renderGuard::allocationsOfThisThread(), afterPreparation);
}

// Gains change on another thread meanwhile, and blocks are designed anew under watch.
TEST(EqualizerRealTimeDeathTest, BlocksNeitherAllocateNorTakeLocksNorCallTheSystem) {
    const auto play = [] {
        static MonitorEqualizer equalizer;
        equalizer.prepare(48000.0, 2);
        equalizer.switchOn();
        std::thread([] {
            for (std::size_t round = 0;; ++round) {
                equalizer.setGains(gainsOfRound(round));
            }
        }).detach();
        std::array<float, 512> block{};
        renderGuard::watchThisThread({});
        for (std::size_t round = 0; round < 2000; ++round) {
            block.fill(round == 1000 ? std::numeric_limits<float>::quiet_NaN() : 0.5f);
            renderGuard::beginRender();
            equalizer.processBlock(block.data(), 2, 256);
            equalizer.processBlock(block.data(), 1, 512);
            renderGuard::endRender();
        }
        renderGuard::finish();
    };
    EXPECT_EXIT(play(), testing::ExitedWithCode(0), "^0 locks, 0 contended");
}
