#include "timer_src/main/Concurrency.hpp"

#include <gtest/gtest.h>

namespace tovrintimer {

namespace {

using namespace std::chrono_literals;

struct Number {
    int value = 7;
};

struct OtherNumber {
    int value = 8;
};

TEST(ConcurrencyTest, EachThreadHasItsOwnOfEachType)
{
    ofThisThread<Number>().value = 1;
    Thread other([] {
        EXPECT_EQ(ofThisThread<Number>().value, 7);
        EXPECT_EQ(ofThisThread<OtherNumber>().value, 8);
        ofThisThread<Number>().value = 2;
        EXPECT_EQ(ofThisThread<Number>().value, 2);
    });
    other.join();

    EXPECT_EQ(ofThisThread<Number>().value, 1);
}

TEST(ConcurrencyTest, ASleepIsNeverTooShort)
{
    const auto before = SteadyClock::now();
    sleepFor(20ms);
    EXPECT_GE(SteadyClock::now() - before, 20ms);
}

TEST(ConcurrencyTest, ACallFromOutsideIsMadeOnTheThreadItComesFrom)
{
    Thread::id caller;
    fromOutside([&] { caller = currentThreadId(); });
    EXPECT_EQ(caller, currentThreadId());
}

} // namespace

} // namespace tovrintimer
