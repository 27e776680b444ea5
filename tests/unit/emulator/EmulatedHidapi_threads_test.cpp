// The drop-in hidapi on several threads at once, against a real emulator process.

#include "emulator/LinkFrame.h"
#include "tests/unit/emulator/EmulatedHidapiTools.h"
#include "tests/unit/emulator/EmulatorProcess.h"

#include <atomic>
#include <thread>

namespace vexo::emulator {
namespace {

TEST(EmulatedHidapiThreads, AnUnplugWakesABlockingRead) {
    EmulatorProcess emulator({"--plug", "r2"});
    emulator.command("answer hello off");
    const Handle device(hid_open_path(kMixerLink));
    std::atomic<int> result = 99;
    std::thread reader([&] {
        ReportBuffer report{};
        result = hid_read_timeout(device.get(), report.data(), report.size(), -1);
    });
    emulator.command("unplug");
    reader.join();
    EXPECT_EQ(result, -1);
}

TEST(EmulatedHidapiThreads, AReadWithATimeOutIsNotHeldUpByOneWithout) {
    EmulatorProcess emulator({"--plug", "r2"});
    emulator.command("answer hello off");
    hid_device* const device = hid_open_path(kMixerLink);
    std::thread blocking([&] {
        ReportBuffer report{};
        EXPECT_EQ(hid_read_timeout(device, report.data(), report.size(), -1), -1);
    });
    // Whichever of the two starts first, this one must return.
    for (int i = 0; i < 20; ++i) {
        ReportBuffer report{};
        EXPECT_EQ(hid_read_timeout(device, report.data(), report.size(), 10), 0);
    }
    hid_close(device);
    blocking.join();
}

// Reads one report that the emulator sends now: the handle has then read all that it sent before.
void readUpToNow(EmulatorProcess& emulator, hid_device* device) {
    ReportBuffer report{};
    emulator.command("send-raw 1");
    ASSERT_EQ(hid_read_timeout(device, report.data(), report.size(), 5000), 64);
}

TEST(EmulatedHidapiThreads, AWriteToADeafDeviceWaitsUntilItHears) {
    EmulatorProcess emulator({"--plug", "m40"});
    emulator.command("answer hello off");
    emulator.command("deaf on");
    const Handle device(hid_open_path(kMicrophoneLink));
    ASSERT_NO_FATAL_FAILURE(readUpToNow(emulator, device.get())) << "deaf when it was opened";
    emulator.command("deaf off");
    ASSERT_NO_FATAL_FAILURE(readUpToNow(emulator, device.get()));
    emulator.command("deaf on");
    ASSERT_NO_FATAL_FAILURE(readUpToNow(emulator, device.get()));
    std::atomic<bool> begun = false;
    std::atomic<bool> hears = false;
    std::thread writer([&] {
        begun = true;
        const std::array<unsigned char, 3> report{0, 7, 7};
        EXPECT_EQ(hid_write(device.get(), report.data(), report.size()), 3);
        EXPECT_TRUE(hears) << "the write has not waited";
    });
    while (!begun) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(emulator.command("reports").at("reports").empty());
    hears = true;
    emulator.command("deaf off");
    ASSERT_NO_FATAL_FAILURE(readUpToNow(emulator, device.get()));
    writer.join();
}

TEST(EmulatedHidapiThreads, AnUnplugEndsAWriteToADeafDevice) {
    EmulatorProcess emulator({"--plug", "m40"});
    emulator.command("answer hello off");
    const Handle device(hid_open_path(kMicrophoneLink));
    emulator.command("deaf on");
    ASSERT_NO_FATAL_FAILURE(readUpToNow(emulator, device.get()));
    std::thread writer([&] {
        const std::array<unsigned char, 3> report{0, 7, 7};
        EXPECT_EQ(hid_write(device.get(), report.data(), report.size()), -1);
    });
    emulator.command("unplug");
    ReportBuffer report{};
    EXPECT_EQ(hid_read_timeout(device.get(), report.data(), report.size(), 5000), -1);
    writer.join();
}

TEST(EmulatedHidapiThreads, OneThreadReadsWhileAnotherWrites) {
    EmulatorProcess emulator({"--plug", "r2"});
    const Handle device(hid_open_path(kMixerLink));
    ASSERT_TRUE(writeFrame(device.get(), hello()));
    ASSERT_TRUE(emulator.command("wait message 0").value("ok", false));
    constexpr int kRequests = 2000;
    // Requests without an answer yet; that many answers fit into the queue of unread reports.
    constexpr int kUnderWay = 32;
    std::atomic<int> answers = 0;
    std::thread reader([&] {
        FrameReader frames;
        ReportBuffer report{};
        while (answers < kRequests) {
            const int count = hid_read_timeout(device.get(), report.data(), report.size(), 5000);
            if (count <= 0) {
                ADD_FAILURE() << "read gave " << count << " after " << answers << " answers";
                answers = kRequests;
                return;
            }
            frames.feed(BytesView(report).subspan(4, static_cast<std::size_t>(count) - 4),
                        [&](LinkFrame&& frame) {
                            if (frame.messageId == kAttributeRead && frame.kind == kResponse) {
                                EXPECT_EQ(frame.sequence, answers + 1);
                                ++answers;
                            }
                        });
        }
    });
    for (int i = 1; i <= kRequests; ++i) {
        while (i - answers > kUnderWay) {
            std::this_thread::yield();
        }
        if (!writeFrame(device.get(), wireFrame::encode({kRequest,
                                                         static_cast<std::uint16_t>(i),
                                                         wireFrame::kHost,
                                                         kMixerAddress,
                                                         kAttributeRead,
                                                         {5}}))) {
            ADD_FAILURE() << "write " << i;
            break;
        }
    }
    reader.join();
    EXPECT_EQ(answers, kRequests);
}

TEST(EmulatedHidapiThreads, AHandleMayBeClosedWhileAnotherThreadReadsIt) {
    EmulatorProcess emulator({"--plug", "r2"});
    emulator.command("storm 1000000 5000 mic_gain");
    for (int round = 0; round < 50; ++round) {
        hid_device* const device = hid_open_path(kMixerLink);
        ASSERT_NE(device, nullptr);
        std::atomic<bool> reading = false;
        // One reads with a time-out, one without, one writes: each ends with -1.
        std::thread polling([&] {
            ReportBuffer report{};
            do {
                reading = true;
            } while (hid_read_timeout(device, report.data(), report.size(), 50) >= 0);
        });
        std::thread blocking([&] {
            ReportBuffer report{};
            while (hid_read_timeout(device, report.data(), report.size(), -1) >= 0) {
            }
        });
        std::thread writing([&] {
            while (writeFrame(device, hello())) {
            }
        });
        while (!reading) {
            std::this_thread::yield();
        }
        hid_close(device);
        polling.join();
        blocking.join();
        writing.join();
        EXPECT_EQ(hid_get_device_info(device), nullptr);
    }
}

TEST(EmulatedHidapiThreads, ManyThreadsMayEnumerateAtOnce) {
    EmulatorProcess emulator({"--plug", "r2"});
    std::array<std::thread, 8> threads;
    for (std::thread& thread : threads) {
        thread = std::thread([] {
            for (int round = 0; round < 20; ++round) {
                EXPECT_EQ(lengthOf(enumerate(0x3327, 0x9829).get()), 2);
                const Handle device(hid_open_path(kMixerLink));
                EXPECT_NE(device, nullptr);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
} // namespace vexo::emulator
