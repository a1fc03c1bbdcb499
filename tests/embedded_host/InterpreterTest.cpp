#include "embedded_host/engine/Interpreter.hpp"

#include "embedded_host/engine/EventLoop.hpp"
#include "embedded_host/engine/ScriptError.hpp"
#include "host/foundation/tovrindata/ArrayFactory.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <lauxlib.h>

#include <cstdlib>
#include <functional>
#include <stdexcept>

namespace tovrinhost {

namespace {

using foundation::tovrindata::Array;
using foundation::tovrindata::ArrayFactory;
using foundation::tovrindata::CharArray;
using testing::HasSubstr;
using testing::ThrowsMessage;

/// The interpreter on the test's own thread.
class InterpreterTest : public testing::Test {
protected:
    void execute(const std::string& statements) { m_interpreter.execute(statements, "=test"); }

    std::string messageOf(const std::string& statements)
    {
        try {
            execute(statements);
        } catch (const ScriptError& error) {
            return error.message();
        }
        return "no error";
    }

    int top() { return lua_gettop(m_interpreter.state()); }

    EventLoop m_loop;
    Interpreter m_interpreter { m_loop };
    ArrayFactory m_factory;
};

TEST_F(InterpreterTest, AGlobalThatCannotBeLookedUpIsAnErrorOfTheCall)
{
    execute("setmetatable(_G, { __index = function(_, name) error('there is no ' .. name, 0) end })");

    EXPECT_THAT([&] { m_interpreter.call("nowhere", {}, 0); }, ThrowsMessage<ScriptError>("there is no nowhere"));
    EXPECT_EQ(top(), 0);
}

TEST_F(InterpreterTest, AHostFunctionIsFoundBeforeAGlobalAndNotSeenByScripts)
{
    m_interpreter.define("answer", "return function() return 'the host' end");
    execute("assert(answer == nil) function answer() return 'the script' end");

    EXPECT_EQ(CharArray(m_interpreter.call("answer", {}, 1).at(0)).toUTF8(), "the host");
    execute("assert(answer() == 'the script')");
}

TEST_F(InterpreterTest, ValuesThatCannotComeBackLeaveNothingOnTheStack)
{
    execute("function give() return 1, { 2, 'three' }, print end");

    EXPECT_THROW(m_interpreter.call("give", {}, 3), std::invalid_argument);
    EXPECT_EQ(top(), 0);
    EXPECT_THROW(m_interpreter.call("nowhere", { Array(), Array() }, 3), ScriptError);
    EXPECT_EQ(top(), 0);
    EXPECT_THROW(execute("error('x')"), ScriptError);
    EXPECT_THROW(execute("no statement"), ScriptError);
    EXPECT_THROW(m_interpreter.runScript({ "/no/such/file", { "a", "b" }, {} }), ScriptError);
    EXPECT_EQ(top(), 0);
}

TEST_F(InterpreterTest, ErrorTextsMayHoldZeroBytes)
{
    EXPECT_EQ(messageOf("error('a\\0b', 0)"), std::string("a\0b", 3));
}

TEST_F(InterpreterTest, AnErrorValueThatCannotBeShownIsTheErrorOfShowingIt)
{
    EXPECT_EQ(
        messageOf("error(setmetatable({}, { __tostring = function() error('no text', 0) end }))"), "no text");
    EXPECT_EQ(messageOf("error(setmetatable({}, { __tostring = function() return {} end }))"),
        "'__tostring' must return a string");
}

TEST_F(InterpreterTest, MoreArgumentsThanTheStackHoldsAreAnError)
{
    const std::vector<Array> arguments(2000000);

    EXPECT_THAT([&] { m_interpreter.call("print", arguments, 0); },
        ThrowsMessage<ScriptError>(HasSubstr("stack overflow")));
    EXPECT_EQ(top(), 0);
}

/// Lets a number of allocations succeed, and every later one fail.
struct Memory {
    static void* allocate(void* self, void* block, std::size_t before, std::size_t size)
    {
        auto& memory = *static_cast<Memory*>(self);
        if (size == 0) {
            std::free(block);
            return nullptr;
        }
        const bool grows = block == nullptr || size > before;
        return grows && memory.left-- <= 0 ? nullptr : std::realloc(block, size);
    }

    long left = 0;
};

TEST_F(InterpreterTest, MemoryThatRunsOutIsAnErrorWhereverItDoes)
{
    m_interpreter.define("host", "local function inner(...) return { 1, 2 } end return inner");
    execute("function identity(...) return ... end");
    auto record = m_factory.createStructArray({ 1, 1 }, { "Type", "Data" });
    record.setField(0, "Type", m_factory.createCharArray("TimerFcn"));
    record.setField(0, "Data", m_factory.createDoubleArray({ 1, 2 }, { 1.0, 7.0 }));
    const std::string longText(1000, 'x');

    lua_State* state = m_interpreter.state();
    void* data = nullptr;
    const lua_Alloc allocator = lua_getallocf(state, &data);
    Memory memory;
    int failures = 0;
    for (long allocations = 0; allocations < 40; ++allocations) {
        lua_gc(state, LUA_GCSTOP);
        lua_setallocf(state, Memory::allocate, &memory);
        for (const auto& use : std::vector<std::function<void()>> {
                 [&] {
                     m_interpreter.call("identity", { record, m_factory.createCharArray(longText) }, 0);
                 },
                 [&] { m_interpreter.call("host", {}, 1); },
                 [&] { m_interpreter.execute("error({})", "=test"); },
                 [&] { m_interpreter.define("other", "return {}"); },
             }) {
            memory.left = allocations;
            try {
                use();
            } catch (const ScriptError&) {
                ++failures;
            }
            EXPECT_EQ(lua_gettop(state), 0);
        }
        lua_setallocf(state, allocator, data);
        lua_gc(state, LUA_GCRESTART);
        lua_gc(state, LUA_GCCOLLECT);
    }
    EXPECT_GT(failures, 40);
    EXPECT_NO_THROW(execute("assert(identity(7) == 7)"));
}

} // namespace

} // namespace tovrinhost
