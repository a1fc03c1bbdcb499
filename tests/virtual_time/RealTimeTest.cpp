#include "virtual_time/Types.hpp"

#include <gtest/gtest.h>

#include <thread>

namespace virtual_time {

namespace {

using namespace std::chrono_literals;
using RealClock = std::chrono::steady_clock;

Kernel::Options paced(double pace)
{
    Kernel::Options options = optionsOfSchedule(0);
    options.pace = pace;
    return options;
}

TEST(PaceTest, AWaitTakesAsManyTimesLessAsTheClockIsFaster)
{
    const auto begin = RealClock::now();
    Kernel kernel(paced(20));
    kernel.begin();
    const Moment before = kernel.now();
    kernel.sleepFor(2000 * millisecond);

    EXPECT_GE(kernel.now() - before, 2000 * millisecond);
    EXPECT_GE(RealClock::now() - begin, 100ms);
}

TEST(PaceTest, TimePassesWhileAThreadIsAtWorkAndOthersGoOn)
{
    Kernel kernel(paced(10));
    kernel.begin();
    bool hasOtherGoneOn = false;
    kernel.spawn("other", [&] {
        kernel.sleepFor(50 * millisecond);
        hasOtherGoneOn = true;
    });
    while (!hasOtherGoneOn) {
        kernel.point(); // until the test's time limit
    }
    kernel.sleepFor(0);
}

TEST(OutsideTest, WhatComesFromOutsideBreaksOffAWaitForTimeToPass)
{
    Kernel kernel(paced(1));
    kernel.begin();
    Mutex mutex;
    ConditionVariable changed;
    bool isDone = false;
    std::thread outside([&] {
        kernel.callFromOutside([&] {
            const std::unique_lock lock(mutex);
            isDone = true;
            changed.notify_one();
        });
    });
    std::unique_lock lock(mutex);
    EXPECT_TRUE(changed.wait_until(lock, SteadyClock::now() + 1h, [&] { return isDone; }));
    outside.join();
}

TEST(OutsideTest, WhatComesFromOutsideIsDoneWhileAThreadIsAtWork)
{
    Kernel kernel(optionsOfSchedule(0));
    kernel.begin();
    bool isDone = false;
    std::thread outside([&] { kernel.callFromOutside([&] { isDone = true; }); });
    while (!isDone) {
        kernel.point(); // until the test's time limit
    }
    outside.join();
}

} // namespace

} // namespace virtual_time
