#include "tests/library/LibraryTest.hpp"

#include "timer_src/main/handlers/SingleShotTimerFcnWorkItemHandlerStrategy.hpp"

namespace tovrintimer {

namespace {

static_assert(std::is_empty_v<SingleShotTimerFcnWorkItemHandlerStrategy>);

class SingleShotTest : public LibraryTest {
protected:
    static constexpr auto request = "Requesting SingleShot Processing";
    static constexpr auto processing = "Processing SingleShot Callback";
    static constexpr auto wakeUp = "evalAsync if(1==1), end";

    const SingleShotTimerFcnWorkItemHandlerStrategy m_handler {};
};

TEST_F(SingleShotTest, TheHandlerHandsTheCallbackOverAndQueuesNothing)
{
    keepQueueStill();
    const auto timer = makeFullTimer();
    timer->setActivationStatus(true);

    m_handler.handle(timerFcn(timer), *timer);

    EXPECT_THAT(story(), ElementsAre(request, "processTovrinTimerTask"));
    EXPECT_THAT(queue(), IsEmpty());
    EXPECT_EQ(timer->getTasksExecuted(), 0.0);
}

TEST_F(SingleShotTest, WithoutStopFcnTheRunEndsRightAfterTheCallback)
{
    const auto timer = makeTimer();

    scheduler().createAndStartWork(timer);
    journal().clearEvents();
    timerTasks().runNext();

    // The flag is cleared twice.
    EXPECT_THAT(story(), ElementsAre(processing, "feval timercb TimerFcn", wakeUp, wakeUp));
    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_THAT(queue(), IsEmpty());
    EXPECT_EQ(timer->getTasksExecuted(), 1.0);
}

TEST_F(SingleShotTest, AStopFcnIsQueuedOnceAfterTheCallbackDueAtThatMoment)
{
    keepQueueStill();
    const auto timer = makeFullTimer();
    timer->setStartFcnIsEmpty(true);
    scheduler().createAndStartWork(timer);
    journal().clearEvents();
    DueTime atCallback {};
    std::size_t queuedAtCallback = 1;
    journal().once("feval timercb TimerFcn", [&] {
        queuedAtCallback = queue().size();
        atCallback = now();
    });

    timerTasks().runNext();
    const DueTime after = now();

    EXPECT_EQ(queuedAtCallback, 0U);
    ASSERT_EQ(queue().size(), 1U);
    EXPECT_EQ(queue()[0].kind, StopFcnWork);
    EXPECT_EQ(queue()[0].timer, "<A>");
    EXPECT_GE(queue()[0].due, atCallback);
    EXPECT_LE(queue()[0].due, after);
    EXPECT_TRUE(timer->getIsRunning());
    EXPECT_THAT(story(),
        ElementsAre(processing, "feval timercb TimerFcn",
            "Request to Start Work with Id: <A> for StopFcn to execute @<time>",
            "Requesting lk @insertAscendingSorted", "End of life for lk @insertAscendingSorted"));
}

TEST_F(SingleShotTest, AWholeRunGoesFromTheStartFcnToTheStopFcn)
{
    const auto timer = makeFullTimer();
    timer->setStartDelay(3.0);

    scheduler().createAndStartWork(timer);
    timerTasks().runNext();
    journal().waitFor("processTovrinTimerTask", 2);
    timerTasks().runNext();
    journal().waitFor("processTovrinTimerTask", 3);
    EXPECT_TRUE(timer->getIsRunning());
    timerTasks().runNext();
    waitForDispatches(2);

    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_EQ(timerTasks().pending(), 0U);
    EXPECT_EQ(timer->getTasksExecuted(), 1.0);
    std::vector<std::string> evaluated = calls();
    std::erase_if(evaluated, [](const std::string& call) { return !call.starts_with("feval"); });
    EXPECT_THAT(
        evaluated, ElementsAre("feval timercb StartFcn", "feval timercb TimerFcn", "feval timercb StopFcn"));
    EXPECT_EQ(journal().count(wakeUp), 1U);
}

TEST_F(SingleShotTest, TheNumberOfTasksPlaysNoPart)
{
    for (const size_t tasks : { size_t { 0 }, size_t { 5 }, std::numeric_limits<size_t>::max() }) {
        const auto timer = makeTimer();
        timer->setNumOfTasksToExecute(tasks);
        journal().clearEvents();

        scheduler().createAndStartWork(timer);
        timerTasks().runAll();

        EXPECT_EQ(journal().count("feval timercb TimerFcn"), 1U);
        EXPECT_EQ(timer->getTasksExecuted(), 1.0);
        EXPECT_FALSE(timer->getIsRunning());
        EXPECT_THAT(queue(), IsEmpty());
    }
}

TEST_F(SingleShotTest, TheRunIsCountedOnceAndBeforeTheCallbackAndItsRequest)
{
    const auto timer = makeTimer();
    scheduler().createAndStartWork(timer);
    double atRequest = -1;
    double atCallback = -1;
    journal().once("createRequestID", [&] { atRequest = timer->getTasksExecuted(); });
    journal().once("feval", [&] { atCallback = timer->getTasksExecuted(); });

    timerTasks().runNext();

    EXPECT_EQ(atRequest, 1.0);
    EXPECT_EQ(atCallback, 1.0);
    EXPECT_EQ(timer->getTasksExecuted(), 1.0);
}

TEST_F(SingleShotTest, ATimerThatIsStoppedDuringItsCallbackGetsNoStopFcn)
{
    keepQueueStill();
    const auto timer = makeFullTimer();
    timer->setStartFcnIsEmpty(true);
    scheduler().createAndStartWork(timer);
    journal().once("feval timercb TimerFcn", [&] { timer->setActivationStatus(false); });
    journal().clearEvents();

    timerTasks().runNext();

    EXPECT_THAT(queue(), IsEmpty());
    EXPECT_THAT(story(), ElementsAre(processing, "feval timercb TimerFcn", wakeUp));
}

TEST_F(SingleShotTest, ATimerThatLosesItsStopFcnDuringItsCallbackEndsThere)
{
    const auto timer = makeFullTimer();
    timer->setStartFcnIsEmpty(true);
    scheduler().createAndStartWork(timer);
    journal().once("feval timercb TimerFcn", [&] { timer->setStopFcnIsEmpty(true); });

    timerTasks().runNext();

    EXPECT_FALSE(timer->getIsRunning());
}

TEST_F(SingleShotTest, AnErrorOfTheCallbackSkipsTheEndOfTheRun)
{
    keepQueueStill();
    const auto timer = makeFullTimer();
    timer->setStartFcnIsEmpty(true);
    m_engine->setOutcome(Outcome::Error);
    scheduler().createAndStartWork(timer);

    EXPECT_THROW(timerTasks().runNext(), recording::CallbackError);

    EXPECT_TRUE(timer->getIsRunning());
    EXPECT_THAT(queue(), IsEmpty());
    EXPECT_EQ(timer->getTasksExecuted(), 1.0);
}

} // namespace

} // namespace tovrintimer
