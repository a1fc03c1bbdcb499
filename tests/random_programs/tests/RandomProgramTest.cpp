#include "tests/random_programs/program/Program.hpp"
#include "tests/random_programs/run/Shrink.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace random_programs {

namespace {

using testing::AllOf;
using testing::Each;
using testing::Ge;
using testing::Le;
using testing::SizeIs;

TEST(RandomProgramTest, TheSameSeedGivesTheSameProgram)
{
    EXPECT_EQ(programOf(7), programOf(7));
    EXPECT_EQ(toLua(programOf(7)), toLua(programOf(7)));
    EXPECT_NE(toLua(programOf(7)), toLua(programOf(8)));
}

TEST(RandomProgramTest, AProgramHasFourToEightTimersAndStartsEach)
{
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        const Program program = programOf(seed);
        EXPECT_THAT(program.timers, SizeIs(AllOf(Ge(4U), Le(8U))));
        for (int timer = 0; timer < static_cast<int>(program.timers.size()); ++timer) {
            EXPECT_TRUE(std::ranges::any_of(program.steps, [timer](const Step& step) {
                return step.actor == script && step.verb == Verb::Start && step.timer == timer;
            }));
        }
    }
}

TEST(RandomProgramTest, EverythingComesUpInSomeProgram)
{
    std::vector<int> verbs(static_cast<std::size_t>(Verb::Haunt) + 1);
    std::vector<int> callbacks(callbackKinds);
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        for (const Step& step : programOf(seed).steps) {
            ++verbs.at(static_cast<std::size_t>(step.verb));
            if (step.actor != script) {
                ++callbacks.at(static_cast<std::size_t>(step.callback));
            }
        }
    }
    EXPECT_THAT(verbs, Each(Ge(5)));
    EXPECT_THAT(callbacks, Each(Ge(100)));
}

TEST(RandomProgramTest, OnlyTheScriptWaitsWithoutALimit)
{
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        for (const Step& step : programOf(seed).steps) {
            EXPECT_TRUE(step.actor == script || step.verb != Verb::Wait || step.value >= 0.0);
        }
    }
}

TEST(ProgramShrinkTest, WhatIsNotNeededGoes)
{
    Program program = programOf(3);
    program.steps.push_back(
        { .actor = 2, .callback = stopFcn, .call = 3, .verb = Verb::Busy, .timer = 2, .value = 8.0 });
    const auto isNeeded = [](const Step& step) { return step.verb == Verb::Busy && step.callback == stopFcn; };
    const Program shorter = shrink(
        program, [&](const Program& candidate) { return std::ranges::any_of(candidate.steps, isNeeded); });
    EXPECT_EQ(toLua(shorter),
        "new(\"a\", \"\", { ExecutionMode = \"SingleShot\", BusyMode = \"Drop\", Period = 0.001, TasksToExecute = "
        "1 })\n"
        "during(\"a\", \"StopFcn\", 1, function() busy(0) end)\n");
}

} // namespace

} // namespace random_programs
