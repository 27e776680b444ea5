// The bus with its devices: plugging, enumerating, opening, reports in both directions, faults, the log.
// Everything that the emulator does, without sockets and with the caller's clock.
//
// Times are milliseconds of the caller's clock and never go back. One thread.
#pragma once

#include "emulator/HostLog.h"
#include "emulator/InterfaceInfo.h"
#include "emulator/ReportPipe.h"
#include "emulator/VirtualDevice.h"

#include <memory>

namespace vexo::emulator {

class VirtualBus {
public:
    using HandleId = std::uint64_t;

    // Receives the reports. Called while a function of the bus runs; must not call the bus.
    struct Listener {
        // False when the handle has no room for the report, which is lost then.
        std::function<bool(HandleId handle, const Bytes& report)> inputReport;
        // The handle is gone.
        std::function<void(HandleId handle)> unplugged;
        // From now on the device takes no reports of the handle, or does again.
        std::function<void(HandleId handle, bool held)> held;
    };

    struct DeviceCounters {
        std::uint64_t reportsToDevice = 0;
        std::uint64_t reportsToHost = 0;
        std::uint64_t framesToHost = 0;
        // Reports that the model does not know.
        std::uint64_t badReports = 0;
        // Opens without permission.
        std::uint64_t refusedOpens = 0;
    };

    VirtualBus(std::span<const Model> models, std::uint64_t seed);

    void setListener(Listener newListener) { listener = std::move(newListener); }

    // Brings everything up to this time, event by event.
    void advance(std::uint64_t nowMs);
    // Sends what the devices have produced, without a step of time. Call it after any function of a device.
    void settle();
    std::uint64_t nextEventAtMs() const;
    std::uint64_t timeMs() const { return now; }
    void reseed(std::uint64_t seed);

    // Devices by index, in the order of the constructor's list.
    std::size_t deviceCount() const { return slots.size(); }
    VirtualDevice& device(std::size_t index) { return *slots[index]->device; }
    const VirtualDevice& device(std::size_t index) const { return *slots[index]->device; }
    const std::string& deviceName(std::size_t index) const { return slots[index]->name; }
    std::optional<std::size_t> deviceByName(std::string_view name) const;
    bool isPlugged(std::size_t index) const { return slots[index]->plugged; }
    bool isPermitted(std::size_t index) const { return slots[index]->permitted; }
    std::size_t openHandles(std::size_t index) const { return slots[index]->handles.size(); }
    const DeviceCounters& counters(std::size_t index) const { return slots[index]->counters; }
    // When the host last sent a frame other than hello; 0 when it never did.
    std::uint64_t lastHostFrameMs(std::size_t index) const { return slots[index]->lastHostFrameMs; }

    // True if that changed anything. Unplugging ends every open handle.
    bool plug(std::size_t index);
    bool unplug(std::size_t index);
    // Whether programs may open the device: on the bus it is seen all the same. Handles that are open stay
    // so.
    void setPermission(std::size_t index, bool permitted) { slots[index]->permitted = permitted; }
    // Unplugs, loses settings, and plugs again after this time.
    void restart(std::size_t index, std::uint64_t awayMs);
    // A mixer loses its firmware; if it is plugged, it comes back as its bootloader.
    void loseFirmware(std::size_t index);
    // A deaf device takes no reports from the host; also a device that is not plugged can be deaf.
    void setDeaf(std::size_t index, bool deaf);
    bool isDeaf(HandleId handle) const;
    // Bytes in reports as they stand, without a frame around them.
    void sendRaw(std::size_t index, BytesView bytes);

    // Cuts the power of a device once: at the count-th report from now on that would travel in this
    // direction, which is lost.
    void cutAtReport(std::size_t index, Direction direction, std::uint64_t count,
                     std::optional<std::uint64_t> backMs);
    // Cuts the power once, when the device takes a step (before) or has taken it (after, its answer is lost).
    void cutAtStep(std::size_t index, std::string_view word, bool before,
                   std::optional<std::uint64_t> backMs);
    void cancelCut(std::size_t index) { slots[index]->cut.reset(); }
    // Whether the cut is still to come.
    bool cutIsPending(std::size_t index) const { return slots[index]->cut.has_value(); }

    // The interfaces of all plugged devices; 0 stands for any id.
    std::vector<InterfaceInfo> enumerate(std::uint16_t vendorId, std::uint16_t productId) const;
    std::optional<InterfaceInfo> interfaceAt(const std::string& path) const;
    // Nothing when there is no such interface or its device may not be opened.
    std::optional<HandleId> open(const std::string& path);
    void close(HandleId handle);
    // A report from the host, report id first. False when the handle is gone.
    bool write(HandleId handle, Bytes report);
    // Feature reports are stored and returned. False or nothing when there is no such interface or report.
    bool storeFeatureReport(const std::string& path, Bytes report);
    std::optional<Bytes> featureReport(const std::string& path, std::uint8_t reportId) const;

    FaultPlan faults;
    HostLog log;

private:
    struct OpenHandle {
        HandleId id;
        const HidInterface* interface;
    };

    // Where the power is cut: at a report that is counted down, or at a step.
    struct Cut {
        Direction direction = Direction::ToDevice;
        std::uint64_t reportsLeft = 0;
        std::string word;
        bool before = false;
        std::optional<std::uint64_t> backMs;
    };

    struct Slot {
        Slot(FaultPlan& plan) : toHost(Direction::ToHost, plan), toDevice(Direction::ToDevice, plan) {}

        std::string name;
        std::unique_ptr<VirtualDevice> device;
        bool plugged = false;
        bool deaf = false;
        bool permitted = true;
        std::optional<std::uint64_t> plugAtMs;
        std::vector<OpenHandle> handles;
        ReportPipe toHost;
        ReportPipe toDevice;
        // Delayed answers.
        std::multimap<std::uint64_t, std::vector<LinkFrame>> lateMessages;
        // The report that is being filled.
        Bytes openChunk;
        std::map<std::string, std::map<std::uint8_t, Bytes>> features;
        DeviceCounters counters;
        std::uint64_t lastHostFrameMs = 0;
        std::optional<Cut> cut;
        // The power is to be cut as soon as the device has ended what it does.
        bool cutNow = false;
    };

    // Whether the cut that waits for a report strikes now.
    static bool countsDown(Slot& slot, Direction direction);
    void cutPower(Slot& slot);
    void restartAs(Slot& slot, const BootLoader::Restart& restart);
    void addDevice(Model model, std::uint64_t seed);
    void stepSlot(Slot& slot);
    std::uint64_t nextEventAtMs(const Slot& slot) const;
    void onMessageToHost(Slot& slot, std::vector<LinkFrame> pieces);
    void packMessage(Slot& slot, const std::vector<LinkFrame>& pieces);
    void packBytes(Slot& slot, BytesView bytes, bool split);
    void flushChunk(Slot& slot, bool padded);
    void deliver(Slot& slot, const Report& report);
    void receive(Slot& slot, const Report& report);
    std::size_t indexOf(const Slot& slot) const;
    const Slot* slotOfPath(const std::string& path, const HidInterface** interface) const;
    InterfaceInfo describe(const Slot& slot, const HidInterface& interface) const;

    std::vector<std::unique_ptr<Slot>> slots;
    Listener listener;
    std::uint64_t now = 0;
    HandleId lastHandle = 0;
};

} // namespace vexo::emulator
