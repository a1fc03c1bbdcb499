#include "embedded_host/diagnosis/LogReader.hpp"
#include "embedded_host/diagnosis/Watch.hpp"
#include "tests/diagnosis/MadeUp.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <thread>

namespace tovrinhost {

namespace {

class LogReaderTest : public MadeUpLogTest {
protected:
    /// A whole firing.
    void fire(std::uint64_t number)
    {
        const auto fired = work(number, 1, 0);
        hand(fired);
        m_log.callbackBegins(m_notes[number], madeUpNow, number, ms);
        m_log.callbackEnds(m_notes[number], madeUpNow, false);
    }

    LogReader m_reader { m_log };
};

TEST_F(LogReaderTest, EachFiringIsReadOnce)
{
    fire(1);
    fire(2);

    EXPECT_EQ(m_reader.read().over.size(), 2U);
    fire(3);
    const News& news = m_reader.read();
    ASSERT_EQ(news.over.size(), 1U);
    EXPECT_EQ(news.over.front().number, 3U);
    EXPECT_EQ(news.lost, 0U);
}

TEST_F(LogReaderTest, WhatCouldNotBeToldIsLostAndWhatComesThenIsNot)
{
    fire(1);
    fire(2);
    m_reader.read();
    m_reader.countAsLost();
    fire(3);

    const News& news = m_reader.read();

    EXPECT_EQ(news.lost, 2U);
    EXPECT_EQ(news.over.size(), 1U);
}

TEST_F(LogReaderTest, AWatchWhoseNewsCannotBeToldCountsThemAndGoesOn)
{
    std::atomic<std::uint64_t> lost { 0 };
    {
        fire(1);
        const Watch watch(m_log, [&](const News& news) {
            lost = news.lost;
            if (!news.over.empty()) {
                throw std::bad_alloc();
            }
        });
        while (lost == 0) {
            std::this_thread::yield();
        }
    }

    EXPECT_EQ(lost, 1U);
}

} // namespace

} // namespace tovrinhost
