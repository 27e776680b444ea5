// What the store asks of the disk: how often, and in which order.

#include "app/SettingsManager.h"

#include <QCoreApplication>
#include <QString>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <sys/stat.h>

namespace {

/// The calls that wait for the disk and the replacement of files, in order: f, r, d for file, replacement,
/// folder.
std::string diskCalls;

void noteSync(int descriptor) {
    struct stat state{};
    if (fstat(descriptor, &state) == 0) {
        diskCalls += S_ISDIR(state.st_mode) ? 'd' : 'f';
    }
}

/// QSettings waits for its lock file, too.
bool wroteOnce() {
    return std::regex_match(diskCalls, std::regex("f+rd"));
}

} // namespace

// These stand before the system's functions of these names.
extern "C" int fsync(int descriptor) {
    noteSync(descriptor);
    return reinterpret_cast<decltype(&fsync)>(dlsym(RTLD_NEXT, "fsync"))(descriptor);
}

extern "C" int fdatasync(int descriptor) {
    noteSync(descriptor);
    return reinterpret_cast<decltype(&fdatasync)>(dlsym(RTLD_NEXT, "fdatasync"))(descriptor);
}

extern "C" int rename(const char* from, const char* to) noexcept {
    diskCalls += 'r';
    return reinterpret_cast<decltype(&rename)>(dlsym(RTLD_NEXT, "rename"))(from, to);
}

TEST(SettingsDiskTest, FileIsOnTheDiskBeforeItReplacesTheOldOneAndTheFolderAfterwards) {
    SettingsManager store;
    store.setValue("volume", 1);
    store.sync();
    diskCalls.clear();
    store.setValue("volume", 2);
    store.sync();
    EXPECT_TRUE(wroteOnce()) << diskCalls;
    diskCalls.clear();
    store.sync();
    EXPECT_EQ(diskCalls, "") << "written without a change";
    store.clear();
}

TEST(SettingsDiskTest, WhatOneTurnChangesIsWrittenTogether) {
    SettingsManager store;
    store.setValue("volume", 1);
    store.sync();
    diskCalls.clear();
    for (int key = 0; key < 50; ++key) {
        store.setValue(QStringLiteral("key%1").arg(key), key);
    }
    EXPECT_EQ(diskCalls, "");
    QCoreApplication::processEvents();
    EXPECT_TRUE(wroteOnce()) << diskCalls;
    store.clear();
}
