#include "platform/linux/sound/PulseHandles.h"

#include <gtest/gtest.h>
#include <optional>

namespace {

using namespace std::chrono_literals;

class PulseTimerTest : public testing::Test {
protected:
    void turnLoopUntil(const bool& condition) const {
        while (!condition) {
            ASSERT_GE(pa_mainloop_iterate(mainloop.get(), 1, nullptr), 0);
        }
    }

    PulseMainloopHandle mainloop{pa_mainloop_new()};
    pa_mainloop_api& api{*pa_mainloop_get_api(mainloop.get())};
};

} // namespace

TEST_F(PulseTimerTest, RunsOnceForEachStart) {
    int runs = 0;
    bool over = false;
    PulseTimer timer(api, [&runs] { ++runs; });
    PulseTimer later(api, [&over] { over = true; });
    timer.start(1ms);
    timer.start(1ms);
    EXPECT_TRUE(timer.isRunning());
    later.start(20ms);
    turnLoopUntil(over);
    EXPECT_EQ(runs, 1);
    EXPECT_FALSE(timer.isRunning());
    over = false;
    timer.start(1ms);
    later.start(20ms);
    turnLoopUntil(over);
    EXPECT_EQ(runs, 2);
}

TEST_F(PulseTimerTest, StartsItselfAgainFromItsFunction) {
    int runs = 0;
    bool over = false;
    std::optional<PulseTimer> timer;
    timer.emplace(api, [&] {
        over = ++runs == 3;
        if (!over) {
            timer->start(1ms);
        }
    });
    timer->start(1ms);
    turnLoopUntil(over);
    EXPECT_FALSE(timer->isRunning());
}

TEST_F(PulseTimerTest, DoesNotRunAfterItIsCancelledOrGone) {
    bool over = false;
    PulseTimer cancelled(api, [] { ADD_FAILURE() << "it was cancelled"; });
    std::optional<PulseTimer> gone(std::in_place, api, [] { ADD_FAILURE() << "it is gone"; });
    PulseTimer later(api, [&over] { over = true; });
    cancelled.start(1ms);
    gone->start(1ms);
    later.start(20ms);
    cancelled.cancel();
    gone.reset();
    turnLoopUntil(over);
}
