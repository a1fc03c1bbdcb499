#include "tests/library/PeriodicTest.hpp"

#include "embedded_host/services/ProcessScope.hpp"
#include "tests/faults/Locks.hpp"
#include "timer_src/main/TimerObserver.hpp"
#include "timer_src/main/handlers/Dispatch.hpp"

#include <map>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace tovrintimer {

namespace {

const char* nameOf(DropReason why)
{
    switch (why) {
    case DropReason::BusyModeDrop:
        return "BusyModeDrop";
    case DropReason::BusyModeError:
        return "BusyModeError";
    case DropReason::NoSuchMode:
        return "NoSuchMode";
    case DropReason::NoCallback:
        return "NoCallback";
    case DropReason::TimerGone:
        return "TimerGone";
    case DropReason::TimerNotRunning:
        return "TimerNotRunning";
    case DropReason::RemovedByStop:
        return "RemovedByStop";
    case DropReason::DiscardedByShutdown:
        return "DiscardedByShutdown";
    case DropReason::NotQueued:
        return "NotQueued";
    case DropReason::NotHandedOver:
        return "NotHandedOver";
    }
    return "?";
}

/// Writes down what it is told, and where that is not as it should be: whoever tells holds no lock of the
/// scheduler. Numbers are told as 1, 2, 3 in the order in which they come.
class Listener final : public TimerObserver {
public:
    void queued(const ObservedWork& work) noexcept override { note("queued", work); }
    void dispatched(const ObservedWork& work) noexcept override { note("dispatched", work); }
    void handedOver(const ObservedWork& work) noexcept override { note("handedOver", work); }
    void dropped(const ObservedWork& work, DropReason why) noexcept override { note(nameOf(why), work); }

    std::vector<std::string> told() const
    {
        const std::lock_guard lock(m_mutex);
        return m_told;
    }

    std::vector<ObservedWork> works() const
    {
        const std::lock_guard lock(m_mutex);
        return m_works;
    }

private:
    std::string numberOf(std::uint64_t number)
    {
        return number == 0 ? "0"
                           : std::to_string(m_numbers.try_emplace(number, m_numbers.size() + 1).first->second);
    }

    /// As another thread finds it.
    static bool isSchedulerLocked()
    {
        bool isLocked = false;
        std::thread([&isLocked] {
            const Lock lock(
                TimerSchedulerPeer::mutex(*TimerScheduler::getPerTOVRINProcessInstance()), std::try_to_lock);
            isLocked = !lock.owns_lock();
        }).join();
        return isLocked;
    }

    void note(const std::string& event, const ObservedWork& work)
    {
        const bool isLocked = isSchedulerLocked();
        const std::lock_guard lock(m_mutex);
        std::string text = numberOf(work.number) + " ";
        text += fl::i18n::to_string(kindName(work.kind).wide);
        text += " " + event;
        if (work.insteadOf != 0) {
            text += " instead of " + numberOf(work.insteadOf);
        }
        text += isLocked ? " under the lock" : "";
        m_told.push_back(text);
        m_works.push_back(work);
    }

    mutable std::mutex m_mutex;
    std::map<std::uint64_t, std::size_t> m_numbers; // guarded by m_mutex, like what follows
    std::vector<std::string> m_told;
    std::vector<ObservedWork> m_works;
};

class ObserverTest : public PeriodicTest {
protected:
    void SetUp() override
    {
        PeriodicTest::SetUp();
        keepQueueStill();
        TimerScheduler::setObserver(&m_observer);
    }

    void TearDown() override
    {
        TimerScheduler::setObserver(nullptr);
        PeriodicTest::TearDown();
    }

    std::shared_ptr<TimerInfo> makeRateTimer(BusyMode busyMode)
    {
        auto timer = makePeriodicTimer(ExecutionMode::FixedRate, 5);
        timer->setBusyMode(static_cast<size_t>(busyMode));
        return timer;
    }

    Listener m_observer;
};

TEST_F(ObserverTest, APieceOfWorkKeepsItsNumberFromTheQueueToTheHandOver)
{
    const auto timer = makeRateTimer(BusyMode::Queue);
    timer->setStartDelay(aLongPeriod);

    scheduler().createAndStartWork(timer);
    const DueTime due = queue()[0].due;
    dispatchNext();

    EXPECT_THAT(m_observer.told(),
        ElementsAre("1 TimerFcn queued", "1 TimerFcn dispatched", "1 TimerFcn handedOver", "2 TimerFcn queued"));
    for (const ObservedWork& work : m_observer.works()) {
        EXPECT_FALSE(work.timer < timer->getId() || timer->getId() < work.timer);
        EXPECT_EQ(work.insteadOf, 0U);
        EXPECT_TRUE(work.wasQueued);
    }
    EXPECT_EQ(m_observer.works()[2].due, due);
}

TEST_F(ObserverTest, WorkThatIsForcedPastTheQueueBeginsWithItsDispatch)
{
    const auto timer = makeFullTimer();

    scheduler().createAndStartWork(timer);
    scheduler().forceScheduleOfErrorFcn(timer, true);

    EXPECT_THAT(m_observer.told(),
        ElementsAre("1 StartFcn dispatched", "1 StartFcn handedOver", "2 TimerFcn queued",
            "2 TimerFcn RemovedByStop", "3 ErrorFcn dispatched", "3 ErrorFcn handedOver", "4 StopFcn dispatched",
            "4 StopFcn handedOver"));
    for (const ObservedWork& work : m_observer.works()) {
        EXPECT_EQ(work.wasQueued, work.kind == TimerFcnWork);
    }
}

TEST_F(ObserverTest, AFiringThatIsDroppedIsMadeUpForByTheNextAttempt)
{
    const auto timer = makeRateTimer(BusyMode::Drop);
    scheduler().createAndStartWork(timer);

    dispatchNext();
    dispatchNext();
    timerTasks().runNext();
    dispatchNext();

    EXPECT_THAT(m_observer.told(),
        ElementsAre("1 TimerFcn dispatched", "1 TimerFcn handedOver", "2 TimerFcn queued", "2 TimerFcn dispatched",
            "2 TimerFcn BusyModeDrop", "3 TimerFcn queued instead of 2", "3 TimerFcn dispatched instead of 2",
            "3 TimerFcn BusyModeDrop instead of 2", "4 TimerFcn queued instead of 3",
            "4 TimerFcn dispatched instead of 3", "4 TimerFcn handedOver instead of 3", "5 TimerFcn queued"));
}

TEST_F(ObserverTest, BusyModeErrorDropsTheFiringBeforeItQueuesWhatEndsTheRun)
{
    const auto timer = makeRateTimer(BusyMode::Error);
    timer->setErrorFcnIsEmpty(false);
    timer->setStopFcnIsEmpty(false);
    scheduler().createAndStartWork(timer);

    dispatchNext();

    EXPECT_THAT(m_observer.told(),
        ElementsAre("1 TimerFcn dispatched", "1 TimerFcn handedOver", "2 TimerFcn queued", "2 TimerFcn dispatched",
            "2 TimerFcn BusyModeError", "3 StopFcn queued", "4 ErrorFcn queued"));
}

TEST_F(ObserverTest, AModeThatDoesNotExistDropsTheFiring)
{
    const auto timer = makeRateTimer(BusyMode::Drop);
    scheduler().createAndStartWork(timer);
    timer->setBusyMode(7);
    dispatchNext();
    timer->setExecutionMode(7);
    dispatch(timerFcn(timer), nullptr);

    EXPECT_THAT(m_observer.told(),
        ElementsAre("1 TimerFcn dispatched", "1 TimerFcn handedOver", "2 TimerFcn queued", "2 TimerFcn dispatched",
            "2 TimerFcn NoSuchMode", "3 TimerFcn dispatched", "3 TimerFcn NoSuchMode"));
}

TEST_F(ObserverTest, AFunctionThatATimerDoesNotHaveIsNotCalled)
{
    const auto timer = makeTimer();

    dispatch(startFcn(timer), nullptr);
    dispatch(stopFcn(timer), nullptr);
    dispatch(errorFcn(timer), nullptr);

    EXPECT_THAT(m_observer.told(),
        ElementsAre("1 StartFcn dispatched", "1 StartFcn NoCallback", "2 TimerFcn TimerNotRunning",
            "3 StopFcn dispatched", "3 StopFcn NoCallback", "4 ErrorFcn dispatched", "4 ErrorFcn NoCallback"));
}

TEST_F(ObserverTest, WorkOfADestroyedTimerIsDroppedAsItIsDispatched)
{
    auto timer = makeTimer();
    const IDType id = timer->getId();
    scheduler().insertAscendingSorted(timerFcn(timer, past()));
    timer.reset();

    dispatchNext();

    ASSERT_THAT(
        m_observer.told(), ElementsAre("1 TimerFcn queued", "1 TimerFcn dispatched", "1 TimerFcn TimerGone"));
    EXPECT_FALSE(m_observer.works()[2].timer < id || id < m_observer.works()[2].timer);
}

TEST_F(ObserverTest, TheShutdownDiscardsWhatIsQueuedTheSoonestFirst)
{
    const auto timer = makeTimer();
    const DueTime due = farOff();
    scheduler().insertAscendingSorted(stopFcn(timer, due + 1ms));
    scheduler().insertAscendingSorted(timerFcn(timer, due));

    scheduler().cleanup();

    EXPECT_THAT(m_observer.told(),
        ElementsAre("1 StopFcn queued", "2 TimerFcn queued", "2 TimerFcn DiscardedByShutdown",
            "1 StopFcn DiscardedByShutdown"));
}

TEST_F(ObserverTest, WhatComesAfterTheShutdownIsDiscardedAsTheSchedulerGoes)
{
    const auto timer = makeTimer();
    journal().once("Successful thread join", [&] { scheduler().insertAscendingSorted(timerFcn(timer, past())); });

    tovrinhost::destroyProcessScope();

    EXPECT_THAT(m_observer.told(), ElementsAre("1 TimerFcn queued", "1 TimerFcn DiscardedByShutdown"));
}

TEST_F(ObserverTest, AStopTellsOfTheWorkOfItsOwnTimerAlone)
{
    const auto timer = makeTimer();
    const auto other = makeTimer("B");
    scheduler().insertAscendingSorted(timerFcn(other, farOff()));
    scheduler().insertAscendingSorted(timerFcn(timer, farOff()));

    TimerSchedulerPeer::remove(scheduler(), timer->getId());

    EXPECT_THAT(
        m_observer.told(), ElementsAre("1 TimerFcn queued", "2 TimerFcn queued", "2 TimerFcn RemovedByStop"));
}

TEST_F(ObserverTest, WorkThatTheQueueCannotTakeIsNotQueued)
{
    const auto timer = makeTimer();
    {
        const faults::FailingLock fault(TimerSchedulerPeer::mutex(scheduler()));
        EXPECT_THROW(scheduler().insertAscendingSorted(timerFcn(timer, farOff())), std::system_error);
    }

    EXPECT_THAT(m_observer.told(), ElementsAre("1 TimerFcn queued", "1 TimerFcn NotQueued"));
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(ObserverTest, ATaskThatTheHostDoesNotTakeIsNotHandedOver)
{
    const auto timer = makeFullTimer();
    journal().once("processTovrinTimerTask", [] { throw std::runtime_error("not now"); });

    EXPECT_THROW(dispatch(timerFcn(timer), nullptr), std::runtime_error);

    EXPECT_THAT(m_observer.told(), ElementsAre("1 TimerFcn dispatched", "1 TimerFcn NotHandedOver"));
}

TEST_F(ObserverTest, ATaskThatTheHostHasTakenIsHandedOverEvenIfNobodyCanBeWoken)
{
    recording::setTimerPpe(false);
    const auto timer = makeFullTimer();
    journal().once("setReadyRequestPending", [] { throw std::runtime_error("not now"); });

    EXPECT_THROW(dispatch(timerFcn(timer), nullptr), std::runtime_error);

    EXPECT_THAT(m_observer.told(), ElementsAre("1 TimerFcn dispatched", "1 TimerFcn handedOver"));
}

TEST_F(ObserverTest, ALateObserverIsToldFromTheNextEventOnAndOfNoEndsThatItCannotPlace)
{
    TimerScheduler::setObserver(nullptr);
    const auto timer = makeRateTimer(BusyMode::Queue);
    scheduler().createAndStartWork(timer);
    const auto stopped = makeFullTimer("B");
    scheduler().createAndStartWork(stopped);

    TimerScheduler::setObserver(&m_observer);
    TimerSchedulerPeer::remove(scheduler(), stopped->getId());
    dispatchNext();

    EXPECT_THAT(
        m_observer.told(), ElementsAre("1 TimerFcn dispatched", "1 TimerFcn handedOver", "2 TimerFcn queued"));
}

TEST_F(ObserverTest, WithoutObserverNothingIsTold)
{
    TimerScheduler::setObserver(nullptr);
    const auto timer = makeRateTimer(BusyMode::Queue);
    scheduler().createAndStartWork(timer);
    scheduler().forceStopWorkAndScheduleStopFcn(timer);

    EXPECT_THAT(m_observer.told(), IsEmpty());
}

} // namespace

} // namespace tovrintimer
