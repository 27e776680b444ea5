// The service on a sound system whose list of devices is live, as the sound server's is: an input that comes
// or goes holds nobody up.

#include "audio/capture/AudioRouterService.h"
#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace std::chrono_literals;

/// Inputs of a test's own, which come and go.
class LiveInputs final : public SoundInputs {
public:
    struct Device {
        bool isThere = true;
        bool isSilent = false; ///< sends no blocks
        double onlyRate = 0.0; ///< Hz; 0: any
        int reads = 0;
        int opens = 0;
        int openStreams = 0;
        double rate = 0.0; ///< Hz, of the last open
    };

    int initialise() override { return ++initialised, kInputDone; }
    int terminate() override { return --initialised, kInputDone; }
    std::string errorText(int error) override { return std::to_string(error); }
    bool isListLive() const override { return true; }
    SoundDeviceList devices() override {
        const std::lock_guard lock(mutex);
        SoundDeviceList list;
        for (const auto& [name, device] : machine) {
            ++list.deviceCount;
            if (device.isThere) {
                list.records.push_back({.index = list.deviceCount,
                                        .name = name,
                                        .isPreferred = true,
                                        .hostApi = "live",
                                        .maxInputChannels = 2,
                                        .defaultSampleRate = 48000.0});
            }
        }
        return list;
    }
    int checkFormat(const SoundStreamParameters& parameters) override {
        const std::lock_guard lock(mutex);
        const Device& device = machine.at(nameAt(parameters.device));
        return device.onlyRate == 0.0 || device.onlyRate == parameters.sampleRate ? kInputDone
                                                                                  : kInputInvalidRate;
    }
    int open(const SoundStreamParameters& parameters, std::uint32_t framesPerBlock,
             std::unique_ptr<SoundInputStream>& stream) override {
        const std::lock_guard lock(mutex);
        const std::string name = nameAt(parameters.device);
        Device& device = machine.at(name);
        ++device.opens;
        ++device.openStreams;
        device.rate = parameters.sampleRate;
        stream = std::make_unique<Stream>(*this, name, framesPerBlock * 2);
        return kInputDone;
    }
    void awaitBlock(std::chrono::milliseconds limit) override {
        std::this_thread::sleep_for(200us); // of a block
        std::unique_lock lock(mutex);
        ++waits;
        changed.wait_for(lock, limit, [this] {
            return woken || std::ranges::any_of(machine, [](const auto& entry) {
                       const Device& device = entry.second;
                       return device.openStreams > 0 && (!device.isThere || !device.isSilent);
                   });
        });
        woken = false;
    }
    void wake() override {
        const std::lock_guard lock(mutex);
        woken = true;
        changed.notify_all();
    }

    /// Sets what a device is from now on.
    void set(const std::string& name, bool isThere, bool isSilent = false, double onlyRate = 0.0) {
        const std::lock_guard lock(mutex);
        Device& device = machine[name];
        device.isThere = isThere;
        device.isSilent = isSilent;
        device.onlyRate = onlyRate;
        changed.notify_all();
    }
    [[nodiscard]] Device at(const std::string& name) const {
        const std::lock_guard lock(mutex);
        return machine.at(name);
    }
    [[nodiscard]] int waitCount() const {
        const std::lock_guard lock(mutex);
        return waits;
    }

    std::atomic<int> initialised{0};

private:
    class Stream final : public SoundInputStream {
    public:
        Stream(LiveInputs& liveInputs, std::string deviceName, std::size_t samples)
            : inputs(liveInputs), name(std::move(deviceName)), sampleCount(samples) {}
        ~Stream() override {
            const std::lock_guard lock(inputs.mutex);
            --inputs.machine.at(name).openStreams;
        }
        Stream(const Stream&) = delete;
        Stream& operator=(const Stream&) = delete;
        int start() override { return kInputDone; }
        void stop() override {}
        int activity() override { return inputs.at(name).isThere ? 1 : 0; }
        bool hasBlock() override { return !inputs.at(name).isSilent; }
        int read(float* block) override {
            std::fill_n(block, sampleCount, 0.5f);
            const std::lock_guard lock(inputs.mutex);
            ++inputs.machine.at(name).reads;
            return kInputDone;
        }

    private:
        LiveInputs& inputs;
        const std::string name;
        const std::size_t sampleCount;
    };

    // Under the mutex.
    std::string nameAt(std::int32_t index) const { return std::next(machine.begin(), index - 1)->first; }

    mutable std::mutex mutex;
    std::condition_variable changed;
    std::map<std::string, Device> machine;
    bool woken = false;
    int waits = 0;
};

class LiveInputsTest : public testing::Test {
protected:
    void TearDown() override {
        service.Stop();
        EXPECT_EQ(inputs.initialised, 0);
    }

    void startWith(const std::vector<InputDeviceRequest>& requests) {
        AudioRouterConfig config;
        config.inputs = requests;
        ASSERT_TRUE(service.Start(config));
        ASSERT_TRUE(await([this] { return log.count("Audio routing service started") == 1; }));
    }
    bool awaitBlocks(const std::string& name, int count = 5) {
        const int before = inputs.at(name).reads;
        return await([&] { return inputs.at(name).reads >= before + count; });
    }
    std::vector<std::chrono::milliseconds> pauses() const {
        const std::lock_guard lock(pausesMutex);
        return pausesSoFar;
    }

    LogCapture log;
    AppAudioConfigStore records;
    PerAppInputBuffers buffers{records};
    LiveInputs inputs;

private:
    mutable std::mutex pausesMutex;
    std::vector<std::chrono::milliseconds> pausesSoFar;

protected:
    AudioRouterService service{buffers,
                               [this](std::chrono::milliseconds duration) {
                                   const std::lock_guard lock(pausesMutex);
                                   pausesSoFar.push_back(duration);
                               },
                               inputs};
};

} // namespace

TEST_F(LiveInputsTest, InputThatComesAndGoesMakesTheServiceWaitForNothing) {
    inputs.set("desk", true);
    startWith({{"desk", 0, 0}});
    ASSERT_TRUE(awaitBlocks("desk"));
    inputs.set("late", true);
    EXPECT_TRUE(service.AddInputDevice("late", 0, 1));
    ASSERT_TRUE(awaitBlocks("late"));
    inputs.set("late", false);
    ASSERT_TRUE(await([this] { return log.count("Input device not found: late") == 1; }));
    EXPECT_EQ(log.count("[Warning] Input stream inactive detected (late), device may be disconnected"), 1);
    ASSERT_TRUE(awaitBlocks("desk"));
    EXPECT_TRUE(service.HasMissingInput());
    EXPECT_EQ(service.GetInputDevices().size(), 2U);
    inputs.set("late", true);
    EXPECT_TRUE(service.RefreshDevices());
    ASSERT_TRUE(awaitBlocks("late"));
    EXPECT_FALSE(service.HasMissingInput());
    EXPECT_EQ(pauses(), std::vector<std::chrono::milliseconds>());
    EXPECT_EQ(inputs.initialised, 1) << "nothing is initialised again";
    EXPECT_EQ(inputs.at("desk").opens, 4) << "one for each build of the streams";
}

TEST_F(LiveInputsTest, InputWhoseOwnDeviceComesBackIsMisplacedOnAnother) {
    inputs.set("desk", false);
    inputs.set("desk of the house", true);
    inputs.set("other", true);
    startWith({{"desk", 0, 0}, {"other", 0, 1}});
    ASSERT_TRUE(awaitBlocks("desk of the house")) << "its name holds the one that is asked for";
    EXPECT_FALSE(service.HasMisplacedInput());
    inputs.set("desk", true);
    EXPECT_TRUE(service.HasMisplacedInput());
    EXPECT_FALSE(service.HasMissingInput());
    EXPECT_TRUE(service.RefreshDevices());
    ASSERT_TRUE(awaitBlocks("desk"));
    EXPECT_TRUE(await([this] { return inputs.at("desk of the house").openStreams == 0; }));
    EXPECT_FALSE(service.HasMisplacedInput());
    EXPECT_TRUE(awaitBlocks("other"));
    EXPECT_EQ(pauses(), std::vector<std::chrono::milliseconds>());
}

TEST_F(LiveInputsTest, InputWithoutABlockIsLeftOutWhileTheOthersGoOn) {
    inputs.set("desk", true);
    inputs.set("stuck", true, true);
    AppAudioConfig heard;
    heard.input1Enabled = true;
    records.putConfig(0, heard);
    records.putConfig(1, heard);
    startWith({{"stuck", 0, 0}, {"desk", 0, 1}});
    ASSERT_TRUE(awaitBlocks("desk"));
    EXPECT_EQ(inputs.at("stuck").reads, 0);
    EXPECT_TRUE(await([this] { return buffers.collectProcessIds().contains(1); }));
    EXPECT_FALSE(buffers.collectProcessIds().contains(0));
    inputs.set("stuck", true, false);
    EXPECT_TRUE(awaitBlocks("stuck"));
    EXPECT_TRUE(await([this] { return buffers.collectProcessIds().contains(0); }));
}

TEST_F(LiveInputsTest, RequestsAndTheStopEndTheWaitForABlock) {
    inputs.set("stuck", true, true);
    startWith({{"stuck", 0, 0}});
    ASSERT_TRUE(await([this] { return inputs.waitCount() > 0; }));
    EXPECT_TRUE(service.AddInputDevice("nobody", 0, 1));
    ASSERT_TRUE(await([this] { return log.count("Add device request: nobody") == 1; }));
    EXPECT_TRUE(service.RemoveInputDevice("nobody"));
    ASSERT_TRUE(await([this] { return log.count("Remove device request: nobody") == 1; }));
    service.Stop();
    EXPECT_EQ(inputs.at("stuck").openStreams, 0);
    EXPECT_EQ(pauses(), std::vector<std::chrono::milliseconds>());
}

TEST_F(LiveInputsTest, ServiceWithoutInputsWaitsForARequest) {
    startWith({});
    ASSERT_TRUE(await([this] { return inputs.waitCount() >= 3; }));
    EXPECT_EQ(pauses(), std::vector<std::chrono::milliseconds>());
}

TEST_F(LiveInputsTest, RateThatNoInputHasIsAskedForWithARestInBetween) {
    inputs.set("desk", true, false, 44100.0);
    startWith({{"desk", 0, 0}});
    ASSERT_TRUE(awaitBlocks("desk"));
    inputs.set("desk", true, false, 48000.0);
    EXPECT_TRUE(service.SetSampleRate(96000.0));
    ASSERT_TRUE(await([this] { return log.count("Sample rate change request: 96000 Hz") >= 3; }));
    EXPECT_EQ(inputs.at("desk").rate, 48000.0);
    const std::vector<std::chrono::milliseconds> rests = pauses();
    ASSERT_GE(rests.size(), 2U);
    EXPECT_EQ(rests, std::vector(rests.size(), 200ms));
    EXPECT_TRUE(service.SetSampleRate(48000.0));
    EXPECT_TRUE(awaitBlocks("desk")) << "the rate that was obtained ends it";
}

TEST_F(LiveInputsTest, StoppedServiceListsDevicesWithoutInitialising) {
    inputs.set("desk", true);
    const std::vector<AudioDeviceEntry> entries = service.GetDeviceList(1);
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].name, "desk");
    EXPECT_EQ(entries[0].hostApi, "live");
    EXPECT_TRUE(service.GetDeviceList(2).empty());
    EXPECT_EQ(inputs.initialised, 0);
}
