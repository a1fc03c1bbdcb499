#include "tests/library/LibraryTest.hpp"

#include <pthread.h>

#include <atomic>
#include <thread>

// What asks the kernel for a timed wait by the steady clock is counted on its way: the linker's --wrap.

namespace {

std::atomic<int> kernelWaits { 0 };
std::atomic<std::thread::id> notCounted {}; // the thread that waits for another one's doings

} // namespace

extern "C" int __real_pthread_cond_clockwait(
    pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock, const timespec* deadline);

extern "C" int __wrap_pthread_cond_clockwait(
    pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock, const timespec* deadline);

extern "C" int __wrap_pthread_cond_clockwait(
    pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock, const timespec* deadline)
{
    kernelWaits += std::this_thread::get_id() == notCounted ? 0 : 1;
    return __real_pthread_cond_clockwait(condition, mutex, clock, deadline);
}

namespace tovrintimer {

namespace {

class KernelWaitTest : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        kernelWaits = 0;
        notCounted = std::thread::id();
    }
};

TEST_F(KernelWaitTest, AMomentThatHasPassedIsNotWaitedFor)
{
    ConditionVariable condition;
    Mutex mutex;
    Lock lock(mutex);
    for (const DueTime deadline : { now(), past(), DueTime::min() }) {
        int asked = 0;
        EXPECT_FALSE(condition.wait_until(lock, deadline, [&] {
            EXPECT_TRUE(lock.owns_lock());
            ++asked;
            return false;
        }));
        // As ever: before the wait, and once more as its time is up.
        EXPECT_EQ(asked, 2);
    }
    EXPECT_EQ(kernelWaits, 0);
}

TEST_F(KernelWaitTest, AMomentToComeIsWaitedForInTheKernel)
{
    ConditionVariable condition;
    Mutex mutex;
    Lock lock(mutex);
    const DueTime deadline = now() + 20ms;

    EXPECT_FALSE(condition.wait_until(lock, deadline, [] { return false; }));

    EXPECT_GE(now(), deadline);
    EXPECT_GE(kernelWaits, 1);
}

TEST_F(KernelWaitTest, ABurstOfDueItemsIsDispatchedWithoutAWaitInBetween)
{
    startThread();
    constexpr int items = 200;
    const auto timer = makeTimer();
    Gate gate;
    journal().once("processTovrinTimerTask", [&] { gate.pass(); });
    scheduler().insertAscendingSorted(timerFcn(timer, past()));
    gate.waitUntilReached();
    for (int item = 0; item < items; ++item) {
        scheduler().insertAscendingSorted(timerFcn(timer, past(-1ms * item)));
    }
    kernelWaits = 0;
    notCounted = std::this_thread::get_id();

    gate.open();
    waitForDispatches(1 + items);

    // The sleep after the last one may have begun.
    EXPECT_LE(kernelWaits, 1);
}

} // namespace

} // namespace tovrintimer
