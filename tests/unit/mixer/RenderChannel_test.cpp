// The format rules of outputs and captures and the lines that outputs and captures share.

#include "mixer/ProcessCapture.h"
#include "mixer/RenderChannel.h"
#include "tests/support/mixer/RouterLogCapture.h"

#include <gtest/gtest.h>
#include <iostream>
#include <optional>
#include <streambuf>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

constexpr std::uint16_t kWaveFormatExtensible = 0xFFFE;

// In place of the wide standard output's buffer: knows no characters beyond ASCII, as an output of the C
// locale.
class NarrowOutput : public std::wstreambuf {
public:
    NarrowOutput() : previous(std::wcout.rdbuf(this)) {}
    ~NarrowOutput() override {
        std::wcout.rdbuf(previous);
        std::wcout.clear();
    }
    NarrowOutput(const NarrowOutput&) = delete;
    NarrowOutput& operator=(const NarrowOutput&) = delete;

    std::wstring written;

protected:
    int_type overflow(int_type character) override {
        if (character >= 128) {
            return traits_type::eof();
        }
        written += traits_type::to_char_type(character);
        return character;
    }

private:
    std::wstreambuf* previous;
};

class RenderFormatRule : public testing::Test {
protected:
    static RenderFormat mix(std::uint16_t tag, std::uint16_t channels, std::uint32_t rate,
                            std::uint16_t bits) {
        const auto align = static_cast<std::uint16_t>(channels * bits / 8);
        return {{tag, channels, rate, align, bits}, rate * align, 22};
    }

    void expectChosen(const std::optional<RenderFormat>& mixFormat, std::uint32_t rate, std::uint16_t bits,
                      std::uint16_t align) {
        const RenderFormat chosen = chooseRenderFormat(kHResultOk, mixFormat);
        EXPECT_EQ(chosen.wave.formatTag, kWaveFormatIeeeFloat);
        EXPECT_EQ(chosen.wave.channels, 2);
        EXPECT_EQ(chosen.wave.samplesPerSecond, rate);
        EXPECT_EQ(chosen.wave.bitsPerSample, bits);
        EXPECT_EQ(chosen.wave.blockAlign, align);
        EXPECT_EQ(chosen.bytesPerSecond, rate * align);
        EXPECT_EQ(chosen.extraByteCount, 0);
    }

    RouterLogCapture log;
};

} // namespace

TEST_F(RenderFormatRule, StereoFloatIsTakenAsItIsAndKeepsItsRate) {
    expectChosen(mix(kWaveFormatIeeeFloat, 2, 44100, 32), 44100, 32, 8);
    EXPECT_EQ(log.take(), (Lines{L"[BusForwarder] Using device format: 44100 Hz, 2 ch, 32 bits"}));
}

TEST_F(RenderFormatRule, AnExtensibleFormatBecomesPlainFloat) {
    expectChosen(mix(kWaveFormatExtensible, 2, 96000, 24), 96000, 32, 8);
    EXPECT_EQ(log.take(), (Lines{L"[BusForwarder] Using device format: 96000 Hz, 2 ch, 32 bits"}));
}

TEST_F(RenderFormatRule, AnEndpointWithSixChannelsIsOpenedWithTwo) {
    expectChosen(mix(kWaveFormatExtensible, 6, 48000, 32), 48000, 32, 8);
    expectChosen(mix(kWaveFormatIeeeFloat, 6, 48000, 32), 48000, 32, 8);
}

TEST_F(RenderFormatRule, AMonoEndpointIsOpenedWithTwoChannels) {
    expectChosen(mix(kWaveFormatPcm, 1, 16000, 16), 16000, 32, 8);
}

TEST_F(RenderFormatRule, FloatOfAnotherWidthKeepsItsBits) {
    expectChosen(mix(kWaveFormatIeeeFloat, 6, 48000, 64), 48000, 64, 16);
}

TEST_F(RenderFormatRule, WithoutAMixFormatTheMixersOwnIsUsed) {
    for (const auto& [result, line] : std::vector<std::pair<HResult, std::wstring>>{
             {hresult(0x88890004), L"0x88890004"}, {kHResultOk, L"0x0"}}) {
        const RenderFormat chosen = chooseRenderFormat(result, std::nullopt);
        EXPECT_EQ(chosen.wave.formatTag, kWaveFormatIeeeFloat);
        EXPECT_EQ(chosen.wave.channels, 2);
        EXPECT_EQ(chosen.wave.samplesPerSecond, 48000u);
        EXPECT_EQ(chosen.wave.blockAlign, 8);
        EXPECT_EQ(chosen.wave.bitsPerSample, 32);
        EXPECT_EQ(chosen.bytesPerSecond, 384000u);
        EXPECT_EQ(log.take(), (Lines{L"[BusForwarder] GetMixFormat failed (" + line +
                                     L"), using default format (48000 Hz, 32-bit float)"}));
    }
}

TEST_F(RenderFormatRule, AFormatThatCameWithAFailureIsNotUsed) {
    EXPECT_EQ(chooseRenderFormat(kHResultFail, mix(kWaveFormatIeeeFloat, 2, 44100, 32)).wave.samplesPerSecond,
              48000u);
}

TEST(CaptureFormatRule, TheClientsFormatIsTakenAsItIs) {
    RouterLogCapture log;
    const RenderFormat client{{kWaveFormatExtensible, 6, 96000, 24, 32}, 2'304'000, 22};
    const RenderFormat chosen = chooseCaptureFormat(kHResultOk, client);
    EXPECT_EQ(chosen.wave.formatTag, kWaveFormatExtensible);
    EXPECT_EQ(chosen.wave.channels, 6);
    EXPECT_EQ(chosen.wave.samplesPerSecond, 96000u);
    EXPECT_EQ(chosen.wave.blockAlign, 24);
    EXPECT_EQ(chosen.wave.bitsPerSample, 32);
    EXPECT_EQ(chosen.bytesPerSecond, 2'304'000u);
    EXPECT_EQ(log.take(), (Lines{L"[INFO] Capture format: 96000 Hz, 6 ch, 32 bits"}));
}

TEST(CaptureFormatRule, OneToTwentyTwoExtraBytesAreKeptAndMoreAreNone) {
    const RouterLogCapture log;
    const std::vector<std::pair<std::uint16_t, std::uint16_t>> cases{{0, 0},   {1, 1},  {21, 21},
                                                                     {22, 22}, {23, 0}, {0xFFFF, 0}};
    for (const auto& [given, kept] : cases) {
        const RenderFormat client{floatWaveFormat(2, 44100), 352'800, given};
        EXPECT_EQ(chooseCaptureFormat(kHResultOk, client).extraByteCount, kept) << given << " extra bytes";
    }
}

TEST(CaptureFormatRule, WithoutAFormatTheMixersOwnIsUsed) {
    RouterLogCapture log;
    const std::optional<RenderFormat> refused = RenderFormat{floatWaveFormat(2, 44100), 352'800, 0};
    const std::vector<std::tuple<HResult, std::optional<RenderFormat>, std::wstring>> cases{
        {kHResultNotImplemented, std::nullopt, L"0x80004001"},
        {kHResultOk, std::nullopt, L"0x0"},
        {kHResultFail, refused, L"0x80004005"}};
    for (const auto& [result, format, digits] : cases) {
        const RenderFormat chosen = chooseCaptureFormat(result, format);
        EXPECT_EQ(chosen.wave.formatTag, kWaveFormatIeeeFloat);
        EXPECT_EQ(chosen.wave.channels, 2);
        EXPECT_EQ(chosen.wave.samplesPerSecond, 48000u);
        EXPECT_EQ(chosen.wave.blockAlign, 8);
        EXPECT_EQ(chosen.wave.bitsPerSample, 32);
        EXPECT_EQ(chosen.bytesPerSecond, 384'000u);
        EXPECT_EQ(chosen.extraByteCount, 0);
        EXPECT_EQ(log.take(), (Lines{L"[WARNING] GetMixFormat failed (" + digits +
                                     L"), using default format (48000 Hz, 32-bit float)"}));
    }
}

TEST(RouterLines, EachRefusedStepOfAnOutputHasItsName) {
    RouterLogCapture log;
    for (const RenderStep step :
         {RenderStep::Activate, RenderStep::Initialize, RenderStep::GetService, RenderStep::GetBufferSize,
          RenderStep::EventCreate, RenderStep::SetEventHandle, RenderStep::Start}) {
        logRenderFailure(step, kHResultFail);
    }
    EXPECT_EQ(log.take(), (Lines{L"[BusForwarder] Activate failed: 0x80004005",
                                 L"[BusForwarder] Initialize failed: 0x80004005",
                                 L"[BusForwarder] GetService failed: 0x80004005",
                                 L"[BusForwarder] GetBufferSize failed: 0x80004005",
                                 L"[BusForwarder] Event create failed: 0x80004005",
                                 L"[BusForwarder] SetEventHandle failed: 0x80004005",
                                 L"[BusForwarder] Start failed: 0x80004005"}));
}

TEST(RouterLines, CapturesSayTheirFormatProcessAndStart) {
    RouterLogCapture log;
    logCaptureFormat({kWaveFormatPcm, 6, 44100, 12, 16});
    logDefaultCaptureFormat(kHResultNotImplemented);
    logCapturingProcess(4294967293);
    logCaptureStarted(4711, 960);
    EXPECT_EQ(log.take(),
              (Lines{L"[INFO] Capture format: 44100 Hz, 6 ch, 16 bits",
                     L"[WARNING] GetMixFormat failed (0x80004001), using default format (48000 Hz, 32-bit "
                     L"float)",
                     L"[INFO] Capturing from process loopback (PID: 4294967293)",
                     L"[INFO] Audio capture started for PID 4711, buffer size: 960 frames"}));
}

TEST(RouterLines, GoToTheWideStandardOutputUnlessASinkTakesThem) {
    testing::internal::CaptureStdout();
    {
        const RouterLogCapture log;
        routerLog(L"to the sink");
    }
    routerLog(L"[INFO] first");
    routerLog(L"[INFO] second");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[INFO] first\n[INFO] second\n");
}

TEST(RouterLines, ANameThatTheOutputCannotExpressCostsNeitherTheLineBreakNorTheNextLine) {
    NarrowOutput output;
    routerLog(L"[INFO] first 扬声器 (id)");
    routerLog(L"[INFO] second");
    EXPECT_EQ(output.written, L"[INFO] first \n[INFO] second\n");
}
