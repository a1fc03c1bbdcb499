#include "embedded_host/status/TimersTable.hpp"
#include "tests/status/MadeUpStatus.hpp"

#include <gtest/gtest.h>

namespace tovrinhost {

namespace {

TEST(TimersTableTest, TheTableSaysOfWhatItIsAndAlignsWhatItTells)
{
    TimerStatus fresh;
    fresh.number = 2;
    fresh.name = "\xC3\xBC\x1b";
    fresh.settings = "SingleShot";
    EXPECT_EQ(timersTable(madeUpStatus({ madeUpTimer(1, "poll", 5), fresh })),
        "tovrin 123, script.lua: 2 timers after 12.500 s of the steady clock; due, left and last run in s, "
        "lateness "
        "in ms, its 99 % by the latest 32768 firings of all timers\n"
        "timer  state  settings                   due   left  last run  runs  late: last  99 %  most  busy %  "
        "dropped  backlog\n"
        "poll   due    FixedRate, Drop, 0.1 s  12.750  0.250    12.500     7         5.0   6.0   7.0    25.0  "
        "      3        2\n"
        "\xC3\xBC\\x1b  new    SingleShot                   -      -         -     0           -     -     -     "
        "0.0  "
        "      0        0\n");
}

TEST(TimersTableTest, TimersThatAreLeftOutAreCounted)
{
    ProgramStatus status = madeUpStatus({});
    status.moreTimers = 4;
    const std::string text = timersTable(status);
    EXPECT_NE(text.find(": 4 timers after"), std::string::npos) << text;
    EXPECT_TRUE(text.ends_with("\nand 4 more timers, made later\n")) << text;
}

TEST(TimersTableTest, WhatIsNotKnownComesLastInEachOrder)
{
    TimerStatus known = madeUpTimer(1, "a", 5);
    TimerStatus unknown;
    for (const Column column :
        { Column::Due, Column::Left, Column::LastRun, Column::LateLast, Column::Late99, Column::LateMost }) {
        EXPECT_TRUE(comesBefore(known, unknown, column));
        EXPECT_FALSE(comesBefore(unknown, known, column));
        EXPECT_FALSE(comesBefore(unknown, unknown, column));
    }
}

} // namespace

} // namespace tovrinhost
