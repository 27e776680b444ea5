// The format rules of outputs and captures and the lines that outputs and captures share.

#include "mixer/OutputStream.h"
#include "mixer/ProcessCapture.h"
#include "tests/support/mixer/RouterLogCapture.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

constexpr std::uint16_t kWaveFormatExtensible = 0xFFFE;

class OutputFormatRule : public testing::Test {
protected:
    static WaveFormat mix(std::uint16_t tag, std::uint16_t channels, std::uint32_t rate, std::uint16_t bits) {
        return {tag, channels, rate, static_cast<std::uint16_t>(channels * bits / 8), bits};
    }

    void expectChosen(const std::optional<WaveFormat>& mixFormat, std::uint32_t rate, std::uint16_t bits,
                      std::uint16_t align) {
        EXPECT_EQ(chooseOutputFormat(kSoundDone, mixFormat),
                  (WaveFormat{kWaveFormatIeeeFloat, 2, rate, align, bits}));
    }

    RouterLogCapture log;
};

} // namespace

TEST_F(OutputFormatRule, StereoFloatIsTakenAsItIsAndKeepsItsRate) {
    expectChosen(mix(kWaveFormatIeeeFloat, 2, 44100, 32), 44100, 32, 8);
    EXPECT_EQ(log.take(), (Lines{"[BusForwarder] Using device format: 44100 Hz, 2 ch, 32 bits"}));
}

TEST_F(OutputFormatRule, AnExtensibleFormatBecomesPlainFloat) {
    expectChosen(mix(kWaveFormatExtensible, 2, 96000, 24), 96000, 32, 8);
    EXPECT_EQ(log.take(), (Lines{"[BusForwarder] Using device format: 96000 Hz, 2 ch, 32 bits"}));
}

TEST_F(OutputFormatRule, AnEndpointWithSixChannelsIsOpenedWithTwo) {
    expectChosen(mix(kWaveFormatExtensible, 6, 48000, 32), 48000, 32, 8);
    expectChosen(mix(kWaveFormatIeeeFloat, 6, 48000, 32), 48000, 32, 8);
}

TEST_F(OutputFormatRule, AMonoEndpointIsOpenedWithTwoChannels) {
    expectChosen(mix(kWaveFormatPcm, 1, 16000, 16), 16000, 32, 8);
}

TEST_F(OutputFormatRule, FloatOfAnotherWidthKeepsItsBits) {
    expectChosen(mix(kWaveFormatIeeeFloat, 6, 48000, 64), 48000, 64, 16);
}

TEST_F(OutputFormatRule, WithoutAMixFormatTheMixersOwnIsUsed) {
    for (const auto& [result, line] : std::vector<std::pair<SoundResult, std::string>>{
             {SoundResult{SoundError::Refused, 0x88890004}, "0x88890004"}, {kSoundDone, "0x0"}}) {
        EXPECT_EQ(chooseOutputFormat(result, std::nullopt),
                  (WaveFormat{kWaveFormatIeeeFloat, 2, 48000, 8, 32}));
        EXPECT_EQ(log.take(), (Lines{"[BusForwarder] GetMixFormat failed (" + line +
                                     "), using default format (48000 Hz, 32-bit float)"}));
    }
}

TEST_F(OutputFormatRule, AFormatThatCameWithAFailureIsNotUsed) {
    EXPECT_EQ(
        chooseOutputFormat(SoundError::Refused, mix(kWaveFormatIeeeFloat, 2, 44100, 32)).samplesPerSecond,
        48000u);
}

TEST(CaptureFormatRule, TheClientsFormatIsTakenAsItIs) {
    RouterLogCapture log;
    const WaveFormat client{kWaveFormatExtensible, 6, 96000, 24, 32};
    EXPECT_EQ(chooseCaptureFormat(kSoundDone, client), client);
    EXPECT_EQ(log.take(), (Lines{"[INFO] Capture format: 96000 Hz, 6 ch, 32 bits"}));
}

TEST(CaptureFormatRule, WithoutAFormatTheMixersOwnIsUsed) {
    RouterLogCapture log;
    const std::optional<WaveFormat> refused = floatWaveFormat(2, 44100);
    const std::vector<std::tuple<SoundResult, std::optional<WaveFormat>, std::string>> cases{
        {SoundError::NotSupported, std::nullopt, "0x80004001"},
        {kSoundDone, std::nullopt, "0x0"},
        {SoundError::Refused, refused, "0x80004005"}};
    for (const auto& [result, format, digits] : cases) {
        EXPECT_EQ(chooseCaptureFormat(result, format), (WaveFormat{kWaveFormatIeeeFloat, 2, 48000, 8, 32}));
        EXPECT_EQ(log.take(), (Lines{"[WARNING] GetMixFormat failed (" + digits +
                                     "), using default format (48000 Hz, 32-bit float)"}));
    }
}

TEST(RouterLines, EachRefusedStepOfAnOutputHasItsName) {
    RouterLogCapture log;
    for (const OutputStep step :
         {OutputStep::Activate, OutputStep::Initialize, OutputStep::GetService, OutputStep::GetBufferSize,
          OutputStep::EventCreate, OutputStep::SetEventHandle, OutputStep::Start}) {
        logOutputFailure(step, SoundError::Refused);
    }
    EXPECT_EQ(log.take(), (Lines{"[BusForwarder] Activate failed: 0x80004005",
                                 "[BusForwarder] Initialize failed: 0x80004005",
                                 "[BusForwarder] GetService failed: 0x80004005",
                                 "[BusForwarder] GetBufferSize failed: 0x80004005",
                                 "[BusForwarder] Event create failed: 0x80004005",
                                 "[BusForwarder] SetEventHandle failed: 0x80004005",
                                 "[BusForwarder] Start failed: 0x80004005"}));
}

TEST(RouterLines, AResultHasTheNumberOfTheSystemOrElseThatOfItsError) {
    EXPECT_EQ(printedNumber(kSoundDone), 0u);
    EXPECT_EQ(printedNumber(SoundError::Refused), 0x80004005);
    EXPECT_EQ(printedNumber(SoundError::NotSupported), 0x80004001);
    EXPECT_EQ(printedNumber(SoundError::OutOfMemory), 0x8007000E);
    EXPECT_EQ(printedNumber(SoundError::NothingToStop), 0x8007139F);
    EXPECT_EQ(printedNumber(SoundError::WrongDirection), 0x88890003);
    EXPECT_EQ(printedNumber(SoundError::DeviceGone), 0x88890004);
    EXPECT_EQ(printedNumber(SoundError::NoServer), 0x88890010);
    EXPECT_EQ(printedNumber({SoundError::Refused, 0x80070005}), 0x80070005);
}

TEST(RouterLines, CapturesSayTheirFormatProcessAndStart) {
    RouterLogCapture log;
    logCaptureFormat({kWaveFormatPcm, 6, 44100, 12, 16});
    logDefaultCaptureFormat(SoundError::NotSupported);
    logCapturingProcess(4294967293);
    logCaptureStarted(4711, 960);
    EXPECT_EQ(log.take(),
              (Lines{"[INFO] Capture format: 44100 Hz, 6 ch, 16 bits",
                     "[WARNING] GetMixFormat failed (0x80004001), using default format (48000 Hz, 32-bit "
                     "float)",
                     "[INFO] Capturing from process loopback (PID: 4294967293)",
                     "[INFO] Audio capture started for PID 4711, buffer size: 960 frames"}));
}
