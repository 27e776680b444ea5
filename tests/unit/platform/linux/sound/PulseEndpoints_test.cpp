#include "mixer/EndpointClassification.h"
#include "platform/linux/sound/PulseEndpoints.h"
#include "tests/support/mixer/RouterLogCapture.h"

#include <gtest/gtest.h>

namespace {

PulseDevice device(const std::string& name, const std::string& bus, const std::string& formFactor = {}) {
    PulseDevice made;
    made.name = name;
    made.description = name;
    made.bus = bus;
    made.formFactor = formFactor;
    return made;
}

AudioEndpoint endpoint(const PulseDevice& from) {
    AudioEndpoint made;
    made.id = pulseEndpointId(from);
    made.friendlyName = "Output";
    made.connectorCount = pulseConnectorCount(from);
    return made;
}

} // namespace

TEST(PulseEndpointId, PciIsBuiltInAndUsbAndBluetoothAreNot) {
    const RouterLogCapture quiet;
    const AudioEndpoint pci =
        endpoint(device("alsa_output.pci-0000_00_1f.3.analog-stereo", "pci", "internal"));
    const AudioEndpoint usb =
        endpoint(device("alsa_output.usb-Maker_Thing-00.analog-stereo", "usb", "speaker"));
    const AudioEndpoint bluetooth = endpoint(device("bluez_output.AA_BB", "bluetooth", "headset"));
    EXPECT_TRUE(IsBuiltInDevice(&pci));
    EXPECT_FALSE(IsBuiltInDevice(&usb));
    EXPECT_FALSE(IsBuiltInDevice(&bluetooth));
    EXPECT_TRUE(IsRealHardwareDevice(&pci));
    EXPECT_TRUE(IsRealHardwareDevice(&usb));
    EXPECT_TRUE(IsRealHardwareDevice(&bluetooth));
}

TEST(PulseEndpointId, DeviceWithoutABusKeepsItsName) {
    EXPECT_EQ(pulseEndpointId(device("null", "")), "null");
    EXPECT_EQ(pulseEndpointId(device("x", "", "internal")), "hdaudio#x");
}

TEST(PulseEndpointId, NamesInAnyScriptStayAndBrokenOnesAreNotFatal) {
    EXPECT_EQ(pulseEndpointId(device("扬声器 é 🎧", "")), "扬声器 é 🎧");
    EXPECT_EQ(pulseEndpointId(device("a\xff\xe6\x89", "")), "a???");
}

TEST(PulseConnectorCount, IsThatOfThePortsAndOneWhereHardwareIsDeclaredOtherwise) {
    PulseDevice nothing = device("null", "");
    EXPECT_EQ(pulseConnectorCount(nothing), 0U);
    const AudioEndpoint virtualOne = endpoint(nothing);
    EXPECT_FALSE(IsRealHardwareDevice(&virtualOne));
    EXPECT_EQ(pulseConnectorCount(device("a", "pci")), 1U);
    EXPECT_EQ(pulseConnectorCount(device("a", "", "speaker")), 1U);
    nothing.hasAlsaCard = true;
    EXPECT_EQ(pulseConnectorCount(nothing), 1U);
    nothing.portCount = 3;
    EXPECT_EQ(pulseConnectorCount(nothing), 3U);
}
