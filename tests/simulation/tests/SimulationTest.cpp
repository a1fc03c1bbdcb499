#include "tests/simulation/run/Apart.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <algorithm>
#include <iostream>

namespace simulation {

namespace {

std::string traceOf(const Program& program)
{
    RunOptions options;
    options.trace = true;
    const Verdict verdict = simulateApart(program, options);
    EXPECT_EQ(verdict.failure, "");
    return verdict.trace;
}

TEST(SimulationTest, TheSameSeedGivesTheSameTraceByteForByte)
{
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        const std::string trace = traceOf(programOf(seed));
        EXPECT_GT(trace.size(), 1000U);
        ASSERT_EQ(traceOf(programOf(seed)), trace) << "seed " << seed;
    }
}

TEST(SimulationTest, WhatRanBeforeInTheProcessDoesNotShowInATrace)
{
    const Program program = programOf(11);
    RunOptions options;
    options.trace = true;
    const auto second = runApart(
        [&] {
            simulate(programOf(5));
            return simulate(program, options).trace;
        },
        60);
    EXPECT_EQ(second.value_or(""), traceOf(program));
}

TEST(SimulationTest, AnotherScheduleGivesAnotherTrace)
{
    Program program = programOf(4);
    const std::string trace = traceOf(program);
    ++program.schedule;
    EXPECT_NE(traceOf(program), trace);
}

TEST(SimulationTest, AReplayOfTheTextGivesTheSameTrace)
{
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        const Program program = programOf(seed);
        ASSERT_EQ(traceOf(fromText(toText(program))), traceOf(program)) << "seed " << seed;
    }
}

TEST(SimulationTest, ALongListOfSeedsStopsAtTheFirstThatFails)
{
    const Batch batch = simulateSeeds(100, 140, 2);
    EXPECT_EQ(batch.seeds, 40U);
    EXPECT_GT(batch.steps, 1000U);
    EXPECT_FALSE(batch.failedSeed.has_value());
}

/// 100 timers of all modes, with periods of 1 to 100 s, for so many hours.
Program longRun(double hours)
{
    Program program;
    program.schedule = 42;
    program.weather.switches = 20;
    program.settle = hours * 3'600'000;
    for (int timer = 0; timer < 100; ++timer) {
        TimerSpec spec;
        spec.settings.mode = static_cast<std::size_t>(1 + timer % 3);
        spec.settings.busy = static_cast<std::size_t>(timer % 2);
        spec.settings.period = 1000.0 * (timer + 1);
        spec.settings.tasks = 10'000'000;
        spec.settings.hasStop = timer % 4 == 0;
        spec.lasts = timer % 5;
        program.timers.push_back(spec);
        program.steps.push_back({ false, 0, Verb::Start, timer, 0.0 });
    }
    return program;
}

/// Seconds that the children waited for have computed: how busy the machine is does not show in it.
double processorTimeOfChildren()
{
    rusage used {};
    EXPECT_EQ(getrusage(RUSAGE_CHILDREN, &used), 0);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(used.ru_utime) + seconds(used.ru_stime);
}

TEST(SimulationTest, ADayOfAHundredTimersTakesLessThanHalfAMinute)
{
    constexpr double hours = SIMULATION_HOURS;
    RunOptions options;
    options.stepLimit = 1'000'000'000;
    const double before = processorTimeOfChildren();
    const Verdict verdict = simulateApart(longRun(hours), options);
    const double took = processorTimeOfChildren() - before;
    std::cout << hours << " h of 100 timers: " << verdict.steps << " steps in " << took << " s\n";

    EXPECT_EQ(verdict.failure, "");
    EXPECT_GT(static_cast<double>(verdict.end), hours * 3'600'000 * millisecond);
    // The sum of 1/period is 5.19 callbacks a second, each of many steps.
    EXPECT_GT(static_cast<double>(verdict.steps), hours * 3600 * 5 * 10);
    EXPECT_GT(took, 0);
    EXPECT_LT(took, 30);
}

} // namespace

} // namespace simulation
