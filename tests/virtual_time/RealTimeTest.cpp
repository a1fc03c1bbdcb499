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

/// Has the first thread work, and wait for nothing, until it is so; or for ten seconds.
void atWorkUntil(Kernel& kernel, const bool& isSo)
{
    for (const auto limit = RealClock::now() + 10s; !isSo && RealClock::now() < limit;) {
        kernel.point();
    }
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
    const Moment before = kernel.now();
    atWorkUntil(kernel, hasOtherGoneOn);

    EXPECT_TRUE(hasOtherGoneOn);
    EXPECT_GE(kernel.now() - before, 50 * millisecond);
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
    atWorkUntil(kernel, isDone);
    outside.join();

    EXPECT_TRUE(isDone);
}

} // namespace

} // namespace virtual_time
