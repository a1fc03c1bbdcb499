#include "embedded_host/diagnosis/InterpreterLog.hpp"
#include "tests/diagnosis/MadeUp.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

namespace tovrinhost {

void PrintTo(const Activity& activity, std::ostream* stream)
{
    *stream << static_cast<int>(activity.doing) << " of " << activity.number << " from " << activity.from << " to "
            << activity.to << " line " << activity.line;
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

MATCHER_P3(Was, doing, from, to, "")
{
    return arg.doing == doing && arg.from == from && arg.to == to;
}

TEST(InterpreterLogTest, WhatItWasAtHasNoGaps)
{
    InterpreterLog log;
    log.turnTo({ Doing::Script, 0 }, 10);
    log.turnTo({ Doing::Host, 0 }, 20, 7);
    log.turnTo({ Doing::Idle, 0 }, 30);
    log.turnTo({ Doing::Callback, 5 }, 40);

    const auto all = log.since(5, 50);
    EXPECT_THAT(all,
        ElementsAre(Was(Doing::Unknown, 5, 10), Was(Doing::Script, 10, 20), Was(Doing::Host, 20, 30),
            Was(Doing::Idle, 30, 40), Was(Doing::Callback, 40, 50)));
    EXPECT_EQ(all[1].line, 7);
    EXPECT_EQ(all[4].number, 5U);
    EXPECT_THAT(log.since(35, 50), ElementsAre(Was(Doing::Idle, 30, 40), Was(Doing::Callback, 40, 50)));
}

TEST(InterpreterLogTest, ATurnGivesBackWhatItWasAtBefore)
{
    InterpreterLog log;
    log.turnTo({ Doing::Callback, 8 }, 10);

    const auto before = log.turnTo({ Doing::Host, 8 }, 20, 3);

    EXPECT_EQ(before.doing, Doing::Callback);
    EXPECT_EQ(before.number, 8U);
    log.turnTo(before, 30);
    EXPECT_EQ(log.now().number, 8U);
}

TEST(InterpreterLogTest, BetweenTwoCallbacksAtTheSameMomentItWasAtNothing)
{
    InterpreterLog log;
    log.turnTo({ Doing::Callback, 1 }, 0);
    log.turnTo({ Doing::Host, 7 }, 20);
    const auto before = log.turnTo({ Doing::Callback, 2 }, 20);
    log.turnTo({ Doing::Host, 0 }, 30);
    log.turnTo({ Doing::Callback, 3 }, 31);
    log.turnTo({ Doing::Host, 3 }, 31);
    log.turnTo({ Doing::Idle, 3 }, 31);
    log.turnTo({ Doing::Callback, 4 }, 31);

    EXPECT_EQ(before.doing, Doing::Host);
    EXPECT_EQ(before.number, 7U);
    EXPECT_EQ(log.now().number, 4U);
    const auto all = log.since(0, 40);
    EXPECT_THAT(all,
        ElementsAre(Was(Doing::Callback, 0, 20), Was(Doing::Callback, 20, 30), Was(Doing::Host, 30, 31),
            Was(Doing::Callback, 31, 31), Was(Doing::Host, 31, 31), Was(Doing::Idle, 31, 31),
            Was(Doing::Callback, 31, 40)));
    EXPECT_EQ(all[0].number, 1U);
    EXPECT_EQ(all[1].number, 2U);
    EXPECT_EQ(log.count(), 7U);
}

TEST(InterpreterLogTest, TheOldestFallOutAndAreUnknown)
{
    InterpreterLog log;
    constexpr Nanoseconds turns = InterpreterLog::capacity + 100;
    for (Nanoseconds turn = 1; turn <= turns; ++turn) {
        log.turnTo({ turn % 2 == 0 ? Doing::Idle : Doing::Host, 0 }, turn);
    }

    const auto all = log.since(1, turns + 1);

    ASSERT_EQ(all.size(), InterpreterLog::capacity); // the first is what is not known
    EXPECT_THAT(all[0], Was(Doing::Unknown, 1, 102));
    EXPECT_THAT(all[1], Was(Doing::Idle, 102, 103));
}

TEST(InterpreterLogTest, AReaderIsGivenEachOneOnceAsItHasEnded)
{
    InterpreterLog log;
    std::vector<Activity> read;
    log.turnTo({ Doing::Script, 0 }, 10);
    std::uint64_t next = log.readFrom(0, read);
    EXPECT_THAT(read, IsEmpty());
    log.turnTo({ Doing::Host, 0 }, 20, 4);
    log.turnTo({ Doing::Idle, 0 }, 30);

    next = log.readFrom(next, read);
    EXPECT_THAT(read, ElementsAre(Was(Doing::Script, 10, 20), Was(Doing::Host, 20, 30)));
    EXPECT_EQ(read[0].line, 4);
    log.turnTo({ Doing::Host, 0 }, 40);
    log.readFrom(next, read);
    EXPECT_THAT(read.back(), Was(Doing::Idle, 30, 40));
    EXPECT_EQ(read.size(), 3U);
}

} // namespace

} // namespace tovrinhost
