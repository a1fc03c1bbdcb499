#include "embedded_host/status/ProgramStatus.hpp"

#include "embedded_host/diagnosis/FiringStatistics.hpp"
#include "embedded_host/services/ProcessScope.hpp"
#include "timer_src/main/TimerInfo.hpp"
#include "timer_src/main/TimerScheduler.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <map>

namespace tovrinhost {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class ProgramStatusTest : public testing::Test {
protected:
    // The scheduler is asked for what is queued.
    ~ProgramStatusTest() override { destroyProcessScope(); }

    /// A timer of the script that has been started, and that has had these runs.
    std::shared_ptr<FiringStatistics> makeTimer(std::uint64_t number, const std::string& name)
    {
        auto statistics = std::make_shared<FiringStatistics>();
        TimerDescription description;
        description.number = number;
        description.name = name;
        description.settings = "FixedRate, Queue, 0.1 s";
        description.period = 100'000'000;
        description.made = m_diagnosis.log().now();
        description.statistics = statistics;
        m_diagnosis.timers().putLive(description);
        m_diagnosis.timers().put({ 7, static_cast<std::int64_t>(number) }, description);
        return statistics;
    }

    static tovrintimer::DueTime in(std::chrono::milliseconds span)
    {
        const auto now = tovrintimer::SteadyClock::now() + span;
        return std::chrono::time_point_cast<tovrintimer::DueTime::duration>(now);
    }

    void hand(std::uint64_t number, std::int64_t timer)
    {
        const tovrintimer::ObservedWork handed { number, 0, { 7, timer }, tovrintimer::TimerFcnWork, in({}),
            true };
        m_diagnosis.log().dispatched(handed);
        m_diagnosis.log().hostHasIt(m_notes[number]);
        m_diagnosis.log().handedOver(handed);
    }

    TimerStatus status(std::size_t place = 0) { return takeStatus(m_diagnosis, 1, "script.lua").timers.at(place); }

    Diagnosis m_diagnosis;
    std::map<std::uint64_t, TaskNote> m_notes; // by number
};

TEST_F(ProgramStatusTest, ATimersStateFollowsItsRunAndItsFirings)
{
    const auto statistics = makeTimer(1, "t");
    EXPECT_EQ(status().state, TimerState::New);

    statistics->run = FiringStatistics::Run::UnderWay;
    hand(1, 1);
    hand(2, 1);
    EXPECT_EQ(status().state, TimerState::Waits);
    EXPECT_EQ(status().backlog, 2U);

    m_diagnosis.log().callbackBegins(m_notes[1], m_diagnosis.log().now(), 1, 0);
    EXPECT_EQ(status().state, TimerState::Runs);
    EXPECT_EQ(status().backlog, 1U);

    m_diagnosis.log().callbackEnds(m_notes[1], m_diagnosis.log().now(), false);
    m_diagnosis.log().discarded(m_notes[2]);
    EXPECT_EQ(status().state, TimerState::Due) << "the next one is on its way";
    EXPECT_EQ(status().due, std::nullopt);

    statistics->run = FiringStatistics::Run::Over;
    EXPECT_EQ(status().state, TimerState::Stopped);
}

TEST_F(ProgramStatusTest, WhatWaitsForItsDueTimeIsKnownFromTheQueue)
{
    using namespace std::chrono_literals;
    const auto statistics = makeTimer(1, "t");
    statistics->run = FiringStatistics::Run::UnderWay;
    tovrintimer::TimerScheduler::getPerTOVRINProcessInstance()->insertAscendingSorted(
        tovrintimer::WorkItem<tovrintimer::TimerFcnWork>({ 7, 1 }, in(1h), {}, 1));

    const TimerStatus found = status();

    EXPECT_EQ(found.state, TimerState::Due);
    EXPECT_NEAR(found.due.value(), 3600, 60);
    EXPECT_THAT(explainLatest(m_diagnosis, 1).value(), HasSubstr("has not started: start delay until 36"));
}

TEST_F(ProgramStatusTest, CountsAreOfAllRunsAlsoOfThoseThatTheLogHasForgotten)
{
    const auto statistics = makeTimer(1, "t");
    EXPECT_EQ(status().last, std::nullopt);
    EXPECT_EQ(status().latenessOfLast, std::nullopt);

    const Nanoseconds started = m_diagnosis.log().beginning() + 500'000'000;
    for (std::size_t run = 0; run < 2 * FiringLog::capacity; ++run) {
        statistics->timerFcnBegins(started, 2'000'000, 1);
    }
    statistics->timerFcnBegins(started, 1'000'000, 0);
    statistics->callbackEnds(1'000'000, true);
    const TimerStatus found = status();
    EXPECT_EQ(found.runs, 2 * FiringLog::capacity + 1);
    EXPECT_EQ(found.dropped, 2 * FiringLog::capacity);
    EXPECT_EQ(found.errors, 1U);
    EXPECT_DOUBLE_EQ(found.last.value(), 0.5);
    EXPECT_DOUBLE_EQ(found.latenessOfLast.value(), 0.001);
    EXPECT_DOUBLE_EQ(found.mostLateness.value(), 0.002);
    EXPECT_EQ(found.lateness99, std::nullopt);
    EXPECT_GT(found.busy, 0);
}

TEST_F(ProgramStatusTest, ATimerWhoseCallbackHasFallenOutOfTheLogIsNotCalledStopped)
{
    const auto statistics = makeTimer(1, "slow");
    makeTimer(2, "fast");
    statistics->run = FiringStatistics::Run::UnderWay;
    hand(1, 1);
    for (std::uint64_t number = 2; number <= FiringLog::capacity + 2; ++number) {
        hand(number, 2);
    }
    EXPECT_EQ(status().state, TimerState::Unknown);
    EXPECT_EQ(status().due, std::nullopt);
}

TEST_F(ProgramStatusTest, NamesAreShortenedAndMadeValidAndTimersLeftOutAreCounted)
{
    makeTimer(1, "a\xFF" + std::string(1000, 'x'));
    for (std::uint64_t number = 2; number <= ProgramStatus::mostTimers + 5; ++number) {
        makeTimer(number, "t");
    }
    const ProgramStatus found = takeStatus(m_diagnosis, 1, "script.lua");
    EXPECT_THAT(found.timers.front().name, StartsWith("a\\xffxxx"));
    EXPECT_EQ(found.timers.front().name.size(), 200U);
    EXPECT_EQ(found.timers.size(), ProgramStatus::mostTimers);
    EXPECT_EQ(found.moreTimers, 5U);
}

TEST_F(ProgramStatusTest, TheLatestFiringIsExplainedAndATimerThatHasGoneIsNot)
{
    makeTimer(1, "t");
    EXPECT_THAT(explainLatest(m_diagnosis, 1).value(), StartsWith("t: the log holds no firing of it"));
    hand(2, 1);
    m_diagnosis.log().callbackBegins(m_notes[2], m_diagnosis.log().now(), 1, 0);
    EXPECT_THAT(explainLatest(m_diagnosis, 1).value(), HasSubstr("t run 1 (FixedRate, Queue, 0.1 s) due"));
    m_diagnosis.timers().removeLive(1);
    EXPECT_EQ(explainLatest(m_diagnosis, 1), std::nullopt);
}

} // namespace

} // namespace tovrinhost
