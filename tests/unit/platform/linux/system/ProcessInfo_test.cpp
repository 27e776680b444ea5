#include "platform/linux/system/ProcessInfo.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

TEST(ProcessInfo, ChildAndGrandchildBelongToTheTreeAndTheParentDoesNot) {
    const auto own = static_cast<std::uint32_t>(getpid());
    const pid_t child = fork();
    if (child == 0) {
        pause();
        _exit(0);
    }
    EXPECT_TRUE(isInProcessTree(static_cast<std::uint32_t>(child), own));
    EXPECT_TRUE(isInProcessTree(own, own));
    EXPECT_FALSE(isInProcessTree(own, static_cast<std::uint32_t>(child)));
    EXPECT_EQ(parentProcess(static_cast<std::uint32_t>(child)), own);
    EXPECT_EQ(processImagePath(static_cast<std::uint32_t>(child)), processImagePath(own));
    EXPECT_FALSE(processFileName(own).empty());
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_FALSE(isInProcessTree(static_cast<std::uint32_t>(child), own));
}

TEST(ProcessInfo, ProcessThatIsNotThereIsNoError) {
    EXPECT_EQ(parentProcess(0xFFFFFFF0), std::nullopt);
    EXPECT_EQ(processImagePath(0xFFFFFFF0), "");
    EXPECT_EQ(processFileName(0xFFFFFFF0), "");
    EXPECT_FALSE(isInProcessTree(0xFFFFFFF0, 1));
}
