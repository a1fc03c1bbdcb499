#include "timer_src/main/platform/ConditionVariable.hpp"

#include "timer_src/main/DueTime.hpp"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace tovrintimer::platform {

namespace {

using namespace std::chrono_literals;

constexpr DueTime start { 1000ms };

/// A clock that is set, forward or back.
struct SettableClock {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<SettableClock>;
    static constexpr bool is_steady = false;

    static time_point now() { return time_point(SteadyClock::now().time_since_epoch() + ahead); }

    static inline duration ahead { 0 };
};

TEST(ConditionVariableTest, AWaitOfSixtyDaysIsMadeOfSixtyThatThePlatformCanDo)
{
    constexpr std::chrono::milliseconds takenForEndless { 0xFFFF'FFFF };
    static_assert(longestWait < takenForEndless && takenForEndless < 60 * 24h);

    const DueTime due = start + 60 * 24h;
    DueTime now = start;
    int stops = 0;
    while (now != due) {
        const DueTime next = nextStop(now, due, longestWait);
        ASSERT_GT(next, now);
        ASSERT_LE(next - now, longestWait);
        now = next;
        ++stops;
    }

    EXPECT_EQ(stops, 60);
}

TEST(ConditionVariableTest, AShortWaitIsMadeAtOnce)
{
    EXPECT_EQ(nextStop(start, start + 24h, longestWait), start + 24h);
    EXPECT_EQ(nextStop(start, start + 1ms, longestWait), start + 1ms);
}

TEST(ConditionVariableTest, TheLastTimePointIsNoOverflow)
{
    EXPECT_EQ(nextStop(DueTime::max() - 1h, DueTime::max(), longestWait), DueTime::max());
    EXPECT_EQ(nextStop(start, DueTime::max(), longestWait), start + 24h);
}

TEST(ConditionVariableTest, AMomentThatIsLongPastIsNoOverflow)
{
    ConditionVariable condition(5ms);
    Mutex mutex;
    Lock lock(mutex);
    EXPECT_FALSE(condition.wait_until(lock, DueTime::min(), [] { return false; }));
}

TEST(ConditionVariableTest, AMomentToComeIsWaitedForRightAfterOneThatHasPassed)
{
    ConditionVariable condition;
    Mutex mutex;
    Lock lock(mutex);
    for (int round = 0; round < 20; ++round) {
        const auto passed = std::chrono::time_point_cast<std::chrono::milliseconds>(SteadyClock::now());
        const DueTime due = passed + 1ms;

        EXPECT_FALSE(condition.wait_until(lock, passed, [] { return false; }));
        EXPECT_FALSE(condition.wait_until(lock, due, [] { return false; }));

        EXPECT_GE(SteadyClock::now(), due);
    }
}

TEST(ConditionVariableTest, ThePredicateIsAskedAtEachStopAndTheWaitEndsNotBeforeItsDeadline)
{
    ConditionVariable condition(5ms);
    Mutex mutex;
    Lock lock(mutex);
    const DueTime due = std::chrono::time_point_cast<std::chrono::milliseconds>(SteadyClock::now()) + 50ms;
    int asked = 0;

    const bool result = condition.wait_until(lock, due, [&] {
        EXPECT_TRUE(lock.owns_lock());
        ++asked;
        return false;
    });

    EXPECT_FALSE(result);
    EXPECT_GE(SteadyClock::now(), due);
    // At the beginning, at the deadline, and at least once in between, however late this thread wakes up.
    EXPECT_GE(asked, 3);
}

TEST(ConditionVariableTest, AMomentThatAClockHasPassedIsWaitedForOnceThatIsSetBack)
{
    ConditionVariable condition;
    Mutex mutex;
    Lock lock(mutex);
    SettableClock::ahead = 1h;
    EXPECT_FALSE(condition.wait_until(lock, SettableClock::now(), [] { return false; }));

    SettableClock::ahead = 0h;
    const auto moment = SettableClock::now() + 30ms;
    EXPECT_FALSE(condition.wait_until(lock, moment, [] { return false; }));

    EXPECT_GE(SettableClock::now(), moment);
}

TEST(ConditionVariableTest, AWaitWithoutADeadlineEndsOnceItsPredicateHolds)
{
    ConditionVariable condition;
    Mutex mutex;
    int calls = 0;
    std::vector<int> seen;
    Lock lock(mutex);
    std::thread caller([&] {
        for (int call = 0; call < 2; ++call) {
            const Lock callersLock(mutex);
            ++calls;
            condition.notify_one();
        }
    });

    condition.wait(lock, [&] {
        EXPECT_TRUE(lock.owns_lock());
        seen.push_back(calls);
        return calls == 2;
    });

    EXPECT_EQ(seen.front(), 0);
    EXPECT_EQ(seen.back(), 2);
    lock.unlock();
    caller.join();
}

TEST(ConditionVariableTest, ANotificationEndsTheWait)
{
    ConditionVariable condition;
    Mutex mutex;
    bool called = false;
    std::thread caller([&] {
        const Lock lock(mutex);
        called = true;
        condition.notify_one();
    });
    Lock lock(mutex);

    const bool result = condition.wait_until(lock, SteadyClock::now() + 1h, [&] { return called; });

    EXPECT_TRUE(result);
    lock.unlock();
    caller.join();
}

} // namespace

} // namespace tovrintimer::platform
