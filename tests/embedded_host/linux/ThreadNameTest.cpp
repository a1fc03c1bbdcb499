#include "host/setCurrentThreadName.hpp"

#include <gtest/gtest.h>

#include <array>
#include <pthread.h>
#include <string>
#include <thread>

namespace {

std::string currentThreadName()
{
    std::array<char, 64> name {};
    EXPECT_EQ(pthread_getname_np(pthread_self(), name.data(), name.size()), 0);
    return name.data();
}

/// What a new thread is called once it has named itself.
std::string nameAfterNaming(const std::string& name)
{
    std::string result;
    std::thread([&] {
        setCurrentThreadName(name);
        result = currentThreadName();
    }).join();
    return result;
}

TEST(ThreadNameTest, AThreadBearsTheNameItWasGiven)
{
    EXPECT_EQ(nameAfterNaming("TimerScheduler"), "TimerScheduler");
}

TEST(ThreadNameTest, ALongNameIsShortened)
{
    EXPECT_EQ(nameAfterNaming("fifteen letters"), "fifteen letters");
    EXPECT_EQ(nameAfterNaming("a name that the system cannot hold"), "a name that the");
}

TEST(ThreadNameTest, OtherThreadsKeepTheirNames)
{
    const std::string before = currentThreadName();

    EXPECT_EQ(nameAfterNaming("another"), "another");

    EXPECT_EQ(currentThreadName(), before);
}

} // namespace
