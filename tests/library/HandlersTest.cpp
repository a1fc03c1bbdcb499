#include "tests/library/LibraryTest.hpp"

#include "timer_src/main/handlers/ErrorFcnWorkItemHandlerStrategy.hpp"
#include "timer_src/main/handlers/StartFcnWorkItemHandlerStrategy.hpp"
#include "timer_src/main/handlers/StopFcnWorkItemHandlerStrategy.hpp"

#include <type_traits>

namespace tovrintimer {

namespace {

static_assert(std::is_empty_v<StartFcnWorkItemHandlerStrategy>);
static_assert(std::is_empty_v<StopFcnWorkItemHandlerStrategy>);
static_assert(std::is_empty_v<ErrorFcnWorkItemHandlerStrategy>);

/// The handlers of the StartFcn, the StopFcn and the ErrorFcn.
class HandlersTest : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        keepQueueStill();
    }

    const StartFcnWorkItemHandlerStrategy m_start {};
    const StopFcnWorkItemHandlerStrategy m_stop {};
    const ErrorFcnWorkItemHandlerStrategy m_error {};
};

TEST_F(HandlersTest, AStartFcnIsHandedOverBeforeTheFirstTimerFcnIsQueued)
{
    const auto timer = makeFullTimer();
    timer->setActivationStatus(true);

    m_start.handle(startFcn(timer), *timer);

    EXPECT_THAT(story(),
        ElementsAre("Requesting StartFcn Processing", "processTovrinTimerTask",
            "Request to Start Work with Id: <A> for TimerFcn to execute @<time>",
            "Requesting lk @insertAscendingSorted", "End of life for lk @insertAscendingSorted"));

    journal().clearEvents();
    timerTasks().runNext();
    EXPECT_THAT(story(), ElementsAre("Processing StartFcn Callback", "feval timercb StartFcn"));
}

TEST_F(HandlersTest, AnEmptyStartFcnIsSkippedAndTheTimerStillStarts)
{
    const auto timer = makeTimer();
    timer->setActivationStatus(true);
    timer->setStartDelay(7000.0);

    const DueTime before = now();
    m_start.handle(startFcn(timer), *timer);
    const DueTime after = now();

    EXPECT_THAT(story(),
        ElementsAre("Skipping StartFcn scheduling, since it's empty",
            "Request to Start Work with Id: <A> for TimerFcn to execute @<time>",
            "Requesting lk @insertAscendingSorted", "End of life for lk @insertAscendingSorted"));
    ASSERT_EQ(queue().size(), 1U);
    EXPECT_GE(queue()[0].due, before + 7000ms);
    EXPECT_LE(queue()[0].due, after + 7000ms);
}

TEST_F(HandlersTest, TheStartFcnOfAStoppedTimerIsHandedOverWithoutATimerFcnAfterIt)
{
    const auto timer = makeFullTimer();

    m_start.handle(startFcn(timer), *timer);

    EXPECT_THAT(story(), ElementsAre("Requesting StartFcn Processing", "processTovrinTimerTask"));
    EXPECT_THAT(queue(), IsEmpty());
    EXPECT_FALSE(timer->getIsRunning());
}

TEST_F(HandlersTest, AnEmptyStopFcnEndsTheRunAndPostsNoCallback)
{
    const auto timer = makeTimer();
    timer->setActivationStatus(true);

    m_stop.handle(stopFcn(timer), *timer);

    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_THAT(story(), ElementsAre("evalAsync if(1==1), end", "Skipping StopFcn scheduling, since it's empty"));
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(HandlersTest, AStopFcnEndsTheRunRightBeforeItsCallback)
{
    const auto timer = makeFullTimer();
    timer->setActivationStatus(true);
    bool runningAtCallback = true;
    journal().once("feval timercb StopFcn", [&] { runningAtCallback = timer->getIsRunning(); });

    m_stop.handle(stopFcn(timer), *timer);
    EXPECT_TRUE(timer->getIsRunning());
    EXPECT_THAT(story(), ElementsAre("Requesting StopFcn Processing", "processTovrinTimerTask"));
    journal().clearEvents();
    timerTasks().runNext();

    EXPECT_FALSE(runningAtCallback);
    EXPECT_THAT(story(), ElementsAre("evalAsync if(1==1), end", "feval timercb StopFcn"));
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(HandlersTest, AnEmptyErrorFcnIsOnlyLogged)
{
    const auto timer = makeTimer();
    timer->setActivationStatus(true);

    m_error.handle(errorFcn(timer), *timer);

    EXPECT_THAT(story(), ElementsAre("Skipping ErrorFcn scheduling, since it's empty"));
    EXPECT_TRUE(timer->getIsRunning());
}

TEST_F(HandlersTest, AnErrorFcnLeavesTheTimerRunning)
{
    const auto timer = makeFullTimer();
    timer->setActivationStatus(true);

    m_error.handle(errorFcn(timer), *timer);
    timerTasks().runNext();

    EXPECT_THAT(story(),
        ElementsAre("Requesting ErrorFcn Processing", "processTovrinTimerTask", "Processing ErrorFcn Callback",
            "feval timercb ErrorFcn"));
    EXPECT_TRUE(timer->getIsRunning());
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(HandlersTest, HandlersWriteOrdinaryRecordsToTheirOwnChannel)
{
    const auto timer = makeTimer();

    m_start.handle(startFcn(timer), *timer);
    m_stop.handle(stopFcn(timer), *timer);
    m_error.handle(errorFcn(timer), *timer);

    EXPECT_THAT(logs("tovrintimer::workHandler"),
        ElementsAre("Skipping StartFcn scheduling, since it's empty",
            "Skipping StopFcn scheduling, since it's empty", "Skipping ErrorFcn scheduling, since it's empty"));
    for (const auto& event : journal().events()) {
        if (event.kind == recording::Kind::Log) {
            EXPECT_EQ(event.severity, 4U) << event.text;
        }
    }
}

} // namespace

} // namespace tovrintimer
