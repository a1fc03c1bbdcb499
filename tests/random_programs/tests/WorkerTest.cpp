#include "tests/random_programs/model/RuleNames.hpp"
#include "tests/random_programs/run/Batch.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace random_programs {

namespace {

using testing::HasSubstr;

const std::string wholeRun = R"(
new("a", "StartFcn StopFcn", { ExecutionMode = "FixedRate", Period = 0.001, TasksToExecute = 2 })
start("a")
wait("a")
)";

/// What ends the process that runs the program.
std::string ended(const char* signal)
{
    return "print('before')\nos.execute('kill -" + std::string(signal) + " $PPID')\nbusy(10000)\n";
}

std::optional<Failure> failureOf(const std::vector<std::string>& programs)
{
    return Worker([&](std::uint64_t number) { return programs.at(number); }, 0, programs.size(), 1).await();
}

TEST(WorkerTest, ProgramsThatKeepTheRulesPass)
{
    const auto failure = failureOf({ wholeRun, wholeRun, "exit(3)\n", "new('a', '', {})\nstart('a')\nraise()\n" });
    EXPECT_FALSE(failure) << failure->how << '\n' << failure->output;
}

TEST(WorkerTest, AProgramThatBreaksARuleIsTheLast)
{
    const auto failure = failureOf({ wholeRun, "print('hello')\n", wholeRun });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->number, 1U);
    EXPECT_EQ(failure->rule, rules::wellFormed);
    EXPECT_THAT(failure->output, HasSubstr("hello"));
}

TEST(WorkerTest, AProgramThatCrashesIsNamedAndWhatItPrintedIsKept)
{
    const auto failure = failureOf({ wholeRun, ended("KILL"), wholeRun });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->number, 1U);
    EXPECT_EQ(failure->rule, "it crashes: Killed");
    EXPECT_THAT(failure->output, HasSubstr("before"));
}

TEST(WorkerTest, AProgramThatHangsIsNamed)
{
    const auto failure = failureOf({ wholeRun, ended("ALRM") });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->number, 1U);
    EXPECT_EQ(failure->rule, "it hangs");
}

TEST(WorkerTest, ABatchGoesOnBehindAFailure)
{
    const auto programs = [](std::uint64_t number) { return number % 4 == 1 ? "print('hello')\n" : wholeRun; };
    const auto failures = runBatch(programs, 0, 12, 2, 100);
    std::vector<std::uint64_t> numbers;
    for (const Failure& failure : failures) {
        numbers.push_back(failure.number);
    }
    EXPECT_THAT(numbers, testing::ElementsAre(1U, 5U, 9U));
}

TEST(WorkerTest, AProgramIsTriedUntilItBreaksTheRule)
{
    EXPECT_TRUE(runUntilItBreaks("print('hello')\n", rules::wellFormed));
    EXPECT_FALSE(runUntilItBreaks("print('hello')\n", rules::neverEarly));
    EXPECT_FALSE(runUntilItBreaks(wholeRun, rules::wellFormed));
}

} // namespace

} // namespace random_programs
