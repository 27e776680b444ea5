#include "emulator/BootLoader.h"
#include "emulator/Times.h"
#include "tests/unit/emulator/TestHost.h"

namespace vexo::emulator {
namespace {

// The host's side, written from the wire: the bytes from offset 2 on add up to 0.
Bytes sealed(Bytes report) {
    report.resize(63, 0);
    unsigned sum = 0;
    for (std::size_t i = 2; i < report.size(); ++i) {
        sum += report[i];
    }
    report.push_back(static_cast<std::uint8_t>(256 - sum % 256));
    return report;
}

Bytes commandReport(std::string_view text, const Bytes& parameters = {}) {
    Bytes report{0x01, 0x3E, 0x00};
    report.insert(report.end(), text.begin(), text.end());
    report.insert(report.end(), parameters.begin(), parameters.end());
    return sealed(std::move(report));
}

Bytes packetReport(int number, int count, BytesView data) {
    Bytes report{0x01, 'c', 'm'};
    appendU16(report, static_cast<std::uint16_t>(number));
    appendU16(report, static_cast<std::uint16_t>(count));
    report.insert(report.end(), data.begin(), data.end());
    return sealed(std::move(report));
}

Bytes counting(std::size_t size) {
    Bytes image(size);
    for (std::size_t i = 0; i < size; ++i) {
        image[i] = static_cast<std::uint8_t>(i);
    }
    return image;
}

const Bytes kVcrc57 = bytes("010101AABBCC20350000");
const Bytes kCode57 = bytes("000001390000");
const Bytes kUpgd57 = bytes("390000");

class Loader : public ::testing::Test {
protected:
    explicit Loader(Model model = Model::MixdeskR2Bootloader) : host(model) {}

    BootLoader& loader() { return *host.device().loader; }
    std::uint64_t refusals(std::string_view reason) {
        const auto found = loader().refusals().find(reason);
        return found == loader().refusals().end() ? 0 : found->second;
    }
    // The reports that come at once, without their padding.
    std::string say(Bytes report) {
        host.reports.clear();
        EXPECT_TRUE(host.bus.write(host.handle, std::move(report)));
        return heard();
    }
    std::string heard() const {
        std::string text;
        for (const Bytes& report : host.reports) {
            EXPECT_EQ(report.size(), 64U);
            Bytes shown = report;
            while (!shown.empty() && shown.back() == 0) {
                shown.pop_back();
            }
            text += (text.empty() ? "" : " ") + toHex(shown);
        }
        return text;
    }
    void erase57() {
        say(commandReport("cm_vcrc", kVcrc57));
        say(commandReport("cm_code", kCode57));
        host.advance(3000);
    }
    void write57() {
        const Bytes image = counting(57);
        say(packetReport(1, 2, BytesView(image).first(56)));
        host.advance(6);
        say(packetReport(2, 2, BytesView(image).subspan(56)));
        host.advance(6);
    }
    void flash57() {
        erase57();
        write57();
    }
    void reopenAs(std::uint16_t productId) {
        const auto found = host.bus.enumerate(0x3327, productId);
        ASSERT_FALSE(found.empty());
        host.handle = host.bus.open(found.front().path).value_or(0);
        host.clear();
    }
    std::uint16_t productId() {
        const auto found = host.bus.enumerate(0, 0);
        return found.empty() ? std::uint16_t{0} : found.front().productId;
    }

    TestHost host;
};

class NormalMixer : public Loader {
protected:
    NormalMixer() : Loader(Model::MixdeskR2) {}
};

TEST(FirmwareImage, ChecksumsHaveTheirPublishedCheckValues) {
    const Bytes digits = bytes("313233343536373839");
    EXPECT_EQ(crc16(digits, 0), 0x31C3);
    EXPECT_EQ(crc16(digits, 0xFFFF), 0x29B1);
    EXPECT_EQ(crc16({}, 0), 0);
    EXPECT_EQ(crc16({}, 0xFFFF), 0xFFFF);
    EXPECT_EQ(crc16(counting(57), 0), 0x3520);
}

TEST(FirmwareImage, AnInformationBlockIsReadAndChecked) {
    Bytes image = counting(64);
    const Bytes info = bytes("5658464940000000B844010D72000000");
    std::ranges::copy(info, image.begin());
    const std::optional<FirmwareInfo> found = readFirmwareInfo(image);
    ASSERT_TRUE(found.has_value());
    const FirmwareInfo read = found.value_or(FirmwareInfo{});
    EXPECT_EQ(read.size, 64U);
    EXPECT_EQ(read.versionMajor, 1);
    EXPECT_EQ(read.versionMinor, 13);
    EXPECT_EQ(read.model, 'r');
    EXPECT_TRUE(describesImage(read, image));
    image[40] ^= 1U;
    EXPECT_FALSE(describesImage(read, image));
    image[0] = 'v';
    EXPECT_FALSE(readFirmwareInfo(image).has_value());
    EXPECT_FALSE(readFirmwareInfo(BytesView(info).first(15)).has_value());
}

TEST_F(NormalMixer, TellsItsLoadersVersionOnTheLinksInterface) {
    const Bytes ask = commandReport("cm_vsrc");
    EXPECT_EQ(ask.back(), 0x13);
    EXPECT_EQ(say(ask), "010C00636D5F7673726301020A06");
    loader().settings.version = {255, 255, 255};
    EXPECT_EQ(say(ask), "010C00636D5F76737263FFFFFF16");
    EXPECT_EQ(host.bus.counters(0).badReports, 0U);
}

TEST_F(NormalMixer, TakesLoaderReportsOnItsOtherInterfaceToo) {
    const auto interfaces = host.bus.enumerate(0x3327, 0x9829);
    host.bus.close(host.handle);
    host.handle = host.bus.open(interfaces.at(1).path).value_or(0);
    EXPECT_EQ(say(commandReport("cm_vsrc")), "010C00636D5F7673726301020A06");
}

TEST_F(NormalMixer, IsSilentOnTheLinkForTwoSecondsAfterALoaderCommand) {
    say(commandReport("cm_vsrc"));
    host.clear();
    host.advance(1999);
    EXPECT_TRUE(host.reports.empty());
    host.advance(1100);
    EXPECT_FALSE(host.framesOf(kHello).empty());
}

TEST_F(NormalMixer, AReportWithoutACommandsTextDoesNotSilenceTheLink) {
    say(sealed({0x01, 0x3E, 0x00, 'c', 'm', '-'}));
    host.clear();
    host.advance(1999);
    EXPECT_FALSE(host.framesOf(kHello).empty());
}

TEST_F(NormalMixer, LeavesTheBusAndComesBackAsItsBootloader) {
    say(commandReport("cm_rest?isok"));
    host.advance(99);
    EXPECT_EQ(productId(), 0x9829);
    host.advance(1);
    EXPECT_EQ(productId(), 0);
    EXPECT_EQ(host.unplugCount, 1);
    host.advance(399);
    EXPECT_EQ(productId(), 0);
    host.advance(1);
    EXPECT_EQ(productId(), 0x0820);
    EXPECT_EQ(host.bus.nextEventAtMs(), kNever);
}

TEST_F(NormalMixer, WithAValidImageItIsItselfAgainAfterAPowerLoss) {
    say(commandReport("cm_rest?isok"));
    host.advance(100);
    host.bus.unplug(0);
    host.bus.plug(0);
    EXPECT_EQ(productId(), 0x9829) << "pulled while it was away";
    host.open();
    say(commandReport("cm_rest?isok"));
    host.advance(500);
    EXPECT_EQ(productId(), 0x0820);
    host.bus.unplug(0);
    host.bus.plug(0);
    EXPECT_EQ(productId(), 0x9829);
}

TEST_F(NormalMixer, RefusesEveryOtherCommandOutsideItsBootloader) {
    EXPECT_EQ(say(commandReport("cm_vcrc", kVcrc57)), "");
    EXPECT_EQ(say(commandReport("cm_code", kCode57)), "");
    EXPECT_EQ(say(commandReport("cm_upgd?isok", kUpgd57)), "");
    EXPECT_EQ(say(commandReport("cm_fnsh?isok")), "");
    EXPECT_EQ(refusals("order"), 4U);
    EXPECT_TRUE(loader().hasValidImage());
}

TEST_F(Loader, TakesAnImageAndReportsItsVersionAfterTheRestart) {
    EXPECT_EQ(say(commandReport("cm_vcrc", kVcrc57)), "010900636D5F7663726323");
    EXPECT_EQ(say(commandReport("cm_code", kCode57)), "");
    host.advance(2999);
    EXPECT_TRUE(host.reports.empty());
    host.advance(1);
    EXPECT_EQ(heard(), "010900636D5F636F646536");
    write57();
    EXPECT_EQ(say(commandReport("cm_upgd?isok", kUpgd57)), "010E00636D5F757067643F69736F6B2C");
    EXPECT_EQ(loader().flash(), counting(57));
    EXPECT_TRUE(loader().refusals().empty());
    EXPECT_EQ(say(commandReport("cm_fnsh?isok")), "");
    host.advance(500);
    EXPECT_EQ(productId(), 0x9829);
    EXPECT_EQ(host.device().identity.versionMinor, 8) << "an image without information counts one up";
}

TEST_F(Loader, ReportsTheVersionThatTheImageNames) {
    Bytes image = counting(64);
    std::ranges::copy(bytes("5658464940000000B844010D72000000"), image.begin());
    say(commandReport("cm_vcrc", bytes("010101AABBCCD6070000")));
    say(commandReport("cm_code", bytes("000001400000")));
    host.advance(3000);
    say(packetReport(1, 2, BytesView(image).first(56)));
    say(packetReport(2, 2, BytesView(image).subspan(56)));
    EXPECT_NE(say(commandReport("cm_upgd?isok", bytes("400000"))), "");
    EXPECT_EQ(host.device().identity.versionMinor, 13);
}

TEST_F(Loader, RefusesReportsOfAnotherForm) {
    Bytes wrongSum = commandReport("cm_vcrc", kVcrc57);
    wrongSum.back() ^= 1U;
    Bytes shorter = commandReport("cm_vcrc", kVcrc57);
    shorter.pop_back();
    Bytes wrongLength = commandReport("cm_vcrc", kVcrc57);
    wrongLength[1] = 0x3D;
    Bytes wrongId = commandReport("cm_vcrc", kVcrc57);
    wrongId[0] = 2;
    for (const Bytes& report : {wrongSum, shorter, wrongLength, wrongId, bytes("01"), bytes("0163")}) {
        EXPECT_EQ(say(report), "");
    }
    EXPECT_EQ(refusals("form"), 6U);
    EXPECT_EQ(loader().currentStep(), BootLoader::Step::Idle);
}

TEST_F(Loader, RefusesWrongParameters) {
    EXPECT_EQ(say(commandReport("cm_vcrc", bytes("010101AABBCD20350000"))), "");
    EXPECT_EQ(say(commandReport("cm_vcrc", bytes("010101AABBCC20350100"))), "");
    EXPECT_EQ(say(commandReport("cm_code", kCode57)), "") << "not shaken";
    say(commandReport("cm_vcrc", kVcrc57));
    EXPECT_EQ(say(commandReport("cm_code", bytes("000002390000"))), "");
    EXPECT_EQ(say(commandReport("cm_code", bytes("000001000000"))), "");
    EXPECT_EQ(say(commandReport("cm_code", bytes("000001010010"))), "");
    host.advance(4000);
    EXPECT_EQ(heard(), "");
    EXPECT_EQ(refusals("value"), 2U);
    EXPECT_EQ(refusals("checksum"), 1U);
    EXPECT_EQ(refusals("order"), 1U);
    EXPECT_EQ(refusals("length"), 2U);
}

TEST_F(Loader, RefusesPacketsOutOfTimeAndOrder) {
    const Bytes image = counting(57);
    const Bytes first = packetReport(1, 2, BytesView(image).first(56));
    say(commandReport("cm_vcrc", kVcrc57));
    say(commandReport("cm_code", kCode57));
    host.advance(2999);
    say(first);
    EXPECT_EQ(refusals("time"), 1U) << "the erase has not ended";
    host.advance(1);
    say(packetReport(2, 2, BytesView(image).subspan(56)));
    say(packetReport(0, 2, image));
    EXPECT_EQ(refusals("order"), 2U);
    say(packetReport(1, 3, image));
    EXPECT_EQ(refusals("length"), 1U);
    say(first);
    say(first);
    EXPECT_EQ(refusals("order"), 3U) << "a packet twice";
    EXPECT_EQ(say(commandReport("cm_upgd?isok", kUpgd57)), "") << "a packet is missing";
    EXPECT_EQ(refusals("order"), 4U);
    EXPECT_EQ(say(commandReport("cm_fnsh?isok")), "");
    EXPECT_EQ(refusals("order"), 5U);
}

TEST_F(Loader, RefusesAPacketBehindTheLast) {
    flash57();
    say(packetReport(3, 2, counting(56)));
    EXPECT_EQ(refusals("order"), 1U);
    EXPECT_EQ(loader().receivedBytes(), 57U);
    EXPECT_NE(say(commandReport("cm_upgd?isok", kUpgd57)), "");
}

TEST_F(Loader, AFloodOfPacketsOverrunsItsQueue) {
    loader().settings.queueDepth = 0;
    erase57();
    const Bytes image = counting(57);
    say(packetReport(1, 2, BytesView(image).first(56)));
    say(packetReport(2, 2, BytesView(image).subspan(56)));
    EXPECT_EQ(refusals("time"), 1U);
    host.advance(4);
    say(packetReport(2, 2, BytesView(image).subspan(56)));
    EXPECT_NE(say(commandReport("cm_upgd?isok", kUpgd57)), "");
}

TEST_F(Loader, RefusesAnImageOfAnotherSizeOrChecksum) {
    flash57();
    EXPECT_EQ(say(commandReport("cm_upgd?isok", bytes("380000"))), "");
    EXPECT_EQ(refusals("length"), 1U);
    EXPECT_EQ(say(commandReport("cm_vcrc", bytes("010101AABBCC21350000"))), "010900636D5F7663726323")
        << "a second attempt without a power loss";
    say(commandReport("cm_code", kCode57));
    host.advance(3000);
    write57();
    EXPECT_EQ(say(commandReport("cm_upgd?isok", kUpgd57)), "");
    EXPECT_EQ(refusals("checksum"), 1U);
    EXPECT_FALSE(loader().hasValidImage());
}

TEST_F(Loader, AnErasedDeviceStaysABootloaderOverAPowerLoss) {
    erase57();
    host.bus.unplug(0);
    host.bus.plug(0);
    EXPECT_EQ(productId(), 0x0820);
    reopenAs(0x0820);
    flash57();
    EXPECT_NE(say(commandReport("cm_upgd?isok", kUpgd57)), "");
    host.bus.unplug(0);
    host.bus.plug(0);
    EXPECT_EQ(productId(), 0x9829) << "confirmed, so it needs no finish";
}

TEST_F(Loader, RepliesAsItIsTold) {
    using Reply = BootLoader::Reply;
    loader().settings.replies["cm_vsrc"] = Reply::Silent;
    EXPECT_EQ(say(commandReport("cm_vsrc")), "");
    loader().settings.replies["cm_vsrc"] = Reply::Wrong;
    EXPECT_EQ(say(commandReport("cm_vsrc")), "010C00636D5F7570676421"
                                             "6F6B26");
    loader().settings.replies["cm_vsrc"] = Reply::Twice;
    EXPECT_EQ(say(commandReport("cm_vsrc")), "010C00636D5F7673726301020A06 010C00636D5F7673726301020A06");
    loader().settings.replies["cm_vsrc"] = Reply::Long;
    EXPECT_EQ(say(commandReport("cm_vsrc")), "01FF00636D5F7673726301020A06");
}

TEST_F(Loader, ACutAtAReportLosesItAndPowersUpAgain) {
    host.bus.cutAtReport(0, Direction::ToDevice, 2, 250);
    say(commandReport("cm_vcrc", kVcrc57));
    EXPECT_FALSE(host.bus.write(host.handle, commandReport("cm_code", kCode57)));
    EXPECT_EQ(productId(), 0);
    EXPECT_FALSE(host.bus.cutIsPending(0));
    host.advance(250);
    EXPECT_EQ(productId(), 0x0820);
    EXPECT_EQ(loader().currentStep(), BootLoader::Step::Idle);
}

TEST_F(Loader, ACutAfterAStepLosesItsAnswer) {
    host.bus.cutAtStep(0, "cm_upgd", false, std::nullopt);
    flash57();
    EXPECT_EQ(say(commandReport("cm_upgd?isok", kUpgd57)), "");
    EXPECT_EQ(productId(), 0);
    host.bus.plug(0);
    EXPECT_EQ(productId(), 0x9829);
}

TEST_F(NormalMixer, ACutBeforeAStepLeavesTheDeviceAsItWas) {
    host.bus.cutAtStep(0, "cm_rest", true, 0);
    say(commandReport("cm_vsrc"));
    say(commandReport("cm_rest?isok"));
    host.advance(1000);
    EXPECT_EQ(productId(), 0x9829);
    host.bus.cutAtReport(0, Direction::ToHost, 1, std::nullopt);
    host.open();
    EXPECT_EQ(say(commandReport("cm_vsrc")), "");
    EXPECT_EQ(productId(), 0);
}

} // namespace
} // namespace vexo::emulator
