#include "tests/simulation/VirtualTime.hpp"
#include "tests/simulation/run/Apart.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace simulation {

namespace {

using testing::ElementsAre;

Kernel::Options calm(std::uint64_t seed = 1)
{
    Kernel::Options options;
    options.seed = seed;
    options.begin = 1000 * millisecond;
    return options;
}

TEST(KernelTest, TimeMovesOnlyWhenEveryThreadIsBlockedAndToTheNextDeadline)
{
    std::vector<std::string> story;
    Kernel kernel(calm());
    const auto sleeper = [&](const std::string& name, int ms) {
        return [&, name, ms] {
            kernel.sleepFor(ms * millisecond);
            story.push_back(name + " at " + std::to_string(kernel.now() / millisecond));
        };
    };
    const Verdict verdict = kernel.run([&] {
        kernel.spawn("a", sleeper("a", 30));
        kernel.spawn("b", sleeper("b", 10));
        for (int i = 0; i < 100; ++i) {
            kernel.point();
        }
        story.push_back("main at " + std::to_string(kernel.now() / millisecond));
    });

    EXPECT_EQ(verdict.failure, "");
    EXPECT_THAT(story, ElementsAre("main at 1000", "b at 1010", "a at 1030"));
}

TEST(KernelTest, ThreadsThatAreBusyWithoutEndLetTimeMoveAllTheSame)
{
    Kernel kernel(calm());
    const Verdict verdict = kernel.run([&] {
        while (kernel.now() < 1100 * millisecond) {
            kernel.point();
        }
    });

    EXPECT_EQ(verdict.failure, "");
    EXPECT_GE(verdict.end, 1100 * millisecond);
}

TEST(KernelTest, AThreadThatNeverEndsIsFoundByTheNumberOfItsSteps)
{
    const auto failure = runApart(
        [] {
            Kernel::Options options = calm();
            options.stepLimit = 10'000;
            Kernel kernel(options);
            return kernel
                .run([&] {
                    const Doing doing("count");
                    for (;;) {
                        kernel.point();
                    }
                })
                .failure;
        },
        60);

    EXPECT_THAT(failure.value_or(""), testing::StartsWith("no end after 10000 steps\nit is "));
    EXPECT_THAT(failure.value_or(""), testing::EndsWith(" ms\n  main: count\n"));
}

TEST(KernelTest, ADeadlockIsReportedWithTheStackOfOperationsOfEveryThread)
{
    const auto failure = runApart(
        [] {
            Kernel kernel(calm());
            return kernel
                .run([&] {
                    Mutex first;
                    Mutex second;
                    ConditionVariable condition;
                    Thread other([&] {
                        const Doing doing("task", 7);
                        const std::lock_guard lock(second);
                        kernel.sleepFor(millisecond);
                        const std::lock_guard both(first);
                    });
                    Thread waiting([&] {
                        kernel.rename("waiting");
                        Mutex third;
                        std::unique_lock lock(third);
                        condition.wait_until(lock, SteadyClock::time_point::max(), [] { return false; });
                    });
                    const Doing doing("stop timer", 3);
                    const std::lock_guard lock(first);
                    kernel.sleepFor(millisecond);
                    const std::lock_guard both(second);
                })
                .failure;
        },
        60);

    EXPECT_EQ(failure.value_or(""),
        "deadlock: all threads are blocked, and nothing is due\n"
        "it is 1001 ms\n"
        "  main: stop timer 3 > lock mutex 2\n"
        "  thread: task 7 > lock mutex 1\n"
        "  waiting: wait for condition 3\n");
}

TEST(KernelTest, AMutexAdmitsOneThreadAtATimeUnderEverySchedule)
{
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        Kernel::Options options = calm(seed);
        Random random(seed);
        options.weather = randomWeather(random);
        Kernel kernel(options);
        int holders = 0;
        int mostHolders = 0;
        int rounds = 0;
        const Verdict verdict = kernel.run([&] {
            Mutex mutex;
            const auto work = [&] {
                for (int i = 0; i < 10; ++i) {
                    const std::lock_guard lock(mutex);
                    mostHolders = std::max(mostHolders, ++holders);
                    kernel.point();
                    --holders;
                    ++rounds;
                }
            };
            Thread a(work);
            Thread b(work);
            a.join();
            b.join();
        });
        ASSERT_EQ(verdict.failure, "") << "seed " << seed;
        ASSERT_EQ(mostHolders, 1) << "seed " << seed;
        ASSERT_EQ(rounds, 20) << "seed " << seed;
    }
}

TEST(KernelTest, ATimedWaitIsNeverOverEarlyAndAWokenOneAtOnce)
{
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        Kernel::Options options = calm(seed);
        Random random(seed);
        options.weather = randomWeather(random);
        Kernel kernel(options);
        Moment timedOut = 0;
        bool isSet = false;
        bool wasSet = false;
        const Verdict verdict = kernel.run([&] {
            Mutex mutex;
            ConditionVariable condition;
            Thread waiting([&] {
                std::unique_lock lock(mutex);
                const SteadyClock::time_point soon { std::chrono::milliseconds(1020) };
                EXPECT_FALSE(condition.wait_until(lock, soon, [&] { return false; }));
                timedOut = kernel.now();
                const SteadyClock::time_point late { std::chrono::hours(100) };
                wasSet = condition.wait_until(lock, late, [&] { return isSet; });
            });
            kernel.sleepFor(200 * millisecond);
            {
                const std::lock_guard lock(mutex);
                isSet = true;
            }
            condition.notify_one();
            waiting.join();
        });
        ASSERT_EQ(verdict.failure, "") << "seed " << seed;
        ASSERT_GE(timedOut, 1020 * millisecond) << "seed " << seed;
        ASSERT_TRUE(wasSet) << "seed " << seed;
        ASSERT_LT(verdict.end, 3'600'000 * millisecond) << "seed " << seed;
    }
}

TEST(KernelTest, WaitsEndForNoReasonWhereTheWeatherSaysSo)
{
    Kernel::Options options = calm();
    options.weather.spuriousWakeUps = 3;
    Kernel kernel(options);
    int looks = 0;
    bool isOver = false;
    const Verdict verdict = kernel.run([&] {
        Mutex mutex;
        ConditionVariable condition;
        Thread waiting([&] {
            std::unique_lock lock(mutex);
            const SteadyClock::time_point late { std::chrono::hours(100) };
            condition.wait_until(lock, late, [&] {
                ++looks;
                return isOver;
            });
        });
        for (int i = 0; i < 100; ++i) {
            kernel.point();
        }
        {
            const std::lock_guard lock(mutex);
            isOver = true;
        }
        condition.notify_one();
        waiting.join();
    });

    EXPECT_EQ(verdict.failure, "");
    EXPECT_GT(looks, 5);
}

TEST(KernelTest, EachThreadKeepsItsOwnExceptions)
{
    Kernel kernel(calm());
    std::vector<std::string> story;
    const auto fail = [&](const std::string& name, int ms) {
        return [&, name, ms] {
            try {
                throw std::runtime_error(name);
            } catch (const std::runtime_error&) {
                kernel.sleepFor(ms * millisecond); // the others throw and catch meanwhile
                try {
                    throw;
                } catch (const std::runtime_error& again) {
                    story.push_back(name + " has " + again.what());
                }
            }
            story.push_back(name + (std::current_exception() ? " is left with one" : " is done"));
        };
    };
    const Verdict verdict = kernel.run([&] {
        Thread a(fail("a", 30));
        Thread b(fail("b", 10));
        a.join();
        b.join();
    });

    EXPECT_EQ(verdict.failure, "");
    EXPECT_THAT(story, ElementsAre("b has b", "b is done", "a has a", "a is done"));
}

} // namespace

} // namespace simulation
