#include "tests/library/LibraryTest.hpp"

#include "timer_src/main/handlers/Dispatch.hpp"

namespace tovrintimer {

namespace {

class DispatchTest : public LibraryTest { };

TEST_F(DispatchTest, EachAlternativeReachesTheHandlerOfItsKind)
{
    keepQueueStill();
    const auto timer = makeFullTimer();

    dispatch(WorkItemVariant(startFcn(timer)), nullptr);
    dispatch(WorkItemVariant(stopFcn(timer)), nullptr);
    dispatch(WorkItemVariant(timerFcn(timer)), nullptr);
    dispatch(WorkItemVariant(errorFcn(timer)), nullptr);

    EXPECT_THAT(logs("tovrintimer::workHandler"),
        ElementsAre("Requesting StartFcn Processing", "Requesting StopFcn Processing",
            "Requesting SingleShot Processing", "Requesting ErrorFcn Processing"));
    timerTasks().runAll();
    EXPECT_THAT(calls(),
        ElementsAre("processTovrinTimerTask", "processTovrinTimerTask", "processTovrinTimerTask",
            "processTovrinTimerTask", "feval timercb StartFcn", "evalAsync if(1==1), end", "feval timercb StopFcn",
            "feval timercb TimerFcn", "feval timercb ErrorFcn"));
}

TEST_F(DispatchTest, WorkOfADestroyedTimerDoesNothingWhateverItsKind)
{
    keepQueueStill();
    auto timer = makeFullTimer();
    const std::vector<WorkItemVariant> work { startFcn(timer), stopFcn(timer), timerFcn(timer), errorFcn(timer) };
    timer.reset();
    journal().clearEvents();

    for (const WorkItemVariant& item : work) {
        dispatch(WorkItemVariant(item), nullptr);
    }

    EXPECT_THAT(everything(), IsEmpty());
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(DispatchTest, AnUnknownExecutionModeRunsNoHandler)
{
    keepQueueStill();
    const auto timer = makeFullTimer();
    for (const size_t mode : { size_t { 4 }, size_t { 5 }, size_t { 1000 }, size_t { 0xffff'ffff } }) {
        timer->setExecutionMode(mode);
        dispatch(timerFcn(timer), nullptr);
    }

    EXPECT_THAT(everything(), IsEmpty());
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(DispatchTest, TheExecutionModeDoesNotMatterToTheOtherKinds)
{
    const auto timer = makeFullTimer();
    timer->setExecutionMode(4);

    dispatch(stopFcn(timer), nullptr);
    dispatch(errorFcn(timer), nullptr);

    EXPECT_THAT(calls(), ElementsAre("processTovrinTimerTask", "processTovrinTimerTask"));
}

TEST_F(DispatchTest, ATimerLivesUntilItsTimerFcnHandlerHasReturned)
{
    auto timer = makeTimer();
    const std::weak_ptr<TimerInfo> handle = timer;
    bool aliveAfterLastOwner = false;
    bool aliveAtTheEnd = false;
    journal().once("processTovrinTimerTask", [&] {
        timer.reset();
        aliveAfterLastOwner = !handle.expired();
    });
    auto reads = std::make_shared<int>(0);
    journal().when("Feature::get TIMER_PPE", [&, reads] {
        ++*reads;
        aliveAtTheEnd = *reads == 2 && !handle.expired();
    });

    dispatch(timerFcn(timer), nullptr);

    EXPECT_TRUE(aliveAfterLastOwner);
    EXPECT_TRUE(aliveAtTheEnd);
    EXPECT_TRUE(handle.expired());
}

} // namespace

} // namespace tovrintimer
