#include "virtual_time/Types.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace virtual_time {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using namespace std::chrono_literals;

/// A kernel whose first thread is the test's.
class FirstThreadTest : public testing::Test {
protected:
    explicit FirstThreadTest(std::uint64_t schedule = 0)
        : m_kernel(optionsOfSchedule(schedule))
    {
        m_kernel.begin();
    }

    void say(const std::string& what) { m_story.push_back(what); }

    Kernel m_kernel;
    std::vector<std::string> m_story;
};

TEST_F(FirstThreadTest, OthersRunWhereItWaitsAndNowhereElse)
{
    m_kernel.spawn("other", [this] {
        say("other");
        m_kernel.sleepFor(millisecond);
        say("other, later");
    });
    for (int i = 0; i < 1000; ++i) {
        m_kernel.point();
    }
    say("first");
    m_kernel.sleepFor(2 * millisecond);
    say("first, later");

    EXPECT_THAT(m_story, ElementsAre("first", "other", "other, later", "first, later"));
}

TEST_F(FirstThreadTest, LettingOthersRunTakesNoTime)
{
    const Moment before = m_kernel.now();
    m_kernel.spawn("other", [this] {
        say("other");
        m_kernel.sleepFor(5 * millisecond);
        say("never");
    });
    EXPECT_EQ(m_kernel.nextMoment(), std::nullopt);

    m_kernel.letOthersRun();

    EXPECT_THAT(m_story, ElementsAre("other"));
    EXPECT_EQ(m_kernel.now(), before);
    EXPECT_EQ(m_kernel.nextMoment(), before + 5 * millisecond);
    EXPECT_FALSE(m_kernel.othersAreReady());
}

TEST_F(FirstThreadTest, ADeadlockIsThrownOutOfItsWaitAndLeavesTheOthersAsTheyAre)
{
    Mutex mutex;
    ConditionVariable changed;
    bool isDone = false;
    Thread other([&] {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return isDone; });
        say("other goes on");
    });
    std::string told;
    try {
        std::unique_lock lock(mutex);
        changed.wait(lock, [] { return false; });
    } catch (const Failure& failure) {
        told = failure.what();
    }
    EXPECT_THAT(told, HasSubstr("deadlock: all threads are blocked, and nothing is due\n"));
    EXPECT_THAT(told, HasSubstr("  main: wait for condition 2\n  thread: wait for condition 2\n"));

    {
        const std::unique_lock lock(mutex);
        isDone = true;
    }
    changed.notify_one();
    other.join();
    EXPECT_THAT(m_story, ElementsAre("other goes on"));
}

TEST_F(FirstThreadTest, WhoHelpsInADeadlockIsAskedOnceAndNothingFails)
{
    Mutex mutex;
    ConditionVariable changed;
    bool isHelped = false;
    m_kernel.onDeadlock([&](const std::string& waits) {
        say(waits.find("main: wait for condition") != std::string::npos ? "help for main" : waits);
        isHelped = true;
        changed.notify_one();
        return true;
    });
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return isHelped; });

    EXPECT_THAT(m_story, ElementsAre("help for main"));
}

TEST_F(FirstThreadTest, AnExceptionThatLeavesAnotherThreadIsThrownInTheFirst)
{
    m_kernel.spawn("other", [] { throw std::runtime_error("of another"); });
    std::string told;
    try {
        m_kernel.sleepFor(millisecond);
    } catch (const Failure& failure) {
        told = failure.what();
    }
    EXPECT_EQ(told, "an exception left thread other: of another");
}

TEST_F(FirstThreadTest, AWaitForAConditionThatFailsHoldsTheLockAgain)
{
    Mutex mutex;
    ConditionVariable changed;
    std::unique_lock lock(mutex);
    EXPECT_THROW(changed.wait(lock, [] { return false; }), Failure);
    EXPECT_TRUE(lock.owns_lock());
    lock.unlock(); // fails where it is not held
}

TEST_F(FirstThreadTest, LooksAtAClockThatStandsStillMakeItGoOnInTheEnd)
{
    const Moment before = m_kernel.now();
    for (int i = 1; i < 1000; ++i) {
        clockWasLookedAt();
    }
    EXPECT_EQ(m_kernel.now(), before);
    clockWasLookedAt();
    EXPECT_EQ(m_kernel.now(), before + millisecond);
    clockWasLookedAt();
    EXPECT_EQ(m_kernel.now(), before + millisecond);
}

TEST_F(FirstThreadTest, WorkTakesExactlyItsTimeAndOthersGoOnMeanwhile)
{
    const auto begin = SteadyClock::now();
    m_kernel.spawn("other", [this] {
        m_kernel.sleepFor(1500 * millisecond);
        say("other");
    });
    workUntil(begin + 2s, [] { return false; });

    EXPECT_EQ(SteadyClock::now() - begin, 2s);
    EXPECT_THAT(m_story, ElementsAre("other"));
}

TEST_F(FirstThreadTest, EachThreadHasItsOwnOfEachType)
{
    struct Count {
        int value = 7;
    };
    ofThisThread<Count>().value = 1;
    Thread other([this] {
        say(std::to_string(ofThisThread<Count>().value));
        ofThisThread<Count>().value = 2;
    });
    other.join();

    EXPECT_THAT(m_story, ElementsAre("7"));
    EXPECT_EQ(ofThisThread<Count>().value, 1);
}

std::vector<std::string> orderUnder(std::uint64_t schedule)
{
    Kernel kernel(optionsOfSchedule(schedule));
    kernel.begin();
    std::vector<std::string> order;
    std::vector<Thread> threads;
    for (const std::string name : { "a", "b", "c", "d" }) {
        threads.emplace_back([&order, &kernel, name] {
            kernel.sleepFor(millisecond);
            order.push_back(name);
        });
    }
    for (Thread& thread : threads) {
        thread.join();
    }
    return order;
}

TEST(ScheduleTest, TheCalmOneIsInOrderAndEachOtherIsItsOwnEachTime)
{
    EXPECT_THAT(orderUnder(0), ElementsAre("a", "b", "c", "d"));
    int others = 0;
    for (std::uint64_t schedule = 1; schedule < 20; ++schedule) {
        EXPECT_EQ(orderUnder(schedule), orderUnder(schedule)) << schedule;
        others += orderUnder(schedule) == orderUnder(0) ? 0 : 1;
    }
    EXPECT_GE(others, 10);
}

} // namespace

} // namespace virtual_time
