#include "embedded_host/clock/Alarms.hpp"
#include "tests/clock/MadeUpClock.hpp"

#include <gmock/gmock.h>

#include <condition_variable>
#include <future>
#include <mutex>
#include <vector>

namespace tovrinhost {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AlarmsTest : public testing::Test {
protected:
    AlarmsTest()
        : m_alarms(std::make_unique<Alarms>(m_clock))
    {
    }

    Alarms::Number set(std::int64_t seconds, int call)
    {
        return m_alarms->set(MadeUpClock::at(seconds), [this, call] {
            const std::lock_guard lock(m_mutex);
            m_calls.push_back(call);
            m_times.push_back(m_clock.now());
            m_called.notify_one();
        });
    }

    std::vector<int> calls()
    {
        const std::lock_guard lock(m_mutex);
        return m_calls;
    }

    void awaitCalls(std::size_t count)
    {
        std::unique_lock lock(m_mutex);
        m_called.wait(lock, [&] { return m_calls.size() >= count; });
    }

    MadeUpClock m_clock { 1000 };
    std::mutex m_mutex;
    std::condition_variable m_called;
    std::vector<int> m_calls; // guarded by m_mutex, like the next
    std::vector<WallTime> m_times;
    std::unique_ptr<Alarms> m_alarms; // before the rest is destroyed
};

TEST_F(AlarmsTest, TheyAreCalledByTheirMomentsAndThenAsTheyWereSet)
{
    set(1003, 3);
    set(1001, 1);
    set(1003, 4);
    set(1002, 2);
    EXPECT_TRUE(m_clock.awaitWait());
    EXPECT_THAT(calls(), IsEmpty());

    m_clock.set(1003);
    awaitCalls(4);

    EXPECT_THAT(calls(), ElementsAre(1, 2, 3, 4));
}

TEST_F(AlarmsTest, NoneIsCalledBeforeItsMomentHoweverTheClockIsSet)
{
    set(1010, 10);
    for (const std::int64_t seconds : { 1009, 900, 1005, 0, 1009 }) {
        m_clock.set(seconds);
        EXPECT_TRUE(m_clock.awaitWait());
        EXPECT_THAT(calls(), IsEmpty()) << seconds;
    }

    m_clock.set(1010);
    awaitCalls(1);

    EXPECT_THAT(m_times, ElementsAre(MadeUpClock::at(1010)));
}

TEST_F(AlarmsTest, OneThatHasPassedIsCalledAtOnce)
{
    set(10, 1);
    awaitCalls(1);
}

TEST_F(AlarmsTest, AnEarlierOneThatComesLaterIsNotKeptWaiting)
{
    set(2000, 2);
    EXPECT_TRUE(m_clock.awaitWait());
    set(1000, 1);
    awaitCalls(1);
    EXPECT_THAT(calls(), ElementsAre(1));
}

TEST_F(AlarmsTest, OneThatIsTakenBackIsNotCalled)
{
    const auto second = set(1002, 2);
    set(1003, 3);
    m_alarms->cancel(MadeUpClock::at(1002), second);
    m_alarms->cancel(MadeUpClock::at(1002), second);

    m_clock.set(1003);
    awaitCalls(1);

    EXPECT_THAT(calls(), ElementsAre(3));
}

TEST_F(AlarmsTest, OneMaySetAnother)
{
    m_alarms->set(MadeUpClock::at(1000), [this] { set(1000, 1); });
    awaitCalls(1);
}

TEST_F(AlarmsTest, ThoseThatAreLeftAreNotCalled)
{
    set(1001, 1);
    m_alarms.reset();
    m_clock.set(1001);
    EXPECT_THAT(m_calls, IsEmpty());
}

TEST(SystemWallClockTest, AWaitForAMomentThatHasComeIsOver)
{
    const WallClock& clock = systemWallClock();
    tovrintimer::Mutex mutex;
    tovrintimer::ConditionVariable never;
    tovrintimer::Lock lock(mutex);
    const auto notYet = [] { return false; };
    const WallTime moment = clock.now() + std::chrono::milliseconds(50);
    while (clock.now() < moment) {
        clock.wait(never, lock, moment, notYet);
    }
    clock.wait(never, lock, clock.now() - std::chrono::hours(1), notYet);
    clock.wait(never, lock, WallTime(), notYet);
}

TEST(SystemWallClockTest, SecondsAreRoundedUpAndNoneIsBefore1970)
{
    using std::chrono::nanoseconds;
    EXPECT_EQ(fromSecondsSince1970(1.0).time_since_epoch(), nanoseconds(1'000'000'000));
    EXPECT_EQ(fromSecondsSince1970(1e-12).time_since_epoch(), nanoseconds(1));
    EXPECT_EQ(fromSecondsSince1970(-5).time_since_epoch(), nanoseconds(0));
    EXPECT_EQ(fromSecondsSince1970(latestSecond).time_since_epoch(), nanoseconds(9'223'372'036'000'000'000));
    EXPECT_EQ(toSecondsSince1970(WallTime(nanoseconds(1'500'000'000))), 1.5);
}

} // namespace

} // namespace tovrinhost
