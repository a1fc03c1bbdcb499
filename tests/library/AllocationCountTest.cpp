#include "tests/library/PeriodicTest.hpp"

#include "host/foundation/feature/Feature.hpp"
#include "host/processTovrinTimerTask.hpp"
#include "timer_src/main/handlers/Dispatch.hpp"

#include <cstdlib>
#include <new>

// The operators new and delete of this program count, on each thread for itself. What the host takes is not what
// is counted: its operations are called through the linker's --wrap.

namespace {

thread_local bool isCounting = false;
thread_local int allocations = 0;

/// As long as it exists, what the thread allocates does not count.
class Uncounted {
public:
    Uncounted() { isCounting = false; }
    Uncounted(const Uncounted&) = delete;
    Uncounted& operator=(const Uncounted&) = delete;
    ~Uncounted() { isCounting = m_before; }

private:
    const bool m_before = isCounting;
};

} // namespace

void* operator new(std::size_t size)
{
    allocations += isCounting ? 1 : 0;
    if (void* const block = std::malloc(size == 0 ? 1 : size)) {
        return block;
    }
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept
{
    std::free(block);
}

// processTovrinTimerTask
extern "C" void __real__Z22processTovrinTimerTaskRKSt10shared_ptrIN4vorn4VORNEERKSt8functionIFvvEE(
    const std::shared_ptr<vorn::VORN>& engine, const std::function<void()>& task);

extern "C" void __wrap__Z22processTovrinTimerTaskRKSt10shared_ptrIN4vorn4VORNEERKSt8functionIFvvEE(
    const std::shared_ptr<vorn::VORN>& engine, const std::function<void()>& task);

extern "C" void __wrap__Z22processTovrinTimerTaskRKSt10shared_ptrIN4vorn4VORNEERKSt8functionIFvvEE(
    const std::shared_ptr<vorn::VORN>& engine, const std::function<void()>& task)
{
    const Uncounted uncounted;
    __real__Z22processTovrinTimerTaskRKSt10shared_ptrIN4vorn4VORNEERKSt8functionIFvvEE(engine, task);
}

// foundation::feature::Feature::get
extern "C" int __real__ZNK10foundation7feature7Feature3getEv(const foundation::feature::Feature* feature);

extern "C" int __wrap__ZNK10foundation7feature7Feature3getEv(const foundation::feature::Feature* feature);

extern "C" int __wrap__ZNK10foundation7feature7Feature3getEv(const foundation::feature::Feature* feature)
{
    const Uncounted uncounted;
    return __real__ZNK10foundation7feature7Feature3getEv(feature);
}

namespace tovrintimer {

namespace {

/// How often memory is asked for: one time more for each firing is no bug that shows in any other way.
class AllocationCountTest : public PeriodicTest {
protected:
    void SetUp() override
    {
        PeriodicTest::SetUp();
        setLogMasks(0);
        keepQueueStill();
    }

    /// Takes the item that is to be dispatched off the queue, as the run loop does.
    template <typename Item> WorkItemVariant taken(const Item& item)
    {
        scheduler().insertAscendingSorted(item);
        return TimerSchedulerPeer::workQueue(scheduler()).take();
    }

    template <typename Function> static int allocationsOf(Function function)
    {
        allocations = 0;
        isCounting = true;
        function();
        isCounting = false;
        return allocations;
    }

    /// Of a dispatch; of the second one, since what is made once in the process does not count.
    template <typename Item> int dispatching(const Item& item)
    {
        int allocated = 0;
        for (int time = 0; time < 2; ++time) {
            WorkItemVariant work = taken(item);
            allocated = allocationsOf([&] { dispatch(std::move(work), nullptr); });
            TimerSchedulerPeer::remove(scheduler(), item.m_id); // what it has queued
        }
        return allocated;
    }

    /// Of inserting an item among others.
    template <typename Item> int inserting(const Item& item)
    {
        return allocationsOf([&] { scheduler().insertAscendingSorted(item); });
    }

    std::shared_ptr<TimerInfo> makeRunningTimer(ExecutionMode mode, BusyMode busy = BusyMode::Drop)
    {
        auto timer = makePeriodicTimer(mode, 10);
        timer->setBusyMode(static_cast<size_t>(busy));
        timer->setStopFcnIsEmpty(false);
        timer->setErrorFcnIsEmpty(false);
        timer->setActivationStatus(true);
        return timer;
    }

    static constexpr BusyMode busyModes[] = { BusyMode::Drop, BusyMode::Queue, BusyMode::Error };

    static constexpr int forPlace = 1; // in the queue, where the item before it has left none
    static constexpr int forTask = 1; // what it captures
    static constexpr int forCounter = 1;
    static constexpr int forRecord = 1;
    static constexpr int forItem = 1 + forCounter + forRecord; // one that is shared
};

TEST_F(AllocationCountTest, AnInsertMakesAPlaceInTheQueueAndTakesThatOfAnItemTakenBeforeIt)
{
    const auto timer = makeFullTimer();
    for (int round = 0; round < 8; ++round) {
        EXPECT_EQ(inserting(startFcn(timer, farOff())), forPlace);
        EXPECT_EQ(inserting(stopFcn(timer, past())), forPlace);
        TimerSchedulerPeer::workQueue(scheduler()).take();
        EXPECT_EQ(inserting(timerFcn(timer, farOff(-1min))), 0);
        TimerSchedulerPeer::workQueue(scheduler()).take();
        EXPECT_EQ(inserting(errorFcn(timer)), 0);
    }
}

TEST_F(AllocationCountTest, ADispatchOfAStartFcnMakesItsTaskAndTheFirstTimerFcn)
{
    const auto timer = makeFullTimer();
    timer->setActivationStatus(true);

    EXPECT_EQ(dispatching(startFcn(timer)), forTask + forCounter + forRecord);
}

TEST_F(AllocationCountTest, ADispatchOfAStopFcnMakesItsTaskAndTheItemThatItKeeps)
{
    EXPECT_EQ(dispatching(stopFcn(makeFullTimer())), forTask + forItem);
}

TEST_F(AllocationCountTest, ADispatchOfAnErrorFcnMakesItsTask)
{
    EXPECT_EQ(dispatching(errorFcn(makeFullTimer())), forTask);
}

TEST_F(AllocationCountTest, ADispatchOfATimerFcnThatGoesOnInItsTaskMakesTheTaskAndItsItem)
{
    const auto dispatchingInMode = [this](ExecutionMode mode) {
        const auto timer = makeRunningTimer(mode);
        return dispatching(periodicItem(timer, 10, 5));
    };

    EXPECT_EQ(dispatchingInMode(ExecutionMode::SingleShot), forTask + forItem);
    // The counter is the run's.
    EXPECT_EQ(dispatchingInMode(ExecutionMode::FixedSpacing), forTask + forItem - forCounter);
    EXPECT_EQ(dispatchingInMode(ExecutionMode::FixedDelay), forTask + forItem - forCounter);
}

TEST_F(AllocationCountTest, ADispatchAtAFixedRateMakesTheTaskAndTheRecordAndForAChangedTotalACounter)
{
    for (const BusyMode busy : busyModes) {
        const auto timer = makeRunningTimer(ExecutionMode::FixedRate, busy);
        // Nothing is in the way of the first of a run.
        EXPECT_EQ(dispatching(periodicItem(timer, 10, 10)), forTask + forRecord) << static_cast<int>(busy);
        EXPECT_EQ(dispatching(periodicItem(timer, 9, 9)), forTask + forRecord + forCounter)
            << static_cast<int>(busy);
    }
}

TEST_F(AllocationCountTest, ContentionNeedsOnlyWhatItQueues)
{
    const auto dropping = makeRunningTimer(ExecutionMode::FixedRate, BusyMode::Drop);
    EXPECT_EQ(dispatching(periodicItem(dropping, 10, 5)), 0); // the same item once more

    const auto failing = makeRunningTimer(ExecutionMode::FixedRate, BusyMode::Error);
    // StopFcn and ErrorFcn.
    EXPECT_EQ(dispatching(periodicItem(failing, 10, 5)), 2 * (forCounter + forRecord) + forPlace);
}

} // namespace

} // namespace tovrintimer
