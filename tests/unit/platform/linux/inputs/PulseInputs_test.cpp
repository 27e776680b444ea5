// The sound server's sources as inputs, on a server of the test's own (on_server.py).

#include "audio/capture/AudioRouterService.h"
#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"
#include "platform/linux/inputs/PulseInputs.h"
#include "platform/linux/sound/PulseServer.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <sched.h>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr const char* kMicrophone = "Desk Microphone";
constexpr std::uint32_t kBlockFrames = 256;

/// A shell command in a process group of its own, which ends with this object.
class Background {
public:
    explicit Background(const std::string& command) : id(fork()) {
        if (id == 0) {
            setpgid(0, 0);
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            _exit(127);
        }
        setpgid(id, id);
    }
    ~Background() {
        kill(-id, SIGKILL);
        while (waitpid(id, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    Background(const Background&) = delete;
    Background& operator=(const Background&) = delete;

private:
    const pid_t id;
};

/// What a command prints.
std::string outputOf(const std::string& command) {
    std::string output;
    FILE* const pipe = popen(command.c_str(), "r");
    std::array<char, 4096> part{};
    for (std::size_t count = 0; (count = fread(part.data(), 1, part.size(), pipe)) > 0;) {
        output.append(part.data(), count);
    }
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

/// Plays the lowest number of 8 bits, which is a level of -1, into a sink.
Background playInto(const std::string& sink) {
    return Background("exec pacat --playback --raw --format=u8 --channels=2 --rate=48000 --latency-msec=20 "
                      "--device=" +
                      sink + " /dev/zero");
}

/// A microphone that comes, and goes with this object.
class LateMicrophone {
public:
    LateMicrophone()
        : source(load("module-remap-source master=mic_in.monitor source_name=late "
                      "source_properties=device.description=Late")) {}
    ~LateMicrophone() { outputOf("pactl unload-module " + source); }
    LateMicrophone(const LateMicrophone&) = delete;
    LateMicrophone& operator=(const LateMicrophone&) = delete;

private:
    static std::string load(const std::string& words) {
        std::string number = outputOf("pactl load-module " + words);
        number.erase(number.find_last_not_of('\n') + 1);
        return number;
    }

    const std::string source;
};

/// Stops the server, so that it takes connections and says nothing; it goes on when this object ends.
class StoppedServer {
public:
    StoppedServer() { sendAll(SIGSTOP); }
    ~StoppedServer() { sendAll(SIGCONT); }
    StoppedServer(const StoppedServer&) = delete;
    StoppedServer& operator=(const StoppedServer&) = delete;

private:
    static void sendAll(int sign) {
        std::istringstream ids(std::getenv("VEXO_SOUND_SERVER_IDS"));
        for (pid_t id = 0; ids >> id;) {
            kill(id, sign);
        }
    }
};

/// The streams of this program that record, by their indexes in the server.
std::vector<std::string> recordStreams() {
    std::istringstream lines(outputOf("LC_ALL=C pactl list source-outputs"));
    std::vector<std::string> streams;
    std::string current;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("Source Output #")) {
            current = line;
        } else if (line.ends_with("application.name = \"Vexo Deck\"")) {
            streams.push_back(current);
        }
    }
    return streams;
}

class PulseInputsTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(std::getenv("VEXO_SOUND_SERVER_IDS"), nullptr) << "started by on_server.py";
        ASSERT_EQ(inputs.initialise(), kInputDone);
        // A test works between its blocks, starts programs, too: in real time it would hold up the server.
        const sched_param ordinary{};
        ASSERT_EQ(sched_setscheduler(0, SCHED_OTHER, &ordinary), 0);
        ASSERT_TRUE(await([this] { return deviceNamed(kMicrophone).has_value(); }));
    }
    void TearDown() override { EXPECT_EQ(inputs.terminate(), kInputDone); }

    std::optional<SoundDeviceRecord> deviceNamed(const std::string& name) {
        for (const SoundDeviceRecord& record : inputs.devices().records) {
            if (record.name == name && record.maxInputChannels > 0) {
                return record;
            }
        }
        return std::nullopt;
    }

    std::unique_ptr<SoundInputStream> open(const std::string& name, std::int32_t channels = 2,
                                           double rate = 48000.0) {
        std::unique_ptr<SoundInputStream> stream;
        const std::optional<SoundDeviceRecord> device = deviceNamed(name);
        EXPECT_TRUE(device) << name;
        if (device) {
            EXPECT_EQ(inputs.open({.device = device->index, .channels = channels, .sampleRate = rate},
                                  kBlockFrames, stream),
                      kInputDone);
            EXPECT_EQ(stream->start(), kInputDone);
        }
        return stream;
    }

    /// Waits for a block whose samples are all at a level.
    bool awaitLevel(SoundInputStream& stream, float level, std::size_t channels = 2) {
        std::vector<float> block(kBlockFrames * channels);
        return awaitThread([&] {
            inputs.awaitBlock(10ms);
            if (stream.activity() != 1 || !stream.hasBlock()) {
                return false;
            }
            EXPECT_EQ(stream.read(block.data()), kInputDone);
            return std::ranges::all_of(block,
                                       [level](float sample) { return std::abs(sample - level) < 0.01f; });
        });
    }

    PulseInputs inputs;
};

} // namespace

TEST_F(PulseInputsTest, SourceIsListedUnderItsNameAndReadAsItIs) {
    const Background player = playInto("mic_in");
    const SoundDeviceRecord device = deviceNamed(kMicrophone).value_or(SoundDeviceRecord{});
    EXPECT_EQ(device.maxInputChannels, 2);
    EXPECT_EQ(device.maxOutputChannels, 0);
    EXPECT_EQ(device.defaultSampleRate, 48000.0);
    EXPECT_TRUE(device.isPreferred);
    const std::unique_ptr<SoundInputStream> stream = open(kMicrophone);
    EXPECT_EQ(stream->activity(), 1) << "also while the server makes it";
    EXPECT_TRUE(awaitLevel(*stream, -1.0f));
}

TEST_F(PulseInputsTest, ServerConvertsToTheChannelsAndTheRateThatAreAskedFor) {
    const Background player = playInto("mic_in");
    const std::unique_ptr<SoundInputStream> stream = open(kMicrophone, 1, 16000.0);
    EXPECT_TRUE(awaitLevel(*stream, -1.0f, 1));
    for (const double rate : {1.0, 8000.0, 192000.0}) {
        EXPECT_EQ(inputs.checkFormat({.sampleRate = rate}), kInputDone) << rate;
    }
    for (const double rate : {0.0, 0.5, 1e9, HUGE_VAL, std::nan("")}) {
        EXPECT_EQ(inputs.checkFormat({.sampleRate = rate}), kInputInvalidRate) << rate;
    }
}

TEST_F(PulseInputsTest, MonitorsAreNoInputsAndSinksAreOutputs) {
    const SoundDeviceList devices = inputs.devices();
    EXPECT_EQ(devices.deviceCount, static_cast<std::int32_t>(devices.records.size()));
    for (const SoundDeviceRecord& record : devices.records) {
        const std::string name = record.name.value_or("");
        EXPECT_NE(record.maxInputChannels > 0, record.maxOutputChannels > 0) << name;
        EXPECT_FALSE(name.starts_with("Monitor of")) << name;
        EXPECT_EQ(devices.find(record.index), &record);
    }
    EXPECT_EQ(std::ranges::count(devices.records, std::optional<std::string>("Desk Microphone in"),
                                 &SoundDeviceRecord::name),
              1);
}

TEST_F(PulseInputsTest, StreamThatIsOpenedAgainAtOnceIsTheSame) {
    const Background player = playInto("mic_in");
    std::unique_ptr<SoundInputStream> stream = open(kMicrophone);
    ASSERT_TRUE(awaitLevel(*stream, -1.0f));
    const std::vector<std::string> before = recordStreams();
    EXPECT_EQ(before.size(), 1U);
    stream.reset();
    stream = open(kMicrophone);
    ASSERT_TRUE(awaitLevel(*stream, -1.0f));
    EXPECT_EQ(recordStreams(), before);
    // Another format is another stream.
    stream.reset();
    stream = open(kMicrophone, 1);
    ASSERT_TRUE(awaitLevel(*stream, -1.0f, 1));
    EXPECT_NE(recordStreams(), before);
    stream.reset();
    EXPECT_TRUE(await([this] {
        inputs.awaitBlock(1ms);
        return recordStreams().empty();
    })) << "a stream that nobody wants ends";
}

TEST_F(PulseInputsTest, SourceIsSharedWithAnotherStreamOfIt) {
    const Background player = playInto("mic_in");
    const std::unique_ptr<SoundInputStream> first = open(kMicrophone);
    const std::unique_ptr<SoundInputStream> second = open(kMicrophone);
    EXPECT_TRUE(awaitLevel(*first, -1.0f));
    EXPECT_TRUE(awaitLevel(*second, -1.0f));
}

TEST_F(PulseInputsTest, SourceThatGoesIsNotActiveAndOneThatComesIsListed) {
    const Background player = playInto("mic_in");
    const std::unique_ptr<SoundInputStream> stays = open(kMicrophone);
    std::optional<LateMicrophone> late(std::in_place);
    ASSERT_TRUE(await([this] { return deviceNamed("Late").has_value(); }));
    std::unique_ptr<SoundInputStream> stream = open("Late");
    ASSERT_TRUE(awaitLevel(*stream, -1.0f));
    late.reset();
    EXPECT_TRUE(await([&] {
        inputs.awaitBlock(10ms);
        return stream->activity() == 0;
    }));
    EXPECT_FALSE(deviceNamed("Late"));
    EXPECT_FALSE(stream->hasBlock());
    EXPECT_TRUE(awaitLevel(*stays, -1.0f));
    late.emplace();
    ASSERT_TRUE(await([this] { return deviceNamed("Late").has_value(); }));
    stream = open("Late");
    EXPECT_TRUE(awaitLevel(*stream, -1.0f));
}

TEST_F(PulseInputsTest, NothingIsHeardInThePlaceOfASourceThatIsNotThere) {
    const Background player = playInto("mic_in");
    PulseMainloopHandle mainloop(pa_mainloop_new());
    {
        PulseInputRecording nobodys(*pa_mainloop_get_api(mainloop.get()), {"nobody", 48000, 2, kBlockFrames});
        nobodys.follow(4711);
        // As long as it takes a source to be heard that is there.
        const std::unique_ptr<SoundInputStream> stream = open(kMicrophone);
        for (int heard = 0; heard < 200; ++heard) {
            ASSERT_TRUE(awaitLevel(*stream, -1.0f));
            pa_mainloop_iterate(mainloop.get(), 0, nullptr);
            ASSERT_EQ(nobodys.readableFrames(), 0U);
        }
    }
}

TEST_F(PulseInputsTest, FramesThatNobodyReadsAreLostTheOldestFirst) {
    const Background player = playInto("mic_in");
    PulseMainloopHandle mainloop(pa_mainloop_new());
    PulseInputRecording recording(*pa_mainloop_get_api(mainloop.get()), {"mic", 48000, 2, kBlockFrames});
    for (const PulseDevice& source : PulseServer::shared()->sources()) {
        if (source.name == "mic") {
            recording.follow(source.index);
        }
    }
    constexpr std::size_t kLongest = std::size_t{48} * PulseInputRecording::kLongestDelayMs;
    std::size_t most = 0;
    bool lost = false;
    ASSERT_TRUE(await([&] {
        pa_mainloop_iterate(mainloop.get(), 0, nullptr);
        const std::size_t frames = recording.readableFrames();
        lost = frames < most;
        most = std::max(most, frames);
        return lost;
    }));
    EXPECT_LE(most, kLongest);
    EXPECT_GT(most, kLongest / 2);
    EXPECT_GE(recording.readableFrames(), kBlockFrames);
}

TEST_F(PulseInputsTest, WakeEndsTheWaitForABlock) {
    std::atomic<bool> ended = false;
    std::thread waiting([&] {
        inputs.awaitBlock(1h);
        ended = true;
    });
    inputs.wake();
    EXPECT_TRUE(awaitThread([&ended] { return ended.load(); }));
    waiting.join();
}

TEST_F(PulseInputsTest, StoppedServerHoldsNothingUpAndIsHeardWhenItGoesOn) {
    const Background player = playInto("mic_in");
    std::unique_ptr<SoundInputStream> stream = open(kMicrophone);
    ASSERT_TRUE(awaitLevel(*stream, -1.0f));
    {
        const StoppedServer stopped;
        stream.reset();
        inputs.awaitBlock(10ms);
        stream = open(kMicrophone);
        inputs.awaitBlock(10ms);
        EXPECT_EQ(stream->activity(), 1);
        EXPECT_FALSE(stream->hasBlock());
    }
    EXPECT_TRUE(awaitLevel(*stream, -1.0f));
}

TEST_F(PulseInputsTest, ServiceHearsAMicrophoneWhileAnotherComesAndGoes) {
    const Background player = playInto("mic_in");
    LogCapture log;
    AppAudioConfigStore records;
    PerAppInputBuffers buffers(records);
    PulseInputs serviceInputs;
    AudioRouterService service(buffers, pauseThread, serviceInputs);
    AppAudioConfig record;
    record.input1Enabled = true;
    records.putConfig(0, record);
    AudioRouterConfig config;
    config.inputs = {{kMicrophone, 0, 0}, {"Late", 0, 1}};
    ASSERT_TRUE(service.Start(config));
    const auto heard = [&buffers](std::uint32_t source) {
        return buffers.getProcessLevels(source).left > 0.5f;
    };
    ASSERT_TRUE(await([&] { return heard(0); }));
    ASSERT_TRUE(await([] { return recordStreams().size() == 1; }));
    const std::vector<std::string> before = recordStreams();
    for (int round = 1; round <= 3; ++round) {
        {
            const LateMicrophone late;
            // As the bridge does when devices come.
            ASSERT_TRUE(await([&] {
                static_cast<void>(service.RefreshDevices());
                static_cast<void>(service.GetDeviceList(0));
                return !service.HasMissingInput();
            }));
            ASSERT_TRUE(await([] { return recordStreams().size() == 2; }));
        }
        ASSERT_TRUE(await([&] { return service.HasMissingInput(); }));
        ASSERT_TRUE(await([&] { return recordStreams() == before; })) << "the first has stayed as it was";
    }
    service.Stop();
    EXPECT_TRUE(await([] { return recordStreams().empty(); }));
}
