#include "embedded_host/engine/Engine.hpp"

#include "embedded_host/engine/LuaArrays.hpp"
#include "embedded_host/engine/ScriptError.hpp"
#include "embedded_host/values/ObjectArray.hpp"
#include "host/foundation/tovrindata/ArrayFactory.hpp"
#include "host/processTovrinTimerTask.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <future>
#include <limits>
#include <stdexcept>
#include <thread>

namespace tovrinhost {

namespace {

using foundation::tovrindata::Array;
using foundation::tovrindata::ArrayFactory;
using foundation::tovrindata::ArrayType;
using foundation::tovrindata::CharArray;
using foundation::tovrindata::TypedArray;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class EngineTest : public testing::Test {
protected:
    ~EngineTest() override { m_engine->shutDown(); }

    void execute(const std::string& statements)
    {
        m_engine->run([&](Interpreter& interpreter) { interpreter.execute(statements, "=test"); });
    }

    std::vector<Array> call(const std::string& function, const std::vector<Array>& arguments, std::size_t outputs)
    {
        return m_engine->feval(function, arguments, outputs, {}, false, {}).get();
    }

    std::string text(const Array& array) { return CharArray(array).toUTF8(); }

    ArrayFactory m_factory;
    const std::shared_ptr<Engine> m_engine = Engine::start();
};

TEST_F(EngineTest, ValuesReachScriptsAndComeBack)
{
    execute("function identity(...) return ... end");

    const auto outputs = call("identity",
        { m_factory.createCharArray("text"), m_factory.createDoubleArray({ 1, 1 }, { 2.5 }),
            m_factory.createDoubleArray({ 1, 3 }, { 1, 2, 3 }), Array(), m_factory.createCharArray("") },
        5);

    EXPECT_EQ(text(outputs.at(0)), "text");
    EXPECT_EQ(TypedArray<double>(outputs.at(1)).at(0), 2.5);
    EXPECT_THAT(outputs.at(2).getDimensions(), ElementsAre(1, 3));
    EXPECT_EQ(TypedArray<double>(outputs.at(2)).at(2), 3.0);
    EXPECT_EQ(outputs.at(3).getType(), ArrayType::Empty);
    EXPECT_EQ(text(outputs.at(4)), "");
}

TEST_F(EngineTest, TextsReachScriptsWithTheirZeroBytes)
{
    execute("function bytes(text) return { text:byte(1, -1) } end");

    const auto bytes = call("bytes", { m_factory.createCharArray(std::string("a\0b", 3)) }, 1).at(0);

    ASSERT_THAT(bytes.getDimensions(), ElementsAre(1, 3));
    EXPECT_EQ(TypedArray<double>(bytes).at(1), 0.0);
    EXPECT_EQ(TypedArray<double>(bytes).at(2), 'b');
}

TEST_F(EngineTest, RecordsReachScriptsAsTables)
{
    execute("function describe(r) return r.Type .. ' ' .. #r.Data .. ' ' .. r.Data[2] end");
    auto record = m_factory.createStructArray({ 1, 1 }, { "Type", "Data" });
    record.setField(0, "Type", m_factory.createCharArray("TimerFcn"));
    record.setField(0, "Data", m_factory.createDoubleArray({ 1, 2 }, { 1.0, 7.0 }));

    EXPECT_EQ(text(call("describe", { record }, 1).at(0)), "TimerFcn 2 7.0");
}

TEST_F(EngineTest, ObjectsReachScriptsAsWhatWasRegistered)
{
    m_engine->run([](Interpreter& interpreter) {
        interpreter.protect([](lua_State* state) {
            lua_pushliteral(state, "the object");
            setLuaObject(state, 42);
            return 0;
        });
    });
    execute("function describe(object) return tostring(object) end");

    EXPECT_EQ(text(call("describe", { makeObjectArray(42) }, 1).at(0)), "the object");
    EXPECT_EQ(text(call("describe", { makeObjectArray(43) }, 1).at(0)), "nil");
}

TEST_F(EngineTest, AnOutputThatIsNoValueIsAnErrorThatSaysSo)
{
    execute("function give() return print end function mixed() return { 1, 'two' } end");

    EXPECT_THAT([&] { call("give", {}, 1); },
        testing::ThrowsMessage<std::exception>(
            "a function is not a value: only nil, booleans, numbers, strings and sequences of numbers are"));
    EXPECT_THAT([&] { call("mixed", {}, 1); },
        testing::ThrowsMessage<std::exception>(
            "element 2 of a table is not a number: only sequences of numbers are values"));
}

TEST_F(EngineTest, AnErrorOfAScriptKeepsItsTracebackOnTheWayThroughTheFuture)
{
    execute("function inner() error('boom') end\nfunction outer() inner() end");
    try {
        call("outer", {}, 0);
        FAIL() << "no error";
    } catch (const ScriptError& error) {
        EXPECT_STREQ(error.what(), "test:1: boom");
        EXPECT_THAT(error.traceback(), StartsWith("stack traceback:\n"));
        EXPECT_THAT(error.traceback(), HasSubstr("in function 'outer'"));
    }
}

TEST_F(EngineTest, ErrorValuesOfAnyTypeHaveAText)
{
    execute("function nothing() error(nil) end function table() error(setmetatable({}, "
            "{ __tostring = function() return 'told' end })) end");

    EXPECT_THAT([&] { call("nothing", {}, 0); }, testing::ThrowsMessage<ScriptError>("nil"));
    EXPECT_THAT([&] { call("table", {}, 0); }, testing::ThrowsMessage<ScriptError>("told"));
}

TEST_F(EngineTest, AFunctionThatDoesNotExistIsAnError)
{
    EXPECT_THAT([&] { call("nowhere", {}, 0); },
        testing::ThrowsMessage<ScriptError>(HasSubstr("attempt to call a nil value")));
}

TEST_F(EngineTest, AStatementIsEvaluatedAndItsErrorComesOutOfTheFuture)
{
    m_engine->evalAsync(u"answer = 42", {}, {}).get();
    execute("assert(answer == 42)");

    auto failed = m_engine->evalAsync(u"no statement", {}, {});
    EXPECT_THAT([&] { failed.get(); }, testing::ThrowsMessage<ScriptError>(HasSubstr("syntax error")));
}

TEST_F(EngineTest, OnTheInterpreterThreadEvaluationIsAtOnce)
{
    execute("function answer() return 42 end");
    double answer = 0;
    m_engine->run([&](Interpreter&) {
        auto outputs = m_engine->feval("answer", {}, 1, {}, false, {});
        ASSERT_TRUE(outputs.is_ready());
        answer = TypedArray<double>(outputs.get().at(0)).at(0);
    });

    EXPECT_EQ(answer, 42.0);
}

TEST_F(EngineTest, AnEngineThatHasBeenShutDownRefusesFurtherWork)
{
    m_engine->shutDown();

    EXPECT_THROW(call("print", {}, 0), boost::broken_promise);
    EXPECT_THAT([&] { execute("print()"); }, testing::ThrowsMessage<ScriptError>("the engine has been shut down"));
    EXPECT_NO_THROW(processTovrinTimerTask(m_engine, [] { FAIL() << "run after the end"; }));
}

TEST_F(EngineTest, WorkThatWaitsAsTheEngineIsShutDownFails)
{
    std::promise<void> begins;
    std::promise<void> goesOn;
    std::thread occupant([&] {
        m_engine->run([&](Interpreter&) {
            begins.set_value();
            goesOn.get_future().get();
        });
    });
    begins.get_future().get();
    auto waits = std::async(
        std::launch::async, [&] { m_engine->run([](Interpreter&) { FAIL() << "run after the end"; }); });
    // It waits behind the occupant, or has not come yet: it fails either way.
    m_engine->loop().stop();
    goesOn.set_value();
    occupant.join();

    EXPECT_THAT([&] { waits.get(); }, testing::ThrowsMessage<ScriptError>("the engine has been shut down"));
}

TEST_F(EngineTest, WhatLeavesWorkOnTheInterpreterThreadIsAScriptsErrorThere)
{
    const auto fails = [](Interpreter&) { throw std::runtime_error("no luck"); };

    EXPECT_THAT([&] { m_engine->run(fails); }, testing::ThrowsMessage<ScriptError>("no luck"));
    m_engine->run([&](Interpreter&) {
        EXPECT_THAT([&] { m_engine->run(fails); }, testing::ThrowsMessage<ScriptError>("no luck"));
    });
}

TEST_F(EngineTest, AnEngineOfAnotherHostIsRefused)
{
    EXPECT_THAT([] { processTovrinTimerTask(nullptr, [] {}); },
        testing::ThrowsMessage<std::invalid_argument>(
            "processTovrinTimerTask: the engine instance is not one of this host"));
}

TEST_F(EngineTest, ContextsOfTwoEnginesDiffer)
{
    const auto other = Engine::start();

    EXPECT_NE(other->getContextId(), m_engine->getContextId());
    other->shutDown();
}

} // namespace

} // namespace tovrinhost
