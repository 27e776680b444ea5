#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstdint>

/// How each model carries the bytes of link frames in HID reports. Pure functions, any thread.
///
/// Mixdesk R2, host to device:     0x01, number of frame bytes, 1 to 58 frame bytes
/// Mixdesk R2, device to host:     four bytes that are not looked at, frame bytes
/// Voxmic M40, T40, host to device: 0x00 (no report id), 1 to 64 frame bytes
/// Voxmic M40, T40, device to host: frame bytes
///
/// Any other product id: frame bytes only, up to 64 of them in a report to the device.

/// The most frame bytes that one report to this model carries.
[[nodiscard]] qsizetype reportCapacity(std::uint16_t productId);

/// The report that carries these bytes to the model, report id first; at most `reportCapacity` bytes.
[[nodiscard]] QByteArray reportOf(std::uint16_t productId, QByteArrayView frameBytes);

/// The frame bytes of a report from the model: a part of `report`, empty for one that is shorter than its
/// header.
[[nodiscard]] QByteArrayView frameBytesOf(std::uint16_t productId, QByteArrayView report);
