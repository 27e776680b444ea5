#pragma once

#include "device/HIDHotplugManager.h"
#include "tests/support/ScriptedHidapi.h"
#include "tests/support/WireFrame.h"

#include <QList>
#include <QTimer>

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using scriptedHidapi::Report;
using wireFrame::Bytes;
using wireFrame::WireFrame;

inline const scriptedHidapi::Interface kM40{"/m40", 0x2F05, 0x1396, 0x8C};
inline const scriptedHidapi::Interface kT40{"/t40", 0x2F05, 0x1397, 0x8C};
inline const scriptedHidapi::Interface kR2{"/r2", 0x3327, 0x9829, 0x0C};
inline const scriptedHidapi::Interface kBootloader{"/boot", 0x3327, 0x0820, 0xFF00};
inline const scriptedHidapi::Interface kKeyboard{"/keyboard", 0x1234, 0x5678, 0x01};

/// Link address of the device.
inline constexpr LinkAddress kDevice{2, 3, 0x1234};

/// Where the log files lie.
QString dataFolder();
QStringList logLines(const QString& name);

/// A manager on the scripted bus. The test runs its scan and its tick itself.
class HIDHotplugManagerTest : public testing::Test {
protected:
    struct Connection {
        QVariantMap info;
        bool isConnected;
    };

    void SetUp() override;
    void TearDown() override;

    /// A new manager in the place of the former, its timers stopped.
    void make(const HIDIntervals& intervals = {.scanMs = 2000, .readTimeoutMs = 5});

    /// Plugs an interface in and lets the manager open it.
    void connectDevice(const scriptedHidapi::Interface& interface);

    /// Delivers one report and waits until the manager has taken it.
    void receiveReport(const Report& report);
    /// Delivers a frame in the reports of the model and lets the link process it.
    void receive(const Bytes& frame);
    void login(const LinkAddress& address = kDevice) { receive(wireFrame::hello(address)); }
    /// A frame from the device to the host.
    static Bytes fromDevice(std::uint8_t kind, std::uint16_t messageId, Bytes payload) {
        return wireFrame::encode({kind, 77, kDevice, wireFrame::kHost, messageId, std::move(payload)});
    }
    /// Answers the last request of this message id.
    void answer(std::uint16_t messageId, const Bytes& payload);

    void tick(int count) {
        for (int i = 0; i < count; ++i) {
            manager->onTimeout();
        }
    }

    /// Makes the tick's timer run, and waits until it pauses for at least so many milliseconds: the link has
    /// nothing to do.
    void letLinkPause(int atLeastMs = 2);

    /// Waits until nothing is on its way to a device: a scan opens nothing before.
    [[nodiscard]] bool awaitWritten() const;
    /// The reports written so far to the present path, with those on their way.
    [[nodiscard]] std::vector<Report> writtenReports() const;
    /// The frames written so far, put together from the reports.
    [[nodiscard]] std::vector<WireFrame> sentFrames() const;
    [[nodiscard]] std::vector<WireFrame> sentWith(std::uint16_t messageId) const;
    [[nodiscard]] std::vector<Bytes> payloadsSentWith(std::uint16_t messageId) const;

    /// Connects the mixer and lets it log in and say all about itself.
    void connectFully();
    /// The same, and pulls it off.
    void connectFullyAndUnplug();
    void unplug();

    std::unique_ptr<HIDHotplugManager> manager;
    QList<QTimer*> timers;
    std::string path;
    wireFrame::ReportForm reportForm = wireFrame::ReportForm::Mixer;
    /// Reports that the manager has taken.
    int reportCount = 0;
    QList<Connection> connections;
    std::vector<std::pair<std::uint16_t, QVariantList>> attributes;
    std::vector<std::pair<std::uint32_t, std::uint8_t>> privates;
    int upgradeSignals = 0;
    /// Progress and text of upgradeFirmwareProgress.
    std::vector<std::pair<int, std::string>> upgradeReports;
};
