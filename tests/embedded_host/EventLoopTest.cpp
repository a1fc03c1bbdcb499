#include "embedded_host/engine/EventLoop.hpp"
#include "embedded_host/engine/InterpreterThread.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace tovrinhost {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using When = EventLoop::When;
using State = EventLoop::State;

class Owner : public TaskOwner {
public:
    void taskBegins(const TaskNote& /*note*/) noexcept override { }
    void taskIsDropped(const TaskNote& note) noexcept override { m_dropped.push_back(note.number); }
    void taskEnds(const TaskNote& /*note*/, const std::exception_ptr& error) noexcept override
    {
        m_errors += error ? 1 : 0;
    }

    int m_errors = 0;
    std::vector<std::uint64_t> m_dropped; // by their numbers
};

/// Notes what the interpreter turns to.
class Observer : public InterpreterObserver {
public:
    void sleeps() noexcept override { m_turns.emplace_back("sleeps"); }
    void wakes() noexcept override { m_turns.emplace_back("wakes"); }
    void pumpingBegins(int line) noexcept override { m_turns.push_back("pumps at " + std::to_string(line)); }
    void pumpingEnds() noexcept override { m_turns.emplace_back("goes on"); }

    std::vector<std::string> m_turns;
};

/// The test's own thread is the interpreter thread.
class EventLoopTest : public testing::Test {
protected:
    std::function<void()> note(const std::string& what)
    {
        return [this, what] { m_done.push_back(what); };
    }

    void onOtherThread(const std::function<void()>& action) { std::thread(action).join(); }

    /// Runs what can be run without waiting: what is there, and what comes while that runs.
    void drain(State state)
    {
        for (const char* const part : { "what is there", "what came meanwhile" }) {
            EXPECT_FALSE(m_loop.runUntil(
                state, [] { return false; }, EventLoop::Clock::now()))
                << part;
        }
    }

    EventLoop m_loop;
    InterpreterThread m_here { m_loop };
    std::shared_ptr<Owner> m_owner = std::make_shared<Owner>();
    std::shared_ptr<Owner> m_other = std::make_shared<Owner>();
    std::vector<std::string> m_done;
};

TEST_F(EventLoopTest, TheNextOneIsTurnedToAsOneHasEnded)
{
    EventLoop::Clock::time_point latest;
    const auto look = [&] {
        EXPECT_LE(latest, m_loop.turnedAt());
        EXPECT_LE(m_loop.turnedAt(), EventLoop::Clock::now());
        while (latest <= m_loop.turnedAt()) { // until it has taken some time
            latest = EventLoop::Clock::now();
        }
    };
    m_loop.submit(*m_owner, look, true);
    m_loop.post(When::AtEventLoop, look);
    m_loop.submit(*m_other, look, true);

    drain(State::Pumping);

    EXPECT_LE(latest, m_loop.turnedAt());
}

TEST_F(EventLoopTest, AnOwnerIsToldOfEachTaskThatWillNotBeRun)
{
    const auto submit = [&](std::uint64_t number) {
        m_loop.submit(
            *m_owner, [] {}, true, 10, TaskNote { 0, number });
    };
    submit(1);
    submit(2);
    submit(3);
    m_loop.close(*m_owner, 1);
    EXPECT_THAT(m_owner->m_dropped, ElementsAre(2U, 3U));

    onOtherThread([&] { submit(4); });
    EXPECT_THAT(m_owner->m_dropped, ElementsAre(2U, 3U, 4U));

    drain(State::Pumping);
    EXPECT_EQ(m_owner->m_dropped.size(), 3U);
}

TEST_F(EventLoopTest, AnObserverIsToldOfEachSleep)
{
    Observer observer;
    m_loop.setObserver(&observer);
    drain(State::Pumping); // does not sleep
    EXPECT_THAT(observer.m_turns, IsEmpty());

    m_loop.runUntil(
        State::Pumping, [] { return false; }, EventLoop::Clock::now() + 1ms);

    EXPECT_THAT(observer.m_turns, ElementsAre("sleeps", "wakes"));
    m_loop.setObserver(nullptr);
}

TEST_F(EventLoopTest, WhatHasComeIsRunWithoutWaitingAndNotWhatComesMeanwhile)
{
    using Ran = EventLoop::Ran;
    EXPECT_EQ(m_loop.runWhatCame(State::Pumping), Ran::Nothing);

    m_loop.post(When::Idle, note("idle"));
    m_loop.post(When::AtEventLoop, note("request"));
    EXPECT_EQ(m_loop.runWhatCame(State::Pumping), Ran::Requests);
    EXPECT_THAT(m_done, ElementsAre("request"));

    m_loop.submit(
        *m_owner, [this] { m_loop.submit(*m_other, note("meanwhile"), true); }, true);
    m_loop.post(When::AtEventLoop, note("behind"));
    EXPECT_EQ(m_loop.runWhatCame(State::Pumping), Ran::Tasks);
    EXPECT_THAT(m_done, ElementsAre("request", "behind"));
    EXPECT_EQ(m_loop.runWhatCame(State::Pumping), Ran::Tasks);
    EXPECT_THAT(m_done, ElementsAre("request", "behind", "meanwhile"));

    m_loop.post(When::AtEventLoop, note("never"));
    m_loop.interrupt(Interruption::User);
    EXPECT_THROW(m_loop.runWhatCame(State::Pumping), Interrupted);
}

TEST_F(EventLoopTest, EachArrivalIsToldOnTheThreadThatBringsIt)
{
    std::vector<std::thread::id> told;
    m_loop.tellArrivals([&] { told.push_back(std::this_thread::get_id()); });
    std::thread::id other;
    m_loop.post(When::AtEventLoop, note("request"));
    m_loop.postUrgent(note("urgent"));
    onOtherThread([&] {
        other = std::this_thread::get_id();
        m_loop.submit(*m_owner, note("task"), true);
    });
    m_loop.wake(); // brings nothing
    const auto here = std::this_thread::get_id();
    EXPECT_THAT(told, ElementsAre(here, here, other));

    m_loop.close(*m_owner, 0);
    onOtherThread([&] { m_loop.submit(*m_owner, note("dropped"), true); });
    EXPECT_EQ(told.size(), 3U);
}

TEST_F(EventLoopTest, OneAtATimeRunsTheFirstThatMay)
{
    using Ran = EventLoop::Ran;
    EXPECT_TRUE(m_loop.isEmpty());
    EXPECT_EQ(m_loop.runOne(State::Pumping), Ran::Nothing);

    m_loop.post(When::Idle, note("idle"));
    m_loop.post(When::AtEventLoop, note("first"));
    const std::uint64_t arrivals = m_loop.arrivals();
    m_loop.post(When::AtEventLoop, note("second"));
    EXPECT_FALSE(m_loop.isEmpty());
    EXPECT_EQ(m_loop.runOne(State::Pumping, arrivals), Ran::Requests);
    EXPECT_EQ(m_loop.runOne(State::Pumping, arrivals), Ran::Nothing);
    EXPECT_THAT(m_done, ElementsAre("first"));
    EXPECT_EQ(m_loop.runOne(State::Pumping), Ran::Requests);
    EXPECT_EQ(m_loop.runOne(State::Idle), Ran::Requests);
    EXPECT_THAT(m_done, ElementsAre("first", "second", "idle"));
    EXPECT_TRUE(m_loop.isEmpty());
}

TEST_F(EventLoopTest, AThreadIsAgainTheInterpreterOfWhatItWasBefore)
{
    EventLoop inner;
    {
        const InterpreterThread there(inner);
        EXPECT_TRUE(isInterpreterThread(inner));
        EXPECT_FALSE(isInterpreterThread(m_loop));
    }
    EXPECT_TRUE(isInterpreterThread(m_loop));
}

TEST_F(EventLoopTest, EntriesRunInArrivalOrder)
{
    m_loop.post(When::Idle, note("request"));
    m_loop.submit(*m_owner, note("task"), true);
    m_loop.post(When::AtEventLoop, note("request at event loop"));

    drain(State::Idle);

    EXPECT_THAT(m_done, ElementsAre("request", "task", "request at event loop"));
}

TEST_F(EventLoopTest, WhilePumpingIdleRequestsStayBehind)
{
    m_loop.post(When::Idle, note("idle"));
    m_loop.post(When::AtEventLoop, note("at event loop"));
    m_loop.submit(*m_owner, note("task"), true);

    drain(State::Pumping);
    EXPECT_THAT(m_done, ElementsAre("at event loop", "task"));

    drain(State::Idle);
    EXPECT_THAT(m_done, ElementsAre("at event loop", "task", "idle"));
}

TEST_F(EventLoopTest, TasksOfOneOwnerNeverRunNestedInEachOther)
{
    m_loop.submit(
        *m_owner,
        [this] {
            m_done.emplace_back("first begins");
            drain(State::Pumping);
            m_done.emplace_back("first ends");
        },
        true);
    m_loop.submit(*m_owner, note("second"), true);
    m_loop.submit(*m_other, note("other"), true);

    EXPECT_TRUE(m_loop.runUntil(State::Idle, [this] { return m_done.size() == 4; }));

    EXPECT_THAT(m_done, ElementsAre("first begins", "other", "first ends", "second"));
}

TEST_F(EventLoopTest, AnUrgentRequestGoesBeforeWhatWaits)
{
    m_loop.submit(*m_owner, note("task"), true);
    m_loop.postUrgent(note("urgent"));

    drain(State::Pumping);

    EXPECT_THAT(m_done, ElementsAre("urgent", "task"));
}

TEST_F(EventLoopTest, WhatComesWhileATaskRunsStaysBehindWhatWaitsUnlessItIsUrgent)
{
    m_loop.submit(
        *m_owner,
        [this] {
            m_done.emplace_back("1");
            onOtherThread([this] { m_loop.submit(*m_owner, note("3"), true); });
            onOtherThread([this] { m_loop.postUrgent(note("urgent")); });
        },
        true);
    m_loop.submit(*m_owner, note("2"), true);

    EXPECT_TRUE(m_loop.runUntil(State::Idle, [this] { return m_done.size() == 4; }));

    EXPECT_THAT(m_done, ElementsAre("1", "urgent", "2", "3"));
}

TEST_F(EventLoopTest, OfSeveralUrgentRequestsTheLatestComesFirst)
{
    m_loop.postUrgent(note("1"));
    m_loop.postUrgent(note("2"));

    drain(State::Idle);

    EXPECT_THAT(m_done, ElementsAre("2", "1"));
}

TEST_F(EventLoopTest, WhatLeavesATaskIsToldToItsOwner)
{
    m_loop.submit(
        *m_owner, [] { throw std::runtime_error("boom"); }, true);
    m_loop.submit(*m_other, note("next"), true);

    drain(State::Idle);

    EXPECT_EQ(m_owner->m_errors, 1);
    EXPECT_EQ(m_other->m_errors, 0);
    EXPECT_THAT(m_done, ElementsAre("next"));
}

TEST_F(EventLoopTest, ClosingDropsTheOwnersTasksButForTheFirstOnes)
{
    for (const char* name : { "1", "2", "3" }) {
        m_loop.submit(*m_owner, note(name), true);
        m_loop.submit(*m_other, note(std::string("other ") + name), true);
    }

    m_loop.close(*m_owner, 1);
    EXPECT_EQ(m_loop.pending(*m_owner), 1U);
    drain(State::Idle);

    EXPECT_THAT(m_done, ElementsAre("1", "other 1", "other 2", "other 3"));
    EXPECT_EQ(m_loop.pending(*m_owner), 0U);
}

TEST_F(EventLoopTest, ClosingDropsTheOnlyTaskThatWaits)
{
    m_loop.submit(*m_owner, note("only"), true);

    m_loop.close(*m_owner, 0);

    EXPECT_EQ(m_loop.pending(*m_owner), 0U);
    drain(State::Idle);
    EXPECT_THAT(m_done, IsEmpty());
}

TEST_F(EventLoopTest, ClosingSparesWhatOthersHaveWaitingAsManyAsMayBeKept)
{
    m_loop.submit(*m_other, note("other 1"), true);
    m_loop.submit(*m_owner, note("1"), true);
    m_loop.post(When::Idle, note("request"));

    m_loop.close(*m_owner, 1);

    EXPECT_EQ(m_loop.pending(*m_owner), 1U);
    drain(State::Idle);
    EXPECT_THAT(m_done, ElementsAre("other 1", "1", "request"));
}

TEST_F(EventLoopTest, ClosingWithinATaskDropsWhatWaitedBeforeAndWhatHasComeSince)
{
    m_loop.submit(
        *m_other,
        [this] {
            onOtherThread([this] { m_loop.submit(*m_owner, note("come since"), true); });
            EXPECT_EQ(m_loop.pending(*m_owner), 3U);
            m_loop.close(*m_owner, 1);
            EXPECT_EQ(m_loop.pending(*m_owner), 1U);
        },
        true);
    m_loop.submit(*m_owner, note("kept"), true);
    m_loop.submit(*m_owner, note("waited before"), true);

    drain(State::Idle);

    EXPECT_THAT(m_done, ElementsAre("kept"));
    EXPECT_EQ(m_loop.pending(*m_owner), 0U);
}

TEST_F(EventLoopTest, ClosedDoorsKeepOtherThreadsOut)
{
    m_loop.close(*m_owner, 0);
    onOtherThread([&] { m_loop.submit(*m_owner, note("kept out"), true); });
    m_loop.submit(*m_owner, note("from the interpreter"), true);

    drain(State::Idle);

    EXPECT_THAT(m_done, ElementsAre("from the interpreter"));
}

TEST_F(EventLoopTest, TheDoorsCloseBehindTheTaskThatExceedsTheLimit)
{
    onOtherThread([&] {
        EXPECT_FALSE(m_loop.submit(*m_owner, note("1"), true, 2));
        EXPECT_FALSE(m_loop.submit(*m_owner, note("2"), true, 2));
        EXPECT_TRUE(m_loop.submit(*m_owner, note("3"), true, 2));
        EXPECT_FALSE(m_loop.submit(*m_owner, note("4"), true, 2));
    });

    drain(State::Idle);

    EXPECT_THAT(m_done, ElementsAre("1", "2", "3"));
}

TEST_F(EventLoopTest, TheInterpretersOwnTasksHaveNoLimit)
{
    EXPECT_FALSE(m_loop.submit(*m_owner, note("1"), true, 0));

    drain(State::Idle);

    EXPECT_THAT(m_done, ElementsAre("1"));
}

TEST_F(EventLoopTest, PendingTasksOfAnOwnerAreRunOutOfTurn)
{
    m_loop.submit(*m_other, note("other"), true);
    m_loop.submit(*m_owner, note("1"), true);
    m_loop.submit(*m_owner, note("2"), true);

    m_loop.runPending(*m_owner);
    EXPECT_THAT(m_done, ElementsAre("1", "2"));

    drain(State::Idle);
    EXPECT_THAT(m_done, ElementsAre("1", "2", "other"));
}

TEST_F(EventLoopTest, ATaskThatDoesNotWakeWaitsForTheNextLook)
{
    std::thread other([&] {
        m_loop.submit(*m_owner, note("quiet task"), false);
        m_loop.wake();
    });
    EXPECT_TRUE(m_loop.runUntil(State::Idle, [this] { return !m_done.empty(); }));
    other.join();

    EXPECT_THAT(m_done, ElementsAre("quiet task"));
}

TEST_F(EventLoopTest, AWakeUpBetweenTheLookAndTheWaitIsNotLost)
{
    // What is asked for, and then found missing, is there before the wait begins.
    for (const auto& deadline : { EventLoop::Deadline(), EventLoop::Deadline(EventLoop::Clock::now() + 1h) }) {
        int asked = 0;
        const auto wakeAtFirst = [&] {
            if (++asked == 1) {
                onOtherThread([this] { m_loop.wake(); });
            }
            return asked > 1;
        };
        EXPECT_TRUE(m_loop.runUntil(State::Pumping, wakeAtFirst, deadline));
        EXPECT_EQ(asked, 2);
    }
}

TEST_F(EventLoopTest, ATaskThatMayNotRunYetDoesNotUseUpTheWakeUpOfAnother)
{
    m_loop.submit(
        *m_owner,
        [this] {
            int asked = 0;
            EXPECT_TRUE(m_loop.runUntil(State::Pumping, [&] {
                if (++asked == 1) {
                    // The first is found, but waits for this one to end; the second comes behind it.
                    onOtherThread([this] { m_loop.submit(*m_owner, note("waits"), true); });
                    onOtherThread([this] { m_loop.submit(*m_other, note("comes"), true); });
                }
                return !m_done.empty();
            }));
        },
        true);

    drain(State::Idle);

    EXPECT_THAT(m_done, ElementsAre("comes", "waits"));
}

TEST_F(EventLoopTest, EachSleepIsEndedByTheNextTask)
{
    constexpr int rounds = 200;
    std::atomic<int> run { 0 };
    const std::jthread other([&](const std::stop_token& testFails) {
        for (int round = 0; round < rounds && !testFails.stop_requested(); ++round) {
            m_loop.submit(
                *m_owner, [&run] { ++run; }, true);
            while (run == round && !testFails.stop_requested()) {
                std::this_thread::yield();
            }
        }
    });
    for (int round = 0; round < rounds; ++round) {
        // The one task is taken, and then there is none until the other thread has seen that.
        ASSERT_TRUE(m_loop.runUntil(
            State::Idle, [&] { return run > round; }, EventLoop::Clock::now() + 20s))
            << round;
    }
}

TEST_F(EventLoopTest, AWakeUpAfterADeadlineHasPassedIsNotLost)
{
    EXPECT_FALSE(m_loop.runUntil(
        State::Idle, [] { return false; }, EventLoop::Clock::now() + 1ms));
    const std::jthread other([&] { m_loop.submit(*m_owner, note("task"), true); });

    EXPECT_TRUE(m_loop.runUntil(
        State::Idle, [this] { return !m_done.empty(); }, EventLoop::Clock::now() + 20s));
}

TEST_F(EventLoopTest, ADeadlineIsNeverEarly)
{
    const auto deadline = EventLoop::Clock::now() + 30ms;

    EXPECT_FALSE(m_loop.runUntil(
        State::Pumping, [] { return false; }, deadline));

    EXPECT_GE(EventLoop::Clock::now(), deadline);
}

TEST_F(EventLoopTest, AnInterruptionEndsEveryWaitUntilItIsCleared)
{
    std::thread other([&] { m_loop.interrupt(Interruption::User); });
    EXPECT_THROW(m_loop.runUntil(State::Pumping, [] { return false; }), Interrupted);
    other.join();
    EXPECT_THROW(m_loop.runUntil(State::Pumping, [] { return true; }), Interrupted);
    EXPECT_EQ(m_loop.interruption(), Interruption::User);

    m_loop.clearInterruption();
    EXPECT_TRUE(m_loop.runUntil(State::Pumping, [] { return true; }));
}

TEST_F(EventLoopTest, ALoopThatIsStoppedWithinATaskRunsNothingMore)
{
    m_loop.submit(
        *m_other,
        [this] {
            onOtherThread([this] { m_loop.submit(*m_owner, note("come since"), true); });
            m_loop.stop();
            m_loop.runPending(*m_owner);
        },
        true);
    m_loop.submit(*m_owner, note("waited before"), true);

    m_loop.runUntilStopped();

    EXPECT_THAT(m_done, IsEmpty());
    EXPECT_EQ(m_loop.pending(*m_owner), 0U);
}

TEST_F(EventLoopTest, AStoppedLoopDropsWhatWaitsAndWhatComes)
{
    m_loop.submit(*m_owner, note("waits"), true);
    m_loop.stop();
    m_loop.submit(*m_owner, note("comes"), true);
    m_loop.post(When::Idle, note("comes too"));

    m_loop.runUntilStopped();

    EXPECT_THAT(m_done, IsEmpty());
    EXPECT_EQ(m_loop.pending(*m_owner), 0U);
}

} // namespace

} // namespace tovrinhost
