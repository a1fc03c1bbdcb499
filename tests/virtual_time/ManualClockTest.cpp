#include "virtual_time/ManualClock.hpp"
#include "virtual_time/Types.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace virtual_time {

namespace {

using testing::ElementsAre;
using namespace std::chrono_literals;

/// A thread of the engine's, which brings work every 10 ms, five times.
class ManualClockTest : public testing::Test {
protected:
    ManualClock m_clock { [this] { work(); } };
    std::vector<std::string> m_done;
    int m_waiting = 0;

    Thread bringing()
    {
        return Thread([this] {
            for (int i = 0; i < 5; ++i) {
                sleepFor(10ms);
                ++m_waiting;
            }
        });
    }

private:
    void work()
    {
        for (; m_waiting > 0; --m_waiting) {
            m_done.push_back(std::to_string(m_clock.now() / 1ms));
        }
    }
};

TEST_F(ManualClockTest, TimeStandsStillUntilItIsAdvanced)
{
    Thread engine = bringing();
    m_clock.settle();
    EXPECT_EQ(m_clock.now(), 0s);
    EXPECT_EQ(m_clock.nextDue(), 10ms);
    EXPECT_TRUE(m_done.empty());
    engine.join();
}

TEST_F(ManualClockTest, WorkIsDoneAtEachMomentOnTheWayAndTheLastMomentIsOnIt)
{
    Thread engine = bringing();
    m_clock.advance(30ms);
    EXPECT_THAT(m_done, ElementsAre("10", "20", "30"));
    EXPECT_EQ(m_clock.now(), 30ms);
    m_clock.advance(9ms);
    EXPECT_THAT(m_done, ElementsAre("10", "20", "30"));
    m_clock.advance(1h);
    EXPECT_THAT(m_done, ElementsAre("10", "20", "30", "40", "50"));
    EXPECT_EQ(m_clock.now(), 1h + 39ms);
    engine.join();
}

TEST_F(ManualClockTest, TheNextMomentIsGoneToAsLongAsThereIsOne)
{
    Thread engine = bringing();
    int moments = 0;
    while (m_clock.advanceToNext()) {
        ++moments;
        EXPECT_EQ(m_clock.now(), moments * 10ms);
    }
    EXPECT_EQ(moments, 5);
    EXPECT_EQ(m_clock.nextDue(), std::nullopt);
    EXPECT_FALSE(m_clock.advanceToNext());
    engine.join();
}

TEST_F(ManualClockTest, ItDoesNotGoBack)
{
    try {
        m_clock.advance(-1ns);
        FAIL();
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(
            error.what(), "a clock cannot advance by -1 nanoseconds: time never goes back; 0 or more is allowed");
    }
    EXPECT_EQ(m_clock.now(), 0s);
}

TEST(ManualClockOptionsTest, TheCalendarBeginsAsAskedAndGoesWithTheClock)
{
    ManualClock::Options options;
    options.calendar = std::chrono::sys_days(std::chrono::year(2030) / 1 / 2);
    ManualClock clock(nullptr, options);
    clock.advance(90s);
    EXPECT_EQ(SystemClock::now().time_since_epoch(), options.calendar.time_since_epoch() + 90s);
}

} // namespace

} // namespace virtual_time
