#include "embedded_host/engine/Engine.hpp"
#include "embedded_host/engine/ScriptError.hpp"
#include "embedded_host/services/ProcessScope.hpp"
#include "embedded_host/timers/ErrorReport.hpp"
#include "embedded_host/timers/TimerLibrary.hpp"
#include "embedded_host/timers/TimerSet.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tovrinhost {

namespace {

/// How long a timer and its object live.
class TimerObjectTest : public testing::Test {
protected:
    TimerObjectTest()
    {
        m_engine->run([this](Interpreter& interpreter) { openTimerLibrary(interpreter, m_timers, m_exitCode); });
    }

    ~TimerObjectTest() override
    {
        destroyProcessScope();
        m_engine->shutDown();
    }

    void execute(const std::string& statements)
    {
        m_engine->run([&](Interpreter& interpreter) { interpreter.execute(statements, "=test"); });
    }

    const std::shared_ptr<Engine> m_engine = Engine::start();
    ErrorReport m_errors;
    TimerSet m_timers { m_engine, m_errors, 100 };
    int m_exitCode = 0;
};

TEST_F(TimerObjectTest, ADeletedTimerThatNobodyHoldsIsCollected)
{
    execute("t = timer { TimerFcn = function() return big end } weak = setmetatable({ t }, { __mode = 'v' })");
    const std::weak_ptr<ScriptTimer> timer = m_timers.all().at(1);
    execute("t:delete() collectgarbage() assert(weak[1] == t)");
    EXPECT_FALSE(timer.expired());

    execute("t = nil collectgarbage() assert(weak[1] == nil)");

    EXPECT_TRUE(timer.expired());
}

TEST_F(TimerObjectTest, AQuietTimerIsCollectedOnceNobodyHoldsIt)
{
    execute("t = timer { Name = 't', TimerFcn = function() return t end }");
    const std::weak_ptr<ScriptTimer> timer = m_timers.all().at(1);
    execute("collectgarbage() assert(timers()[1] == t and find('t') == t)");

    execute("t = nil collectgarbage() assert(#timers() == 0 and find('t') == nil)");

    EXPECT_TRUE(timer.expired());
    EXPECT_EQ(m_timers.diagnosis().timers().liveCount(), 0U);
}

TEST_F(TimerObjectTest, ATimerThatRunsIsNotCollectedUntilItHasEnded)
{
    execute("ran = 0 after(0.01, function() ran = ran + 1 end) collectgarbage()");
    const std::weak_ptr<ScriptTimer> timer = m_timers.all().at(1);
    execute("assert(#timers() == 1 and timers()[1].Running) wait(timers()[1]) collectgarbage()");

    execute("assert(ran == 1 and #timers() == 0)");
    EXPECT_TRUE(timer.expired());
}

TEST_F(TimerObjectTest, ATimerThatStartsAgainInItsLastCallbackIsKept)
{
    execute(
        "starts = 0 timer { TimerFcn = function() end, StopFcn = function(t) collectgarbage() starts = starts + 1 "
        "if starts < 3 then t:start() end end }:start() while starts < 3 do pause(0.001) collectgarbage() end "
        "pause(0.01) collectgarbage() assert(#timers() == 0)");
}

TEST_F(TimerObjectTest, ATimerWhoseStartFailsIsKeptNoLongerThanAnother)
{
    execute(
        "t = timer { TimerFcn = function() end, StopFcn = function(t) t:delete() t:start() end, StartDelay = 60 } "
        "t:start() pcall(t.start, t) pcall(t.delete, t) weak = setmetatable({ t }, { __mode = 'v' }) t = nil "
        "collectgarbage() assert(weak[1] == nil)");
}

TEST_F(TimerObjectTest, ATimerThatDeletesItselfIsCollected)
{
    execute("weak = setmetatable({}, { __mode = 'v' }) weak[1] = timer { TimerFcn = function(t) t:delete() done = "
            "true "
            "end }:start() while not done do pause(0.001) end");

    execute("collectgarbage() assert(weak[1] == nil)");
}

TEST_F(TimerObjectTest, AFinalizerCannotStartATimerThatIsBeingCollected)
{
    execute("local t = timer { Name = 't', TimerFcn = print } setmetatable({ t }, { __gc = function(held) "
            "fine, message = pcall(held[1].start, held[1]) name = held[1].Name end })");
    execute("collectgarbage() assert(not fine and name == 't') "
            "assert(message == 'timer \"t\" is being collected; it cannot be started any more', message)");
}

TEST_F(TimerObjectTest, UserDataGoesWithItsTimer)
{
    execute("weak = setmetatable({ {} }, { __mode = 'v' }) t = timer { TimerFcn = print, UserData = weak[1] } "
            "collectgarbage() assert(t.UserData == weak[1] and weak[1]) t = nil collectgarbage() assert(weak[1] "
            "== nil)");
}

TEST_F(TimerObjectTest, TheCallbacksOfADeletedTimerAreCollected)
{
    execute("weak = setmetatable({}, { __mode = 'k' }) t = timer { TimerFcn = function() return weak end } "
            "weak[t.TimerFcn] = true t:delete() collectgarbage() assert(next(weak) == nil)");
}

} // namespace

} // namespace tovrinhost
