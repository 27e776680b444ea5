#include "platform/routerAudio/AppAudioConfigStore.h"

#include <utility>

AppAudioConfigStore& AppAudioConfigStore::instance() {
    static auto* const store = new AppAudioConfigStore;
    return *store;
}

void AppAudioConfigStore::putConfig(std::uint32_t processID, const AppAudioConfig& record) {
    const std::lock_guard lock(mutex);
    records.insert_or_assign(processID, record);
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
    const std::lock_guard lock(mutex);
    std::vector<std::uint32_t> ids;
    ids.reserve(records.size());
    for (const auto& [processID, record] : records) {
        ids.push_back(processID);
    }
    return ids;
}

void AppAudioConfigStore::clear() {
    std::map<std::uint32_t, AppAudioConfig> old;
    const std::lock_guard lock(mutex);
    records.swap(old);
}
