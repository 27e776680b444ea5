#include "platform/linux/system/ProcessRecords.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace {

std::string statOf(const std::string& name) {
    return "812 (" + name + ") S 17 812 812 0 -1 4194560 1 0 0 0 1 2 3 4 20 0 1 0 98765 1000 30\n";
}

constexpr std::uint64_t kNoStart = std::numeric_limits<std::uint64_t>::max();

} // namespace

TEST(ProcessRecords, NameOfAProcessHidesNothingBehindIt) {
    for (const char* const name : {"player", "", "a) R 1 (b", ") ", "x\n) S 5"}) {
        EXPECT_EQ(parentIn(statOf(name)), 17U) << name;
        EXPECT_EQ(startTimeIn(statOf(name)), 98765U) << name;
    }
}

TEST(ProcessRecords, TextThatIsNoStatSaysNothing) {
    for (const char* const text :
         {"", ")", "1 (a) S", "1 (a) S x", "1 (a) S -5 1", "1 (a) S 4294967296", "S 5"}) {
        EXPECT_FALSE(parentIn(text)) << text;
        EXPECT_EQ(startTimeIn(text), kNoStart) << text;
    }
    EXPECT_FALSE(parentIn("1 (init) S 0 1")) << "the first of all has no parent";
}

TEST(ProcessRecords, NamespaceIdsStandInOneLine) {
    EXPECT_EQ(namespaceIdsIn("Name:\tx NSpid:\t5\nNSpid:\t812\t17\t2\nNSpgid:\t3\n"),
              (std::vector<std::uint32_t>{812, 17, 2}));
    EXPECT_EQ(namespaceIdsIn("NSpid:\t12 -3 4"), (std::vector<std::uint32_t>{12}));
    EXPECT_TRUE(namespaceIdsIn("Name:\tx\n").empty());
}

TEST(ProcessRecords, FlatpakIsNamedByTheApplicationsSectionAlone) {
    EXPECT_EQ(flatpakApplicationIn("[Instance]\nname=a\n[Application]\nruntime=b\nname=org.example.Player\n"),
              "org.example.Player");
    EXPECT_EQ(flatpakApplicationIn("[Instance]\nname=a\n"), "");
}

TEST(ProcessRecords, ReplacedImageKeepsItsPath) {
    EXPECT_EQ(imagePathIn("/usr/bin/player (deleted)"), "/usr/bin/player");
    EXPECT_EQ(imagePathIn("/usr/bin/player"), "/usr/bin/player");
}

TEST(ProcessRecords, MountIsFoundByItsNumberInTheList) {
    EXPECT_EQ(mountIn("pos:\t0\nflags:\t012\nmnt_id:\t25\nino:\t7\n"), "25");
    EXPECT_EQ(mountIn("pos:\t0\nmnt_id:"), "");
    const char* const list = "251 1 0:1 / / rw - ext4 /dev/a rw\n25 1 0:2 / / rw shared:1 - tmpfs tmpfs rw\n";
    EXPECT_EQ(kindOfMountIn(list, "25"), "tmpfs");
    EXPECT_EQ(kindOfMountIn(list, "251"), "ext4");
    EXPECT_EQ(kindOfMountIn(list, "2"), "");
    EXPECT_EQ(kindOfMountIn(list, ""), "");
}
