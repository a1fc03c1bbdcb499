#include "embedded_host/engine/Engine.hpp"
#include "embedded_host/services/ProcessScope.hpp"
#include "embedded_host/timers/ErrorReport.hpp"
#include "embedded_host/timers/TimerLibrary.hpp"
#include "embedded_host/timers/TimerSet.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <ostream>
#include <string>
#include <vector>

// The operators new and delete of this program count, on each thread for itself: those of the library and of the
// host, which are linked to it.

namespace {

thread_local int allocations = 0;

} // namespace

void* operator new(std::size_t size)
{
    ++allocations;
    if (void* const block = std::malloc(size == 0 ? 1 : size)) {
        return block;
    }
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept
{
    std::free(block);
}

namespace tovrinhost {

namespace {

using testing::Each;
using testing::SizeIs;

/// How often memory is asked for between the beginnings of two callbacks: one time more is no bug that shows in
/// any other way.
class CallbackAllocationTest : public testing::Test {
protected:
    /// What the library and the host ask for, and what Lua does.
    struct Count {
        int cpp;
        int lua;

        bool operator==(const Count&) const = default;
    };

    CallbackAllocationTest()
    {
        m_engine->run([this](Interpreter& interpreter) {
            openTimerLibrary(interpreter, m_timers, m_exitCode);
            interpreter.protect([this](lua_State* state) {
                lua_pushlightuserdata(state, this);
                lua_pushcclosure(state, note, 1);
                lua_setglobal(state, "note");
                m_luaAllocate = lua_getallocf(state, &m_luaContext);
                lua_setallocf(state, allocateForLua, this);
                return 0;
            });
        });
    }

    ~CallbackAllocationTest() override
    {
        tovrintimer::TimerScheduler::getPerTOVRINProcessInstance()->cleanup();
        m_engine->shutDown();
        destroyProcessScope();
    }

    /// Between the callbacks of one timer, after the first few, for which some things are made that stay.
    std::vector<Count> betweenCallbacks(const std::string& fcn, const std::string& properties)
    {
        m_engine->run([&](Interpreter& interpreter) {
            m_notes.clear();
            m_notes.reserve(warmUp + measured + 1);
            // Nothing is collected meanwhile: when that happens is Lua's affair.
            interpreter.execute("collectgarbage('stop') local t = timer { Period = 0.001, TasksToExecute = "
                    + std::to_string(warmUp + measured + 1) + ", TimerFcn = " + fcn + ", " + properties
                    + " } t:start() t:wait()",
                "=test");
        });
        std::vector<Count> counts;
        for (std::size_t i = warmUp + 1; i < m_notes.size(); ++i) {
            counts.push_back({ m_notes[i].cpp - m_notes[i - 1].cpp, m_notes[i].lua - m_notes[i - 1].lua });
        }
        return counts;
    }

    friend void PrintTo(const Count& count, std::ostream* stream)
    {
        *stream << count.cpp << " and, of Lua, " << count.lua;
    }

    static constexpr std::size_t warmUp = 8;
    static constexpr std::size_t measured = 32;

    static constexpr int forRecord = 2; // itself, its fields' names
    static constexpr int forTime = 2; // itself, its numbers
    static constexpr int forArguments = 1; // the four of them
    static constexpr int forFuture = 2; // its state, and what counts the users of that
    static constexpr int forTables = 4; // the event and its Data, with their contents

private:
    static int note(lua_State* state)
    {
        auto& self = *static_cast<CallbackAllocationTest*>(lua_touserdata(state, lua_upvalueindex(1)));
        self.m_notes.push_back({ allocations, self.m_luaAllocations });
        return 0;
    }

    static void* allocateForLua(void* context, void* block, std::size_t sizeBefore, std::size_t size)
    {
        auto& self = *static_cast<CallbackAllocationTest*>(context);
        self.m_luaAllocations += size > 0 && (block == nullptr || size > sizeBefore) ? 1 : 0;
        return self.m_luaAllocate(self.m_luaContext, block, sizeBefore, size);
    }

    std::vector<Count> m_notes;
    int m_luaAllocations = 0;
    lua_Alloc m_luaAllocate = nullptr;
    void* m_luaContext = nullptr;

    const std::shared_ptr<Engine> m_engine = Engine::start();
    ErrorReport m_errors;
    TimerSet m_timers { m_engine, m_errors, 10000 };
    int m_exitCode = 0;
};

TEST_F(CallbackAllocationTest, ACallbackAtAFixedRateMakesItsArgumentsItsFutureAndTheEventsTables)
{
    for (const char* fcn : { "note", "function(t, event) note() end" }) {
        const auto counts = betweenCallbacks(fcn, "ExecutionMode = 'FixedRate', BusyMode = 'Queue'");

        EXPECT_THAT(counts, SizeIs(measured));
        EXPECT_THAT(counts, Each(Count { forRecord + forTime + forArguments + forFuture, forTables })) << fcn;
    }
}

TEST_F(CallbackAllocationTest, ACallbackThatTakesNoEventHasNoTablesMade)
{
    for (const char* fcn : { "function() note() end", "function(t) note() end" }) {
        const auto counts = betweenCallbacks(fcn, "ExecutionMode = 'FixedRate', BusyMode = 'Queue'");

        EXPECT_THAT(counts, SizeIs(measured));
        EXPECT_THAT(counts, Each(Count { forRecord + forTime + forArguments + forFuture, 0 })) << fcn;
    }
}

} // namespace

} // namespace tovrinhost
