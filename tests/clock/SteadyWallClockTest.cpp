#include "embedded_host/clock/SteadyWallClock.hpp"

#include "embedded_host/clock/Alarms.hpp"

#include <gtest/gtest.h>

#include <future>

namespace tovrinhost {

namespace {

using namespace std::chrono_literals;
using tovrintimer::SteadyClock;

constexpr WallTime atZero { std::chrono::hours(50 * 365 * 24) };

class SteadyWallClockTest : public testing::Test {
protected:
    WallTime atSteady(SteadyClock::time_point moment) const
    {
        return atZero + std::chrono::floor<WallTime::duration>(moment.time_since_epoch());
    }

    const SteadyWallClock m_clock { atZero };
    tovrintimer::Mutex m_mutex;
    tovrintimer::ConditionVariable m_changed;
    tovrintimer::Lock m_lock { m_mutex };
};

TEST_F(SteadyWallClockTest, ItGoesWithTheSteadyClockFromItsBeginning)
{
    const auto before = SteadyClock::now();
    const WallTime now = m_clock.now();
    const auto after = SteadyClock::now();

    EXPECT_GE(now, atSteady(before));
    EXPECT_LE(now, atSteady(after));
}

TEST_F(SteadyWallClockTest, AWaitEndsOnceItsMomentHasComeAndNotBefore)
{
    const WallTime moment = m_clock.now() + 30ms;
    m_clock.wait(m_changed, m_lock, moment, [] { return false; });
    EXPECT_GE(m_clock.now(), moment);
    EXPECT_TRUE(m_lock.owns_lock());
}

TEST_F(SteadyWallClockTest, MomentsThatHavePassedAreNotWaitedFor)
{
    m_clock.wait(m_changed, m_lock, m_clock.now(), [] { return false; });
    m_clock.wait(m_changed, m_lock, atZero - 1h, [] { return false; });
    m_clock.wait(m_changed, m_lock, WallTime(), [] { return false; });
}

TEST_F(SteadyWallClockTest, ANotificationEndsAWaitForTheLastMomentOfAll)
{
    bool ends = false;
    tovrintimer::Thread other([&] {
        const tovrintimer::Lock lock(m_mutex);
        ends = true;
        m_changed.notify_one();
    });

    m_clock.wait(m_changed, m_lock, WallTime::max(), [&] { return ends; });

    EXPECT_TRUE(ends);
    m_lock.unlock();
    other.join();
}

TEST_F(SteadyWallClockTest, AlarmsAreCalledByItAndNeverEarly)
{
    std::promise<WallTime> calledAt;
    Alarms alarms(m_clock);
    const WallTime moment = m_clock.now() + 30ms;
    alarms.set(WallTime::max(), [] { FAIL() << "called before the end of time"; });
    alarms.set(moment, [&] { calledAt.set_value(m_clock.now()); });

    EXPECT_GE(calledAt.get_future().get(), moment);
}

} // namespace

} // namespace tovrinhost
