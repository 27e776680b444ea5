#include "mixer/RouterPlatform.h"

#include <gtest/gtest.h>

TEST(SystemRouterPlatform, HasEveryMemberAndCorrectsDrift) {
    const RouterPlatform platform = systemRouterPlatform();
    EXPECT_TRUE(platform.session && platform.endpoints && platform.makeProcessCapture &&
                platform.makeOutputStream && platform.nameThisThread);
    EXPECT_TRUE(platform.correctsDrift);
}
