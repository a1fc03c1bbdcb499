#include "tests/faults/Locks.hpp"
#include "tests/faults/World.hpp"

#include <optional>
#include <system_error>

namespace faults {

namespace {

using namespace tovrintimer;

using foundation::msg_svc::exchange::IDType;

template <typename Function> std::error_code errorOf(Function function)
{
    try {
        function();
    } catch (const std::system_error& error) {
        return error.code();
    }
    return {};
}

class LockTest : public testing::Test {
protected:
    LockTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    /// One that is never due.
    WorkItem<TimerFcnWork> item() const { return { m_timer->getId(), now() + 1h, m_timer, 1 }; }

    std::size_t queued() const { return TimerSchedulerPeer::queue(m_scheduler).size(); }

    World m_world;
    const Timer m_timer = m_world.makeTimer();
    TimerScheduler& m_scheduler = World::scheduler();
};

using LockDeathTest = LockTest;

TEST_F(LockTest, AnInsertThatCannotLockTheQueueLeavesItAsItWas)
{
    m_scheduler.insertAscendingSorted(item());
    {
        const FailingLock fault(m_scheduler);
        EXPECT_EQ(errorOf([&] { m_scheduler.insertAscendingSorted(item()); }), std::errc::invalid_argument);
    }
    EXPECT_EQ(queued(), 1U);

    m_scheduler.insertAscendingSorted(item());
    EXPECT_EQ(queued(), 2U);
    m_world.serveAnother();
}

TEST_F(LockTest, AThreadStartThatCannotLockIsTriedAgainByTheNextInsert)
{
    {
        const FailingLock fault(m_scheduler);
        EXPECT_EQ(errorOf([&] { m_scheduler.insertAscendingSorted(item()); }), std::errc::invalid_argument);
    }
    EXPECT_FALSE(TimerSchedulerPeer::hasThread(m_scheduler));
    EXPECT_EQ(queued(), 0U);

    m_world.serveAnother();
}

TEST_F(LockTest, AStopThatCannotLockDiscardsAndHandsOverNothing)
{
    m_timer->setActivationStatus(true);
    m_scheduler.insertAscendingSorted(item());
    {
        const FailingLock fault(m_scheduler);
        EXPECT_EQ(
            errorOf([&] { m_scheduler.forceStopWorkAndScheduleStopFcn(m_timer); }), std::errc::invalid_argument);
    }
    {
        const FailingLock fault(m_scheduler);
        EXPECT_EQ(
            errorOf([&] { m_scheduler.forceScheduleOfErrorFcn(m_timer, true); }), std::errc::invalid_argument);
    }
    EXPECT_EQ(queued(), 1U);
    EXPECT_EQ(timerTasks().pending(), 0U);
    EXPECT_TRUE(m_timer->getIsRunning());

    m_scheduler.forceStopWorkAndScheduleStopFcn(m_timer);
    EXPECT_EQ(queued(), 0U);
    EXPECT_EQ(timerTasks().pending(), 1U);
    m_world.serveAnother();
}

TEST_F(LockTest, ACleanupThatCannotLockChangesNothingAndTheNextOneIsDone)
{
    m_scheduler.insertAscendingSorted(item());
    {
        const FailingLock fault(m_scheduler);
        EXPECT_EQ(errorOf([&] { m_scheduler.cleanup(); }), std::errc::invalid_argument);
    }
    EXPECT_EQ(queued(), 1U);
    m_world.serveAnother();

    m_scheduler.cleanup();
    EXPECT_EQ(queued(), 0U);
    EXPECT_FALSE(TimerSchedulerPeer::hasThread(m_scheduler));
}

TEST_F(LockTest, ACallbackThatCannotBeCountedIsTheHostsErrorAndIsNotEvaluated)
{
    const auto timer = m_world.makeTimer(ExecutionMode::SingleShot);
    m_scheduler.createAndStartWork(timer);
    {
        const FailingLock fault(*timer);
        EXPECT_EQ(errorOf([] { timerTasks().runNext(); }), std::errc::invalid_argument);
    }
    EXPECT_EQ(timer->getTasksExecuted(), 0.0);
    EXPECT_THAT(World::evaluated(), IsEmpty());

    m_scheduler.forceStopWorkAndScheduleStopFcn(timer);
    timerTasks().runAll();
    EXPECT_THAT(World::evaluated(), ElementsAre("feval timercb StopFcn"));
    m_world.serveAnother();
}

TEST_F(LockTest, AnItemThatCannotBeMadeDueAsItsCallbackReturnsIsDueWhenItWas)
{
    const auto timer = m_world.makeTimer(ExecutionMode::FixedRate, BusyMode::Drop, 1.0, 2);
    m_scheduler.createAndStartWork(timer);
    journal().waitFor("Contention With previous timerFcn callback,", 2); // the first one has been queued again
    {
        const FailingLock fault(m_scheduler);
        EXPECT_EQ(errorOf([] { timerTasks().runNext(); }), std::errc::invalid_argument);
    }

    journal().waitFor("processTovrinTimerTask", 2);
    EXPECT_EQ(timer->getTasksExecuted(), 1.0);
    m_scheduler.forceStopWorkAndScheduleStopFcn(timer);
    timerTasks().runAll();
    m_world.serveAnother();
}

TEST_F(LockTest, StatisticsThatCannotBeLockedAreTheCallersError)
{
    for (const auto getter :
        { &TimerInfo::getTasksExecuted, &TimerInfo::getInstantPeriod, &TimerInfo::getAveragePeriod }) {
        const FailingLock fault(*m_timer);
        EXPECT_EQ(errorOf([&] { ((*m_timer).*getter)(); }), std::errc::invalid_argument);
        EXPECT_EQ(errorOf([&] { ((*m_timer).*getter)(); }), std::error_code());
    }
}

TEST_F(LockDeathTest, ASchedulerThatCannotLockAsItIsDestroyedEndsTheProcess)
{
    const auto die = [] {
        std::optional<TimerScheduler> scheduler(std::in_place);
        const FailingLock fault(*scheduler);
        scheduler.reset();
    };

    EXPECT_DEATH(die(), "Invalid argument");
}

TEST_F(LockDeathTest, ASchedulerThreadThatCannotLockEndsTheProcess)
{
    const auto die = [this] {
        const FailingLock fault(m_scheduler, 1, FailingLock::On::OtherThreads);
        m_scheduler.insertAscendingSorted(item());
        // The thread that has failed is not joined.
        m_scheduler.cleanup();
    };

    EXPECT_DEATH(die(), "Invalid argument");
}

} // namespace

} // namespace faults
