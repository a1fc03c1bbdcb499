#include "conformance/HostUnderTest.hpp"
#include "host/processTovrinTimerTask.hpp"

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace conformance {

namespace {

class TimerTaskTest : public HostTest { };

TEST_F(TimerTaskTest, EachTaskRunsOnce)
{
    std::atomic<int> first { 0 };
    std::atomic<int> second { 0 };
    processTovrinTimerTask(m_host->engine(), [&] { ++first; });
    processTovrinTimerTask(m_host->engine(), [&] { ++second; });

    m_host->runPending();
    m_host->runPending();

    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
}

TEST_F(TimerTaskTest, TheHostKeepsACopyOfItsOwn)
{
    const auto ran = std::make_shared<std::atomic<int>>(0);
    {
        const std::function<void()> task = [ran] { ++*ran; };
        processTovrinTimerTask(m_host->engine(), task);
    }

    m_host->runPending();

    EXPECT_EQ(*ran, 1);
}

TEST_F(TimerTaskTest, ATaskIsDestroyedOnceItHasRun)
{
    const auto captured = std::make_shared<int>(0);
    processTovrinTimerTask(m_host->engine(), [captured] {});

    m_host->runPending();

    EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(TimerTaskTest, WhatLeavesATaskIsTheHosts)
{
    bool next = false;
    EXPECT_NO_THROW(processTovrinTimerTask(
        m_host->engine(), [] { throw std::runtime_error("raised on purpose, by a test"); }));
    EXPECT_NO_THROW(processTovrinTimerTask(m_host->engine(), [&] { next = true; }));

    m_host->runPending();

    EXPECT_TRUE(next);
}

TEST_F(TimerTaskTest, ATaskMayHandAnotherOver)
{
    std::atomic<bool> inner { false };
    processTovrinTimerTask(
        m_host->engine(), [&] { processTovrinTimerTask(m_host->engine(), [&] { inner = true; }); });

    m_host->runPending();
    m_host->runPending();

    EXPECT_TRUE(inner);
}

TEST_F(TimerTaskTest, TasksAreHandedOverOnAnyThread)
{
    std::atomic<int> ran { 0 };
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&] { processTovrinTimerTask(m_host->engine(), [&] { ++ran; }); });
        }
    }

    m_host->runPending();

    EXPECT_EQ(ran, 4);
}

} // namespace

} // namespace conformance
