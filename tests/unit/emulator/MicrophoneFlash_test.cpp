#include "emulator/MicrophoneFlash.h"
#include "tests/unit/emulator/TestHost.h"

namespace vexo::emulator {
namespace {

const Bytes kAskMessage = bytes("AA55C86E80010000");

// A message as the host builds it; CRC-16 with initial value FFFF over what follows it.
Bytes hostMessage(std::uint8_t command, const Bytes& data) {
    Bytes checked{command, static_cast<std::uint8_t>(data.size() % 256),
                  static_cast<std::uint8_t>(data.size() / 256)};
    checked.insert(checked.end(), data.begin(), data.end());
    unsigned crc = 0xFFFF;
    for (const std::uint8_t byte : checked) {
        for (unsigned mask = 0x80; mask != 0; mask >>= 1U) {
            const bool turns = ((crc & 0x8000U) != 0) != ((byte & mask) != 0);
            crc = (crc << 1U & 0xFFFFU) ^ (turns ? 0x1021U : 0U);
        }
    }
    Bytes message{0xAA, 0x55, static_cast<std::uint8_t>(crc % 256), static_cast<std::uint8_t>(crc / 256)};
    message.insert(message.end(), checked.begin(), checked.end());
    return message;
}

Bytes blockMessage(std::uint32_t address, std::uint16_t length, const Bytes& block) {
    Bytes data;
    appendU32(data, address);
    appendU16(data, length);
    data.insert(data.end(), block.begin(), block.end());
    return hostMessage(0x81, data);
}

// An image of 64 bytes with an information block: version 1.13.
Bytes imageFor(std::uint8_t letter) {
    Bytes image = bytes("5658464940000000B844010D00000000");
    image[12] = letter;
    for (std::uint8_t i = 16; i < 64; ++i) {
        image.push_back(i);
    }
    return image;
}

class Microphone : public ::testing::Test {
protected:
    Microphone() : host(Model::VoxmicM40) { host.login(); }

    MicrophoneFlash& upgrade() { return *host.device().upgrade; }
    std::uint64_t refusals(std::string_view reason) {
        const auto found = upgrade().refusals().find(reason);
        return found == upgrade().refusals().end() ? 0 : found->second;
    }
    // What the device says to a message: "kind sequence payload", one after the other.
    std::string say(const Bytes& message, std::uint16_t sequence) {
        host.clear();
        host.send(kRequest, kUpgradeFrame, message, sequence);
        return heard();
    }
    std::string heard() const {
        std::string text;
        for (const LinkFrame& frame : host.framesOf(kUpgradeFrame)) {
            const std::string origin =
                frame.kind == kResponse ? "1/" + std::to_string(frame.sequence) : std::to_string(frame.kind);
            text += (text.empty() ? "" : " ") + origin + ":" + toHex(frame.payload);
        }
        return text;
    }
    static Bytes part(const Bytes& image, std::ptrdiff_t from, std::ptrdiff_t length) {
        return {image.begin() + from, image.begin() + from + length};
    }

    TestHost host;
};

TEST_F(Microphone, PullsAnImageOfAKnownSizeBlockByBlock) {
    upgrade().settings.blockSize = 32;
    upgrade().settings.imageSize = 64;
    Bytes payload;
    for (std::uint8_t i = 0x20; i < 0x60; ++i) {
        payload.push_back(i);
    }
    EXPECT_EQ(say(kAskMessage, 5), "1/5:AA55C86E80010000 2:AA55255D81070000000000200000");
    const Bytes first = blockMessage(0, 32, part(payload, 0, 32));
    EXPECT_EQ(toHex(BytesView(first).first(13)), "AA55DF38812600000000002000");
    EXPECT_EQ(say(first, 6), "1/6:AA55C22581070020000000200032");
    EXPECT_EQ(upgrade().currentStep(), MicrophoneFlash::Step::Transferring);
    EXPECT_EQ(say(blockMessage(32, 32, part(payload, 32, 32)), 7), "1/7:AA55A08382010000");
    EXPECT_EQ(upgrade().currentStep(), MicrophoneFlash::Step::Finished);
    EXPECT_EQ(upgrade().flash(), payload);
    EXPECT_TRUE(upgrade().refusals().empty());
}

TEST_F(Microphone, LearnsSizeAndVersionFromTheImageAndRestarts) {
    const Bytes image = imageFor('m');
    EXPECT_EQ(say(kAskMessage, 5),
              "1/5:AA55C86E80010000 2:" + toHex(hostMessage(0x81, bytes("00000000100000"))));
    EXPECT_EQ(say(blockMessage(0, 16, part(image, 0, 16)), 6),
              "1/6:" + toHex(hostMessage(0x81, bytes("10000000300019"))));
    EXPECT_EQ(say(blockMessage(16, 48, part(image, 16, 48)), 7), "1/7:AA55A08382010000");
    EXPECT_EQ(upgrade().flash(), image);
    host.advance(99);
    EXPECT_TRUE(host.bus.isPlugged(0));
    host.advance(1);
    EXPECT_FALSE(host.bus.isPlugged(0));
    host.advance(400);
    EXPECT_TRUE(host.bus.isPlugged(0));
    EXPECT_EQ(host.device().identity.versionMinor, 13);
    EXPECT_EQ(upgrade().currentStep(), MicrophoneFlash::Step::Idle);
}

TEST_F(Microphone, RefusesAnImageOfAnotherModelOrWithAWrongChecksum) {
    for (const bool otherModel : {true, false}) {
        Bytes image = imageFor(otherModel ? 't' : 'm');
        image[40] = otherModel ? image[40] : 0;
        const auto sequence = static_cast<std::uint16_t>(otherModel ? 10 : 20);
        say(kAskMessage, sequence);
        say(blockMessage(0, 16, part(image, 0, 16)), sequence + 1);
        EXPECT_EQ(say(blockMessage(16, 48, part(image, 16, 48)), sequence + 2),
                  "1/" + std::to_string(sequence + 2) + ":AA558193" + "82010001");
        host.advance(2000);
        EXPECT_TRUE(host.bus.isPlugged(0));
        EXPECT_EQ(host.device().identity.versionMinor, 12);
        EXPECT_TRUE(upgrade().flash().empty());
    }
}

TEST_F(Microphone, AnswersTheStatusThatItIsGivenAndAsksForNothing) {
    upgrade().settings.status = 2;
    EXPECT_EQ(say(kAskMessage, 5), "1/5:AA558A4E80010002");
    EXPECT_EQ(upgrade().currentStep(), MicrophoneFlash::Step::Refused);
    host.advance(20000);
    EXPECT_TRUE(host.framesOf(kUpgradeFrame).size() == 1U);
}

TEST_F(Microphone, AMessageThatComesAgainIsAnsweredAgainAndWrittenOnce) {
    const Bytes image = imageFor('m');
    EXPECT_EQ(say(kAskMessage, 5), "1/5:AA55C86E80010000 2:AA55809881070000000000100000");
    EXPECT_EQ(say(kAskMessage, 5), "1/5:AA55C86E80010000");
    const Bytes first = blockMessage(0, 16, part(image, 0, 16));
    const std::string next = say(first, 6);
    EXPECT_EQ(say(first, 6), next);
    EXPECT_EQ(say(first, 7), "1/7:") << "an old block under a new sequence";
    EXPECT_EQ(upgrade().receivedBytes(), 16U);
    EXPECT_EQ(upgrade().duplicates(), 3U);
}

TEST_F(Microphone, AHostThatLogsInAnewMayNumberItsMessagesAsBefore) {
    upgrade().settings.status = 2;
    EXPECT_EQ(say(kAskMessage, 5), "1/5:AA558A4E80010002");
    upgrade().settings.status = 0;
    host.send(kRequest, kLoginNotice, toBytes(host.deviceAddress()));
    EXPECT_EQ(say(kAskMessage, 5), "1/5:AA55C86E80010000 2:AA55809881070000000000100000");
    EXPECT_EQ(upgrade().currentStep(), MicrophoneFlash::Step::Transferring);
}

TEST_F(Microphone, RefusesALowerVersionAndTakesItsOwn) {
    for (const bool isLower : {true, false}) {
        Bytes image = imageFor('m');
        image[11] = isLower ? 11 : 12;
        const auto sequence = static_cast<std::uint16_t>(isLower ? 10 : 20);
        say(kAskMessage, sequence);
        say(blockMessage(0, 16, part(image, 0, 16)), sequence + 1);
        const std::string verdict = isLower ? "AA55819382010001" : "AA55A08382010000";
        EXPECT_EQ(say(blockMessage(16, 48, part(image, 16, 48)), sequence + 2),
                  "1/" + std::to_string(sequence + 2) + ":" + verdict);
        EXPECT_EQ(upgrade().flash().empty(), isLower);
    }
}

TEST_F(Microphone, AsksThreeTimesForABlockThatIsWrongThenGivesUp) {
    const Bytes image = imageFor('m');
    say(kAskMessage, 5);
    const std::string again = toHex(hostMessage(0x81, bytes("00000000100000")));
    Bytes wrongCrc = blockMessage(0, 16, part(image, 0, 16));
    wrongCrc[2] ^= 1U;
    EXPECT_EQ(say(wrongCrc, 6), "1/6:" + again);
    EXPECT_EQ(say(blockMessage(32, 16, part(image, 0, 16)), 7), "1/7:" + again);
    EXPECT_EQ(say(blockMessage(0, 16, part(image, 0, 15)), 8), "1/8:" + again);
    Bytes wrongMark = blockMessage(0, 16, part(image, 0, 16));
    wrongMark[1] = 0x56;
    EXPECT_EQ(say(wrongMark, 9), "1/9:AA55819382010001");
    EXPECT_EQ(upgrade().currentStep(), MicrophoneFlash::Step::Finished);
    EXPECT_EQ(refusals("checksum"), 1U);
    EXPECT_EQ(refusals("address"), 1U);
    EXPECT_EQ(refusals("length"), 1U);
    EXPECT_EQ(refusals("form"), 1U);
}

TEST_F(Microphone, ABlockThatDoesNotComeIsAskedForAgain) {
    say(kAskMessage, 5);
    host.clear();
    for (int second = 0; second < 30; ++second) {
        host.advance(1000);
        host.sendHello();
    }
    EXPECT_EQ(host.framesOf(kUpgradeFrame).size(), 4U) << "three requests and the verdict";
    EXPECT_EQ(toHex(host.framesOf(kUpgradeFrame).back().payload), "AA55819382010001");
    EXPECT_EQ(refusals("time"), 4U);
}

TEST_F(Microphone, ABlockOutsideATransferIsRefused) {
    EXPECT_EQ(say(blockMessage(0, 1, {1}), 6), "");
    EXPECT_EQ(refusals("order"), 1U);
    EXPECT_EQ(say(hostMessage(0x80, {1}), 7), "");
    EXPECT_EQ(refusals("form"), 1U);
}

TEST_F(Microphone, WithoutAcknowledgementsItsRequestsAreItsOwnMessages) {
    upgrade().settings.acknowledges = false;
    const Bytes image = imageFor('m');
    EXPECT_EQ(say(kAskMessage, 5).substr(0, 2), "2:");
    EXPECT_EQ(say(blockMessage(0, 16, part(image, 0, 16)), 6).substr(0, 2), "2:");
    EXPECT_EQ(say(blockMessage(0, 16, part(image, 0, 16)), 6), "");
}

TEST_F(Microphone, KeepsItsPaceAndStalls) {
    upgrade().settings.paceMs = 50;
    upgrade().settings.blockSize = 16;
    upgrade().settings.stallAfter = 2;
    const Bytes image = imageFor('m');
    say(kAskMessage, 5);
    host.advance(3);
    EXPECT_EQ(say(blockMessage(0, 16, part(image, 0, 16)), 6), "");
    host.advance(50);
    EXPECT_NE(heard().find("1/6:"), std::string::npos);
    host.advance(1);
    say(blockMessage(16, 16, part(image, 16, 16)), 7);
    host.advance(30000);
    EXPECT_EQ(heard(), "");
    EXPECT_EQ(upgrade().receivedBytes(), 32U);
    EXPECT_EQ(upgrade().turnaround().max, 3U);
    EXPECT_EQ(upgrade().turnaround().p50, 3U);
}

TEST_F(Microphone, ACutBeforeTheVerdictKeepsTheOldFirmware) {
    const Bytes image = imageFor('m');
    for (const bool before : {true, false}) {
        host.bus.cutAtStep(0, "verdict", before, std::nullopt);
        say(kAskMessage, 5);
        say(blockMessage(0, 16, part(image, 0, 16)), 6);
        EXPECT_EQ(say(blockMessage(16, 48, part(image, 16, 48)), 7), "");
        EXPECT_FALSE(host.bus.isPlugged(0));
        EXPECT_EQ(host.device().identity.versionMinor, before ? 12 : 13);
        host.bus.plug(0);
        host.open();
        host.login();
    }
}

} // namespace
} // namespace vexo::emulator
