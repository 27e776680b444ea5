// The drop-in hidapi against a real emulator process.

#include "tests/unit/emulator/EmulatedHidapiTools.h"
#include "tests/unit/emulator/EmulatorProcess.h"

#include <algorithm>
#include <csignal>
#include <cwchar>
#include <unistd.h>

namespace vexo::emulator {
namespace {

TEST(EmulatedHidapi, WithoutAnEmulatorThereAreNoDevicesAndNoNoise) {
    const TestFolder folder;
    setenv("VEXO_EMULATOR_SOCKET", folder.file("nobody").c_str(), 1);
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    EXPECT_EQ(hid_init(), 0);
    EXPECT_EQ(hid_enumerate(0, 0), nullptr);
    EXPECT_STRNE(hid_error(nullptr), L"Success");
    EXPECT_EQ(hid_open(0x3327, 0x9829, nullptr), nullptr);
    EXPECT_EQ(hid_open_path(kMixerLink), nullptr);
    EXPECT_EQ(hid_exit(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    unsetenv("VEXO_EMULATOR_SOCKET");
}

TEST(EmulatedHidapi, EnumeratesEveryInterfaceWithAllItsFields) {
    EmulatorProcess emulator({"--plug", "r2", "m40", "t40", "r2-bootloader"});
    const List all = enumerate(0, 0);
    ASSERT_EQ(lengthOf(all.get()), 5);
    EXPECT_STREQ(all->path, kMixerLink);
    EXPECT_EQ(all->vendor_id, 0x3327);
    EXPECT_EQ(all->product_id, 0x9829);
    EXPECT_STREQ(all->serial_number, L"R2-0001");
    EXPECT_EQ(all->release_number, 0x0107);
    EXPECT_STREQ(all->manufacturer_string, L"VEXO");
    EXPECT_STREQ(all->product_string, L"VEXO Mixdesk R2");
    EXPECT_EQ(all->usage_page, 0x0C);
    EXPECT_EQ(all->usage, 1);
    EXPECT_EQ(all->interface_number, 3);
    EXPECT_EQ(all->bus_type, HID_API_BUS_USB);
    EXPECT_EQ(all->next->usage_page, 0xFF00);
    EXPECT_EQ(all->next->interface_number, 4);
    EXPECT_EQ(all->next->next->usage_page, 0x8C);
    EXPECT_EQ(all->next->next->product_id, 0x1396);
}

TEST(EmulatedHidapi, FiltersByVendorAndProductAndZeroMeansAny) {
    EmulatorProcess emulator({"--plug", "r2", "m40", "t40", "r2-bootloader"});
    EXPECT_EQ(lengthOf(enumerate(0x3327, 0).get()), 3);
    EXPECT_EQ(lengthOf(enumerate(0, 0x1397).get()), 1);
    EXPECT_EQ(lengthOf(enumerate(0x3327, 0x0820).get()), 1);
    EXPECT_EQ(enumerate(0x3327, 0x1396), nullptr);
    EXPECT_NE(std::wstring(hid_error(nullptr)), L"Success");
}

TEST(EmulatedHidapi, AnUnpluggedDeviceIsNotThere) {
    EmulatorProcess emulator({"r2"});
    EXPECT_EQ(enumerate(0, 0), nullptr);
    emulator.command("plug");
    EXPECT_EQ(lengthOf(enumerate(0, 0).get()), 2);
    emulator.command("unplug");
    EXPECT_EQ(enumerate(0, 0), nullptr);
    EXPECT_EQ(hid_open_path(kMixerLink), nullptr);
    EXPECT_STREQ(hid_error(nullptr), L"Failed to open the device");
}

TEST(EmulatedHidapi, ADeviceWithoutPermissionIsSeenAndNotOpened) {
    EmulatorProcess emulator({"--plug", "r2", "m40"});
    const Handle before(hid_open_path(kMixerLink));
    ASSERT_NE(before, nullptr);
    emulator.command("permission denied");
    EXPECT_EQ(lengthOf(enumerate(0x3327, 0x9829).get()), 2);
    EXPECT_EQ(hid_open_path(kMixerLink), nullptr);
    EXPECT_STREQ(hid_error(nullptr),
                 L"Failed to open a device with path 'vexo-emulator/r2/3': Permission denied");
    EXPECT_EQ(hid_open(0x3327, 0x9829, nullptr), nullptr);
    EXPECT_EQ(emulator.command("state").at("counters").at("refusedOpens"), 2);
    EXPECT_NE(Handle(hid_open_path(kMicrophoneLink)), nullptr) << "the other device is open to all";
    EXPECT_TRUE(writeFrame(before.get(), hello())) << "what is open stays so";
    emulator.command("permission granted");
    EXPECT_NE(Handle(hid_open_path(kMixerLink)), nullptr);
}

TEST(EmulatedHidapi, OpensByIdsAndSerialNumber) {
    EmulatorProcess emulator({"--plug", "r2", "m40", "m40"});
    const Handle mixer(hid_open(0x3327, 0x9829, nullptr));
    ASSERT_NE(mixer, nullptr);
    EXPECT_STREQ(hid_get_device_info(mixer.get())->path, kMixerLink) << "the first interface";
    const Handle second(hid_open(0x2F05, 0x1396, L"M40-0002"));
    ASSERT_NE(second, nullptr);
    EXPECT_STREQ(hid_get_device_info(second.get())->path, "vexo-emulator/m40-2/2");
    EXPECT_EQ(hid_open(0x2F05, 0x1396, L"M40-0003"), nullptr);
}

TEST(EmulatedHidapi, AReadTimesOutWithZeroAndNotEarly) {
    EmulatorProcess emulator({"--plug", "r2"});
    emulator.command("answer hello off");
    const Handle device(hid_open_path(kMixerLink));
    ReportBuffer report{};
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(hid_read_timeout(device.get(), report.data(), report.size(), 50), 0);
    EXPECT_GE(Clock::now() - start, 50ms);
    EXPECT_EQ(hid_read_timeout(device.get(), report.data(), report.size(), 0), 0);
    EXPECT_EQ(hid_set_nonblocking(device.get(), 1), 0);
    EXPECT_EQ(hid_read(device.get(), report.data(), report.size()), 0);
    EXPECT_STREQ(hid_error(device.get()), L"Success");
}

TEST(EmulatedHidapi, TheMixersReportsBeginWithIdAndLength) {
    EmulatorProcess emulator({"--plug", "r2"});
    const Handle device(hid_open_path(kMixerLink));
    ReportBuffer report{};
    // The answer to a hello is a hello of 30 bytes.
    ASSERT_TRUE(writeFrame(device.get(), hello()));
    ASSERT_EQ(hid_read_timeout(device.get(), report.data(), report.size(), 5000), 64);
    EXPECT_EQ(toHex(BytesView(report).first(6)), "011E00005512");
}

TEST(EmulatedHidapi, TheMicrophonesReportsAreFrameBytesOnly) {
    EmulatorProcess emulator({"--plug", "m40"});
    const Handle device(hid_open_path(kMicrophoneLink));
    ReportBuffer report{};
    ASSERT_TRUE(writeFrame(device.get(), hello(), ReportForm::Microphone));
    ASSERT_EQ(hid_read_timeout(device.get(), report.data(), report.size(), 5000), 64);
    EXPECT_EQ(toHex(BytesView(report).first(4)), "55120D00");
}

TEST(EmulatedHidapi, AReportIsCutToTheCallersBuffer) {
    EmulatorProcess emulator({"--plug", "m40"});
    emulator.command("answer hello off");
    const Handle device(hid_open_path(kMicrophoneLink));
    ReportBuffer report{};
    emulator.command("send-raw 1 2 3 4 5 6");
    emulator.command("send-raw 7 8 9");
    EXPECT_EQ(hid_read_timeout(device.get(), report.data(), 4, 5000), 4);
    EXPECT_EQ(toHex(BytesView(report).first(5)), "0102030400") << "the rest of it is lost";
    EXPECT_EQ(hid_read_timeout(device.get(), report.data(), report.size(), 5000), 64);
    EXPECT_EQ(report[0], 7);
}

TEST(EmulatedHidapi, AWriteReachesTheDeviceAsItStands) {
    EmulatorProcess emulator({"--plug", "r2"});
    const Handle device(hid_open_path(kMixerLink));
    const std::array<unsigned char, 5> report{1, 3, 0xAA, 0xBB, 0xCC};
    EXPECT_EQ(hid_write(device.get(), report.data(), report.size()), 5);
    ASSERT_TRUE(emulator.command("wait open").value("ok", false));
    Json reports;
    for (int tries = 0; tries < 1000 && reports.empty(); ++tries) {
        reports = emulator.command("reports").at("reports");
    }
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].at("bytes"), "0103AABBCC");
    EXPECT_EQ(reports[0].at("interface"), 3);
}

TEST(EmulatedHidapi, RefusesWritesThatTheKernelRefuses) {
    EmulatorProcess emulator({"--plug", "r2"});
    const Handle device(hid_open_path(kMixerLink));
    const std::vector<unsigned char> report(20000, 1);
    EXPECT_EQ(hid_write(device.get(), report.data(), 0), -1);
    EXPECT_EQ(hid_write(device.get(), nullptr, 5), -1);
    EXPECT_EQ(hid_write(device.get(), report.data(), 1), -1);
    EXPECT_EQ(hid_write(device.get(), report.data(), 16385), -1);
    EXPECT_STRNE(hid_error(device.get()), L"Success");
    EXPECT_EQ(hid_write(device.get(), report.data(), 16384), 16384);
    EXPECT_STREQ(hid_error(device.get()), L"Success");
}

TEST(EmulatedHidapi, AnUnplugFailsReadsAndWritesForEver) {
    EmulatorProcess emulator({"--plug", "r2"});
    const Handle device(hid_open_path(kMixerLink));
    emulator.command("send-raw 1 2 3");
    emulator.command("unplug");
    ReportBuffer report{1, 0};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(hid_read_timeout(device.get(), report.data(), report.size(), 50), -1);
        EXPECT_EQ(hid_read_timeout(device.get(), report.data(), report.size(), 0), -1);
        EXPECT_EQ(hid_read_timeout(device.get(), report.data(), report.size(), -1), -1);
        EXPECT_EQ(hid_write(device.get(), report.data(), 2), -1);
    }
    EXPECT_STRNE(hid_error(device.get()), L"Success");
    emulator.command("plug");
    EXPECT_EQ(hid_read_timeout(device.get(), report.data(), report.size(), 0), -1);
    EXPECT_EQ(hid_write(device.get(), report.data(), 2), -1);
    const Handle again(hid_open_path(kMixerLink));
    ASSERT_NE(again, nullptr);
    emulator.command("send-raw 1 2 3");
    EXPECT_EQ(hid_read_timeout(again.get(), report.data(), report.size(), 5000), 64);
}

TEST(EmulatedHidapi, ABlockingReadTakesWhatCameBeforeTheUnplug) {
    EmulatorProcess emulator({"--plug", "m40"});
    emulator.command("answer hello off");
    const Handle device(hid_open_path(kMicrophoneLink));
    emulator.command("send-raw 7");
    // The report is sent before the answer of this command, so it has arrived.
    emulator.command("get mute");
    emulator.command("unplug");
    ReportBuffer report{};
    EXPECT_EQ(hid_read(device.get(), report.data(), report.size()), 64);
    EXPECT_EQ(report[0], 7);
    EXPECT_EQ(hid_read(device.get(), report.data(), report.size()), -1);
}

TEST(EmulatedHidapi, TheEmulatorsDeathIsAnUnplug) {
    EmulatorProcess emulator({"--plug", "r2"});
    const Handle device(hid_open_path(kMixerLink));
    emulator.signal(SIGKILL);
    EXPECT_EQ(emulator.waitForEnd(), 1000 + SIGKILL);
    ReportBuffer report{1, 0};
    EXPECT_EQ(hid_read_timeout(device.get(), report.data(), report.size(), 1000), -1);
    EXPECT_EQ(hid_write(device.get(), report.data(), 2), -1);
    EXPECT_EQ(hid_enumerate(0, 0), nullptr);
}

TEST(EmulatedHidapi, AStoppedEmulatorDoesNotHangAnEnumeration) {
    EmulatorProcess emulator({"--plug", "r2"});
    emulator.signal(SIGSTOP);
    setenv("VEXO_EMULATOR_ANSWER_MS", "100", 1);
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(hid_enumerate(0, 0), nullptr);
    EXPECT_GE(Clock::now() - start, 100ms);
    EXPECT_LT(Clock::now() - start, 10s);
    unsetenv("VEXO_EMULATOR_ANSWER_MS");
    emulator.signal(SIGCONT);
    EXPECT_NE(enumerate(0, 0), nullptr);
}

TEST(EmulatedHidapi, AClosedHandleNeverGivesAnothersReports) {
    EmulatorProcess emulator({"--plug", "r2"});
    hid_device* const closed = hid_open_path(kMixerLink);
    hid_close(closed);
    const Handle opened(hid_open_path(kMixerLink));
    EXPECT_NE(opened.get(), closed);
    ReportBuffer report{};
    EXPECT_EQ(hid_read_timeout(closed, report.data(), report.size(), 0), -1);
    EXPECT_EQ(hid_write(closed, report.data(), 2), -1);
    hid_close(closed);
    emulator.command("send-raw 1 2 3");
    EXPECT_EQ(hid_read_timeout(opened.get(), report.data(), report.size(), 5000), 64);
}

TEST(EmulatedHidapi, TwoHandlesOfOneInterfaceBothGetEveryReport) {
    EmulatorProcess emulator({"--plug", "m40"});
    emulator.command("answer hello off");
    const Handle first(hid_open_path(kMicrophoneLink));
    const Handle second(hid_open_path(kMicrophoneLink));
    emulator.command("send-raw 42");
    for (hid_device* const device : {first.get(), second.get()}) {
        ReportBuffer report{};
        EXPECT_EQ(hid_read_timeout(device, report.data(), report.size(), 5000), 64);
        EXPECT_EQ(report[0], 42);
    }
    EXPECT_EQ(emulator.command("devices").at("devices")[0].at("openHandles"), 2);
}

TEST(EmulatedHidapi, UnreadReportsAreKeptInBoundsOldestFirst) {
    EmulatorProcess emulator({"--plug", "m40"});
    emulator.command("answer hello off");
    const Handle device(hid_open_path(kMicrophoneLink));
    constexpr int kSent = 250;
    for (int i = 1; i <= kSent; ++i) {
        emulator.command("send-raw " + std::to_string(i));
    }
    ReportBuffer report{};
    int received = 0;
    while (hid_read_timeout(device.get(), report.data(), report.size(), received < 64 ? 5000 : 100) > 0) {
        ASSERT_EQ(report[0], ++received);
    }
    EXPECT_GE(received, 64);
    EXPECT_LT(received, kSent);
    const Json sent = emulator.command("reports to-host").at("reports");
    EXPECT_EQ(std::ranges::count_if(sent, [](const Json& each) { return !each.value("lost", false); }),
              received);
}

TEST(EmulatedHidapi, OpeningAndClosingLeaksNoFilesOnEitherSide) {
    EmulatorProcess emulator({"--plug", "r2", "m40"});
    const auto round = [] {
        const List list = enumerate(0, 0);
        const Handle device(hid_open_path(kMixerLink));
        EXPECT_NE(device, nullptr);
        EXPECT_EQ(hid_open_path("vexo-emulator/r2/99"), nullptr);
        EXPECT_EQ(hid_open(1, 2, nullptr), nullptr);
        const std::array<unsigned char, 3> feature{2, 160, 10};
        EXPECT_EQ(hid_send_feature_report(device.get(), feature.data(), feature.size()), 3);
    };
    round();
    EXPECT_TRUE(emulator.command("wait closed").value("ok", false));
    // The answer of a command comes after the connections that ended before are closed.
    emulator.command("devices");
    const std::size_t ownFiles = countOpenFiles(getpid());
    const std::size_t emulatorsFiles = emulator.openFiles();
    for (int i = 0; i < 200; ++i) {
        round();
    }
    EXPECT_TRUE(emulator.command("wait closed").value("ok", false));
    EXPECT_EQ(countOpenFiles(getpid()), ownFiles);
    for (int tries = 0; tries < 1000 && emulator.openFiles() != emulatorsFiles; ++tries) {
        emulator.command("devices");
    }
    EXPECT_EQ(emulator.openFiles(), emulatorsFiles);
}

TEST(EmulatedHidapi, TellsStringsDescriptorAndVersion) {
    EmulatorProcess emulator({"--plug", "r2"});
    const Handle device(hid_open_path(kMixerLink));
    std::array<wchar_t, 64> text{};
    EXPECT_EQ(hid_get_manufacturer_string(device.get(), text.data(), text.size()), 0);
    EXPECT_STREQ(text.data(), L"VEXO");
    EXPECT_EQ(hid_get_product_string(device.get(), text.data(), text.size()), 0);
    EXPECT_STREQ(text.data(), L"VEXO Mixdesk R2");
    EXPECT_EQ(hid_get_serial_number_string(device.get(), text.data(), 4), 0);
    EXPECT_STREQ(text.data(), L"R2-");
    EXPECT_EQ(hid_get_product_string(device.get(), text.data(), 0), -1);
    EXPECT_EQ(hid_get_indexed_string(device.get(), 1, text.data(), text.size()), -1);
    std::array<unsigned char, HID_API_MAX_REPORT_DESCRIPTOR_SIZE> descriptor{};
    const int size = hid_get_report_descriptor(device.get(), descriptor.data(), descriptor.size());
    ASSERT_GT(size, 5);
    EXPECT_EQ(toHex(BytesView(descriptor).first(5)), "060C000901") << "usage page 0x0C, usage 1";
    EXPECT_EQ(hid_get_report_descriptor(device.get(), descriptor.data(), 3), 3);
    EXPECT_EQ(hid_version()->major, 0);
    EXPECT_EQ(hid_version()->minor, 14);
    EXPECT_STREQ(hid_version_str(), "0.14.0");
}

TEST(EmulatedHidapi, FeatureReportsAreKeptAndGivenBack) {
    EmulatorProcess emulator({"--plug", "r2"});
    const Handle device(hid_open_path(kMixerLink));
    std::array<unsigned char, 17> report{2, 160, 10};
    EXPECT_EQ(hid_get_feature_report(device.get(), report.data(), report.size()), -1) << "none was sent yet";
    EXPECT_EQ(hid_send_feature_report(device.get(), report.data(), report.size()), 17);
    std::array<unsigned char, 64> answer{2};
    EXPECT_EQ(hid_get_feature_report(device.get(), answer.data(), answer.size()), 17);
    EXPECT_EQ(toHex(BytesView(answer).first(3)), "02A00A");
    EXPECT_EQ(hid_get_input_report(device.get(), answer.data(), answer.size()), -1);
    emulator.command("unplug");
    emulator.command("plug");
    EXPECT_EQ(hid_send_feature_report(device.get(), report.data(), report.size()), -1)
        << "a handle of before";
}

TEST(EmulatedHidapi, ANullHandleIsRefused) {
    ReportBuffer report{};
    EXPECT_EQ(hid_read(nullptr, report.data(), report.size()), -1);
    EXPECT_EQ(hid_write(nullptr, report.data(), 2), -1);
    EXPECT_EQ(hid_set_nonblocking(nullptr, 1), -1);
    EXPECT_EQ(hid_open_path(nullptr), nullptr);
    hid_close(nullptr);
    hid_free_enumeration(nullptr);
}

TEST(EmulatedHidapi, ShortReportsKeepTheirLength) {
    EmulatorProcess emulator({"--plug", "--seed", "5", "m40"});
    const Handle device(hid_open_path(kMicrophoneLink));
    emulator.command("fault truncate 1 to-host");
    emulator.command("send-raw 1 2 3");
    ReportBuffer report{};
    const int count = hid_read_timeout(device.get(), report.data(), report.size(), 5000);
    EXPECT_GT(count, 0);
    EXPECT_LT(count, 64);
}

TEST(EmulatedHidapi, AProgramThatIsLinkedToTheRealLibraryTakesItByTheLibraryPath) {
    EmulatorProcess emulator({"--plug", "r2"});
    // All functions must be there, not only those that are called.
    const ProgramResult emulated = runProgram(
        {VEXO_HID_LIST_PROGRAM}, {}, {"LD_LIBRARY_PATH=" VEXO_EMULATED_HIDAPI_FOLDER, "LD_BIND_NOW=1"});
    EXPECT_EQ(emulated.status, 0) << emulated.errors;
    EXPECT_EQ(emulated.output, "vexo-emulator/r2/3 3327:9829\nvexo-emulator/r2/4 3327:9829\n");
    const ProgramResult real = runProgram({VEXO_HID_LIST_PROGRAM});
    EXPECT_EQ(real.status, 0) << real.errors;
    EXPECT_EQ(real.output.find("vexo-emulator/"), std::string::npos) << "this library must be the real one";
}

} // namespace
} // namespace vexo::emulator
