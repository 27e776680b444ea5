#pragma once

#include <array>
#include <cstdint>

/// The USB identities that the scan knows; a device is recognised by vendor id and product id and nothing
/// else. The udev rule in packaging/linux names the same ones.
struct UsbIdentity {
    std::uint16_t vendorId;
    std::uint16_t productId;

    bool operator==(const UsbIdentity&) const = default;
};

inline constexpr UsbIdentity kVoxmicM40{0x2F05, 0x1396};
inline constexpr UsbIdentity kVoxmicT40{0x2F05, 0x1397};
inline constexpr UsbIdentity kMixdeskR2{0x3327, 0x9829};
/// Never opened by the scan: it starts the firmware upgrade.
inline constexpr UsbIdentity kMixdeskR2Bootloader{0x3327, 0x0820};

inline constexpr std::array kKnownDevices{kVoxmicM40, kVoxmicT40, kMixdeskR2, kMixdeskR2Bootloader};

/// Usage page of the link's interface.
inline constexpr std::uint16_t kMicrophoneUsagePage = 140;
inline constexpr std::uint16_t kMixerUsagePage = 12;
