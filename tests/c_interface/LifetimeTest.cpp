#include "tests/c_interface/HostFixture.hpp"

#include <algorithm>
#include <thread>
#include <utility>

namespace c_interface_tests {

using testing::ElementsAre;

namespace {

class LifetimeTest : public HostFixture {
protected:
    void destroyHost()
    {
        ASSERT_EQ(tovrin_host_destroy(host), TOVRIN_OK) << tovrin_last_error();
        host = 0;
    }

    void destroy(tovrin_timer timer)
    {
        ASSERT_EQ(tovrin_timer_destroy(timer), TOVRIN_OK) << tovrin_last_error();
        EXPECT_EQ(tovrin_timer_stop(timer), TOVRIN_ERROR_HANDLE);
    }
};

} // namespace

TEST_F(LifetimeTest, DestroyingARunningTimerRunsItsStopFcnFirst)
{
    TimerOptions options = tellAll({ .startDelay = 3600 });
    options.stop = [this](const tovrin_event& event) {
        story.emplace_back("StopFcn");
        EXPECT_EQ(event.end_reason, TOVRIN_DESTROYED);
        return 0;
    };
    const tovrin_timer timer = makeTimer(options);
    start(timer);
    destroy(timer);
    EXPECT_THAT(story, ElementsAre("StartFcn", "StopFcn"));
}

TEST_F(LifetimeTest, DestroyingAStoppedTimerCallsNothing)
{
    destroy(makeTimer(tellAll({})));
    EXPECT_THAT(story, ElementsAre());
}

TEST_F(LifetimeTest, ATimerCanBeDestroyedInEachOfItsCallbacks)
{
    for (const std::int32_t kind : { TOVRIN_START_FCN, TOVRIN_TIMER_FCN, TOVRIN_STOP_FCN, TOVRIN_ERROR_FCN }) {
        story.clear();
        const Function leave = [this, kind](const tovrin_event& event) {
            story.push_back(kindName(event.kind));
            if (event.kind == kind) {
                EXPECT_EQ(tovrin_timer_destroy(event.timer), TOVRIN_OK) << tovrin_last_error();
                EXPECT_STREQ(event.name, "beat") << "what an event tells stays until the callback returns";
            }
            return event.kind == TOVRIN_TIMER_FCN && kind == TOVRIN_ERROR_FCN ? 1 : 0;
        };
        const tovrin_timer timer = makeTimer({ .mode = TOVRIN_FIXED_RATE,
            .tasks = 2,
            .timer = leave,
            .start = leave,
            .stop = leave,
            .error = leave });
        start(timer);
        runToTheEnd();
        EXPECT_EQ(tovrin_timer_stop(timer), TOVRIN_ERROR_HANDLE) << kind;
        EXPECT_EQ(std::count(story.begin(), story.end(), "StopFcn"), 1) << kind;
    }
}

TEST_F(LifetimeTest, ATimerCanBeDestroyedInTheCallbackOfAnother)
{
    const tovrin_timer victim = makeTimer({ .name = "victim", .mode = TOVRIN_FIXED_RATE, .stop = tell() });
    start(victim);
    start(makeTimer({ .startDelay = 0.02, .timer = [&](const tovrin_event&) {
                         EXPECT_EQ(tovrin_timer_destroy(victim), TOVRIN_OK) << tovrin_last_error();
                         return 0;
                     } }));
    runToTheEnd();
    EXPECT_THAT(story, ElementsAre("StopFcn"));
}

TEST_F(LifetimeTest, ATimerThatIsWaitedForCanBeDestroyedMeanwhile)
{
    const tovrin_timer victim = makeTimer({ .name = "victim", .startDelay = 3600 });
    start(victim);
    start(makeTimer({ .startDelay = 0.01, .timer = [&](const tovrin_event&) {
                         EXPECT_EQ(tovrin_timer_destroy(victim), TOVRIN_OK) << tovrin_last_error();
                         return 0;
                     } }));
    std::int32_t hasEnded = 0;
    ASSERT_EQ(tovrin_timer_wait(victim, longTime, &hasEnded), TOVRIN_OK) << tovrin_last_error();
    EXPECT_EQ(hasEnded, 1);
}

TEST_F(LifetimeTest, DestroyingTheHostStopsAllTimersAndRunsTheirStopFcns)
{
    std::vector<std::int32_t> reasons;
    const Function stop = [&](const tovrin_event& event) {
        reasons.push_back(event.end_reason);
        return 0;
    };
    const tovrin_timer first = makeTimer({ .mode = TOVRIN_FIXED_RATE, .stop = stop });
    start(first);
    start(makeTimer({ .startDelay = 3600, .stop = stop }));
    makeTimer({ .stop = stop });
    destroyHost();
    EXPECT_THAT(reasons, ElementsAre(TOVRIN_SHUTDOWN, TOVRIN_SHUTDOWN));
    EXPECT_EQ(tovrin_timer_stop(first), TOVRIN_ERROR_HANDLE);
}

TEST_F(LifetimeTest, NothingBeginsWhileTheHostIsDestroyed)
{
    std::vector<std::int32_t> codes;
    tovrin_timer other = makeTimer({});
    start(makeTimer({ .startDelay = 3600, .stop = [&](const tovrin_event& event) {
                         codes.push_back(tovrin_timer_start(other));
                         EXPECT_STREQ(tovrin_last_error(),
                             "tovrin_timer_start: timer \"beat\": the host is being destroyed");
                         codes.push_back(tovrin_post(
                             event.host, [](void*) {}, nullptr));
                         EXPECT_STREQ(tovrin_last_error(), "tovrin_post: the host is being destroyed");
                         const tovrin_settings more = settings({});
                         tovrin_timer made = 0;
                         codes.push_back(tovrin_timer_create(event.host, &more, &made));
                         codes.push_back(tovrin_host_destroy(event.host));
                         EXPECT_STREQ(tovrin_last_error(),
                             "tovrin_host_destroy: the host cannot be destroyed inside one of its callbacks");
                         return 0;
                     } }));
    destroyHost();
    EXPECT_THAT(
        codes, ElementsAre(TOVRIN_ERROR_STATE, TOVRIN_ERROR_STATE, TOVRIN_ERROR_STATE, TOVRIN_ERROR_STATE));
}

TEST_F(LifetimeTest, WhatHasBeenPostedRunsBeforeTheHostHasGone)
{
    ASSERT_EQ(tovrin_post(
                  host, [](void* data) { static_cast<std::vector<std::string>*>(data)->emplace_back("posted"); },
                  &story),
        TOVRIN_OK);
    destroyHost();
    EXPECT_THAT(story, ElementsAre("posted"));
}

TEST_F(LifetimeTest, AHostCannotBeDestroyedOrAdoptedInACallback)
{
    start(makeTimer({ .timer = [this](const tovrin_event& event) {
        EXPECT_EQ(tovrin_host_destroy(event.host), TOVRIN_ERROR_STATE);
        story.emplace_back(tovrin_last_error());
        EXPECT_EQ(tovrin_host_adopt(event.host), TOVRIN_ERROR_STATE);
        story.emplace_back(tovrin_last_error());
        return 0;
    } }));
    runToTheEnd();
    EXPECT_THAT(story,
        ElementsAre("tovrin_host_destroy: the host cannot be destroyed inside one of its callbacks",
            "tovrin_host_adopt: the host's thread is in one of its functions"));
}

TEST_F(LifetimeTest, OneHostFollowsAnotherAndNoHandleComesTwice)
{
    std::vector<std::uint64_t> handles;
    for (int i = 0; i < 20; ++i) {
        const tovrin_timer timer = makeTimer({ .mode = TOVRIN_FIXED_RATE, .period = 0.001, .timer = tell() });
        start(timer);
        const std::size_t before = story.size();
        const auto done = [](void* data) -> std::int32_t {
            auto& [told, least] = *static_cast<std::pair<std::vector<std::string>&, std::size_t>*>(data);
            return told.size() >= least ? 1 : 0;
        };
        std::pair<std::vector<std::string>&, std::size_t> wanted { story, before + 2 };
        ASSERT_EQ(tovrin_run_until(host, longTime, done, &wanted, nullptr), TOVRIN_OK) << tovrin_last_error();
        handles.push_back(host);
        handles.push_back(timer);
        makeHost(hostSettings());
        EXPECT_EQ(tovrin_timer_start(timer), TOVRIN_ERROR_HANDLE);
    }
    std::sort(handles.begin(), handles.end());
    EXPECT_EQ(std::adjacent_find(handles.begin(), handles.end()), handles.end());
}

TEST_F(LifetimeTest, NothingIsCalledOnceTheHostHasGone)
{
    for (int i = 0; i < 10; ++i) {
        start(
            makeTimer({ .mode = TOVRIN_FIXED_RATE, .period = 0.001, .busyMode = TOVRIN_QUEUE, .timer = tell() }));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5)); // some of them fall due, whichever
    destroyHost();
    const std::size_t told = story.size();
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // twenty periods, in which nothing may come
    EXPECT_EQ(story.size(), told);
}

} // namespace c_interface_tests
