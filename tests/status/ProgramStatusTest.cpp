#include "embedded_host/status/ProgramStatus.hpp"

#include "embedded_host/diagnosis/FiringStatistics.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace tovrinhost {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class ProgramStatusTest : public testing::Test {
protected:
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

    tovrintimer::ObservedWork work(std::uint64_t number, std::int64_t timer) const
    {
        const std::int64_t due = m_diagnosis.log().now() / 1'000'000;
        return { number, 0, { 7, timer }, tovrintimer::TimerFcnWork,
            tovrintimer::DueTime { tovrintimer::DueTime::duration(due) } };
    }

    void hand(std::uint64_t number, std::int64_t timer)
    {
        const auto handed = work(number, timer);
        m_diagnosis.log().queued(handed);
        m_diagnosis.log().dispatched(handed);
        m_diagnosis.log().hostHasIt(m_notes[number]);
        m_diagnosis.log().handedOver(handed);
    }

    TimerStatus status(std::size_t place = 0) { return takeStatus(m_diagnosis, 1, "script.lua").timers.at(place); }

    Diagnosis m_diagnosis;
    std::map<std::uint64_t, TaskNote> m_notes; // by number
};

TEST_F(ProgramStatusTest, ATimersStateFollowsItsFirings)
{
    makeTimer(1, "t");
    EXPECT_EQ(status().state, TimerState::New);
    EXPECT_EQ(status().due, std::nullopt);

    m_diagnosis.log().queued(work(1, 1));
    EXPECT_EQ(status().state, TimerState::Due);
    EXPECT_NE(status().due, std::nullopt);

    hand(2, 1);
    hand(3, 1);
    EXPECT_EQ(status().state, TimerState::Waits);
    EXPECT_EQ(status().backlog, 2U);

    m_diagnosis.log().callbackBegins(m_notes[2], m_diagnosis.log().now(), 1, 0);
    EXPECT_EQ(status().state, TimerState::Runs);
    EXPECT_EQ(status().backlog, 1U);

    m_diagnosis.log().callbackEnds(m_notes[2], m_diagnosis.log().now(), false);
    m_diagnosis.log().discarded(m_notes[3]);
    EXPECT_EQ(status().state, TimerState::Due);
    m_diagnosis.log().dropped(work(1, 1), tovrintimer::DropReason::RemovedByStop);
    EXPECT_EQ(status().state, TimerState::Stopped);
    EXPECT_EQ(status().due, std::nullopt);
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

TEST_F(ProgramStatusTest, ATimerWhoseLatestFiringHasFallenOutOfTheLogIsNotCalledNew)
{
    const auto statistics = makeTimer(1, "slow");
    makeTimer(2, "fast");
    statistics->hasBeenStarted = true;
    m_diagnosis.log().queued(work(1, 1));
    EXPECT_EQ(status().state, TimerState::Due);
    for (std::uint64_t number = 2; number <= FiringLog::capacity + 2; ++number) {
        m_diagnosis.log().queued(work(number, 2));
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
