#include "mixer/AppAudioConfigStore.h"

#include "mixer/LockedIds.h"

#include <utility>

AppAudioConfigStore& AppAudioConfigStore::instance() {
    static auto* const store = new AppAudioConfigStore;
    return *store;
}

void AppAudioConfigStore::putConfig(std::uint32_t processID, const AppAudioConfig& record) {
    {
        const std::lock_guard lock(mutex);
        const auto found = records.find(processID);
        if (found != records.end()) {
            found->second = record;
            return;
        }
    }
    // A new id: its place is made outside of the lock.
    std::map<std::uint32_t, AppAudioConfig> prepared{{processID, record}};
    const std::lock_guard lock(mutex);
    const auto inserted = records.insert(prepared.extract(prepared.begin()));
    if (!inserted.inserted) {
        inserted.position->second = record;
    }
}

AppAudioConfig AppAudioConfigStore::getConfig(std::uint32_t processID) const {
    const std::lock_guard lock(mutex);
    const auto found = records.find(processID);
    return found != records.end() ? found->second : inactiveAppAudioConfig();
}

AppAudioConfig AppAudioConfigStore::getBusConfig(std::uint32_t bus) const {
    {
        const std::lock_guard lock(mutex);
        const auto found = records.find(bus == 1 ? kBus1MasterProcessId : kBus2MasterProcessId);
        if (found != records.end()) {
            return found->second;
        }
    }
    AppAudioConfig config;
    (bus == 1 ? config.input1Enabled : config.input2Enabled) = true;
    return config;
}

std::vector<std::uint32_t> AppAudioConfigStore::allProcessIds() const {
    return idsUnderLock(mutex, records);
}

void AppAudioConfigStore::clear() {
    std::map<std::uint32_t, AppAudioConfig> old; // freed after the lock
    const std::lock_guard lock(mutex);
    records.swap(old);
}
