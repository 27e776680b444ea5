// One program for each user, whatever other processes and users do to the segment.

#include "app/InstanceGuard.h"
#include "platform/UserLock.h"
#include "tests/support/LogCapture.h"

#include <QDir>
#include <QFile>
#include <QSharedMemory>
#include <QSystemSemaphore>
#include <QTemporaryDir>
#include <QUuid>

#include <algorithm>
#include <array>
#include <bit>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr uid_t kOtherUser = 65534;
const QString kRunsAlready = QStringLiteral("共享内存已存在，直接退出");

int roundsOf(int usual) {
    return std::getenv("VEXO_LONG") != nullptr ? 20 * usual : usual;
}

/// Runs `work` in a process of its own, which lives until the object ends and is killed then.
class OtherProcess {
public:
    explicit OtherProcess(const std::function<char()>& work) {
        std::array<int, 2> answer{};
        EXPECT_EQ(pipe(answer.data()), 0);
        id = fork();
        if (id == 0) {
            const char result = work();
            static_cast<void>(!write(answer[1], &result, 1));
            pause();
            _exit(0);
        }
        close(answer[1]);
        reader = answer[0];
    }
    ~OtherProcess() {
        if (id > 0) {
            kill(id, SIGKILL);
            waitpid(id, nullptr, 0);
        }
        close(reader);
    }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    /// What `work` returned; 0 where it did not come to its end.
    [[nodiscard]] char answer() const {
        char result = 0;
        return read(reader, &result, 1) == 1 ? result : '\0';
    }

private:
    pid_t id = -1;
    int reader = -1;
};

/// A private runtime folder and a shared temporary one, which has the keys of segments.
class InstanceGuardUsers : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(folder.isValid());
        ASSERT_EQ(chmod(qPrintable(folder.path()), 0711), 0);
        for (const auto& [name, mode] : {std::pair("runtime", 0700), std::pair("tmp", 01777)}) {
            ASSERT_TRUE(QDir(folder.path()).mkdir(QLatin1String(name)));
            ASSERT_EQ(chmod(qPrintable(folder.filePath(QLatin1String(name))), static_cast<mode_t>(mode)), 0);
        }
        qputenv("XDG_RUNTIME_DIR", folder.filePath("runtime").toLocal8Bit());
        qputenv("TMPDIR", folder.filePath("tmp").toLocal8Bit());
        // A file that is gone may have had the same number, and with it the same key.
        removeFromSystem();
    }
    void TearDown() override {
        removeFromSystem();
        for (const auto& [name, value] :
             {std::pair("XDG_RUNTIME_DIR", runtimeBefore), std::pair("TMPDIR", tmpBefore)}) {
            value.isNull() ? qunsetenv(name) : qputenv(name, value);
        }
    }

    [[nodiscard]] key_t systemKey(const QNativeIpcKey& nativeKey) const {
        QFile file(nativeKey.nativeKey());
        static_cast<void>(file.open(QIODevice::WriteOnly | QIODevice::Append));
        return ftok(qPrintable(nativeKey.nativeKey()), static_cast<int>(nativeKey.type()));
    }
    [[nodiscard]] key_t segmentKey() const { return systemKey(QSharedMemory::legacyNativeKey(key)); }
    [[nodiscard]] key_t semaphoreKey() const { return systemKey(QSystemSemaphore::legacyNativeKey(key)); }

    /// The semaphore of the segment, for everybody, which nobody gets past.
    [[nodiscard]] bool holdUp() const {
        const int semaphore = semget(semaphoreKey(), 1, IPC_CREAT | 0666);
        return semaphore != -1 && semctl(semaphore, 0, SETVAL, 0) == 0;
    }

    /// A process of another user that does this, once it is done.
    [[nodiscard]] std::unique_ptr<OtherProcess> byAnotherUser(const std::function<bool()>& work) {
        auto process = std::make_unique<OtherProcess>([&] {
            umask(0);
            return setgid(kOtherUser) == 0 && setuid(kOtherUser) == 0 && work() ? 'y' : 'n';
        });
        EXPECT_EQ(process->answer(), 'y');
        return process;
    }

    void removeFromSystem() const {
        shmctl(shmget(segmentKey(), 0, 0), IPC_RMID, nullptr);
        semctl(semget(semaphoreKey(), 0, 0), 0, IPC_RMID);
    }

    const QString key = QStringLiteral("VEXO_test_") + QUuid::createUuid().toString(QUuid::WithoutBraces);
    const QTemporaryDir folder{QStringLiteral("/tmp/vexo-guard-XXXXXX")};
    const QByteArray runtimeBefore = qgetenv("XDG_RUNTIME_DIR");
    const QByteArray tmpBefore = qgetenv("TMPDIR");
};

} // namespace

TEST_F(InstanceGuardUsers, OfStartsAtTheSameMomentOneRunsAlsoAfterItsCrash) {
    for (int round = 0; round < roundsOf(20); ++round) {
        std::array<int, 2> gun{};
        ASSERT_EQ(pipe(gun.data()), 0);
        std::vector<std::unique_ptr<OtherProcess>> starts;
        starts.reserve(4);
        for (int count = 0; count < 4; ++count) {
            starts.push_back(std::make_unique<OtherProcess>([&] {
                close(gun[1]);
                char byte = 0;
                static_cast<void>(!read(gun[0], &byte, 1)); // until all are there
                auto* const guard = new InstanceGuard(key); // held until the process is killed
                return guard->decide() == InstanceDecision::Run ? 'R' : 'A';
            }));
        }
        close(gun[0]);
        close(gun[1]);
        std::string answers;
        for (const auto& start : starts) {
            answers += start->answer();
        }
        ASSERT_EQ(std::ranges::count(answers, 'R'), 1) << "round " << round << ": " << answers;
        ASSERT_EQ(std::ranges::count(answers, 'A'), 3) << "round " << round << ": " << answers;
    }
}

TEST_F(InstanceGuardUsers, CleanedTemporaryFolderLetsNoSecondOneIn) {
    InstanceGuard first(key);
    ASSERT_EQ(first.decide(), InstanceDecision::Run);
    for (const QString& name : QDir(folder.filePath("tmp")).entryList(QDir::Files)) {
        ASSERT_TRUE(QFile::remove(folder.filePath("tmp/") + name));
    }
    const LogCapture log;
    InstanceGuard second(key);
    EXPECT_EQ(second.decide(), InstanceDecision::AlreadyRunning);
    EXPECT_EQ(log.texts(QtDebugMsg), QStringList(kRunsAlready));
}

TEST_F(InstanceGuardUsers, SegmentOfThisUserStopsAStartThatHasFoundAnotherFolderForItsLock) {
    InstanceGuard first(key);
    ASSERT_EQ(first.decide(), InstanceDecision::Run);
    ASSERT_TRUE(QDir(folder.path()).mkdir("other"));
    ASSERT_EQ(chmod(qPrintable(folder.filePath("other")), 0700), 0);
    qputenv("XDG_RUNTIME_DIR", folder.filePath("other").toLocal8Bit());
    InstanceGuard second(key);
    EXPECT_EQ(second.decide(), InstanceDecision::AlreadyRunning);
}

TEST_F(InstanceGuardUsers, ReleaseLetsTheNextOneIn) {
    InstanceGuard first(key);
    ASSERT_EQ(first.decide(), InstanceDecision::Run);
    first.release();
    InstanceGuard second(key);
    EXPECT_EQ(second.decide(), InstanceDecision::Run);
}

TEST_F(InstanceGuardUsers, SemaphoreThatNobodyGetsPastDoesNotHoldTheStartUp) {
    ASSERT_TRUE(holdUp());
    InstanceGuard first(key);
    EXPECT_EQ(first.decide(), InstanceDecision::Run);
    InstanceGuard second(key);
    EXPECT_EQ(second.decide(), InstanceDecision::AlreadyRunning);
}

TEST_F(InstanceGuardUsers, AnotherUsersSemaphoreAndSegmentNeitherHoldUpNorStopNorUnguard) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs a second user";
    }
    const auto squatter = byAnotherUser([&] {
        const int segment = shmget(segmentKey(), 1, IPC_CREAT | 0666);
        return holdUp() && segment != -1 && std::bit_cast<std::intptr_t>(shmat(segment, nullptr, 0)) != -1;
    });
    const LogCapture log;
    InstanceGuard first(key);
    EXPECT_EQ(first.decide(), InstanceDecision::Run);
    EXPECT_EQ(log.lines().size(), 0) << "the segment was waited for";
    InstanceGuard second(key);
    EXPECT_EQ(second.decide(), InstanceDecision::AlreadyRunning);
}

TEST_F(InstanceGuardUsers, FolderThatIsNotOursAloneTakesNoLock) {
    ASSERT_EQ(chmod(qPrintable(folder.filePath("runtime")), 0755), 0);
    qputenv("XDG_CACHE_HOME", folder.filePath("cache").toLocal8Bit());
    UserLock lock;
    const UserLock::Answer answer = lock.take("vexo-test.lock");
    qunsetenv("XDG_CACHE_HOME");
    EXPECT_EQ(answer, UserLock::Answer::Taken);
    EXPECT_FALSE(QFile::exists(folder.filePath("runtime/vexo-test.lock")));
}

TEST_F(InstanceGuardUsers, LinkAndFolderInThePlaceOfTheLockAreNotFollowed) {
    const QString target = folder.filePath("target");
    ASSERT_TRUE(QFile::link(target, folder.filePath("runtime/linked.lock")));
    ASSERT_TRUE(QDir(folder.filePath("runtime")).mkdir("folder.lock"));
    qputenv("XDG_CACHE_HOME", folder.filePath("cache").toLocal8Bit());
    for (const char* const name : {"linked.lock", "folder.lock"}) {
        UserLock lock;
        EXPECT_EQ(lock.take(name), UserLock::Answer::Taken) << name; // in the folder of caches
    }
    qunsetenv("XDG_CACHE_HOME");
    EXPECT_FALSE(QFile::exists(target));
}

TEST_F(InstanceGuardUsers, OneProcessHoldsTheLockUntilItLetsGoOrIsKilled) {
    UserLock lock;
    {
        const OtherProcess holder([] {
            auto* const other = new UserLock; // held until the process is killed
            return other->take("vexo-test.lock") == UserLock::Answer::Taken ? 'T' : 'H';
        });
        ASSERT_EQ(holder.answer(), 'T');
        EXPECT_EQ(lock.take("vexo-test.lock"), UserLock::Answer::HeldByAnother);
    }
    EXPECT_EQ(lock.take("vexo-test.lock"), UserLock::Answer::Taken);
    UserLock next;
    EXPECT_EQ(next.take("vexo-test.lock"), UserLock::Answer::HeldByAnother);
    lock.release();
    EXPECT_EQ(next.take("vexo-test.lock"), UserLock::Answer::Taken);
}
