#include "mixer/router/AudioRouterAPI.h"
#include "tests/support/Await.h"
#include "tests/unit/mixer/router/AudioRouterApiFixture.h"
#include "tests/unit/mixer/router/ShutdownAtEnd.h"

#include <QCoreApplication>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>

namespace {

// Every report that waits in the event queue holds a copy of the callback and of its captures; the test and
// the router hold one each, and the level thread a few for a moment.
bool reportIsPosted(const std::shared_ptr<int>& captured) {
    return captured.use_count() > 8;
}

} // namespace

TEST_F(AudioRouterApiTest, LevelsOfSourcesAndMastersAreReportedAndExactSilenceIsNot) {
    start();
    AppAudioConfig quiet = onBothBuses(21);
    quiet.input1Volume = 0.0f;
    quiet.input2Volume = 0.0f;
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(20),
                                       quiet,
                                       onBothBuses(22),
                                       {.processID = kBus1MasterProcessId, .input1Volume = 0.5f},
                                       {.processID = kBus2MasterProcessId, .input2Volume = 0.25f}}));
    EXPECT_TRUE(api.collectLevels().empty());
    feed(20, constant(480, 0.5f, 0.0f));
    feed(21, constant(480, 0.5f, 0.5f));
    buffers.updateBusLevels();
    // (0.7 x 0.5 + 0.3 x 0.5) x 1.5 on the left, nothing on the right.
    const std::vector<AudioLevelInfo> levels = api.collectLevels();
    ASSERT_EQ(levels.size(), 3u);
    EXPECT_EQ(levels[0].processID, 20u);
    EXPECT_FLOAT_EQ(levels[0].levelLeft, 0.75f);
    EXPECT_EQ(levels[0].levelRight, 0.0f);
    EXPECT_EQ(levels[1].processID, kBus2MasterProcessId);
    EXPECT_FLOAT_EQ(levels[1].levelLeft, 0.1875f);
    EXPECT_EQ(levels[1].levelRight, 0.0f);
    EXPECT_EQ(levels[2].processID, kBus1MasterProcessId);
    EXPECT_FLOAT_EQ(levels[2].levelLeft, 0.375f);
}

TEST_F(AudioRouterApiTest, TheCallbackRunsOnTheUserInterfacesThreadWithMaps) {
    start();
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(7)}));
    feed(7, constant(480, 0.5f, 0.25f));
    QThread* caller = nullptr;
    QVariantList received;
    const ShutdownAtEnd atEnd(api);
    api.setLevelCallback([&](const QVariantList& levels) {
        caller = QThread::currentThread();
        received = levels;
    });
    ASSERT_TRUE(await([&] { return !received.isEmpty(); }));
    EXPECT_EQ(caller, QCoreApplication::instance()->thread());
    ASSERT_EQ(received.size(), 1);
    EXPECT_EQ(received.at(0).toMap().value(QStringLiteral("processID")).toUInt(), 7u);
    EXPECT_FLOAT_EQ(received.at(0).toMap().value(QStringLiteral("levelLeft")).toFloat(), 0.75f);
    EXPECT_FLOAT_EQ(received.at(0).toMap().value(QStringLiteral("levelRight")).toFloat(), 0.375f);
}

TEST_F(AudioRouterApiTest, AReportThatWasPostedBeforeTheShutdownIsDropped) {
    startWithSound();
    auto target = std::make_unique<QVariantList>(); // gone before the report runs
    bool called = false;
    const auto copies = std::make_shared<int>();
    const ShutdownAtEnd atEnd(api);
    api.setLevelCallback([&, copies](const QVariantList& levels) {
        called = true;
        if (target) {
            *target = levels;
        }
    });
    ASSERT_TRUE(awaitThread([&] { return reportIsPosted(copies); }));
    api.shutdownAudioRouter();
    target.reset();
    QCoreApplication::processEvents();
    EXPECT_FALSE(called);
    EXPECT_EQ(copies.use_count(), 1); // they were there, and went without a call
}

TEST_F(AudioRouterApiTest, AReportThatWasPostedForAnEarlierCallbackIsDropped) {
    startWithSound();
    int early = 0;
    int late = 0;
    const auto copies = std::make_shared<int>();
    const ShutdownAtEnd atEnd(api);
    api.setLevelCallback([&, copies](const QVariantList&) { ++early; });
    ASSERT_TRUE(awaitThread([&] { return reportIsPosted(copies); }));
    api.setLevelCallback([&](const QVariantList&) { ++late; });
    ASSERT_TRUE(await([&] { return late > 0; }));
    EXPECT_EQ(early, 0);
}

TEST_F(AudioRouterApiTest, ReportsComJustUnderTwentyTimesASecondOnAThreadOfTheirOwn) {
    AudioRouterAPI usual(system.platform(), store, buffers);
    ASSERT_TRUE(usual.startAudioRouter({}, {}, {}, {}));
    ASSERT_TRUE(usual.applyAudioConfigs({onBothBuses(7)}));
    feed(7, constant(480, 0.5f, 0.5f));
    std::atomic<int> reports{0};
    std::atomic<QThread*> caller{nullptr};
    using Clock = std::chrono::steady_clock;
    Clock::time_point previous; // the level thread's own
    std::atomic<Clock::duration> shortestPause{Clock::duration::max()};
    const ShutdownAtEnd atEnd(usual);
    usual.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>&) {
        const Clock::time_point now = Clock::now();
        if (reports > 0) {
            shortestPause = std::min(shortestPause.load(), now - previous);
        }
        previous = now;
        caller = QThread::currentThread();
        ++reports;
    });
    // A machine that is busy makes pauses longer: one of many is as long as it should be, and none is
    // shorter.
    using namespace std::chrono_literals;
    ASSERT_TRUE(await([&] { return reports >= 5 && shortestPause.load() < 75ms; }));
    EXPECT_GE(shortestPause.load(), 50ms);
    EXPECT_NE(caller.load(), QThread::currentThread());
}

TEST_F(AudioRouterApiTest, SilenceMakesNoCallAndSoundAfterItDoes) {
    start();
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(7)}));
    std::atomic<int> empty{0};
    std::atomic<int> reports{0};
    const ShutdownAtEnd atEnd(api);
    api.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>& levels) {
        empty += levels.empty() ? 1 : 0;
        ++reports;
    });
    // A second router that hears something counts the passes.
    std::atomic<int> passes{0};
    PerAppInputBuffers loudBuffers(store);
    AudioRouterAPI loud(system.platform(), store, loudBuffers, kShortPause);
    ASSERT_TRUE(loud.startAudioRouter({}, {}, {}, {}));
    loudBuffers.addInputData(7, constant(480, 0.5f, 0.5f).data(), 480 * 8, floatWaveFormat(2, 48000));
    loud.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>&) { ++passes; });
    ASSERT_TRUE(await([&] { return passes >= 4; }));
    EXPECT_EQ(reports, 0);
    feed(7, constant(480, 0.5f, 0.5f));
    ASSERT_TRUE(await([&] { return reports > 0; }));
    EXPECT_EQ(empty, 0);
}

TEST_F(AudioRouterApiTest, TheLevelThreadGoesOnWithAnotherCallbackAndPausesWithoutOne) {
    startWithSound();
    std::atomic<int> first{0};
    std::atomic<int> second{0};
    std::atomic<int> third{0};
    const ShutdownAtEnd atEnd(api);
    api.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>&) { ++first; });
    ASSERT_TRUE(await([&] { return first > 0; }));
    api.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>&) { ++second; });
    ASSERT_TRUE(await([&] { return second > 0; })); // no report to the first is under way any more
    const int firstAtChange = first;
    ASSERT_TRUE(await([&] { return second >= 3; }));
    EXPECT_EQ(first, firstAtChange);

    api.setLevelCallback({});
    const int secondAtPause = second;
    EXPECT_TRUE(api.isAudioRouterRunning());
    api.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>&) { ++third; });
    ASSERT_TRUE(await([&] { return third > 0; }));
    EXPECT_LE(second, secondAtPause + 1); // one may have been under way
    EXPECT_EQ(system.threadNames.take(), (Calls{"Mixer levels"}));
}

TEST_F(AudioRouterApiTest, ALevelThreadWithoutACallbackEndsAtTheShutdown) {
    startWithSound();
    std::atomic<int> reports{0};
    const ShutdownAtEnd atEnd(api);
    api.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>&) { ++reports; });
    ASSERT_TRUE(await([&] { return reports > 0; }));
    api.setNativeLevelCallback({});
    // A second router's passes tell that this one has had its own.
    std::atomic<int> passes{0};
    AudioRouterAPI other(system.platform(), store, buffers, kShortPause);
    ASSERT_TRUE(other.startAudioRouter({}, {}, {}, {}));
    other.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>&) { ++passes; });
    const int atPause = reports;
    ASSERT_TRUE(await([&] { return passes >= 3; }));
    EXPECT_LE(reports, atPause + 1);
    other.shutdownAudioRouter();
    api.shutdownAudioRouter();
    EXPECT_FALSE(api.isAudioRouterRunning());
}

TEST_F(AudioRouterApiTest, ACallbackOfAStoppedRouterStartsNoThreadNotEvenLater) {
    std::atomic<int> early{0};
    std::atomic<int> reports{0};
    const ShutdownAtEnd atEnd(api);
    api.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>&) { ++early; });
    startWithSound();
    api.shutdownAudioRouter(); // a thread would have said its name by its end
    EXPECT_TRUE(system.threadNames.take().empty());
    startWithSound();
    api.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>&) { ++reports; });
    ASSERT_TRUE(await([&] { return reports >= 2; }));
    EXPECT_EQ(early, 0);
}

TEST_F(AudioRouterApiTest, ThreadsHaveNamesForDebuggers) {
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    endpoints.add(kRender, fakeEndpoint("Point A", "{a}", 0));
    ASSERT_TRUE(api.startAudioRouter({}, {}, "{a}", "{a}"));
    api.setNativeLevelCallback([](const std::vector<AudioLevelInfo>&) {});
    Calls names;
    ASSERT_TRUE(await([&] {
        for (const std::string& name : system.threadNames.take()) {
            names.push_back(name);
        }
        return names.size() == 4;
    }));
    std::ranges::sort(names);
    EXPECT_EQ(names, (Calls{"Mixer bus 1", "Mixer bus 2", "Mixer levels", "Mixer solo"}));
}

TEST_F(AudioRouterApiTest, AnEmptyCallbackStartsNoThread) {
    start();
    api.setLevelCallback({});
    api.shutdownAudioRouter(); // a thread would have said its name by its end
    EXPECT_TRUE(system.threadNames.take().empty());
    startWithSound();
    api.setLevelCallback({});
    std::atomic<int> reports{0};
    const ShutdownAtEnd atEnd(api);
    api.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>&) { ++reports; });
    ASSERT_TRUE(await([&] { return reports > 0; }));
}
