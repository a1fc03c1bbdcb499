#include "tests/scripts/ScriptTest.hpp"

#include <fstream>

namespace scripts {

namespace {

/// What the timers of a script have to do with the language's own means: coroutines, hooks, finalizers, globals.
class LuaTest : public RehearsedTest {
protected:
    void expectExit3(const std::string& script)
    {
        const Outcome outcome = run(script + " io.open('written', 'w'):write('x') print('goes on')");
        EXPECT_EQ(outcome.out, "") << script;
        EXPECT_EQ(outcome.err, "") << script;
        EXPECT_EQ(outcome.status, 3) << script;
        EXPECT_FALSE(std::ifstream(folder() + "/written").is_open()) << script;
    }
};

TEST_F(LuaTest, NothingRunsAfterAnExit)
{
    expectExit3("pcall(os.exit, 3)");
    expectExit3("xpcall(os.exit, print, 3)");
    expectExit3("table.sort({ 1, 2, 3 }, function() os.exit(3) end)");
}

TEST_F(LuaTest, NothingRunsAfterAnExitInACoroutine)
{
    expectExit3("coroutine.resume(coroutine.create(function() os.exit(3) end))");
    expectExit3("coroutine.resume(coroutine.create(os.exit), 3)");
    expectExit3("pcall(coroutine.wrap(function() os.exit(3) end))");
    expectExit3("local resume, create = coroutine.resume, coroutine.create\n"
                "resume(create(function() resume(create(function() os.exit(3) end)) print('goes on') end))");
    expectExit3("local guard = setmetatable({}, { __close = function() os.exit(3) end })\n"
                "local co = coroutine.create(function() local g <close> = guard coroutine.yield() end)\n"
                "coroutine.resume(co) coroutine.close(co)");
}

TEST_F(LuaTest, CoroutinesAreAsTheyAlwaysAre)
{
    expectOutput(R"(
local co = coroutine.create(function(a, b)
  local c, d = coroutine.yield(a + b, coroutine.isyieldable())
  error("first " .. c .. d, 0)
end)
print(coroutine.resume(co, 1, 2))
print(coroutine.resume(co, "x", "y"))
print(coroutine.resume(co))
print(coroutine.status(co), coroutine.close(co), coroutine.isyieldable())
local numbers = {}
for n in coroutine.wrap(function() for i = 1, 3 do coroutine.yield(i) end end) do numbers[#numbers + 1] = n end
print(table.concat(numbers, " "))
print(pcall(coroutine.wrap(function() error("boom") end)))
local fine, value = pcall(coroutine.wrap(function() error({}) end))
print(fine, type(value))
print(pcall(coroutine.resume, 7))
print(pcall(coroutine.wrap, 7))
print(pcall(coroutine.close, nil))
local self
self = coroutine.wrap(function() return pcall(self) end)
print(self())
)",
        "true\t3\ttrue\n"
        "false\tfirst xy\n"
        "false\tcannot resume dead coroutine\n"
        "dead\tfalse\tfalse\n"
        "1 2 3\n"
        "false\tscript.lua:13: boom\n"
        "false\ttable\n"
        "false\tbad argument #1 to 'coroutine.resume' (thread expected, got number)\n"
        "false\tbad argument #1 to 'coroutine.wrap' (function expected, got number)\n"
        "false\tbad argument #1 to 'coroutine.close' (thread expected, got nil)\n"
        "false\tcannot resume non-suspended coroutine\n");
}

TEST_F(LuaTest, CallbacksRunInTheCoroutineThatPausesAndInTheOneThatResumedIt)
{
    expectOutput(R"(
local function say(what) timer { TimerFcn = function() print(what) end }:start() end
local co = coroutine.create(function()
  say("in the coroutine") pause(0.01)
  coroutine.yield()
  say("in it again") pause(0.01)
end)
coroutine.resume(co)
say("outside") pause(0.01)
coroutine.resume(co)
say("after its end") pause(0.01)
)",
        "in the coroutine\noutside\nin it again\nafter its end\n");
}

TEST_F(LuaTest, AFunctionOfTheScriptThatIsCalledTimercbTakesNoCallbacks)
{
    expectOutput(
        "function timercb() print('hijacked') end timer { TimerFcn = function() print('mine') end }:start()",
        "mine\n");
    expectOutput("timercb = nil timer { TimerFcn = function() print('mine') end }:start()", "mine\n");
    expectOutput("print(rawget(_G, 'timercb'))", "nil\n");
}

TEST_F(LuaTest, GlobalsThatCannotBeReadTakeNoCallbacks)
{
    expectOutput("timercb = nil local print = print\n"
                 "setmetatable(_G, { __index = function(_, name) error('no ' .. name) end })\n"
                 "timer { TimerFcn = function() print('mine') end }:start() pause(0.01)",
        "mine\n");
}

TEST_F(LuaTest, ScriptsKeepTheirHookWhateverFails)
{
    expectOutput(R"(
local t = timer { TimerFcn = print }
local function hook() end
debug.sethook(hook, "l")
print(pcall(pause, -1))
print(pcall(function() t.Period = 0 end))
pause(0.001)
print(debug.gethook() == hook)
)",
        "false\tpause: the time is -1, but must be a number of seconds, at least 0\n"
        "false\tscript.lua:6: timer \"timer-1\": Period is 0, but must be a number of seconds, at least 0.001 and "
        "at most 9000000000\n"
        "true\n");
}

TEST_F(LuaTest, AFinalizerThatRunsAfterThatOfItsTimerIsToldSo)
{
    expectOutput(R"(
local holder = setmetatable({}, { __gc = function(h)
  print(tostring(h.timer))
  for _, use in ipairs { start, function(t) return t.Name end, function(t) t.Period = 1 end } do
    print(pcall(use, h.timer))
  end
end })
holder.timer = timer { Name = "a name that is long enough to be on the heap", TimerFcn = print }
start = holder.timer.start
holder.timer:delete()
)",
        "timer (collected)\n"
        "false\tthe timer has been collected\n"
        "false\tscript.lua:4: the timer has been collected\n"
        "false\tscript.lua:4: the timer has been collected\n");
}

TEST_F(LuaTest, AFinalizerThatRunsAtTheEndWaitsForNothing)
{
    expectOutput("setmetatable({}, { __gc = function() print((pcall(pause, 3600))) end })", "false\n");
}

TEST_F(LuaTest, ATimerWhoseFinalizerIsCalledByHandIsGone)
{
    expectOutput(R"(
local t = timer { Name = "a name that is long enough to be on the heap", TimerFcn = print }
local start = t.start
local finalize = debug.getregistry()["tovrin.timer"].__gc
finalize(t) finalize(t)
print(tostring(t))
print(pcall(start, t))
print(pcall(function() return t.Name end))
print(pcall(function() t.Period = 1 end))
t = nil collectgarbage()
)",
        "timer (collected)\n"
        "false\tthe timer has been collected\n"
        "false\tscript.lua:8: the timer has been collected\n"
        "false\tscript.lua:9: the timer has been collected\n");
}

TEST_F(LuaTest, ATextMayHoldZeroBytes)
{
    const Outcome outcome = run(R"(
local t = timer { Name = "a\0b", TimerFcn = function() error("c\0d", 0) end }
t:start() t:wait()
print(#t.Name, #t.LastError, t.LastError == "c\0d")
)");

    EXPECT_EQ(outcome.out, "3\t3\ttrue\n");
    EXPECT_THAT(outcome.err, testing::StartsWith("tovrin: error in TimerFcn of timer \"a\\x00b\": c\\x00d\n"));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(LuaTest, ANameWithAZeroByteIsNotTheOneInFrontOfIt)
{
    expectOutput(R"(
local t = timer { Name = "a\0b", TimerFcn = print }
local function refused(use) print((select(2, pcall(use)):gsub("; did you mean.*", ""))) end
refused(function() timer { TimerFcn = print, ["Period\0x"] = 5 } end)
refused(function() t["Period\0x"] = 5 end)
refused(function() return t["Name\0x"] end)
refused(function() return t["start\0x"] end)
refused(function() t.BusyMode = "Drop\0x" end)
refused(function() t.LastError = "x" end)
)",
        "script.lua:4: timer has no property \"Period\\x00x\"\n"
        "script.lua:5: timer \"a\\x00b\" has no property \"Period\\x00x\"\n"
        "script.lua:6: timer \"a\\x00b\" has no property or method \"Name\\x00x\"\n"
        "script.lua:7: timer \"a\\x00b\" has no property or method \"start\\x00x\"\n"
        "script.lua:8: timer \"a\\x00b\": BusyMode is \"Drop\\x00x\", but must be \"Drop\", \"Queue\" or "
        "\"Error\"\n"
        "script.lua:9: timer \"a\\x00b\": LastError is read-only\n");
}

TEST_F(LuaTest, CallbacksThatAreNestedTooDeeplyAreRefusedByAnErrorThatSaysSo)
{
    const std::string script = R"(
local depth, made = 0, 0
local function dig()
  if made == 150 then return end
  depth, made = depth + 1, made + 1
  local t = timer { Name = "t" .. depth, TimerFcn = dig }
  t:start()
  STEP
  depth = depth - 1
end
timer { TimerFcn = dig }:start()
pause(0.01)
print(made, depth)
local after = timer { TimerFcn = function() print("served") end }
after:start()
print((after:wait()))
)";
    for (const auto& [step, caller] :
        { std::pair<std::string, std::string> { "t:wait()", "timer \"t150\": " }, { "pause(0)", "pause: " } }) {
        std::string steps = script;
        const Outcome outcome = run(steps.replace(steps.find("STEP"), 4, step));
        EXPECT_EQ(outcome.out, "150\t1\nserved\ntrue\n");
        const auto errors = linesWith(outcome.err, "tovrin: error");
        EXPECT_THAT(errors,
            testing::ElementsAre(testing::EndsWith("script.lua:8: " + caller
                + "150 calls of pause, wait and delete are nested in one another's callbacks, and no more may be; "
                  "let callbacks return instead")));
        EXPECT_EQ(outcome.status, 1);
    }
}

} // namespace

} // namespace scripts
