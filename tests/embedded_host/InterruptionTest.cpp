#include "embedded_host/engine/Engine.hpp"
#include "embedded_host/engine/ScriptError.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/locale/encoding_utf.hpp>
#include <lauxlib.h>

#include <cstdlib>
#include <future>

namespace tovrinhost {

namespace {

using namespace std::chrono_literals;

int noteBegin(lua_State* state)
{
    static_cast<std::promise<void>*>(lua_touserdata(state, lua_upvalueindex(1)))->set_value();
    return 0;
}

int noteThatItGoesOn(lua_State* state)
{
    *static_cast<bool*>(lua_touserdata(state, lua_upvalueindex(1))) = true;
    return 0;
}

/// What becomes of code that runs when it is interrupted. Scripts say with `begun()` that they are where they are
/// to be interrupted, and with `goes_on()` that they have not been.
class InterruptionTest : public testing::Test {
protected:
    InterruptionTest()
    {
        m_engine->run([this](Interpreter& interpreter) {
            interpreter.protect([this](lua_State* state) {
                lua_pushlightuserdata(state, &m_begun);
                lua_pushcclosure(state, noteBegin, 1);
                lua_setglobal(state, "begun");
                lua_pushlightuserdata(state, &m_goesOn);
                lua_pushcclosure(state, noteThatItGoesOn, 1);
                lua_setglobal(state, "goes_on");
                return 0;
            });
        });
    }

    ~InterruptionTest() override { m_engine->shutDown(); }

    void execute(const std::string& statements)
    {
        m_engine->run([&](Interpreter& interpreter) { interpreter.execute(statements, "=test"); });
    }

    void interruptOnceBegun(const std::string& statements)
    {
        m_begun = {};
        auto running = m_engine->evalAsync(boost::locale::conv::utf_to_utf<char16_t>(statements), {}, {});
        m_begun.get_future().wait();
        m_engine->interrupt(Interruption::User);
        if (running.wait_for(boost::chrono::seconds(20)) != boost::future_status::ready) {
            ADD_FAILURE() << "not given up: " << statements;
            std::_Exit(EXIT_FAILURE); // its thread cannot be ended
        }
        EXPECT_THAT([&] { running.get(); }, testing::ThrowsMessage<ScriptError>("interrupted")) << statements;
        EXPECT_FALSE(m_goesOn) << statements;
        m_engine->loop().clearInterruption();
    }

    /// The engine is as good as new afterwards.
    void expectGivenUp(const std::string& statements)
    {
        interruptOnceBegun(statements);
        EXPECT_NO_THROW(execute("for i = 1, 100000 do end\n"
                                "assert(coroutine.wrap(function() for i = 1, 1000 do end return 7 end)() == 7)\n"
                                "assert(debug.gethook() == nil)"))
            << statements;
    }

    std::promise<void> m_begun;
    bool m_goesOn = false; // only for the interpreter thread, until what runs there has ended
    const std::shared_ptr<Engine> m_engine = Engine::start();
};

TEST_F(InterruptionTest, GivesUpALoop)
{
    expectGivenUp("begun() while true do end");
    expectGivenUp("begun() for i = 1, math.huge do end");
    expectGivenUp("local function again() return again() end begun() again()");
}

TEST_F(InterruptionTest, GivesUpProtectedCallsAsOftenAsTheyComeAgain)
{
    expectGivenUp("begun() while true do pcall(function() while true do end end) end");
    expectGivenUp("pcall(pcall, pcall, function() begun() while true do end end) goes_on()");
}

TEST_F(InterruptionTest, GivesUpACoroutineAndWhoeverResumedIt)
{
    expectGivenUp("coroutine.resume(coroutine.create(function() begun() while true do end end)) goes_on()");
    expectGivenUp("pcall(coroutine.wrap(function() begun() while true do end end)) goes_on()");
    expectGivenUp("for _ in coroutine.wrap(function() begun() while true do end end) do end goes_on()");
}

TEST_F(InterruptionTest, GivesUpCoroutinesWithinCoroutines)
{
    expectGivenUp(R"(
local function nested(depth)
  if depth == 0 then begun() while true do end end
  coroutine.resume(coroutine.create(function() nested(depth - 1) end))
  goes_on()
end
nested(10))");
    expectGivenUp(R"(
local inner = coroutine.wrap(function() while true do coroutine.yield() end end)
local outer = coroutine.wrap(function() begun() while true do inner() end end)
outer() goes_on())");
}

TEST_F(InterruptionTest, GivesUpACoroutineThatWasMadeLongBeforeAndOneThatHasYielded)
{
    execute("old = coroutine.create(function() begun() while true do end end)\n"
            "yielded = coroutine.create(function() coroutine.yield() begun() while true do end end)\n"
            "coroutine.resume(yielded)");

    expectGivenUp("coroutine.resume(old) goes_on()");
    expectGivenUp("coroutine.resume(yielded) goes_on()");
}

TEST_F(InterruptionTest, GivesUpWhatResumesCoroutinesForEver)
{
    expectGivenUp("begun() while true do coroutine.resume(coroutine.create(function() end)) end");
    expectGivenUp("begun() while true do pcall(coroutine.wrap(function() error('x') end)) end");
}

TEST_F(InterruptionTest, GivesUpACoroutineThatIsBeingClosed)
{
    expectGivenUp(R"(
local co = coroutine.create(function()
  local guard <close> = setmetatable({}, { __close = function() begun() while true do end end })
  coroutine.yield()
end)
coroutine.resume(co) coroutine.close(co) goes_on())");
    expectGivenUp(R"(
pcall(coroutine.wrap(function()
  local guard <close> = setmetatable({}, { __close = function() begun() while true do end end })
  error("closes")
end)) goes_on())");
}

TEST_F(InterruptionTest, GivesUpFunctionsThatLibrariesCall)
{
    expectGivenUp("table.sort({ 1, 2, 3 }, function() begun() while true do end end) goes_on()");
    expectGivenUp("string.gsub('x', 'x', function() begun() while true do end end) goes_on()");
    expectGivenUp("load(function() begun() while true do end end) goes_on()");
    expectGivenUp("local t = setmetatable({}, { __index = function() begun() while true do end end }) return t.x");
}

TEST_F(InterruptionTest, GivesUpAMessageHandler)
{
    expectGivenUp("xpcall(error, function() begun() while true do end end) goes_on()");
}

TEST_F(InterruptionTest, IsShownToNoMessageHandler)
{
    expectGivenUp("xpcall(function() begun() while true do end end, goes_on)");
    expectGivenUp("xpcall(function() begun() while true do end end, function() while true do end end)");
}

TEST_F(InterruptionTest, GivesUpCodeUnderAHookOfItsOwnAndLeavesThatInPlace)
{
    interruptOnceBegun("hook = function() end debug.sethook(hook, 'crl', 7) begun() while true do end");

    EXPECT_NO_THROW(execute("local f, mask, count = debug.gethook() debug.sethook()\n"
                            "assert(f == hook and mask == 'crl' and count == 7, mask)"));
}

TEST_F(InterruptionTest, TakesHoldAsSoonAsAFinalizerHasEnded)
{
    expectGivenUp(R"(
setmetatable({}, { __gc = function()
  begun()
  local begin = os.clock()
  while os.clock() - begin < 0.1 do end
end })
collectgarbage()
while true do end)");
}

TEST_F(InterruptionTest, OfAnIdleEngineGivesUpTheNextCode)
{
    m_engine->interrupt(Interruption::User);

    EXPECT_THAT([&] { execute("goes_on()"); }, testing::ThrowsMessage<ScriptError>("interrupted"));
    EXPECT_FALSE(m_goesOn);
    m_engine->loop().clearInterruption();
    EXPECT_NO_THROW(execute("goes_on()"));
    EXPECT_TRUE(m_goesOn);
}

TEST_F(InterruptionTest, ThatIsClearedBeforeAnythingRunsLeavesNoTrace)
{
    m_engine->interrupt(Interruption::User);
    m_engine->loop().clearInterruption();

    EXPECT_NO_THROW(execute("assert(debug.gethook() == nil)"));
}

TEST_F(InterruptionTest, ManyInARowAreAllObeyed)
{
    for (int i = 0; i < 200; ++i) {
        expectGivenUp("begun() while true do coroutine.wrap(function() for i = 1, 10 do end end)() end");
    }
}

TEST_F(InterruptionTest, OfAnEngineThatHasBeenShutDownDoesNothing)
{
    m_engine->shutDown();

    EXPECT_NO_THROW(m_engine->interrupt(Interruption::User));
}

TEST_F(InterruptionTest, TwoEnginesAreInterruptedEachOnItsOwn)
{
    const auto other = Engine::start();
    auto counting = other->evalAsync(u"for i = 1, 3e7 do end", {}, {});

    expectGivenUp("begun() while true do end");
    EXPECT_NO_THROW(counting.get());
    other->shutDown();
}

TEST_F(InterruptionTest, UntilItComesNoHookSlowsCodeDown)
{
    EXPECT_NO_THROW(execute("assert(debug.gethook() == nil)\n"
                            "coroutine.wrap(function() assert(debug.gethook() == nil) end)()"));
}

} // namespace

} // namespace tovrinhost
