#pragma once

#include <QByteArrayView>

#include <cstdint>

/// The two diagnostic logs of the device link: "hid_data.log" and "hid_attribute.log" in the application data
/// folder, which is created if it is missing. Every call opens the file, appends one line, flushes and
/// closes, so that what was logged survives a crash. Each log is at most 10 MB long and has one old file of
/// the same length beside it, see LogFile.h. A failure is logged as a warning and changes nothing else. Any
/// thread.
///
/// Timestamps are local time, "yyyy-MM-dd hh:mm:ss.zzz"; bytes are upper-case hexadecimal; texts are UTF-8.

/// "[timestamp] [direction] HEX": one report ("TX"), or the frame bytes of one received report ("RX").
void appendDataLog(const char* direction, QByteArrayView bytes);

/// "[timestamp] [属性direction] attID:0xID 数据:HEX", the id with at least four digits: one attribute or
/// private message; the directions are "发送" and "接收".
void appendAttributeLog(const char* direction, std::uint32_t attID, QByteArrayView bytes);
