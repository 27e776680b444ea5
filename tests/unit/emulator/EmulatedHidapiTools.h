// What the tests of the drop-in hidapi share: handles and lists that free themselves, frames in reports.
#pragma once

#include "emulator/Bytes.h"
#include "tests/support/WireFrame.h"

#include <array>
#include <chrono>
#include <gtest/gtest.h>
#include <hidapi/hidapi.h>
#include <memory>

namespace vexo::emulator {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using ReportBuffer = std::array<unsigned char, 65>;
using wireFrame::ReportForm;
using wireFrame::WireFrame;

inline constexpr const char* kMixerLink = "vexo-emulator/r2/3";
inline constexpr const char* kMicrophoneLink = "vexo-emulator/m40/2";
inline constexpr ::LinkAddress kMixerAddress{2, 3, 0x1001};

struct CloseHandle {
    void operator()(hid_device* device) const { hid_close(device); }
};
using Handle = std::unique_ptr<hid_device, CloseHandle>;

struct FreeList {
    void operator()(hid_device_info* list) const { hid_free_enumeration(list); }
};
using List = std::unique_ptr<hid_device_info, FreeList>;

inline List enumerate(unsigned short vendorId, unsigned short productId) {
    return List(hid_enumerate(vendorId, productId));
}

inline int lengthOf(const hid_device_info* list) {
    return list == nullptr ? 0 : 1 + lengthOf(list->next);
}

// Writes bytes of a frame as the program does; false when a report was not taken whole.
inline bool writeFrame(hid_device* device, const Bytes& frame, ReportForm form = ReportForm::Mixer) {
    for (const Bytes& report : wireFrame::hostReports(form, frame)) {
        if (hid_write(device, report.data(), report.size()) != static_cast<int>(report.size())) {
            return false;
        }
    }
    return true;
}

inline Bytes hello() {
    return wireFrame::hello(wireFrame::kHost, {.nodeKind = 0, .upTime = 0});
}

} // namespace vexo::emulator
