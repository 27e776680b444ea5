// The store of the events when its process is killed in the middle of its work.

#include "cloud/DataTrackerManager.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/cloud/OtherProgram.h"

#include <QTemporaryDir>

#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Stores events without an end and writes a byte for each that is stored. In the child process.
[[noreturn]] void storeUntilKilled(const QString& path, int output) {
    DataTrackerManager store(path);
    for (int number = 0;; ++number) {
        store.storeEvent("m", "i", "t", QString::number(number), "2025-08-01 17:30:00", "software", "N/A");
        if (::write(output, "+", 1) != 1) {
            ::_exit(1);
        }
    }
}

/// Kills a process that stores events, at any moment after its first one. The number of events that it has
/// told as stored.
int storeAndKill(const QString& path, int delayUs) {
    int ends[2];
    EXPECT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(ends[0]);
        storeUntilKilled(path, ends[1]);
    }
    ::close(ends[1]);
    char bytes[4096];
    ssize_t count = ::read(ends[0], bytes, 1);
    int told = static_cast<int>(count);
    // Only the moment of the kill; nothing is awaited by it.
    ::usleep(static_cast<useconds_t>(delayUs));
    ::kill(child, SIGKILL);
    while ((count = ::read(ends[0], bytes, sizeof bytes)) > 0) {
        told += static_cast<int>(count);
    }
    ::close(ends[0]);
    ::waitpid(child, nullptr, 0);
    return told;
}

TEST(EventStoreKills, AKilledProcessLosesNothingThatItHasStored) {
    const LogCapture log;
    const QTemporaryDir folder;
    constexpr int kKills = 200;
    int told = 0;
    for (int kill = 0; kill < kKills; ++kill) {
        told += storeAndKill(folder.filePath("data"), (kill % 20) * 500);
        const OtherProgram other(folder.filePath("data/data_tracking.db"));
        ASSERT_EQ(OtherProgram::ask("PRAGMA integrity_check"), "ok");
        const int stored = OtherProgram::ask("SELECT COUNT(*) FROM events").toInt();
        ASSERT_GE(stored, told);
        // The last event of each process may be stored and not told.
        ASSERT_LE(stored, told + kill + 1);
    }
    const DataTrackerManager manager(folder.filePath("data"));
    EXPECT_GT(manager.countEvents(), kKills);
}

} // namespace
