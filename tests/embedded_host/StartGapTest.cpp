#include "embedded_host/timers/StartGap.hpp"
#include "embedded_host/engine/Engine.hpp"
#include "embedded_host/services/ProcessScope.hpp"
#include "embedded_host/timers/ErrorReport.hpp"
#include "embedded_host/timers/TimerLibrary.hpp"
#include "embedded_host/timers/TimerSet.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tovrinhost {

namespace {

using namespace std::chrono_literals;

constexpr Nanoseconds millisecond = 1'000'000;

/// Holds up, for a while, whoever queues something; the log is told of everything.
class SlowQueueing final : public tovrintimer::TimerObserver {
public:
    explicit SlowQueueing(FiringLog& log)
        : m_log(log)
    {
    }

    void queued(const tovrintimer::ObservedWork& work) noexcept override
    {
        m_log.queued(work);
        std::this_thread::sleep_for(5ms); // as a thread that has to give way here: the time itself is what counts
    }

    void dispatched(const tovrintimer::ObservedWork& work) noexcept override { m_log.dispatched(work); }
    void handedOver(const tovrintimer::ObservedWork& work) noexcept override { m_log.handedOver(work); }

    void dropped(const tovrintimer::ObservedWork& work, tovrintimer::DropReason why) noexcept override
    {
        m_log.dropped(work, why);
    }

private:
    FiringLog& m_log;
};

TEST(StartGapTest, WhatIsLeftOfTheGapIsWaitedFor)
{
    const FiringLog clock;
    StartGap gap;

    const Nanoseconds begin = clock.now();
    gap.begin(clock, 20 * millisecond);
    gap.await(clock);
    EXPECT_GE(clock.now(), begin + 20 * millisecond);
}

TEST(StartGapTest, AGapThatHasPassedOrWasNeverBegunIsNotWaitedFor)
{
    // Never goes on: whoever waits for it does so for ever.
    const FiringLog clock([]() noexcept { return millisecond; });
    StartGap gap;

    gap.await(clock);
    gap.begin(clock, 0);
    gap.await(clock);
}

/// The thread that counts the period is held up before the callback begins.
TEST(StartGapTest, AFixedDelayLeavesItsPeriodThoughTheCallbackBeginsLate)
{
    const auto engine = Engine::start();
    ErrorReport errors;
    int exitCode = 0;
    TimerSet timers { engine, errors, 100 };
    SlowQueueing observer(timers.diagnosis().log());
    tovrintimer::TimerScheduler::setObserver(&observer);

    engine->run([&](Interpreter& interpreter) {
        openTimerLibrary(interpreter, timers, exitCode);
        interpreter.execute(R"(
local starts, calls = {}, {}
timer {
  ExecutionMode = "FixedDelay", Period = 0.0025, TasksToExecute = 5,
  TimerFcn = function(_, event)
    calls[#calls + 1] = now()
    starts[#starts + 1] = event.Due + event.Lateness
  end,
}:start():wait()
local function requireGaps(moments, least)
  assert(#moments == 5)
  for i = 2, #moments do
    local gap = math.floor((moments[i] - moments[i - 1]) * 1e9 + 0.5)
    assert(gap >= least, gap)
  end
end
requireGaps(starts, 2500000)
requireGaps(calls, 1500000) -- a function looks at the clock as it gets to it; without the gap there would be none
)",
            "=test");
    });

    tovrintimer::TimerScheduler::getPerTOVRINProcessInstance()->cleanup();
    engine->shutDown();
    destroyProcessScope();
}

} // namespace

} // namespace tovrinhost
