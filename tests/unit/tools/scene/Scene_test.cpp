// Scenes through the whole router, checked sample for sample against the mixer as it is defined; and scene
// files that are wrong.

#include "mixer/AppAudioConfigStore.h"
#include "mixer/router/RoutingMaps.h"
#include "tests/support/mixer/MixerFixture.h"
#include "tests/support/mixer/RouterLogCapture.h"
#include "tests/support/mixer/ScalarReference.h"
#include "tools/scene/Scene.h"
#include "tools/scene/ScenePicture.h"
#include "tools/scene/SceneRenderer.h"
#include "tools/scene/WaveFile.h"

#include <QColor>
#include <QImage>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <numbers>
#include <set>
#include <sys/stat.h>

namespace {

const std::string kSpeakers = "endpoint Speakers id=spk\n";
const std::string kPorts = "endpoint \"Port A\" id=a virtual\nendpoint \"Port B\" id=b virtual\n"
                           "start input1=a input2=\"port b\"\n";

class SceneTest : public testing::Test {
protected:
    [[nodiscard]] Scene scene(const std::string& text) {
        std::variant<Scene, SceneError> read = readScene(text, folder.path().toStdString());
        if (const auto* const error = std::get_if<SceneError>(&read)) {
            ADD_FAILURE() << "line " << error->line << ": " << error->text;
            return {};
        }
        return std::get<Scene>(std::move(read));
    }

    [[nodiscard]] std::string errorOf(const std::string& text) {
        const std::variant<Scene, SceneError> read = readScene(text, folder.path().toStdString());
        const auto* const error = std::get_if<SceneError>(&read);
        return error == nullptr ? "no error" : std::to_string(error->line) + ": " + error->text;
    }

    static std::vector<float> played(const RenderedScene& rendered, std::uint32_t busId) {
        const auto output = std::ranges::find(rendered.outputs, busId, &RenderedOutput::busId);
        return output != rendered.outputs.end() ? output->stereo : std::vector<float>();
    }

    [[nodiscard]] std::filesystem::path file(const std::string& name) const {
        return std::filesystem::path(folder.path().toStdString()) / name;
    }

    void write(const std::string& name, const std::string& bytes) {
        std::ofstream(file(name), std::ios::binary) << bytes;
    }

    RouterLogCapture log;
    QTemporaryDir folder;
};

// The definition follows the router's steps on a store of its own.
class Follower {
public:
    SceneObserver observer() {
        SceneObserver steps;
        steps.applied = [this](const QVariantList& configs) {
            apply(configs);
        };
        steps.delivered = [this](std::uint32_t processID, std::span<const std::byte> data,
                                 const WaveFormat& format, bool captured) {
            mixer.addInputData(processID, reinterpret_cast<const std::uint8_t*>(data.data()),
                               static_cast<std::uint32_t>(data.size()), format);
            heard.insert(processID);
            if (captured) {
                mixer.updateBusLevels();
            }
        };
        steps.played = [this](std::uint32_t busId, std::span<const float> stereo) {
            std::vector<float> expected(stereo.size());
            const auto frames = static_cast<std::uint32_t>(stereo.size() / 2);
            if (busId == 3) {
                mixer.mixSolo(expected.data(), frames);
            } else {
                mixer.mixBus(expected.data(), frames, busId);
            }
            allowSilence(expected, stereo);
            const std::string difference = firstDifference({stereo.begin(), stereo.end()}, expected);
            if (!difference.empty() && firstWrong.empty()) {
                firstWrong =
                    "bus " + std::to_string(busId) + " period " + std::to_string(periods) + ": " + difference;
            }
            ++periods;
        };
        return steps;
    }

    std::string firstWrong;
    std::uint64_t periods = 0;
    std::set<std::uint32_t> heard;

private:
    void apply(const QVariantList& configs) {
        std::set<std::uint32_t> listed;
        for (const QVariant& config : configs) {
            listed.insert(appAudioConfigOf(config.toMap()).processID);
        }
        for (const std::uint32_t processID : heard) {
            if (!listed.contains(processID)) {
                mixer.resetProcessBuffers(processID);
                if (processID >= 10) {
                    store.putConfig(processID, inactiveAppAudioConfig());
                }
            }
        }
        for (const QVariant& config : configs) {
            const AppAudioConfig record = appAudioConfigOf(config.toMap());
            store.putConfig(record.processID, record);
        }
    }

    AppAudioConfigStore store;
    reference::Mixer mixer{store};
};

} // namespace

TEST_F(SceneTest, ASineReachesTheSpeakersSampleForSample) {
    const RenderedScene rendered = renderScene(scene(kSpeakers + R"(
        length 100ms
        source 4711 sine=440 level=0.5,0.25
        at 0s
        record 4711 input1=0.5 solo)"));
    ASSERT_EQ(rendered.outputs.size(), 1u);
    const std::vector<float>& stereo = rendered.outputs[0].stereo;
    ASSERT_EQ(stereo.size(), 9600u);
    for (std::size_t frame = 0; frame < 4800; ++frame) {
        const double sine = std::sin(2.0 * std::numbers::pi * 440.0 * static_cast<double>(frame) / 48000.0);
        ASSERT_EQ(stereo[2 * frame], static_cast<float>(0.5 * sine) * 0.5f) << "frame " << frame;
        ASSERT_EQ(stereo[2 * frame + 1], static_cast<float>(0.25 * sine) * 0.5f) << "frame " << frame;
    }
}

TEST_F(SceneTest, ASourceIsHeardFromItsFirstPacketToItsLast) {
    const RenderedScene rendered = renderScene(scene(kSpeakers + R"(
        length 100ms
        source 4711 constant=0.25 from=20ms to=60ms
        at 0s
        record 4711 input1=1 solo)"));
    const std::vector<float> stereo = played(rendered, 3);
    ASSERT_EQ(stereo.size(), 9600u);
    for (std::size_t frame = 0; frame < 4800; ++frame) {
        ASSERT_EQ(stereo[2 * frame], frame >= 960 && frame < 2880 ? 0.25f : 0.0f) << "frame " << frame;
    }
}

TEST_F(SceneTest, AProcessIsHeardOnlyWhileARecordNamesIt) {
    const RenderedScene rendered = renderScene(scene(kPorts + R"(
        length 60ms
        source 4711 constant=0.25
        source 3 constant=0.5
        at 20ms
        record 4711 input1=1
        at 40ms
        record 3 input1=0.75)"));
    const std::vector<float> stereo = played(rendered, 1);
    ASSERT_EQ(stereo.size(), 5760u);
    for (std::size_t frame = 0; frame < 2880; ++frame) {
        ASSERT_EQ(stereo[2 * frame], frame < 960 ? 0.0f : frame < 1920 ? 0.25f : 0.375f) << "frame " << frame;
    }
}

TEST_F(SceneTest, ASourceWithAClockOfItsOwnIsHeardWholeUnlessItsDelayIsKept) {
    const std::string text = kPorts + R"(
        length 101s
        source 4711 constant=0.25 to=100s clock=2000
        at 0s
        record 4711 input1=1
)";
    const auto framesHeard = [this](const std::string& of) {
        const std::vector<float> stereo = played(renderScene(scene(of)), 1);
        return static_cast<std::uint64_t>(
            std::ranges::count_if(stereo, [](float sample) { return sample > 0.2f; }) / 2);
    };
    constexpr std::uint64_t kPlayed = std::uint64_t{100} * 48'096 / 480 * 480;
    EXPECT_EQ(framesHeard(text), kPlayed);
    const std::uint64_t kept = framesHeard(text + "correct-drift\n");
    EXPECT_LT(kept, kPlayed - 1'000); // of 1440 that the limit allows
    EXPECT_GT(kept, kPlayed - 1'440);
}

TEST_F(SceneTest, OutputsAndCapturesSayTheirFormats) {
    static_cast<void>(renderScene(scene("endpoint Speakers id=spk rate=44100\n"
                                        R"(
        length 20ms
        source 4711 constant=0.25 format=pcm16 channels=1 rate=16000
        at 0s
        record 4711 input1=1
        record 4712 input1=1)")));
    const Lines lines = log.take();
    ASSERT_GE(lines.size(), 10u);
    EXPECT_EQ((Lines{lines.end() - 10, lines.end()}),
              (Lines{"[BusForwarder] Using device format: 44100 Hz, 2 ch, 32 bits",
                     "[BusForwarder] Solo thread started successfully.",
                     "[INFO] Capture format: 16000 Hz, 1 ch, 16 bits",
                     "[INFO] Capturing from process loopback (PID: 4711)",
                     "[INFO] Audio capture started for PID 4711, buffer size: 320 frames",
                     "[INFO] Started capture for PID: 4711",
                     std::string("[WARNING] GetMixFormat failed (0x80004001), ") +
                         "using default format (48000 Hz, 32-bit float)",
                     "[INFO] Capturing from process loopback (PID: 4712)",
                     "[INFO] Audio capture started for PID 4712, buffer size: 960 frames",
                     "[INFO] Started capture for PID: 4712"}));
}

TEST_F(SceneTest, APacketLongerThanAPeriodArrivesWhenItIsComplete) {
    const RenderedScene rendered = renderScene(scene(kPorts + R"(
        length 50ms
        source 4711 constant=0.25 packet=960
        at 0s
        record 4711 input1=1)"));
    const std::vector<float> stereo = played(rendered, 1);
    for (std::size_t frame = 0; frame < 2400; ++frame) {
        ASSERT_EQ(stereo[2 * frame], frame < 480 ? 0.0f : 0.25f) << "frame " << frame;
    }
}

TEST_F(SceneTest, SoundFilesOfEveryFormatAreMixedAsTheDefinitionSays) {
    // A file that the tool wrote itself, and integer ones.
    std::vector<float> stereo(2 * std::size_t{4410});
    for (std::size_t index = 0; index < stereo.size(); ++index) {
        stereo[index] = static_cast<float>(std::sin(static_cast<double>(index) * 0.05)) * 0.7f;
    }
    writeWaveFile(file("voice.wav"), stereo, 44100);
    Follower follower;
    const RenderedScene rendered = renderScene(scene(kSpeakers + kPorts + R"(
        length 400ms
        source 4711 wav=voice.wav
        source 4712 noise=1 level=0.5 format=pcm16 channels=1 rate=16000
        source 4713 noise=2 level=0.25 format=pcm32 channels=6 rate=96000 packet=777
        source 4714 sine=1000 level=0.9 format=pcm24
        source 4715 sine=1000 level=0.9 format=extensible
        source 2 noise=3 level=0.4 channels=64 rate=768000 packet=256
        source device sine=300 level=0.6 rate=1 packet=1
        at 0s
        record 4711 input1=1 input2=1
        record 4712 input1=0.5 input2=1
        record 4713 input1=1 input2=0.5
        record 4714 input1=1 input2=1
        record 4715 input1=1 input2=1
        record 2 input1=1 input2=1 solo
        record device input1=1)"),
                                               follower.observer());
    EXPECT_EQ(follower.firstWrong, "");
    EXPECT_EQ(follower.periods, 120u);
    EXPECT_EQ(follower.heard, (std::set<std::uint32_t>{2, 4711, 4712, 4713, 4714, 4715}));
    const std::vector<float> mixed = played(rendered, 1);
    EXPECT_TRUE(std::ranges::any_of(mixed, [](float sample) { return sample != 0.0f; }));
}

TEST_F(SceneTest, RecordsOverTimeAreMixedAsTheDefinitionSays) {
    std::ifstream text(VEXO_DOCUMENTED_SCENE);
    ASSERT_TRUE(text) << VEXO_DOCUMENTED_SCENE;
    Follower follower;
    const RenderedScene rendered =
        renderScene(scene({std::istreambuf_iterator<char>(text), {}}), follower.observer());
    EXPECT_EQ(follower.firstWrong, "");
    EXPECT_EQ(follower.periods, 3u * 600u);
    ASSERT_EQ(rendered.outputs.size(), 3u);
    EXPECT_EQ(rendered.outputs[1].sampleRate, 44100u);
    EXPECT_EQ(rendered.outputs[1].stereo.size(), 2u * 6u * 44100u);
}

TEST_F(SceneTest, RandomScenesAreMixedAsTheDefinitionSays) {
    const std::uint32_t count = longRun() ? 2000 : 40;
    for (std::uint32_t seed = 1; seed <= count; ++seed) {
        Random random(seed);
        const auto any = [&](std::initializer_list<const char*> words) {
            return std::string(words.begin()[random() % words.size()]);
        };
        std::string text = kSpeakers + kPorts + "length 700ms\nperiod " + any({"64", "480", "4800"}) + "\n";
        const std::vector<std::string> ids{"device", "1", "9", "10", "4711", "4294967293"};
        for (const std::string& id : ids) {
            text += "source " + id + " noise=" + std::to_string(random() % 100) +
                    " level=" + any({"0.1", "0.5", "2", "nan", "inf"}) +
                    " format=" + any({"float32", "pcm16", "pcm24"}) + " channels=" + any({"1", "2", "6"}) +
                    " rate=" + any({"8000", "44100", "48000", "96000"}) +
                    " from=" + any({"0s", "33ms", "200ms"}) + "\n";
        }
        text += "at 0s\n";
        for (std::uint32_t step = 0; step < 6; ++step) {
            if (step > 0) {
                text += "at " + std::to_string(100 * step) + "ms\n";
            }
            for (const std::string& id : ids) {
                if (random() % 5 == 0) {
                    continue;
                }
                text += "record " + id + " input1=" + any({"1", "0", "-0.5", "1e30", "nan", "0.5,muted"}) +
                        (random() % 2 == 0 ? " input2=" + any({"1", "0.25", "1,muted"}) : "") +
                        (random() % 7 == 0 ? " solo" : "") + "\n";
            }
            if (random() % 2 == 0) {
                text += "record " + any({"bus1", "bus2"}) + " input1=" + any({"0.5", "1,muted"}) +
                        " input2=" + any({"0.5", "1,muted"}) + (random() % 2 == 0 ? " solo" : "") + "\n";
            }
        }
        Follower follower;
        static_cast<void>(renderScene(scene(text), follower.observer()));
        ASSERT_EQ(follower.firstWrong, "") << "seed " << seed << "\n" << text;
        ASSERT_GT(follower.heard.size(), 2u) << "seed " << seed;
    }
}

TEST_F(SceneTest, LevelsAreThoseOfEveryFiftyMilliseconds) {
    const RenderedScene rendered = renderScene(scene(kPorts + R"(
        length 200ms
        source 4711 constant=0.5 to=100ms
        at 50ms
        record 4711 input1=1
        record bus1 input1=0.5)"));
    ASSERT_EQ(rendered.levels.size(), 4u);
    EXPECT_TRUE(rendered.levels[0].levels.empty());
    for (std::size_t index = 1; index < 4; ++index) { // a source that falls silent keeps its level
        EXPECT_EQ(rendered.levels[index].atFrame, 2400 * (index + 1));
        ASSERT_EQ(rendered.levels[index].levels.size(), 2u);
        EXPECT_EQ(rendered.levels[index].levels[0].processID, 4711u);
        EXPECT_FLOAT_EQ(rendered.levels[index].levels[0].levelLeft, 0.75f);
        EXPECT_EQ(rendered.levels[index].levels[1].processID, kBus1MasterProcessId);
        EXPECT_FLOAT_EQ(rendered.levels[index].levels[1].levelLeft, 0.375f);
    }
}

TEST_F(SceneTest, AnInputNamedForABusIsFoundAndStaysSilent) {
    const RenderedScene rendered = renderScene(scene(R"(
        length 10ms
        endpoint "Port In" id=in virtual input
        start input1="port in")"));
    EXPECT_TRUE(rendered.outputs.empty());
    EXPECT_TRUE(log.contains("[BusForwarder] GetService failed: 0x88890003"));
}

TEST_F(SceneTest, ThePictureShowsWhatWasPlayed) {
    const Scene loud = scene(kSpeakers + R"(
        length 1s
        source 4711 name=Game constant=0.9 to=500ms
        at 0s
        record 4711 input1=1 solo)");
    const QImage image = drawScene(loud, renderScene(loud));
    ASSERT_FALSE(image.isNull());
    // The wave's colour in the output's left lane: near its top while the source plays, in its middle after.
    const auto highestRow = [&](double part) {
        const int x = 206 + static_cast<int>((image.width() - 238) * part);
        int y = image.height() - 176;
        while (y < image.height() && image.pixelColor(x, y) != QColor(0x4F, 0xC3, 0xF7)) {
            ++y;
        }
        return y;
    };
    EXPECT_LT(highestRow(0.25) + 20, highestRow(0.75));
    EXPECT_LT(highestRow(0.75), image.height() - 100);
    Scene silent = loud;
    silent.records.clear();
    EXPECT_NE(image, drawScene(silent, renderScene(silent)));
}

TEST_F(SceneTest, SoundFilesComeBackAsTheyWereWritten) {
    const std::vector<float> stereo{0.0f, 1.0f, -1.0f, 0.25f};
    writeWaveFile(file("a.wav"), stereo, 44100);
    const WaveFile wave = readWaveFile(file("a.wav"));
    EXPECT_EQ(wave.format.formatTag, kWaveFormatIeeeFloat);
    EXPECT_EQ(wave.format.channels, 2);
    EXPECT_EQ(wave.format.samplesPerSecond, 44100u);
    EXPECT_EQ(wave.format.blockAlign, 8);
    ASSERT_EQ(wave.data.size(), 16u);
    std::vector<float> read(4);
    std::memcpy(read.data(), wave.data.data(), 16);
    EXPECT_EQ(read, stereo);
}

TEST_F(SceneTest, BrokenSoundFilesAreNamedInTheError) {
    writeWaveFile(file("good.wav"), std::vector<float>(200), 48000);
    std::ifstream stream(file("good.wav"), std::ios::binary);
    const std::string good{std::istreambuf_iterator<char>(stream), {}};
    write("empty.wav", "");
    write("text.wav", "this is no sound file at all");
    write("header.wav", good.substr(0, 30));
    write("nodata.wav", good.substr(0, 36));
    std::string zero = good;
    zero[32] = 0; // block align
    write("align.wav", zero);
    std::string order = good;
    std::memcpy(order.data() + 12, "junk", 4);
    write("order.wav", order);
    const std::string path = folder.path().toStdString() + "/";
    const auto error = [&](const std::string& name) {
        return errorOf("length 1s\nsource 20 wav=" + name);
    };
    EXPECT_EQ(error("missing.wav"), "2: " + path + "missing.wav: cannot be opened");
    ASSERT_EQ(mkfifo((path + "pipe.wav").c_str(), 0600), 0);
    EXPECT_EQ(error("pipe.wav"), "2: " + path + "pipe.wav: cannot be opened");
    EXPECT_EQ(error("/dev/zero"), "2: /dev/zero: cannot be opened");
    EXPECT_EQ(error("empty.wav"), "2: " + path + "empty.wav: is no WAV file");
    EXPECT_EQ(error("text.wav"), "2: " + path + "text.wav: is no WAV file");
    EXPECT_EQ(error("header.wav"), "2: " + path + "header.wav: has a broken format chunk");
    EXPECT_EQ(error("nodata.wav"), "2: " + path + "nodata.wav: has no data");
    EXPECT_EQ(error("align.wav"), "2: " + path + "align.wav: has no rate or no block align");
    EXPECT_EQ(error("order.wav"), "2: " + path + "order.wav: has no format before its data");
    // Cut off in the middle of a frame: read as far as it goes.
    write("cut.wav", good.substr(0, good.size() - 13));
    EXPECT_EQ(readWaveFile(file("cut.wav")).data.size(), (100u - 2u) * 8u);
    for (std::size_t size = 0; size < good.size(); ++size) {
        write("any.wav", good.substr(0, size));
        static_cast<void>(error("any.wav"));
    }
}

TEST_F(SceneTest, AWrongSceneGivesOneErrorWithItsLine) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"", "1: the scene has no length"},
        {"# nothing\n\n", "2: the scene has no length"},
        {"length 1s\nsauce 1", "2: unknown word 'sauce'"},
        {"length=1s", "1: unknown word 'length'"},
        {"length", "1: the length is missing"},
        {"length 1", "1: '1' is no time: write 250ms or 1.5s"},
        {"length -1s", "1: '-1s' is no time from 0s to 3600s"},
        {"length nans", "1: 'nans' is no time from 0s to 3600s"},
        {"length 1h", "1: '1h' is no time: write 250ms or 1.5s"},
        {"length 9999s", "1: '9999s' is no time from 0s to 3600s"},
        {"length 1s 2s", "1: unknown or repeated word '2s'"},
        {"correct-drift 5", "1: unknown or repeated word '5'"},
        {"source 20 constant=1 clock=fast", "1: 'fast' is no number"},
        {"source 20 constant=1 clock=-100001",
         "1: '-100001' is no clock: write from -100000 to 100000 millionths"},
        {"period 0", "1: '0' is no whole number from 1 to 48000"},
        {"endpoint", "1: the endpoint's name is missing"},
        {"endpoint \"A", "1: a quotation mark is not closed"},
        {"endpoint A id=x\nendpoint B id=x", "2: there is an endpoint with the id 'x' already"},
        {"endpoint A rate=0", "1: '0' is no whole number from 1 to 768000"},
        {"endpoint A virtual=yes", "1: 'virtual' takes no value"},
        {"endpoint A id", "1: 'id' needs a value"},
        {"start bus1=A", "1: unknown or repeated word 'bus1'"},
        {"source", "1: the source's id is missing"},
        {"source x sine=1", "1: 'x' is no whole number from 0 to 4294967295"},
        {"source 4294967296 sine=1", "1: '4294967296' is no whole number from 0 to 4294967295"},
        {"source bus1 sine=1", "1: a bus is no source"},
        {"source 1", "1: a source plays one of wav=, sine=, noise= and constant="},
        {"source 1 sine=1 noise=2", "1: a source plays one of wav=, sine=, noise= and constant="},
        {"source 1 sine=high", "1: 'high' is no number"},
        {"source 1 sine=1 sine=2", "1: unknown or repeated word 'sine'"},
        {"source 1 sine=1 level=", "1: a value is missing"},
        {"source 1 sine=1 level=1,,2", "1: '' is no number"},
        {"source 1 sine=1 format=mp3",
         "1: unknown format 'mp3': float32, pcm16, pcm24, pcm32 and extensible are known"},
        {"source 1 sine=1 channels=0", "1: '0' is no whole number from 1 to 64"},
        {"source 1 sine=1 channels=65", "1: '65' is no whole number from 1 to 64"},
        {"source 1 sine=1 rate=0", "1: '0' is no whole number from 1 to 768000"},
        {"source 1 sine=1 packet=0", "1: '0' is no whole number from 1 to 1000000"},
        {"source 1 sine=1 from=2s to=1s", "1: the source ends before it begins"},
        {"source 1 sine=1 wow=2", "1: unknown or repeated word 'wow'"},
        {"record 1 input1=1", "1: a record needs a time: write a line 'at 0s' before it"},
        {"at 1s\nat 1s", "2: times must rise from one record list to the next"},
        {"at 0s\nrecord", "2: the source's id is missing"},
        {"at 0s\nrecord 1 input1", "2: 'input1' needs a value"},
        {"at 0s\nrecord 1 input1=loud", "2: 'loud' is no number"},
        {"at 0s\nrecord 1 input1=1,quiet", "2: '1,quiet' is no volume: write 0.5 or 0.5,muted"},
        {"at 0s\nrecord 1 solo=1", "2: 'solo' takes no value"}};
    for (const auto& [text, error] : cases) {
        EXPECT_EQ(errorOf(text), error) << text;
    }
}
