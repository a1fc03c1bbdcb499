#include "embedded_host/timers/TimerSettings.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tovrinhost {

namespace {

using tovrintimer::ExecutionMode;

/// What the library is told, which keeps time in whole milliseconds.
class TimerSettingsTest : public testing::Test {
protected:
    double periodInLibrary(ExecutionMode mode, double seconds)
    {
        TimerSettings settings;
        settings.executionMode = mode;
        settings.periodSeconds = seconds;
        settings.applyTo(m_timer);
        return m_timer.getPeriod();
    }

    const std::shared_ptr<InterruptStateData> m_noState;
    tovrintimer::TimerInfo m_timer { {}, nullptr, m_noState };
};

TEST_F(TimerSettingsTest, ThePeriodOfAFixedRateIsWholeAndNotShorter)
{
    EXPECT_EQ(periodInLibrary(ExecutionMode::FixedRate, 0.001), 1.0);
    EXPECT_EQ(periodInLibrary(ExecutionMode::FixedRate, 0.0015), 2.0);
    EXPECT_EQ(periodInLibrary(ExecutionMode::FixedRate, 1.001), 1001.0);
    EXPECT_EQ(periodInLibrary(ExecutionMode::FixedRate, 9e9), 9e12);
}

TEST_F(TimerSettingsTest, ThePeriodThatCountsFromAnyMomentHasTheMillisecondThatHasBegunBesides)
{
    for (const ExecutionMode mode : { ExecutionMode::FixedDelay, ExecutionMode::FixedSpacing }) {
        EXPECT_EQ(periodInLibrary(mode, 0.001), 2.0);
        EXPECT_EQ(periodInLibrary(mode, 0.0015), 3.0);
        EXPECT_EQ(periodInLibrary(mode, 1.001), 1002.0);
        EXPECT_EQ(periodInLibrary(mode, 9e9), 9e12 + 1.0);
    }
}

TEST_F(TimerSettingsTest, WhatIsToldOfAFixedRateIsItsBeat)
{
    TimerSettings settings;
    settings.periodSeconds = 0.0015;
    settings.executionMode = ExecutionMode::FixedDelay;
    EXPECT_EQ(settings.describe().period, 1'500'000);
    settings.executionMode = ExecutionMode::FixedRate;
    EXPECT_EQ(settings.describe().period, 2'000'000);
    EXPECT_THAT(settings.describe().settings, testing::EndsWith(", 0.0015 s"));
}

} // namespace

} // namespace tovrinhost
