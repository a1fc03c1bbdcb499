#include "embedded_host/timers/ScriptRunner.hpp"
#include "tests/clock/MadeUpClock.hpp"

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <thread>

namespace tovrinhost {

namespace {

/// Scripts whose wall clock is set while they run.
class AppointmentTest : public testing::Test {
protected:
    /// \param set sets the clock meanwhile
    std::string run(const std::string& statements, const std::function<void()>& set)
    {
        testing::internal::CaptureStdout();
        std::thread other(set);
        {
            ScriptRunner runner(10'000, m_clock);
            EXPECT_EQ(runner.run({ "script", {}, Script::Text { statements, "=script" } }), 0);
        }
        other.join();
        return testing::internal::GetCapturedStdout();
    }

    /// Sets the clock, and sees to it that it is noticed.
    void setAndAwait(std::int64_t seconds)
    {
        m_clock.set(seconds);
        EXPECT_TRUE(m_clock.awaitWait()) << seconds;
    }

    MadeUpClock m_clock { 1000 };
};

constexpr const char* single = "local t = timer { TimerFcn = function(t, event) print(date(), event.Time) end }\n"
                               "t:startAt(1010) print(date(), t.Running)";

TEST_F(AppointmentTest, AClockThatIsSetForwardBringsTheMoment)
{
    EXPECT_EQ(run(single,
                  [&] {
                      EXPECT_TRUE(m_clock.awaitWait());
                      m_clock.set(4600);
                  }),
        "1000.0\ttrue\n4600.0\t4600.0\n");
}

TEST_F(AppointmentTest, AClockThatIsSetBackPutsItOff)
{
    EXPECT_EQ(run(single,
                  [&] {
                      EXPECT_TRUE(m_clock.awaitWait());
                      for (const std::int64_t seconds : { 1009, 100, 1009, 0 }) {
                          setAndAwait(seconds);
                      }
                      m_clock.set(1010);
                  }),
        "1000.0\ttrue\n1010.0\t1010.0\n");
}

TEST_F(AppointmentTest, AClockThatIsSetBackWhileTheScriptIsBusyPutsItOff)
{
    EXPECT_EQ(run(std::string(single) + " while date() ~= 500 do end",
                  [&] {
                      EXPECT_TRUE(m_clock.awaitWait());
                      m_clock.set(1010);
                      m_clock.awaitNobody(); // the moment has come, but not for the script
                      setAndAwait(500);
                      m_clock.set(1011);
                  }),
        "1000.0\ttrue\n1011.0\t1011.0\n");
}

TEST_F(AppointmentTest, APeriodFollowsWhateverTheClockShows)
{
    EXPECT_EQ(run("local t = timer { ExecutionMode = 'FixedRate', Period = 0.01, TasksToExecute = 3, TimerFcn = "
                  "print }\n"
                  "t.TimerFcn = function(t) print(t.TasksExecuted) end t:startAt(1010)",
                  [&] {
                      EXPECT_TRUE(m_clock.awaitWait());
                      m_clock.set(1010);
                      m_clock.awaitNobody();
                      m_clock.set(0);
                  }),
        "1\n2\n3\n");
}

TEST_F(AppointmentTest, TheNextTimeGoesByTheClockThatScriptsSee)
{
    EXPECT_EQ(run("print(nextTime(), nextTime({ second = 59 }))", [] {}), "1001\t1019\n");
}

} // namespace

} // namespace tovrinhost
