#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// A HID bus under a test's control: a program that links this file sees these interfaces instead of the
/// machine's own. One bus in a process; reset() before each test. Every operation may be called on any
/// thread.
namespace scriptedHidapi {

struct Interface {
    std::string path;
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    std::uint16_t usagePage = 0;
};

using Report = std::vector<std::uint8_t>;

/// Forgets all interfaces, handles, scripts and counts. No handle may be in use.
void reset();

/// Adds an interface at the end of the bus.
void plug(const Interface& interface);
/// Removes an interface: reads and writes on its open handles fail from now on.
void unplug(const std::string& path);
/// Queues a report for the open handles of a path.
void deliver(const std::string& path, const Report& report);

/// Runs after each report that is written to a path, inside hid_write and free of locks: it may script the
/// bus.
void onWrite(const std::string& path, std::function<void(const Report&)> answer);
/// The strings and the feature report of every interface.
void setDeviceText(const std::wstring& text);
void setFeatureReport(const Report& report);

/// Makes the next `count` calls of hid_set_nonblocking return -1.
void failNonblocking(int count);
/// Whether opening a path returns null, and what hid_error then says.
void failOpen(const std::string& path, bool fail, const wchar_t* reason = L"Permission denied");
/// Whether hid_write on a path returns -1.
void failWrite(const std::string& path, bool fail);
/// Whether hid_write on a path returns one byte less than it wrote.
void shortenWrite(const std::string& path, bool shorten);
/// Holds every hid_write inside the call until released or its device is unplugged.
void holdWrites(bool hold);
/// How many writes are inside hid_write.
[[nodiscard]] int writesInside();
/// Holds every hid_read_timeout inside the call until released.
void holdReads(bool hold);
/// Reports that no read has taken yet.
[[nodiscard]] int reportsWaiting();
/// How many reads are inside hid_read_timeout.
[[nodiscard]] int readsInside();

/// The reports written to a path, oldest first.
[[nodiscard]] std::vector<Report> written(const std::string& path);
/// The same, and forgets them.
[[nodiscard]] std::vector<Report> takeWritten(const std::string& path);
/// What the last hid_read_timeout asked for, and the mode that hid_set_nonblocking gave the last handle.
struct ReadCall {
    std::size_t length = 0;
    int milliseconds = 0;
};
[[nodiscard]] ReadCall lastRead();
[[nodiscard]] int lastNonblockingMode();
/// Handles that are open now; handles opened since reset(); enumeration lists returned and not freed.
[[nodiscard]] int openHandles();
[[nodiscard]] int openedEver();
[[nodiscard]] int listsOutstanding();
/// Calls of hid_init, of hid_exit and of hid_error.
[[nodiscard]] int initialisations();
[[nodiscard]] int exits();
[[nodiscard]] int errorsAsked();
/// The last feature report that was sent.
[[nodiscard]] Report lastFeatureReport();
/// Calls of hid_enumerate.
[[nodiscard]] int enumerations();
/// Calls on a handle after its hid_close, double closes included: a defect of the program under test.
[[nodiscard]] int callsAfterClose();

} // namespace scriptedHidapi
