#include "tests/c_interface/HostFixture.hpp"

#include <thread>

namespace c_interface_tests {

using testing::ElementsAre;

namespace {

/// In real time: the library has no other. A callback that sleeps is one that takes so long; what is looked at is
/// what falls due meanwhile.
class RunsTest : public HostFixture {
protected:
    /// A callback that notes when it begins, and takes its time.
    Function noteStart(double takes = 0.0)
    {
        return [this, takes](const tovrin_event& event) {
            starts.push_back(event.steady_time);
            std::this_thread::sleep_for(std::chrono::duration<double>(takes)); // its work
            return 0;
        };
    }

    std::vector<double> gaps() const
    {
        std::vector<double> between;
        for (std::size_t i = 1; i < starts.size(); ++i) {
            between.push_back(starts[i] - starts[i - 1]);
        }
        return between;
    }

    std::vector<double> starts;
};

double steadyNow()
{
    return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
}

} // namespace

TEST_F(RunsTest, ASingleShotHasOneTimerFcnBetweenStartFcnAndStopFcn)
{
    start(makeTimer(tellAll({ .tasks = 5 })));
    runToTheEnd();
    EXPECT_THAT(story, ElementsAre("StartFcn", "TimerFcn", "StopFcn"));
}

TEST_F(RunsTest, NothingRunsBeforeTheHostIsAskedTo)
{
    start(makeTimer(tellAll({})));
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // nothing is to come that could be waited for
    EXPECT_THAT(story, ElementsAre());
    runToTheEnd();
    EXPECT_EQ(story.size(), 3U);
}

TEST_F(RunsTest, AStartDelayIsNeverShorter)
{
    const double began = steadyNow();
    start(makeTimer({ .startDelay = 0.0205, .timer = noteStart() }));
    runToTheEnd();
    ASSERT_EQ(starts.size(), 1U);
    EXPECT_GE(starts[0] - began, 0.0205);
}

TEST_F(RunsTest, EachPeriodicModeRunsItsTasksAndEnds)
{
    for (const std::int32_t mode : { TOVRIN_FIXED_SPACING, TOVRIN_FIXED_DELAY, TOVRIN_FIXED_RATE }) {
        story.clear();
        const tovrin_timer timer = makeTimer(tellAll({ .mode = mode, .tasks = 3 }));
        start(timer);
        runToTheEnd();
        EXPECT_THAT(story, ElementsAre("StartFcn", "TimerFcn", "TimerFcn", "TimerFcn", "StopFcn")) << mode;
        EXPECT_EQ(statistics(timer).end_reason, TOVRIN_TASKS_DONE);
        EXPECT_EQ(statistics(timer).tasks_executed, 3U);
    }
}

TEST_F(RunsTest, AFixedSpacingKeepsItsGapBehindTheEndOfACallback)
{
    start(makeTimer({ .mode = TOVRIN_FIXED_SPACING, .period = 0.01, .tasks = 4, .timer = noteStart(0.02) }));
    runToTheEnd();
    EXPECT_THAT(gaps(), testing::AllOf(testing::SizeIs(3), testing::Each(testing::Ge(0.03))));
}

TEST_F(RunsTest, AFixedDelayKeepsItsGapBetweenStarts)
{
    start(makeTimer({ .mode = TOVRIN_FIXED_DELAY, .period = 0.0205, .tasks = 4, .timer = noteStart(0.005) }));
    runToTheEnd();
    EXPECT_THAT(gaps(), testing::AllOf(testing::SizeIs(3), testing::Each(testing::Ge(0.0205))));
}

TEST_F(RunsTest, BusyModeDropMakesUpOnceForWhatItHasDropped)
{
    std::uint64_t missed = 0;
    const tovrin_timer timer = makeTimer(
        { .mode = TOVRIN_FIXED_RATE, .period = 0.02, .tasks = 3, .timer = [&](const tovrin_event& event) {
             missed += event.missed;
             std::this_thread::sleep_for(std::chrono::milliseconds(event.run == 1 ? 70 : 0)); // its work
             return 0;
         } });
    start(timer);
    runToTheEnd();
    EXPECT_EQ(statistics(timer).tasks_executed, 3U);
    EXPECT_GE(missed, 2U); // at 20 and 40 ms, and perhaps more
    EXPECT_EQ(statistics(timer).drops, missed);
}

TEST_F(RunsTest, BusyModeQueueRunsEachOne)
{
    const tovrin_timer timer = makeTimer({ .mode = TOVRIN_FIXED_RATE,
        .period = 0.005,
        .tasks = 4,
        .busyMode = TOVRIN_QUEUE,
        .timer = noteStart(0.02) });
    start(timer);
    runToTheEnd();
    EXPECT_EQ(starts.size(), 4U);
    EXPECT_EQ(statistics(timer).drops, 0U);
}

TEST_F(RunsTest, BusyModeErrorEndsTheRunWithStopFcnAndErrorFcn)
{
    std::string error;
    TimerOptions options
        = tellAll({ .mode = TOVRIN_FIXED_RATE, .period = 0.01, .tasks = 3, .busyMode = TOVRIN_BUSY_ERROR });
    options.timer = [this](const tovrin_event&) {
        story.emplace_back("TimerFcn");
        std::this_thread::sleep_for(std::chrono::milliseconds(60)); // its work
        return 0;
    };
    options.error = [&](const tovrin_event& event) {
        story.emplace_back("ErrorFcn");
        error = event.error;
        return 0;
    };
    const tovrin_timer timer = makeTimer(options);
    start(timer);
    runToTheEnd();
    EXPECT_THAT(story, ElementsAre("StartFcn", "TimerFcn", "StopFcn", "ErrorFcn"));
    EXPECT_EQ(error, "callback of timer \"beat\" was still running when its next run fell due");
    EXPECT_EQ(statistics(timer).end_reason, TOVRIN_OVERRUN);
}

TEST_F(RunsTest, AnEventTellsWhatItIsOf)
{
    tovrin_timer timer = 0;
    std::vector<std::uint64_t> runs;
    const double began = steadyNow();
    timer = makeTimer({ .mode = TOVRIN_FIXED_RATE,
        .tasks = 3,
        .timer =
            [&](const tovrin_event& event) {
                EXPECT_EQ(event.size, sizeof event);
                EXPECT_EQ(event.host, host);
                EXPECT_EQ(event.timer, timer);
                EXPECT_EQ(event.kind, TOVRIN_TIMER_FCN);
                EXPECT_EQ(event.end_reason, TOVRIN_NOT_ENDED);
                EXPECT_STREQ(event.name, "beat");
                EXPECT_EQ(event.error, nullptr);
                EXPECT_GE(event.lateness, 0.0);
                EXPECT_GE(event.steady_time, began);
                EXPECT_LE(event.steady_time, steadyNow());
                const auto wall = std::chrono::system_clock::now().time_since_epoch();
                EXPECT_NEAR(event.time, std::chrono::duration<double>(wall).count(), longTime);
                runs.push_back(event.run);
                return 0;
            },
        .stop =
            [&](const tovrin_event& event) {
                EXPECT_EQ(event.kind, TOVRIN_STOP_FCN);
                EXPECT_EQ(event.end_reason, TOVRIN_TASKS_DONE);
                EXPECT_EQ(event.run, 3U);
                return 0;
            } });
    start(timer);
    runToTheEnd();
    EXPECT_THAT(runs, ElementsAre(1, 2, 3));
}

TEST_F(RunsTest, AStopInACallbackIsTheEnd)
{
    TimerOptions options = tellAll({ .mode = TOVRIN_FIXED_RATE });
    options.timer = [this](const tovrin_event& event) {
        story.emplace_back("TimerFcn");
        if (event.run == 2) {
            EXPECT_EQ(tovrin_timer_stop(event.timer), TOVRIN_OK) << tovrin_last_error();
        }
        return 0;
    };
    const tovrin_timer timer = makeTimer(options);
    start(timer);
    runToTheEnd();
    EXPECT_THAT(story, ElementsAre("StartFcn", "TimerFcn", "TimerFcn", "StopFcn"));
    EXPECT_EQ(statistics(timer).end_reason, TOVRIN_STOPPED);
}

TEST_F(RunsTest, AStopBeforeTheFirstFiringLeavesStartFcnAndStopFcn)
{
    const tovrin_timer timer = makeTimer(tellAll({ .startDelay = 3600 }));
    start(timer);
    EXPECT_GT(statistics(timer).remaining, 3500);
    stop(timer);
    EXPECT_EQ(statistics(timer).is_running, 1) << "the StopFcn is to come";
    runToTheEnd();
    EXPECT_EQ(statistics(timer).is_running, 0);
    EXPECT_THAT(story, ElementsAre("StartFcn", "StopFcn"));
    EXPECT_TRUE(std::isnan(statistics(timer).remaining));
}

TEST_F(RunsTest, ATimerFcnThatWaitsForTheHostIsTheNextOne)
{
    const tovrin_timer timer = makeTimer({ .mode = TOVRIN_FIXED_RATE, .period = 60 });
    start(timer);
    EXPECT_LE(statistics(timer).remaining, 0);
    EXPECT_GT(statistics(timer).remaining, -30);
    stop(timer);
}

TEST_F(RunsTest, AStoppedTimerCanBeStartedAgain)
{
    const tovrin_timer timer = makeTimer({ .mode = TOVRIN_FIXED_DELAY, .tasks = 2, .timer = tell() });
    for (int i = 0; i < 2; ++i) {
        start(timer);
        runToTheEnd();
    }
    EXPECT_EQ(story.size(), 4U);
    EXPECT_EQ(statistics(timer).tasks_executed, 2U);
    EXPECT_EQ(statistics(timer).runs, 4U);
}

TEST_F(RunsTest, AStopOfAStoppedTimerDoesNothing)
{
    const tovrin_timer timer = makeTimer(tellAll({}));
    stop(timer);
    runToTheEnd();
    EXPECT_THAT(story, ElementsAre());
}

TEST_F(RunsTest, StatisticsTellOfPeriods)
{
    const tovrin_timer timer = makeTimer({ .mode = TOVRIN_FIXED_DELAY, .period = 0.01, .tasks = 3 });
    EXPECT_TRUE(std::isnan(statistics(timer).instant_period));
    EXPECT_TRUE(std::isnan(statistics(timer).average_period));
    EXPECT_EQ(statistics(timer).end_reason, TOVRIN_NOT_ENDED);
    start(timer);
    runToTheEnd();
    EXPECT_GE(statistics(timer).instant_period, 0.010);
    EXPECT_GE(statistics(timer).average_period, 0.010);
}

TEST_F(RunsTest, SettingsAreGivenBackAsTheyWereSet)
{
    tovrin_settings set = settings({ .name = "first",
        .mode = TOVRIN_FIXED_RATE,
        .period = 0.25,
        .tasks = 7,
        .startDelay = 0.5,
        .busyMode = TOVRIN_QUEUE,
        .stop = tell() });
    tovrin_timer timer = 0;
    ASSERT_EQ(tovrin_timer_create(host, &set, &timer), TOVRIN_OK);
    tovrin_settings got;
    got.size = sizeof got;
    ASSERT_EQ(tovrin_timer_get(timer, &got), TOVRIN_OK);
    EXPECT_STREQ(got.name, "first");
    EXPECT_EQ(got.execution_mode, TOVRIN_FIXED_RATE);
    EXPECT_EQ(got.busy_mode, TOVRIN_QUEUE);
    EXPECT_EQ(got.period, 0.25);
    EXPECT_EQ(got.start_delay, 0.5);
    EXPECT_EQ(got.tasks_to_execute, 7U);
    EXPECT_EQ(got.start_fcn.function, nullptr);
    EXPECT_EQ(got.timer_fcn.data, set.timer_fcn.data);
    EXPECT_EQ(got.stop_fcn.data, set.stop_fcn.data);

    set.name = "second";
    set.tasks_to_execute = 0;
    ASSERT_EQ(tovrin_timer_set(timer, &set), TOVRIN_OK);
    ASSERT_EQ(tovrin_timer_get(timer, &got), TOVRIN_OK);
    EXPECT_STREQ(got.name, "second");
    EXPECT_EQ(got.tasks_to_execute, 0U);
}

TEST_F(RunsTest, TimersWithoutANameAreNumbered)
{
    const tovrin_timer timer = makeTimer({ .name = nullptr });
    tovrin_settings got;
    got.size = sizeof got;
    ASSERT_EQ(tovrin_timer_get(timer, &got), TOVRIN_OK);
    EXPECT_STREQ(got.name, "timer-1");
}

TEST_F(RunsTest, ANewPeriodAndNewCallbacksHoldFromTheNextOneOn)
{
    tovrin_settings changed = settings(
        { .name = nullptr, .mode = TOVRIN_FIXED_SPACING, .tasks = 3, .timer = [this](const tovrin_event&) {
             story.emplace_back("new");
             return 0;
         } });
    const tovrin_timer timer = makeTimer(
        { .mode = TOVRIN_FIXED_SPACING, .period = 0.001, .tasks = 3, .timer = [&](const tovrin_event& event) {
             story.emplace_back("old");
             EXPECT_EQ(tovrin_timer_set(event.timer, &changed), TOVRIN_OK) << tovrin_last_error();
             return 0;
         } });
    start(timer);
    runToTheEnd();
    EXPECT_THAT(story, ElementsAre("old", "new", "new"));
}

TEST_F(RunsTest, ATooLongBacklogIsToldOf)
{
    tovrin_host_settings few = hostSettings();
    few.max_backlog = 3;
    makeHost(few);
    std::string error;
    const tovrin_timer timer = makeTimer({ .mode = TOVRIN_FIXED_RATE,
        .period = 0.001,
        .busyMode = TOVRIN_QUEUE,
        .error = [&](const tovrin_event& event) {
            error = event.error;
            return 0;
        } });
    start(timer);
    std::this_thread::sleep_for(std::chrono::milliseconds(50)); // the backlog grows while nobody looks
    runToTheEnd();
    EXPECT_THAT(error, testing::StartsWith("more than 3 of its callbacks are waiting to run"));
    EXPECT_EQ(statistics(timer).end_reason, TOVRIN_OVERRUN);
}

} // namespace c_interface_tests
