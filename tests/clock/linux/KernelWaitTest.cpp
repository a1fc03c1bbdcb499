#include "embedded_host/clock/WallClock.hpp"

#include <gmock/gmock.h>

#include <pthread.h>

#include <ctime>
#include <vector>

namespace {

/// The moments of the wall clock that the kernel has been asked to wait for, on this thread: a C function that
/// replaces another has nowhere else to put them.
thread_local std::vector<timespec> deadlines; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables): a C
                                              // function has nowhere else for them

} // namespace

extern "C" int __real_pthread_cond_timedwait(
    pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline);

extern "C" int __wrap_pthread_cond_timedwait(
    pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline);

extern "C" int __wrap_pthread_cond_timedwait(
    pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline)
{
    deadlines.push_back(*deadline);
    return __real_pthread_cond_timedwait(condition, mutex, deadline);
}

namespace tovrinhost {

namespace {

/// A wait for the moment itself, by the clock that may be set, is one that the kernel ends when that is set.
TEST(SystemWallClockTest, TheKernelWaitsForTheMomentItself)
{
    tovrintimer::Mutex mutex;
    tovrintimer::ConditionVariable never;
    tovrintimer::Lock lock(mutex);
    const WallTime moment = systemWallClock().now() + std::chrono::milliseconds(20);
    deadlines.clear();
    while (systemWallClock().now() < moment) {
        systemWallClock().wait(never, lock, moment, [] { return false; });
    }

    ASSERT_FALSE(deadlines.empty());
    for (const timespec& deadline : deadlines) {
        const auto asked = std::chrono::seconds(deadline.tv_sec) + std::chrono::nanoseconds(deadline.tv_nsec);
        EXPECT_EQ(asked, moment.time_since_epoch());
    }
}

} // namespace

} // namespace tovrinhost
