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
    const std::weak_ptr<ScriptTimer> timer = m_timers.all().at(0);
    execute("t:delete() collectgarbage() assert(weak[1] == t)");
    EXPECT_FALSE(timer.expired());

    execute("t = nil collectgarbage() assert(weak[1] == nil)");

    EXPECT_TRUE(timer.expired());
}

TEST_F(TimerObjectTest, ATimerThatHasNotBeenDeletedIsNotCollected)
{
    execute("weak = setmetatable({ timer { TimerFcn = print } }, { __mode = 'v' }) collectgarbage() "
            "assert(weak[1] and weak[1] == timers()[1])");
}

TEST_F(TimerObjectTest, TheCallbacksOfADeletedTimerAreCollected)
{
    execute("weak = setmetatable({}, { __mode = 'k' }) t = timer { TimerFcn = function() return weak end } "
            "weak[t.TimerFcn] = true t:delete() collectgarbage() assert(next(weak) == nil)");
}

} // namespace

} // namespace tovrinhost
